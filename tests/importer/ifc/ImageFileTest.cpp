// Image files of a model: which files a texture may name, and which are never read.

#include <Velmor/Platform.h>

#include "importer/ifc/TextureSupport.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#if !defined(_WIN32)
    #include <sys/stat.h>
#endif

namespace velmor_tests {

using namespace importer::ifc;

namespace {

namespace fs = std::filesystem;

/// The text as a value of a STEP file. Its bytes remain UTF-8.
std::string encoded(const std::string& text) {
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' || c == '\\' ? std::string(2, c) : std::string(1, c);
    return result + "'";
}

std::string image(int instance, const std::string& encodedName) {
    return "#" + std::to_string(instance) + "=IFCIMAGETEXTURE(.T.,.F.,$,$,$," + encodedName + ");\n";
}

/// A folder "outer" with an image, and in it the folder "model" of the model with another image.
class ImageFile : public ::testing::Test {
protected:
    ImageFile() {
        writeFile(outer() / "outside.png", png("outside"));
        writeFile(model() / "inside.png", png("inside"));
    }

    fs::path outer() const { return folder_ / "outer"; }
    fs::path model() const { return folder_ / "outer" / "model"; }

    Taken read(const std::string& data, const Limits& limits = Limits::forFile(0)) const {
        return readWithin(limits, data, wide(model() / ""));
    }

    /// Expects that a texture with this name is read from `file`.
    void expectImage(const std::string& name, const std::string& bytes, const std::string& file) const {
        SCOPED_TRACE(name);
        const Taken taken = read(image(20, encoded(name)));
        EXPECT_EQ(taken.reasons(), "");
        ASSERT_EQ(taken.textures.size(), 1u);
        EXPECT_EQ(taken.textures[0].instance, 20u);
        EXPECT_EQ(taken.textures[0].line, 12u);
        EXPECT_EQ(taken.textures[0].name, file);
        EXPECT_EQ(bytesOf(taken.textures[0]), bytes);
    }

    /// Expects that a texture with this name is one problem, and that another texture is still read.
    void expectProblem(const std::string& encodedName, const std::string& reason) const {
        SCOPED_TRACE(encodedName);
        const Taken taken = read(image(20, encodedName) + image(21, "'inside.png'"));
        ASSERT_EQ(taken.problems.size(), 1u) << taken.reasons();
        EXPECT_EQ(taken.problems[0].instance, 20u);
        EXPECT_EQ(taken.problems[0].line, 12u);
        EXPECT_EQ(taken.problems[0].reason, "IFCIMAGETEXTURE: " + reason + " (in the model's textures)");
        ASSERT_EQ(taken.textures.size(), 1u);
        EXPECT_EQ(taken.textures[0].instance, 21u);
    }

    /// Expects that each of these names is a problem, although a file with a similar name exists.
    void expectInvalidNames(std::initializer_list<std::string> names, const std::string& reason) const {
        for (const std::string& name : names)
            expectProblem(encoded(name),
                          "'" + name + "' " + reason + "; expected the relative path of a file in the folder of the model");
    }

    TemporaryFolder folder_;
};

TEST_F(ImageFile, InTheFolderIsReadCompletelyWithItsName) {
    std::string tail;
    for (int i = 0; i < 3000000; ++i)
        tail += static_cast<char>(i * 7 % 251);
    writeFile(model() / "wood.png", png(tail));
    writeFile(model() / "a picture", png("any extension"));
    writeFile(model() / "none", png(""));
    expectImage("wood.png", png(tail), "wood.png");
    expectImage("a picture", png("any extension"), "a picture");
    expectImage("none", png(""), "none");
}

TEST_F(ImageFile, NameIsReadAtThePositionOfTheSchema) {
    const auto read = [&](const std::string& schema, const std::string& attributes) {
        const step::File file = fileOf(stepFile(inMeters + "#20=IFCIMAGETEXTURE(" + attributes + ");\n", schema));
        Taken taken;
        readProducts(file, Limits::forFile(0), taken, wide(model() / ""));
        return taken;
    };
    EXPECT_EQ(read("IFC2X3", ".T.,.T.,.TEXTURE.,$,'inside.png'").textures.size(), 1u);
    EXPECT_EQ(read("IFC4", ".T.,.T.,'DIFFUSE',$,$,'inside.png'").textures.size(), 1u);
    EXPECT_EQ(read("IFC4X3", ".T.,.T.,'DIFFUSE',$,$,'inside.png'").textures.size(), 1u);
    EXPECT_EQ(read("IFC4", ".T.,.T.,'DIFFUSE',$,'inside.png'").reasons(),
              "IFCIMAGETEXTURE: argument 6 is missing; expected a text (in the model's textures)\n");
}

TEST_F(ImageFile, MayBeBelowTheFolderWithEitherSeparator) {
    writeFile(model() / "textures" / "wood" / "oak.png", png("oak"));
    for (const char* name :
         {"textures/wood/oak.png", "textures\\wood\\oak.png", "textures\\wood/oak.png", "./textures//wood/./oak.png",
          "textures%2Fwood%2foak.png", "textures%5Cwood%5coak.png", ".\\textures\\.\\wood\\\\oak.png"})
        expectImage(name, png("oak"), "oak.png");
}

TEST_F(ImageFile, DecodesUrlEscapesAsUtf8) {
    writeFile(model() / fs::path(u"a b.png"), png("blank"));
    writeFile(model() / fs::path(u"\u00E4\u20AC.png"), png("UTF-8"));
    writeFile(model() / fs::path(u"\U0001F600.png"), png("astral"));
    expectImage("a%20b.png", png("blank"), "a b.png");
    expectImage("a b.png", png("blank"), "a b.png");
    expectImage("%61%20%62%2E%70ng", png("blank"), "a b.png");
    expectImage("%C3%A4%e2%82%ac.png", png("UTF-8"), "\xC3\xA4\xE2\x82\xAC.png");
    expectImage("\xC3\xA4%E2%82%AC.png", png("UTF-8"), "\xC3\xA4\xE2\x82\xAC.png");
    expectImage("%E4\xE2\x82\xAC.png", png("UTF-8"), "\xC3\xA4\xE2\x82\xAC.png"); // bytes that are not UTF-8 are ISO 8859-1
    const Taken astral = read(image(20, "'%F0%9F%98%80.png'") + image(21, "'\\X4\\0001F600\\X0\\.png'"));
    EXPECT_EQ(astral.reasons(), "");
    ASSERT_EQ(astral.textures.size(), 2u);
    EXPECT_EQ(bytesOf(astral.textures[0]), png("astral"));
    EXPECT_EQ(bytesOf(astral.textures[1]), png("astral"));
}

TEST_F(ImageFile, NameWithPercentSignPrecedesDecodedName) {
    writeFile(model() / "100%20.png", png("not decoded"));
    expectImage("100%20.png", png("not decoded"), "100%20.png");
    writeFile(model() / "100%.png", png("no digits"));
    expectImage("100%.png", png("no digits"), "100%.png");
    expectImage("100%25.png", png("no digits"), "100%.png");
    writeFile(model() / "%zz%4", png("no digits"));
    expectImage("%zz%4", png("no digits"), "%zz%4");
}

TEST_F(ImageFile, RejectsEmptyName) {
    expectInvalidNames({""}, "is empty");
}

TEST_F(ImageFile, RejectsAbsolutePaths) {
    expectInvalidNames({"/inside.png", "\\inside.png", "//server/share/inside.png", "\\\\server\\share\\inside.png",
                        "\\\\?\\C:\\inside.png", "\\\\.\\pipe\\inside.png", "%2Finside.png", "%5cinside.png", "/dev/zero"},
                       "is absolute");
}

TEST_F(ImageFile, RejectsDrivesAndUrls) {
    expectInvalidNames({"C:\\inside.png", "C:inside.png", "c:/inside.png", "c%3Ainside.png", "file:inside.png",
                        "file:///inside.png", "FILE://localhost/inside.png", "http://example.com/inside.png",
                        "data:image/png;base64,iVBORw0KGgo=", "inside.png:stream", "inside.png::$DATA"},
                       "contains a colon, like a drive or a URL");
}

TEST_F(ImageFile, RejectsPathsOutOfTheFolder) {
    expectInvalidNames({"..", "../outside.png", "..\\outside.png", "../model/inside.png", "textures/../inside.png",
                        "textures/../../outside.png", "./../outside.png", "%2e%2e/outside.png", ".%2E%2Foutside.png",
                        "..%5coutside.png", "inside.png%2f..%2f..%2foutside.png"},
                       "leaves the folder of the model");
}

TEST_F(ImageFile, RejectsPartsThatWindowsChanges) {
    // %C0%AE is an overlong form of a dot. It is not UTF-8, so the part "%C0%AE." ends with a dot and is not "..".
    expectInvalidNames({"%C0%AE./outside.png", ".. /outside.png", ".../outside.png", "inside.png.", "inside.png ",
                        "inside.png%20", "x./outside.png"},
                       "has a part that ends with a dot or a space, which Windows removes");
}

TEST_F(ImageFile, RejectsNamesOfDevices) {
    expectInvalidNames({"nul", "NUL.png", "Con", "con.tar.png", "aux .png", "PRN", "textures/COM1.png", "com0", "lpt9.png",
                        "COM\xC2\xB9.png", "LPT\xC2\xB3", "conin$", "CONOUT$.png", "%6Eul", "nul/inside.png"},
                       "is the name of a device on Windows");
}

TEST_F(ImageFile, RejectsPathsWithoutFileName) {
    expectInvalidNames({".", "./", "textures/", "inside.png/", "inside.png/.", "textures\\"}, "does not name a file");
}

TEST_F(ImageFile, RejectsControlCharacters) {
    expectInvalidNames({"inside%00.png", "inside.png%0A", "in\tside.png", "%7F"}, "contains control characters");
}

TEST_F(ImageFile, NamesSimilarToDevicesAreRead) {
    for (const char* name : {"com.png", "COM10.png", "console.png", "null.png", "lpt", "COMX.png", ".nul", "my nul.png"}) {
        writeFile(model() / name, png(name));
        expectImage(name, png(name), name);
    }
}

TEST_F(ImageFile, ReportsMissingFile) {
    const std::string missing = ": file not found in the folder of the model";
    for (const std::string& name : {std::string("missing.png"), std::string("outside.png"), std::string("no/inside.png"),
                                    std::string("inside.png/inside.png"), std::string("inside.png?x=1"),
                                    std::string("*.png"), std::string("~/inside.png"), std::string("%TEMP%")})
        expectProblem(encoded(name), "'" + name + "'" + missing);
    const std::string surrogate = "'\\X2\\D800\\X0\\.png'";
    const Taken taken = read(image(20, surrogate));
    ASSERT_EQ(taken.problems.size(), 1u);
    EXPECT_NE(taken.problems[0].reason.find(missing), std::string::npos);
    const std::string longest(100000, 'x');
    expectProblem(encoded(longest), "'" + longest.substr(0, 80) + "...'" + missing);
}

TEST_F(ImageFile, ReportsFileThatIsNotPng) {
    writeFile(model() / "empty.png", "");
    writeFile(model() / "cut.png", "\x89PNG\r\n\x1A");
    writeFile(model() / "photo.png", "\xFF\xD8\xFF\xE0 a JPEG with a wrong name");
    writeFile(model() / "text.png", "\x89PNG\n\x1A\n turned into a text file");
    fs::create_directory(model() / "folder.png");
    for (const std::string name : {"empty.png", "cut.png", "photo.png", "text.png", "folder.png"})
        expectProblem(encoded(name), "'" + name + "' is not a PNG file");
}

TEST_F(ImageFile, ReportsFileThatIsOpenForWriting) {
    const fs::path path = model() / "open.png";
    const std::unique_ptr<Velmor::FileStream> writer(Velmor::FileStream::createFileForWriting(wide(path)));
    const std::string bytes = png("open");
    ASSERT_TRUE(writer->write(bytes.size(), bytes.data()));
    expectProblem("'open.png'", "'open.png' cannot be read");
}

#if !defined(_WIN32)
TEST_F(ImageFile, IsNotReadFromAPipe) {
    ASSERT_EQ(mkfifo((model() / "pipe.png").c_str(), 0600), 0);
    expectProblem("'pipe.png'", "'pipe.png' is not a PNG file");
}

TEST_F(ImageFile, IsNotReadThroughALinkThatLeavesTheFolder) {
    const std::string reason =
        " leaves the folder of the model through a link; expected the relative path of a file in that folder";
    fs::create_directory(outer() / "models"); // its name begins like that of the folder of the model
    writeFile(outer() / "models" / "other.png", png("other"));
    fs::create_symlink("../outside.png", model() / "relative.png");
    fs::create_symlink(fs::absolute(outer() / "outside.png"), model() / "absolute.png");
    fs::create_symlink("relative.png", model() / "link to a link.png");
    fs::create_symlink("..", model() / "up");
    fs::create_symlink("../models", model() / "beside");
    fs::create_symlink("/dev", model() / "devices");
    for (const std::string name : {"relative.png", "absolute.png", "link to a link.png", "up/outside.png", "up\\outside.png",
                                   "beside/other.png", "devices/zero", "devices/null"})
        expectProblem(encoded(name), "'" + name + "'" + reason);
    expectProblem("'up%2Foutside.png'", "'up%2Foutside.png'" + reason);
}

TEST_F(ImageFile, IsReadThroughALinkThatStaysInTheFolder) {
    writeFile(model() / "textures" / "oak.png", png("oak"));
    fs::create_symlink("textures/oak.png", model() / "link.png");
    fs::create_symlink("textures", model() / "wood");
    fs::create_symlink("../model", model() / "again");
    expectImage("link.png", png("oak"), "link.png");
    expectImage("wood/oak.png", png("oak"), "oak.png");
    expectImage("again/inside.png", png("inside"), "inside.png");
}

TEST_F(ImageFile, OfModelInALinkedFolderIsRead) {
    fs::create_directory_symlink("model", outer() / "linked");
    const Taken taken = readWithin(Limits::forFile(0), image(20, "'inside.png'"), wide(outer() / "linked" / ""));
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(taken.textures.size(), 1u);
}
#endif

TEST_F(ImageFile, ReportsArgumentThatIsNotAText) {
    for (const char* argument : {"$", "*", "1", ".T.", "#21", "\"0F\"", "('inside.png')"})
        expectProblem(argument, "argument 6 is invalid; expected a text");
}

TEST_F(ImageFile, IsReadOncePerInstanceInTheOrderOfTheFile) {
    const Taken taken = read(image(30, "'inside.png'") + "#21=IFCBLOBTEXTURE(.T.,.F.,$,$,$,'PNG'," + binaryOf(png("b")) +
                             ");\n" + image(20, "'./inside.png'"));
    EXPECT_EQ(taken.reasons(), "");
    ASSERT_EQ(taken.textures.size(), 3u);
    const std::pair<std::uint64_t, std::string> expected[] = {{30, png("inside")}, {21, png("b")}, {20, png("inside")}};
    for (std::size_t i = 0; i < taken.textures.size(); ++i) {
        EXPECT_EQ(taken.textures[i].instance, expected[i].first);
        EXPECT_EQ(bytesOf(taken.textures[i]), expected[i].second);
    }
}

TEST_F(ImageFile, IsChargedEachTimeItIsRead) {
    writeFile(model() / "large.png", png(std::string(100000, 'x')));
    Limits limits = Limits::forFile(0);
    limits.workOfTextures = 350000;
    std::string data;
    for (int i = 0; i < 10; ++i)
        data += image(20 + i, "'large.png'");
    const Taken taken = read(data, limits);
    EXPECT_EQ(taken.textures.size(), 3u);
    ASSERT_EQ(taken.problems.size(), 7u);
    EXPECT_EQ(taken.problems[0].instance, 23u);
    EXPECT_NE(taken.problems[0].reason.find("more work than the limit for a file of this size"), std::string::npos);
}

TEST_F(ImageFile, ReportsFilesAboveTheLimitOfSize) {
    Limits limits = Limits::forFile(0);
    EXPECT_EQ(limits.bytesPerTexture, 256u << 20);
    limits.bytesPerTexture = 14;
    writeFile(model() / "larger.png", png("inside!"));
    const Taken taken = read(image(20, "'larger.png'") + image(21, "'inside.png'"), limits);
    EXPECT_EQ(taken.reasons(), "IFCIMAGETEXTURE: the image has 15 bytes; expected at most 14 (in the model's textures)\n");
    ASSERT_EQ(taken.textures.size(), 1u);
    EXPECT_EQ(taken.textures[0].instance, 21u);
}

TEST_F(ImageFile, ReportsFileWithoutFolderOfTheModel) {
    const Taken taken = readData(image(20, "'inside.png'") + image(21, "'../outside.png'"));
    EXPECT_TRUE(taken.textures.empty());
    ASSERT_EQ(taken.problems.size(), 2u);
    EXPECT_EQ(taken.problems[0].reason, "IFCIMAGETEXTURE: 'inside.png' cannot be read: the folder of the model is unknown "
                                        "(in the model's textures)");
    EXPECT_NE(taken.problems[1].reason.find("leaves the folder of the model"), std::string::npos);
}

TEST_F(ImageFile, OfModelReadByItsPathIsRead) {
    const fs::path path = model() / fs::path(u"\u00E4\u20AC.ifc");
    writeFile(path, stepFile(inMeters + image(20, "'inside.png'") + image(21, "'missing.png'")));
    Taken taken;
    readIfcModel(wide(path), taken);
    ASSERT_EQ(taken.textures.size(), 1u);
    EXPECT_EQ(taken.textures[0].name, "inside.png");
    EXPECT_EQ(bytesOf(taken.textures[0]), png("inside"));
    EXPECT_EQ(taken.reasons(), "IFCIMAGETEXTURE: 'missing.png': file not found in the folder of the model (in the model's "
                               "textures)\n");
}

TEST_F(ImageFile, OfModelReadByARelativePathIsRead) {
    writeFile(model() / "model.ifc", stepFile(inMeters + image(20, "'inside.png'")));
    const fs::path before = fs::current_path();
    for (const auto& [current, path] : {std::pair(model(), "model.ifc"), std::pair(outer(), "model/model.ifc"),
                                        std::pair(outer(), "model\\model.ifc"), std::pair(model(), "../model/model.ifc")}) {
        fs::current_path(current);
        Taken taken;
        readIfcModel(wide(path), taken);
        fs::current_path(before);
        EXPECT_EQ(taken.reasons(), "") << path;
        EXPECT_EQ(taken.textures.size(), 1u) << path;
    }
}

} // namespace
} // namespace velmor_tests
