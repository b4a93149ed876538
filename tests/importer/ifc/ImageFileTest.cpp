// Images beside a model: which files its texts lead to, and which never.

#include <Velmor/Platform.h>

#include "importer/ifc/TextureSupport.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
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

using velmor_tests::TemporaryFolder;
using velmor_tests::writeFile;
namespace fs = std::filesystem;

Velmor::WideString wide(const fs::path& path) {
#if defined(_WIN32)
    return path.wstring();
#else
    return path.u16string();
#endif
}

/// A text as it stands in a STEP file. Its bytes are taken as UTF-8.
std::string encoded(const std::string& text) {
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' || c == '\\' ? std::string(2, c) : std::string(1, c);
    return result + "'";
}

std::string image(int instance, const std::string& encodedName) {
    return "#" + std::to_string(instance) + "=IFCIMAGETEXTURE(.T.,.F.,$,$,$," + encodedName + ");\n";
}

/// A folder "outer" with an image, and in it the folder "model" of the models.
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

    /// Reads the one texture #20 with this name.
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

    /// Reads a texture that yields one problem and spoils no other.
    void expectRefusal(const std::string& encodedName, const std::string& reason) const {
        SCOPED_TRACE(encodedName);
        const Taken taken = read(image(20, encodedName) + image(21, "'inside.png'"));
        ASSERT_EQ(taken.problems.size(), 1u) << taken.reasons();
        EXPECT_EQ(taken.problems[0].instance, 20u);
        EXPECT_EQ(taken.problems[0].line, 12u);
        EXPECT_EQ(taken.problems[0].reason, "IFCIMAGETEXTURE: " + reason + " (in the model's textures)");
        ASSERT_EQ(taken.textures.size(), 1u);
        EXPECT_EQ(taken.textures[0].instance, 21u);
    }

    TemporaryFolder folder_;
};

TEST_F(ImageFile, BesideTheModelArrivesWholeWithItsName) {
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

TEST_F(ImageFile, ItsNameStandsWhereTheSchemaHasIt) {
    const auto read = [&](const std::string& schema, const std::string& attributes) {
        const step::File file = fileOf(stepFile(inMetres + "#20=IFCIMAGETEXTURE(" + attributes + ");\n", schema));
        Taken taken;
        readProducts(file, Limits::forFile(0), taken, wide(model() / ""));
        return taken;
    };
    EXPECT_EQ(read("IFC2X3", ".T.,.T.,.TEXTURE.,$,'inside.png'").textures.size(), 1u);
    EXPECT_EQ(read("IFC4", ".T.,.T.,'DIFFUSE',$,$,'inside.png'").textures.size(), 1u);
    EXPECT_EQ(read("IFC4X3", ".T.,.T.,'DIFFUSE',$,$,'inside.png'").textures.size(), 1u);
    EXPECT_EQ(read("IFC4", ".T.,.T.,'DIFFUSE',$,'inside.png'").reasons(),
              "IFCIMAGETEXTURE: argument 6 of 5 is not as expected: a text (in the model's textures)\n");
}

TEST_F(ImageFile, MayLieBelowTheFolderWithEitherSeparator) {
    writeFile(model() / "textures" / "wood" / "oak.png", png("oak"));
    for (const char* name :
         {"textures/wood/oak.png", "textures\\wood\\oak.png", "textures\\wood/oak.png", "./textures//wood/./oak.png",
          "textures%2Fwood%2foak.png", "textures%5Cwood%5coak.png", ".\\textures\\.\\wood\\\\oak.png"})
        expectImage(name, png("oak"), "oak.png");
}

TEST_F(ImageFile, EscapesOfUrlsAreDecodedAsUtf8) {
    writeFile(model() / fs::path(u"a b.png"), png("blank"));
    writeFile(model() / fs::path(u"\u00E4\u20AC.png"), png("UTF-8"));
    writeFile(model() / fs::path(u"\U0001F600.png"), png("beyond"));
    expectImage("a%20b.png", png("blank"), "a b.png");
    expectImage("a b.png", png("blank"), "a b.png");
    expectImage("%61%20%62%2E%70ng", png("blank"), "a b.png");
    expectImage("%C3%A4%e2%82%ac.png", png("UTF-8"), "\xC3\xA4\xE2\x82\xAC.png");
    expectImage("\xC3\xA4%E2%82%AC.png", png("UTF-8"), "\xC3\xA4\xE2\x82\xAC.png");
    expectImage("%E4\xE2\x82\xAC.png", png("UTF-8"), "\xC3\xA4\xE2\x82\xAC.png"); // what is no UTF-8 is ISO 8859-1
    const Taken beyond = read(image(20, "'%F0%9F%98%80.png'") + image(21, "'\\X4\\0001F600\\X0\\.png'"));
    EXPECT_EQ(beyond.reasons(), "");
    ASSERT_EQ(beyond.textures.size(), 2u);
    EXPECT_EQ(bytesOf(beyond.textures[0]), png("beyond"));
    EXPECT_EQ(bytesOf(beyond.textures[1]), png("beyond"));
}

TEST_F(ImageFile, APercentSignInItsOwnNameGoesBeforeAnEscape) {
    writeFile(model() / "100%20.png", png("as it stands"));
    expectImage("100%20.png", png("as it stands"), "100%20.png");
    writeFile(model() / "100%.png", png("no digits"));
    expectImage("100%.png", png("no digits"), "100%.png");
    expectImage("100%25.png", png("no digits"), "100%.png");
    writeFile(model() / "%zz%4", png("no digits"));
    expectImage("%zz%4", png("no digits"), "%zz%4");
}

TEST_F(ImageFile, IsNeverLookedForElsewhere) {
    const std::string end = "; expected the relative path of a file beside the model";
    const std::string absolute = " is absolute" + end;
    const std::string colon = " has a colon, as drives and URLs have" + end;
    const std::string leaves = " leads out of its folder" + end;
    const std::string dropped = " has a part that ends with a dot or a space, which Windows would drop" + end;
    const std::string device = " names a device" + end;
    const std::string nothing = " names no file" + end;
    const std::string control = " has control characters" + end;
    const std::pair<std::string, std::string> names[] = {
        {"", " is empty" + end},
        {"/inside.png", absolute},
        {"\\inside.png", absolute},
        {"//server/share/inside.png", absolute},
        {"\\\\server\\share\\inside.png", absolute},
        {"\\\\?\\C:\\inside.png", absolute},
        {"\\\\.\\pipe\\inside.png", absolute},
        {"%2Finside.png", absolute},
        {"%5cinside.png", absolute},
        {"/dev/zero", absolute},
        {"C:\\inside.png", colon},
        {"C:inside.png", colon},
        {"c:/inside.png", colon},
        {"c%3Ainside.png", colon},
        {"file:inside.png", colon},
        {"file:///inside.png", colon},
        {"FILE://localhost/inside.png", colon},
        {"http://example.com/inside.png", colon},
        {"data:image/png;base64,iVBORw0KGgo=", colon},
        {"inside.png:stream", colon},
        {"inside.png::$DATA", colon},
        {"..", leaves},
        {"../outside.png", leaves},
        {"..\\outside.png", leaves},
        {"../model/inside.png", leaves},
        {"textures/../inside.png", leaves},
        {"textures/../../outside.png", leaves},
        {"./../outside.png", leaves},
        {"%2e%2e/outside.png", leaves},
        {".%2E%2Foutside.png", leaves},
        {"..%5coutside.png", leaves},
        {"inside.png%2f..%2f..%2foutside.png", leaves},
        {"%C0%AE./outside.png", dropped}, // overlong forms are no UTF-8, hence no dots
        {".. /outside.png", dropped},
        {".../outside.png", dropped},
        {"inside.png.", dropped},
        {"inside.png ", dropped},
        {"inside.png%20", dropped},
        {"x./outside.png", dropped},
        {"nul", device},
        {"NUL.png", device},
        {"Con", device},
        {"con.tar.png", device},
        {"aux .png", device},
        {"PRN", device},
        {"textures/COM1.png", device},
        {"com0", device},
        {"lpt9.png", device},
        {"COM\xC2\xB9.png", device},
        {"LPT\xC2\xB3", device},
        {"conin$", device},
        {"CONOUT$.png", device},
        {"%6Eul", device},
        {"nul/inside.png", device},
        {".", nothing},
        {"./", nothing},
        {"textures/", nothing},
        {"inside.png/", nothing},
        {"inside.png/.", nothing},
        {"textures\\", nothing},
        {"inside%00.png", control},
        {"inside.png%0A", control},
        {"in\tside.png", control},
        {"%7F", control},
    };
    for (const auto& [name, reason] : names)
        expectRefusal(encoded(name), "'" + name + "'" + reason);
}

TEST_F(ImageFile, NamesThatOnlyLookLikeDevicesAreRead) {
    for (const char* name : {"com.png", "COM10.png", "console.png", "null.png", "lpt", "COMX.png", ".nul", "my nul.png"}) {
        writeFile(model() / name, png(name));
        expectImage(name, png(name), name);
    }
}

TEST_F(ImageFile, ThatIsMissingIsAProblem) {
    const std::string missing = ": there is no such file beside the model";
    for (const std::string& name : {std::string("missing.png"), std::string("outside.png"), std::string("no/inside.png"),
                                    std::string("inside.png/inside.png"), std::string("inside.png?x=1"),
                                    std::string("*.png"), std::string("~/inside.png"), std::string("%TEMP%")})
        expectRefusal(encoded(name), "'" + name + "'" + missing);
    const std::string surrogate = "'\\X2\\D800\\X0\\.png'";
    const Taken taken = read(image(20, surrogate));
    ASSERT_EQ(taken.problems.size(), 1u);
    EXPECT_NE(taken.problems[0].reason.find(missing), std::string::npos);
    const std::string longest(100000, 'x');
    expectRefusal(encoded(longest), "'" + longest.substr(0, 80) + "...'" + missing);
}

TEST_F(ImageFile, ThatIsNoPngFileIsAProblem) {
    writeFile(model() / "empty.png", "");
    writeFile(model() / "cut.png", "\x89PNG\r\n\x1A");
    writeFile(model() / "photo.png", "\xFF\xD8\xFF\xE0 a JPEG with a wrong name");
    writeFile(model() / "text.png", "\x89PNG\n\x1A\n turned into a text file");
    fs::create_directory(model() / "folder.png");
    for (const std::string name : {"empty.png", "cut.png", "photo.png", "text.png", "folder.png"})
        expectRefusal(encoded(name), "'" + name + "' is no PNG file");
}

TEST_F(ImageFile, ThatIsHeldBySomebodyIsAProblem) {
    const auto path = model() / "held.png";
    const std::unique_ptr<Velmor::FileStream> held(Velmor::FileStream::createFileForWriting(wide(path)));
    const std::string bytes = png("held");
    ASSERT_TRUE(held->write(bytes.size(), bytes.data()));
    expectRefusal("'held.png'", "'held.png' cannot be read");
}

#if !defined(_WIN32)
TEST_F(ImageFile, ThatIsAPipeIsNotWaitedFor) {
    ASSERT_EQ(mkfifo((model() / "pipe.png").c_str(), 0600), 0);
    expectRefusal("'pipe.png'", "'pipe.png' is no PNG file");
}

TEST_F(ImageFile, IsNotReadThroughALinkThatLeadsOut) {
    const std::string reason = " leads out of its folder by a link; expected the relative path of a file beside the model";
    fs::create_directory(outer() / "models"); // begins as the model's folder is called, and is another one
    writeFile(outer() / "models" / "other.png", png("other"));
    fs::create_symlink("../outside.png", model() / "relative.png");
    fs::create_symlink(fs::absolute(outer() / "outside.png"), model() / "absolute.png");
    fs::create_symlink("relative.png", model() / "link to a link.png");
    fs::create_symlink("..", model() / "up");
    fs::create_symlink("../models", model() / "beside");
    fs::create_symlink("/dev", model() / "devices");
    for (const std::string name : {"relative.png", "absolute.png", "link to a link.png", "up/outside.png", "up\\outside.png",
                                   "beside/other.png", "devices/zero", "devices/null"})
        expectRefusal(encoded(name), "'" + name + "'" + reason);
    expectRefusal("'up%2Foutside.png'", "'up%2Foutside.png'" + reason);
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

// What counts is where the folder is, not how it was reached.
TEST_F(ImageFile, OfAModelInALinkedFolderIsFound) {
    fs::create_directory_symlink("model", outer() / "linked");
    const Taken taken = readWithin(Limits::forFile(0), image(20, "'inside.png'"), wide(outer() / "linked" / ""));
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(taken.textures.size(), 1u);
}
#endif

TEST_F(ImageFile, AnArgumentThatIsNoTextIsAProblem) {
    for (const char* argument : {"$", "*", "1", ".T.", "#21", "\"0F\"", "('inside.png')"})
        expectRefusal(argument, "argument 6 of 6 is not as expected: a text");
}

TEST_F(ImageFile, ArrivesOnceForEachInstanceInTheOrderOfTheFile) {
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

TEST_F(ImageFile, ReadAgainAndAgainItIsChargedEachTime) {
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
    EXPECT_NE(taken.problems[0].reason.find("more work than a file of its size may ask for"), std::string::npos);
}

TEST_F(ImageFile, BeyondTheLargestIsAProblem) {
    Limits limits = Limits::forFile(0);
    EXPECT_EQ(limits.bytesPerTexture, 256u << 20);
    limits.bytesPerTexture = 14;
    writeFile(model() / "larger.png", png("inside!"));
    const Taken taken = read(image(20, "'larger.png'") + image(21, "'inside.png'"), limits);
    EXPECT_EQ(taken.reasons(), "IFCIMAGETEXTURE: the image has 15 bytes; expected at most 14 (in the model's textures)\n");
    ASSERT_EQ(taken.textures.size(), 1u);
    EXPECT_EQ(taken.textures[0].instance, 21u);
}

TEST_F(ImageFile, WithoutTheFolderOfTheModelIsAProblem) {
    const Taken taken = readData(image(20, "'inside.png'") + image(21, "'../outside.png'"));
    EXPECT_TRUE(taken.textures.empty());
    ASSERT_EQ(taken.problems.size(), 2u);
    EXPECT_EQ(taken.problems[0].reason, "IFCIMAGETEXTURE: 'inside.png' cannot be had: the folder of the model is not known "
                                        "(in the model's textures)");
    EXPECT_NE(taken.problems[1].reason.find("leads out of its folder"), std::string::npos);
}

TEST_F(ImageFile, OfAModelReadByItsPathIsFound) {
    const fs::path path = model() / fs::path(u"\u00E4\u20AC.ifc");
    writeFile(path, stepFile(inMetres + image(20, "'inside.png'") + image(21, "'missing.png'")));
    Taken taken;
    readIfcModel(wide(path), taken);
    ASSERT_EQ(taken.textures.size(), 1u);
    EXPECT_EQ(taken.textures[0].name, "inside.png");
    EXPECT_EQ(bytesOf(taken.textures[0]), png("inside"));
    EXPECT_EQ(taken.reasons(), "IFCIMAGETEXTURE: 'missing.png': there is no such file beside the model (in the model's "
                               "textures)\n");
}

TEST_F(ImageFile, OfAModelReadByARelativePathIsFound) {
    writeFile(model() / "model.ifc", stepFile(inMetres + image(20, "'inside.png'")));
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
