// Textures of real models, from the folder that VELMOR_MODELS names, beside what a plain search in their texts finds.

#include "importer/ifc/ReaderSupport.h"
#include "importer/ifc/TextureSupport.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace velmor_tests {

using namespace importer::ifc;
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

Taken readPath(const fs::path& path) {
    Taken taken;
#if defined(_WIN32)
    readIfcModel(path.wstring(), taken);
#else
    readIfcModel(path.u16string(), taken);
#endif
    return taken;
}

/// What stands between the last two of these marks in each instance of an entity that has its line for itself.
std::map<std::uint64_t, std::string> lastArguments(const std::string& text, const std::string& entity, char mark) {
    std::map<std::uint64_t, std::string> found;
    for (std::size_t at = text.find(entity + "("); at != std::string::npos; at = text.find(entity + "(", at + 1)) {
        const std::size_t last = text.rfind(mark, text.find(';', at));
        const std::size_t first = text.rfind(mark, last - 1);
        found[std::stoull(text.substr(text.rfind('#', at) + 1))] = text.substr(first + 1, last - first - 1);
    }
    return found;
}

/// Whether bytes are a PNG image's chunks, from IHDR to IEND and no further.
bool isWholePng(const std::string& image) {
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

TEST(Models, TexturesAreThoseOfTheirTexts) {
    const char* folder = std::getenv("VELMOR_MODELS");
    if (!folder || !*folder) {
        std::puts("VELMOR_MODELS is not set: no real model was read");
        return;
    }
    std::size_t models = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() != ".ifc")
            continue;
        SCOPED_TRACE(entry.path().filename().string());
        ++models;
        const std::string text = contentOf(entry.path());
        const Taken taken = readPath(entry.path());
        std::map<std::uint64_t, std::string> expected; // binary or bytes, by the instance
        for (const auto& [number, digits] : lastArguments(text, "IFCBLOBTEXTURE", '"'))
            expected[number] = "\"" + digits + "\"";
        std::map<std::uint64_t, std::string> missing;
        for (const auto& [number, name] : lastArguments(text, "IFCIMAGETEXTURE", '\'')) {
            if (fs::exists(entry.path().parent_path() / name))
                expected[number] = binaryOf(contentOf(entry.path().parent_path() / name));
            else
                missing[number] = "'" + name + "'";
        }
        ASSERT_EQ(taken.textures.size(), expected.size());
        for (const Texture& texture : taken.textures) {
            ASSERT_EQ(expected.count(texture.instance), 1u);
            EXPECT_EQ(binaryOf(bytesOf(texture)), expected[texture.instance]);
            EXPECT_TRUE(isWholePng(bytesOf(texture)));
        }
        std::size_t told = 0;
        for (const Problem& problem : taken.problems) {
            if (problem.reason.find("IFCIMAGETEXTURE: ") != 0)
                continue;
            ++told;
            EXPECT_NE(problem.reason.find(missing[problem.instance] + ": there is no such file"), std::string::npos);
        }
        EXPECT_EQ(told, missing.size());
        std::printf("%s: %zu textures, %zu missing\n", entry.path().filename().string().c_str(), taken.textures.size(),
                    missing.size());
    }
    EXPECT_NE(models, 0u) << "no *.ifc in " << folder;
}

TEST(Models, TheImageOfAKnownOneIsWhole) {
    const char* folder = std::getenv("VELMOR_MODELS");
    const fs::path path = fs::path(folder ? folder : "") / "tessellation-with-blob-texture.ifc";
    if (!fs::exists(path))
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
