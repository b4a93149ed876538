#include "PortableExecutable.h"

#include "Tools.h"

#include <algorithm>
#include <cstddef>

namespace velmor_tests {
namespace {

/// A sequence of bytes; numbers are little-endian.
class Bytes {
public:
    std::size_t size() const { return text_.size(); }
    const std::string& text() const { return text_; }

    void put16(std::uint32_t value) {
        text_ += static_cast<char>(value & 0xFF);
        text_ += static_cast<char>(value >> 8 & 0xFF);
    }
    void put32(std::uint32_t value) {
        put16(value & 0xFFFF);
        put16(value >> 16);
    }
    void put(const std::string& bytes) { text_ += bytes; }
    void zeros(std::size_t count) { text_.append(count, '\0'); }
    void fillTo(std::size_t multiple) { zeros((multiple - size() % multiple) % multiple); }
    void set16(std::size_t at, std::uint32_t value) {
        text_[at] = static_cast<char>(value & 0xFF);
        text_[at + 1] = static_cast<char>(value >> 8 & 0xFF);
    }

private:
    std::string text_;
};

constexpr std::uint32_t fileAlignment = 0x200;
constexpr std::uint32_t sectionAlignment = 0x1000;
constexpr std::uint32_t subdirectory = 0x80000000;

std::uint32_t high(const VersionNumbers& version) {
    return static_cast<std::uint32_t>(version[0]) << 16 | version[1];
}

std::uint32_t low(const VersionNumbers& version) {
    return static_cast<std::uint32_t>(version[2]) << 16 | version[3];
}

/// A VS_VERSIONINFO block.
std::string versionBlock(const VersionResource& resource) {
    Bytes block;
    block.put16(0); // the length, set below
    block.put16(resource.valueLength);
    block.put16(0); // binary
    for (const char c : resource.key)
        block.put16(static_cast<unsigned char>(c));
    block.put16(0);
    block.fillTo(4);
    block.put32(resource.signature);
    block.put32(0x00010000);
    block.put32(high(resource.file));
    block.put32(low(resource.file));
    block.put32(high(resource.product));
    block.put32(low(resource.product));
    block.put32(0x3F);       // mask of the flags
    block.put32(0);          // flags
    block.put32(0x00040004); // for Windows NT
    block.put32(2);          // a library
    block.zeros(12);
    block.put(std::string(resource.children.begin(), resource.children.end()));
    block.set16(0, static_cast<std::uint32_t>(block.size()));
    return block.text();
}

void putDirectory(Bytes& out, std::size_t entries) {
    out.zeros(12);
    out.put16(0); // number of named entries
    out.put16(static_cast<std::uint32_t>(entries));
}

/// A resource section: the directories of type, id and language, then the data entries and the blocks.
std::string resourceSection(const PortableExecutable& program, std::uint32_t address) {
    const std::size_t count = program.resources.size();
    const std::size_t leaves = 24 + 24 + 16 + 8 * count;
    std::size_t data = leaves + 16 * count;
    Bytes out;
    putDirectory(out, 1);
    out.put32(program.type);
    out.put32(subdirectory | 24);
    putDirectory(out, 1);
    out.put32(program.id);
    out.put32(subdirectory | 48);
    putDirectory(out, count);
    for (std::size_t i = 0; i < count; ++i) {
        out.put32(program.resources[i].language);
        out.put32(static_cast<std::uint32_t>(leaves + 16 * i));
    }
    Bytes blocks;
    for (const VersionResource& resource : program.resources) {
        const std::string block = versionBlock(resource);
        out.put32(static_cast<std::uint32_t>(address + data + blocks.size()));
        out.put32(static_cast<std::uint32_t>(block.size()));
        out.zeros(8);
        blocks.put(block);
        blocks.fillTo(8);
    }
    out.put(blocks.text());
    return out.text();
}

struct Section {
    std::string name;
    std::string content;
    std::uint32_t flags;
};

std::vector<Section> sectionsOf(const PortableExecutable& program, std::uint32_t resourceAddress) {
    std::vector<Section> sections;
    if (program.otherSections)
        sections.push_back({".text", std::string(5, '\xC3'), 0x60000020});
    sections.push_back({".rsrc", resourceSection(program, resourceAddress), 0x40000040});
    if (program.otherSections)
        sections.push_back({".data", std::string(700, 'd'), 0xC0000040});
    return sections;
}

/// The MS-DOS header, the signature and the COFF file header.
void putFileHeaders(Bytes& out, const PortableExecutable& program, std::uint32_t sectionCount) {
    out.put("MZ");
    out.zeros(58);
    out.put32(64); // offset of the signature
    out.put(std::string("PE\0\0", 4));
    out.put16(program.wide ? 0x8664 : 0x014C);
    out.put16(sectionCount);
    out.zeros(12);
    out.put16(program.wide ? 240 : 224);
    out.put16(program.wide ? 0x2022 : 0x2102); // a library
}

/// The optional header up to its data directories.
void putOptionalHeader(Bytes& out, const PortableExecutable& program, std::uint32_t sectionCount) {
    out.put16(program.wide ? 0x020B : 0x010B);
    out.zeros(18);                                        // linker, sizes, entry
    out.put32(sectionAlignment);                          // base of the code
    program.wide ? out.put32(0x80000000u) : out.put32(0); // base of the data; in PE32+ the low half of the image base
    program.wide ? out.put32(1) : out.put32(0x10000000u); // the image base; in PE32+ its high half
    out.put32(sectionAlignment);
    out.put32(fileAlignment);
    out.put16(4);
    out.put16(0);
    out.zeros(4);
    out.put16(4);
    out.put16(0);
    out.zeros(4);
    out.put32(sectionAlignment * (sectionCount + 1)); // size of the image
    out.put32(fileAlignment);                         // size of the headers
    out.zeros(4);
    out.put16(2);
    out.put16(0);
    out.zeros(program.wide ? 32 : 16);
    out.put32(0);
    out.put32(16); // number of data directories
}

/// Appends the section headers to `out`.
/// @return the content of the sections.
Bytes putSections(Bytes& out, const std::vector<Section>& sections) {
    Bytes raw;
    std::uint32_t address = sectionAlignment;
    for (const Section& section : sections) {
        const std::size_t begin = fileAlignment + raw.size();
        raw.put(section.content);
        raw.fillTo(fileAlignment);
        out.put(section.name);
        out.zeros(8 - section.name.size());
        out.put32(static_cast<std::uint32_t>(section.content.size()));
        out.put32(address);
        out.put32(static_cast<std::uint32_t>(fileAlignment + raw.size() - begin));
        out.put32(static_cast<std::uint32_t>(begin));
        out.zeros(12);
        out.put32(section.flags);
        address += sectionAlignment;
    }
    return raw;
}

} // namespace

std::string bytesOf(const PortableExecutable& program) {
    const std::uint32_t resourceAddress = sectionAlignment * (program.otherSections ? 2 : 1);
    const std::vector<Section> sections = sectionsOf(program, resourceAddress);
    const auto sectionCount = static_cast<std::uint32_t>(sections.size());
    Bytes out;
    putFileHeaders(out, program, sectionCount);
    putOptionalHeader(out, program, sectionCount);
    out.zeros(16); // the directories of exports and imports
    if (program.resourceDirectory) {
        out.put32(resourceAddress);
        out.put32(static_cast<std::uint32_t>(sections[program.otherSections ? 1 : 0].content.size()));
    } else {
        out.zeros(8);
    }
    out.zeros(13 * 8); // the other directories
    const Bytes raw = putSections(out, sections);
    out.fillTo(fileAlignment);
    return out.text() + raw.text();
}

LibraryFile libraryFile() {
    const std::string folder = VELMOR_PLATFORM_DATA "/";
    const std::string headers = readFile(pathOf(folder + "Velmor-3.91.dll.headers"));
    const std::string resources = readFile(pathOf(folder + "Velmor-3.91.dll.resources"));
    const auto number = [&](std::size_t at, std::size_t size) {
        std::size_t value = 0;
        for (std::size_t i = size; i > 0; --i)
            value = value << 8 | static_cast<unsigned char>(headers.at(at + i - 1));
        return value;
    };
    const std::size_t header = number(60, 4);
    const std::size_t sections = header + 24 + number(header + 20, 2);
    LibraryFile file{headers, headers.size(), 0, resources.size()};
    for (std::size_t section = sections; section < sections + 40 * number(header + 6, 2); section += 40) {
        const std::size_t size = number(section + 16, 4);
        const std::size_t begin = number(section + 20, 4);
        file.content.resize(std::max(file.content.size(), begin + size));
        if (headers.compare(section, 5, ".rsrc") == 0) {
            file.resourcesBegin = begin;
            file.content.replace(begin, size, resources);
        }
    }
    return file;
}

std::size_t productVersionOffset(const std::string& file) {
    const std::size_t signature = file.find("\xBD\x04\xEF\xFE");
    return signature == std::string::npos ? signature : signature + 16;
}

} // namespace velmor_tests
