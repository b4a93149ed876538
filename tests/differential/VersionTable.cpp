#include "Table.h"
#include "platform/PortableExecutable.h"
#include "platform/Tools.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace velmor_tests {
namespace {

// Offsets and sizes in a program file with one resource and no other sections.
constexpr std::size_t optionalHeaderBegin = 88;
constexpr std::size_t resourceSectionBegin = 512;
constexpr std::size_t resourceTreeSize = 88;
constexpr std::size_t resourceSectionSize = resourceTreeSize + 92;

using Range = std::pair<std::size_t, std::size_t>; ///< Offset and size.

template <class Ranges>
bool isWithin(const Ranges& ranges, std::size_t at) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const Range& range) { return at >= range.first && at < range.first + range.second; });
}

/// Whether a byte is necessary to find or to identify the version. With another value there the file is damaged.
bool locatesTheVersion(const PortableExecutable& program, std::size_t at) {
    const std::size_t sectionHeader = optionalHeaderBegin + (program.wide ? 240 : 224);
    const std::size_t resourceDirectory = optionalHeaderBegin + (program.wide ? 128 : 112);
    const std::size_t tree = resourceSectionBegin;
    const std::size_t block = tree + resourceTreeSize;
    const Range ranges[]{
        {64, 4},                  // "PE"
        {70, 2},                  // number of sections
        {resourceDirectory, 4},   // address of the resources
        {sectionHeader + 12, 12}, // address, size and offset of the section
        {tree + 12, 4},           // types: number of entries
        {tree + 20, 4},           // types: offset
        {tree + 36, 4},           // ids: number of entries
        {tree + 44, 4},           // ids: offset
        {tree + 68, 4},           // language: offset
        {tree + 72, 4},           // address of the block
        {block, 38},              // lengths, type and key of the block
        {block + 40, 4},          // signature of the fixed part
    };
    return isWithin(ranges, at);
}

/// Whether only some values of a byte damage the file.
bool isAmbiguous(const PortableExecutable& program, std::size_t at) {
    const Range ranges[]{
        {optionalHeaderBegin + (program.wide ? 240 : 224) + 39, 1}, // whether the section is readable
        {resourceSectionBegin + 60, 4},                             // languages: number of entries
        {resourceSectionBegin + 76, 4},                             // size of the block
    };
    return isWithin(ranges, at);
}

class Versions {
public:
    Version of(const std::string& content, bool damaged = false) {
        // A new file is faster: truncating an existing file waits for the disk.
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
        writeFile(path_, content);
        return productVersion(path_, damaged);
    }

    void print(const char* what, const PortableExecutable& program, bool damaged = false) {
        velmor_tests::print(std::string("version ") + what + ": " + shown(of(bytesOf(program), damaged)));
    }

    /// The versions of the file truncated to every length.
    void printCuts(const char* what, const PortableExecutable& program) {
        const std::string content = bytesOf(program);
        Runs runs(std::string("cut ") + what);
        for (std::size_t length = 0; length <= content.size(); ++length)
            runs.add(length, shown(of(content.substr(0, length), length < content.size())));
    }

    /// The versions of the file with one changed bit, for some bits of each byte. "=" is the version of the unchanged file,
    /// "-" is a failure.
    void printFlips(const char* what, const PortableExecutable& program, const std::vector<int>& bits) {
        const std::string content = bytesOf(program);
        const Version whole = of(content);
        Runs runs(std::string("flip ") + what);
        std::string damaged = content;
        for (std::size_t at = 0; at < resourceSectionBegin + resourceSectionSize; ++at) {
            if (isAmbiguous(program, at))
                continue;
            std::string line;
            for (const int bit : bits) {
                damaged[at] = static_cast<char>(content[at] ^ 1 << bit);
                const Version version = of(damaged, locatesTheVersion(program, at));
                line += version == whole ? "=" : version == Version{false, {}} ? "-" : " " + shown(version) + " ";
            }
            damaged[at] = content[at];
            runs.add(at, line);
        }
    }

private:
    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "program.dll";
};

/// Files with an unusual type, id, language or version block.
void printVariants(Versions& versions, bool wide) {
    const auto one = [&](const char* what, auto change, bool damaged = false) {
        PortableExecutable changed;
        changed.wide = wide;
        change(changed);
        versions.print(what, changed, damaged);
    };
    constexpr bool damaged = true;
    one("other type", [](auto& p) { p.type = 10; });
    one("other id", [](auto& p) { p.id = 2; });
    one("id 0", [](auto& p) { p.id = 0; });
    one("no language", [](auto& p) { p.resources.clear(); });
    one("neutral language", [](auto& p) { p.resources[0].language = 0; });
    one("German", [](auto& p) { p.resources[0].language = 0x407; });
    const auto signature = [](auto& p) { p.resources[0].signature = 0x12345678; };
    one("wrong signature", signature, damaged);
    const auto length = [](std::uint16_t value) { return [value](auto& p) { p.resources[0].valueLength = value; }; };
    one("no fixed part told", length(0), damaged);
    one("short fixed part told", length(20), damaged);
    one("long fixed part told", length(60), damaged);
    const auto key = [](const char* text) { return [text](auto& p) { p.resources[0].key = text; }; };
    one("other key", key("VS_VERSION_XXXX"), damaged);
    one("short key", key("VS"), damaged);
    one("more behind", [](auto& p) { p.resources[0].children.assign(100, 0x55); });
}

/// Files with one resource for each of several languages.
void printLanguages(Versions& versions, bool wide) {
    const auto languages = [&](const char* what, const std::vector<std::uint16_t>& all) {
        PortableExecutable program;
        program.wide = wide;
        program.resources.clear();
        for (const std::uint16_t language : all) {
            VersionResource resource;
            resource.language = language;
            resource.product = {language, 1, 2, 3};
            program.resources.push_back(resource);
        }
        versions.print(what, program);
    };
    languages("neutral, German, American", {0, 0x407, 0x409});
    languages("German, American", {0x407, 0x409});
    languages("neutral, German", {0, 0x407});
    languages("German, French", {0x407, 0x40C});
    languages("American, British", {0x409, 0x809});
    languages("German, British", {0x407, 0x809});
}

} // namespace

void printVersions() {
    Versions versions;
    for (const bool wide : {false, true}) {
        PortableExecutable program;
        program.wide = wide;
        versions.print("plain", program);
        program.otherSections = true;
        versions.print("between other sections", program);
        program.resourceDirectory = false;
        versions.print("no resources told", program);
        program.resourceDirectory = true;
        program.resources[0].product = {65535, 0, 65534, 1};
        versions.print("great numbers", program);
        printVariants(versions, wide);
        printLanguages(versions, wide);
    }
    for (const bool wide : {false, true}) {
        PortableExecutable program;
        program.wide = wide;
        const char* what = wide ? "64-bit" : "32-bit";
        versions.printCuts(what, program);
        versions.printFlips(what, program, wide ? std::vector{2, 6} : std::vector{0, 4, 7});
    }
    print("version of nothing: " + shown(productVersion(pathOf("no-such-file.dll"), false)));
    print("version of text: " + shown(versions.of("A text.\n")));
    print("version of MZ: " + shown(versions.of("MZ")));
    print("version of zeros: " + shown(versions.of(std::string(4096, '\0'))));
}

} // namespace velmor_tests
