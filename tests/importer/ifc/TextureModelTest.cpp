// Textures of real models, compared with an independent search in their text.

#include "importer/ifc/RealModels.h"
#include "importer/ifc/TextureSupport.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <string>

namespace velmor_tests {

using namespace importer::ifc;

namespace {

namespace fs = std::filesystem;

Taken readPath(const fs::path& path) {
    Taken taken;
    readIfcModel(wide(path), taken);
    return taken;
}

/// The text between the last two of these marks in each instance of an entity. An instance must be on a line of its own.
std::map<std::uint64_t, std::string> lastArguments(const std::string& text, const std::string& entity, char mark) {
    std::map<std::uint64_t, std::string> found;
    for (std::size_t at = text.find(entity + "("); at != std::string::npos; at = text.find(entity + "(", at + 1)) {
        const std::size_t last = text.rfind(mark, text.find(';', at));
        const std::size_t first = text.rfind(mark, last - 1);
        found[std::stoull(text.substr(text.rfind('#', at) + 1))] = text.substr(first + 1, last - first - 1);
    }
    return found;
}

/// Whether the bytes are the chunks of a PNG image from IHDR to IEND, and nothing else.
bool isCompletePng(const std::string& image) {
    std::size_t at = 8;
    for (bool first = true; at + 12 <= image.size(); first = false) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8 | static_cast<unsigned char>(image[at + i]);
        const std::string type = image.substr(at + 4, 4);
        if (first != (type == "IHDR") || length > image.size())
            return false;
        at += 12 + length;
        if (type == "IEND")
            return at == image.size();
    }
    return false;
}

TEST(Models, TexturesAreThoseOfTheirText) {
    for (const fs::path& path : realModels()) {
        SCOPED_TRACE(path.filename().string());
        const std::string text = readFile(path);
        const Taken taken = readPath(path);
        std::map<std::uint64_t, std::string> expected; // the image as a binary, by the number of the instance
        std::map<std::uint64_t, std::string> missing;  // the name of the file
        for (const auto& [number, digits] : lastArguments(text, "IFCBLOBTEXTURE", '"'))
            expected[number] = "\"" + digits + "\"";
        for (const auto& [number, name] : lastArguments(text, "IFCIMAGETEXTURE", '\''))
            if (fs::exists(path.parent_path() / name))
                expected[number] = binaryOf(readFile(path.parent_path() / name));
            else
                missing[number] = "'" + name + "'";
        ASSERT_EQ(taken.textures.size(), expected.size());
        for (const Texture& texture : taken.textures) {
            ASSERT_EQ(expected.count(texture.instance), 1u);
            EXPECT_EQ(binaryOf(bytesOf(texture)), expected[texture.instance]);
            EXPECT_TRUE(isCompletePng(bytesOf(texture)));
        }
        std::size_t reported = 0;
        for (const Problem& problem : taken.problems) {
            if (problem.reason.find("IFCIMAGETEXTURE: ") != 0)
                continue;
            ++reported;
            EXPECT_NE(problem.reason.find(missing[problem.instance] + ": file not found"), std::string::npos);
        }
        EXPECT_EQ(reported, missing.size());
        std::printf("%s: %zu textures, %zu missing\n", path.filename().string().c_str(), taken.textures.size(),
                    missing.size());
    }
}

TEST(Models, ImageOfAKnownModelIsComplete) {
    const fs::path path = realModel("tessellation-with-blob-texture.ifc");
    if (path.empty())
        return;
    const Taken taken = readPath(path);
    ASSERT_EQ(taken.textures.size(), 1u);
    EXPECT_EQ(taken.textures[0].instance, 57u);
    EXPECT_EQ(taken.textures[0].png.size(), 6618u);
    const std::string header = bytesOf(taken.textures[0]).substr(12, 13);
    EXPECT_EQ(header, std::string("IHDR\0\0\x01\0\0\0\x01\0\x08", 13)) << "256 by 256 pixels";
}

} // namespace
} // namespace velmor_tests
