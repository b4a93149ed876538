// Embedded images. Image files: ImageFileTest.cpp.

#include "importer/ifc/TextureSupport.h"

#include <string>
#include <utility>
#include <vector>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

/// A blob texture with these values of its last two attributes.
std::string blob(int instance, const std::string& own) {
    return "#" + std::to_string(instance) + "=IFCBLOBTEXTURE(.T.,.F.,'DIFFUSE',$,('a','b')," + own + ");\n";
}

std::string pngBlob(int instance, const std::string& tail) {
    return blob(instance, "'PNG'," + binaryOf(png(tail)));
}

TEST(BlobTexture, ReadsPngImageCompletely) {
    std::string tail;
    for (int byte = 0; byte < 256; ++byte)
        tail += static_cast<char>(byte);
    const Taken taken = readData(pngBlob(20, tail));
    EXPECT_EQ(taken.reasons(), "");
    ASSERT_EQ(taken.textures.size(), 1u);
    EXPECT_EQ(taken.textures[0].instance, 20u);
    EXPECT_EQ(taken.textures[0].line, 12u);
    EXPECT_EQ(taken.textures[0].name, "");
    EXPECT_EQ(bytesOf(taken.textures[0]), png(tail));
}

TEST(BlobTexture, ReadsAttributesAtThePositionsOfTheSchema) {
    const std::string newer = pngBlob(20, "x");
    const std::string older = "#20=IFCBLOBTEXTURE(.T.,.T.,.TEXTURE.,$,'PNG'," + binaryOf(png("x")) + ");\n";
    for (const auto& [schema, valid, invalid] :
         {std::tuple("IFC2X3", older, newer), std::tuple("IFC2X3_TC1", older, newer), std::tuple("IFC4", newer, older),
          std::tuple("IFC4_ADD2", newer, older), std::tuple("IFC4X3_ADD2", newer, older)}) {
        EXPECT_EQ(readText(stepFile(inMeters + valid, schema)).textures.size(), 1u) << schema;
        const Taken taken = readText(stepFile(inMeters + invalid, schema));
        EXPECT_TRUE(taken.textures.empty()) << schema;
        ASSERT_EQ(taken.problems.size(), 1u) << schema;
        EXPECT_EQ(taken.problems[0].instance, 20u) << schema;
        EXPECT_EQ(taken.problems[0].reason.find("IFCBLOBTEXTURE: argument "), 0u) << taken.reasons();
    }
}

TEST(BlobTexture, AcceptsFormatInAnyCase) {
    for (const char* format : {"'PNG'", "'png'", "'Png'"}) {
        const Taken taken = readData(blob(20, std::string(format) + "," + binaryOf(png(""))));
        EXPECT_EQ(taken.reasons(), "");
        EXPECT_EQ(taken.textures.size(), 1u) << format;
    }
}

TEST(BlobTexture, CountsOtherFormatsInOneProblem) {
    const Taken taken = readData(pngBlob(20, "one") + blob(21, "'JPEG',\"0FFD8FFE0\"") + blob(22, "'GIF',$") +
                                 blob(23, "'BMP',\"0424D\"") + blob(24, "'',\"0\"") + pngBlob(25, "two"));
    ASSERT_EQ(taken.problems.size(), 1u) << taken.reasons();
    EXPECT_EQ(taken.problems[0].reason, "IFCBLOBTEXTURE: only PNG images are imported; textures in other formats: 4");
    EXPECT_EQ(taken.problems[0].instance, 21u);
    EXPECT_EQ(taken.problems[0].line, 13u);
    ASSERT_EQ(taken.textures.size(), 2u);
    EXPECT_EQ(bytesOf(taken.textures[0]), png("one"));
    EXPECT_EQ(bytesOf(taken.textures[1]), png("two"));
}

TEST(BlobTexture, AcceptsDigitsOfEitherCaseAndLineBreaks) {
    for (const char* code : {"\"089504e470d0a1a0a6B\"", "\"0\n89504E47\r\n0D0A1A0\nA6B\n\""}) {
        const Taken taken = readData(blob(20, std::string("'PNG',") + code));
        EXPECT_EQ(taken.reasons(), "");
        ASSERT_EQ(taken.textures.size(), 1u) << code;
        EXPECT_EQ(bytesOf(taken.textures[0]), png("k")) << code;
    }
}

/// Reads an invalid texture #20 and a valid texture #21.
void expectOneProblem(const std::string& own, const std::string& reason) {
    SCOPED_TRACE(own);
    const Taken taken = readData(blob(20, own) + pngBlob(21, "valid"));
    ASSERT_EQ(taken.problems.size(), 1u) << taken.reasons();
    EXPECT_EQ(taken.problems[0].instance, 20u);
    EXPECT_EQ(taken.problems[0].line, 12u);
    EXPECT_EQ(taken.problems[0].reason, "IFCBLOBTEXTURE: " + reason + " (in the model's textures)");
    ASSERT_EQ(taken.textures.size(), 1u);
    EXPECT_EQ(taken.textures[0].instance, 21u);
}

TEST(BlobTexture, ReportsDamagedBinary) {
    const std::string reason = "its binary is damaged; expected 0 and two hexadecimal digits for each byte";
    const std::string digits = binaryOf(png("k")).substr(2, 18);
    for (const std::string& code :
         {std::string(), digits, "1" + digits, "2" + digits, "3" + digits, "4" + digits, "F" + digits, " 0" + digits,
          "0" + digits + "0", "0" + digits.substr(1), "0" + digits.substr(2) + "G0", "0" + digits + " ", "0x" + digits,
          "0" + digits + "-1", "0" + digits + "\\\\", "0" + digits + "\xC3\xA4"})
        expectOneProblem("'PNG',\"" + code + "\"", reason);
}

TEST(BlobTexture, ReportsMissingPngSignature) {
    const std::string reason = "its image does not begin with the signature of a PNG file";
    for (const std::string& image : {std::string(), std::string("\x89PNG\r\n\x1A"), std::string("\xFF\xD8\xFF\xE0 a JPEG"),
                                     " " + png("k"), std::string("\x89PNG\n\x1A\n a text file"), std::string(100, '\0')})
        expectOneProblem("'PNG'," + binaryOf(image), reason);
}

TEST(BlobTexture, ReportsArgumentsOfAnotherType) {
    const std::string noText = "argument 6 is invalid; expected a text";
    const std::string noBinary = "argument 7 is invalid; expected a binary";
    for (const std::string format : {"$", "*", "1", ".PNG.", "#20", "(1)"})
        expectOneProblem(format + "," + binaryOf(png("")), noText);
    for (const char* code : {"$", ".T.", "'089504E470D0A1A0A'", "(.T.,.F.)", "#20"}) // IFC2X3 declares a BOOLEAN
        expectOneProblem(std::string("'PNG',") + code, noBinary);
    expectOneProblem("'PNG'", "argument 7 is missing; expected a binary");
}

TEST(PixelTexture, AreCountedInOneProblem) {
    const std::string pixels = "=IFCPIXELTEXTURE(.T.,.T.,$,$,$,1,2,3,(\"0FF0000\",\"000FF00\"));\n";
    const Taken taken = readData("#20" + pixels + pngBlob(21, "") + "#22" + pixels + "#23=IFCPIXELTEXTURE();\n");
    ASSERT_EQ(taken.problems.size(), 1u) << taken.reasons();
    EXPECT_EQ(taken.problems[0].reason, "IFCPIXELTEXTURE: textures of this kind are not imported: 3");
    EXPECT_EQ(taken.problems[0].instance, 20u);
    EXPECT_EQ(taken.problems[0].line, 12u);
    EXPECT_EQ(taken.textures.size(), 1u);
}

TEST(Textures, PrecedeProductsInTheOrderOfTheFile) {
    const Taken taken = readData("#10=IFCWALL('1234567890123456789012',$,$,$,$,$,$,$);\n" + pngBlob(30, "a") +
                                 pngBlob(20, "b") + pngBlob(40, "a"));
    EXPECT_EQ(taken.reasons(), "");
    EXPECT_EQ(taken.products.size(), 1u);
    ASSERT_EQ(taken.textures.size(), 3u);
    EXPECT_EQ(taken.textures[0].instance, 30u);
    EXPECT_EQ(taken.textures[1].instance, 20u);
    EXPECT_EQ(taken.textures[2].instance, 40u);
    EXPECT_EQ(bytesOf(taken.textures[2]), png("a")) << "the same image again";
}

TEST(Textures, AdvanceTheProgress) {
    std::string data;
    for (int i = 0; i < 10; ++i)
        data += pngBlob(20 + i, "");
    const Taken taken = readData(data);
    EXPECT_GE(taken.steps.size(), 10u);
    EXPECT_TRUE(std::is_sorted(taken.steps.begin(), taken.steps.end()));
    EXPECT_EQ(taken.steps.back(), 1.0);
}

TEST(Textures, ImageThatFillsItsFileIsWithinTheLimits) {
    const std::string tail(3000000, 'x');
    const Taken taken = readData(pngBlob(20, tail));
    EXPECT_EQ(taken.reasons(), "");
    ASSERT_EQ(taken.textures.size(), 1u);
    EXPECT_EQ(bytesOf(taken.textures[0]), png(tail));
}

TEST(Textures, LimitOfWorkDoesNotAffectShapes) {
    Limits limits = Limits::forFile(0);
    limits.workOfTextures = 1000;
    std::string data = beamOf("#13") + "#13=IFCBLOCK(#9,1.,1.,1.);\n";
    for (int i = 0; i < 4; ++i)
        data += pngBlob(20 + i, std::string(150, 'x')); // about 400 bytes each
    const Taken taken = readWithin(limits, data);
    EXPECT_EQ(taken.textures.size(), 2u);
    ASSERT_EQ(taken.problems.size(), 2u);
    EXPECT_EQ(taken.problems[0].instance, 22u);
    EXPECT_EQ(
        taken.problems[0].reason,
        "IFCBLOBTEXTURE: the objects of the file take more work than the limit for a file of this size (in the model's "
        "textures)");
    EXPECT_EQ(taken.problems[1].instance, 23u);
    ASSERT_EQ(taken.products.size(), 1u);
    EXPECT_EQ(taken.products[0].shape, Shape::Solid);
}

TEST(Textures, ReportsImagesAboveTheLimitOfSize) {
    Limits limits = Limits::forFile(0);
    limits.bytesPerTexture = 100;
    const Taken taken = readWithin(limits, pngBlob(20, std::string(93, 'x')) + pngBlob(21, std::string(92, 'x')));
    ASSERT_EQ(taken.textures.size(), 1u);
    EXPECT_EQ(taken.textures[0].png.size(), 100u);
    EXPECT_EQ(taken.reasons(), "IFCBLOBTEXTURE: the image has 101 bytes; expected at most 100 (in the model's textures)\n");
}

} // namespace
} // namespace velmor_tests
