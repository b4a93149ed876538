#include "platform/os/versionresource.h"

#include <limits>
#include <optional>
#include <string_view>

namespace Velmor::os {

namespace {

/// A piece of a file as numbers, which stand least significant byte first. What would lie behind its end is 0.
class Bytes {
public:
    Bytes(const unsigned char* begin, std::size_t size) : begin_(begin), size_(size) {}

    std::uint32_t byte(std::size_t offset) const { return offset < size_ ? begin_[offset] : 0u; }
    std::uint32_t word(std::size_t offset) const { return byte(offset) | byte(offset + 1) << 8; }
    std::uint32_t doubleWord(std::size_t offset) const { return word(offset) | word(offset + 2) << 16; }

private:
    const unsigned char* begin_;
    std::size_t size_;
};

/// A file that is read in pieces.
class File {
public:
    explicit File(const WideChar* path) : handle_(createFile(path, {.read = true, .shareReading = true})) {}
    ~File() {
        if (isOpen())
            closeHandle(handle_);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool isOpen() const { return handle_ != invalidHandle(); }

    /// Reads a piece, the whole of it or none.
    bool read(std::uint64_t offset, std::uint32_t size, unsigned char* piece) const {
        std::uint32_t count = 0;
        return offset <= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()) &&
               setFilePointer(handle_, static_cast<std::int32_t>(offset)) && readFile(handle_, piece, size, &count) &&
               count == size;
    }

    /// Whether a piece, which is not empty, lies in the file.
    bool holds(std::uint64_t offset, std::uint64_t size) const {
        unsigned char last = 0;
        return read(offset + size - 1, 1, &last);
    }

private:
    HANDLE handle_;
};

/// A record of a fixed size that was read from a file; nothing, if the file does not hold the whole of it.
template <std::uint32_t Size>
class Record {
public:
    Record(const File& file, std::uint64_t offset) : isWhole_(file.read(offset, Size, bytes_)) {}

    explicit operator bool() const { return isWhole_; }
    std::uint32_t word(std::size_t offset) const { return Bytes(bytes_, Size).word(offset); }
    std::uint32_t doubleWord(std::size_t offset) const { return Bytes(bytes_, Size).doubleWord(offset); }

private:
    unsigned char bytes_[Size] = {};
    bool isWhole_;
};

using DosHeader = Record<64>;
using FileHeader = Record<24>; // with the signature before it
using OptionalHeader32 = Record<96 + 16 * 8>;
using OptionalHeader64 = Record<112 + 16 * 8>;
using SectionHeader = Record<40>;
using ResourceFolder = Record<16>;
using ResourceEntry = Record<8>;
using ResourceData = Record<16>;

constexpr std::uint32_t versionType = 16; // RT_VERSION
constexpr std::uint32_t versionName = 1;  // VS_VERSION_INFO
constexpr std::uint32_t folderFlag = 0x80000000;

/// The resources of a PE file: a tree of folders, by type, by name and by language.
class Resources {
public:
    explicit Resources(const File& file) : file_(file) {}

    /// Finds the tree.
    bool open(std::uint64_t fileHeaderOffset, const FileHeader& header);

    /// Reads the version resource.
    bool readVersion(std::vector<unsigned char>& block) const;

private:
    struct Section {
        std::uint32_t address;
        std::uint32_t offset;
        std::uint32_t size;
    };

    /// Where the file has what is loaded at an address.
    std::optional<std::uint64_t> fileOffset(std::uint32_t address, std::uint32_t size) const;

    /// What an entry of a folder leads to: an offset in the tree, with the flag of a folder.
    std::optional<std::uint32_t> find(std::uint32_t folder, std::uint32_t id) const;
    std::optional<std::uint32_t> findFolder(std::uint32_t folder, std::uint32_t id) const;
    std::optional<std::uint32_t> findLanguage(std::uint32_t folder) const;

    const File& file_;
    std::vector<Section> sections_;
    std::uint64_t root_ = 0;
};

bool Resources::open(std::uint64_t fileHeaderOffset, const FileHeader& header) {
    const std::uint64_t optionalOffset = fileHeaderOffset + 24;
    const std::uint32_t sectionCount = header.word(6);
    const std::uint32_t optionalSize = header.word(20);
    constexpr std::uint32_t resourceDirectory = 2;
    std::uint32_t address = 0;
    std::uint32_t size = 0;
    const auto readDirectory = [&](const auto& optional, std::uint32_t directories) {
        if (!optional || optional.doubleWord(directories - 4) <= resourceDirectory)
            return false;
        address = optional.doubleWord(directories + 8 * resourceDirectory);
        size = optional.doubleWord(directories + 8 * resourceDirectory + 4);
        return true;
    };
    const std::uint32_t magic = Record<2>(file_, optionalOffset).word(0);
    const bool found = magic == 0x10B   ? readDirectory(OptionalHeader32(file_, optionalOffset), 96)
                       : magic == 0x20B ? readDirectory(OptionalHeader64(file_, optionalOffset), 112)
                                        : false;
    if (!found)
        return false;

    for (std::uint32_t index = 0; index < sectionCount; ++index) {
        const SectionHeader section(file_, optionalOffset + optionalSize + std::uint64_t{40} * index);
        if (!section)
            return false;
        const Section entry = {section.doubleWord(12), section.doubleWord(20), section.doubleWord(16)};
        if (entry.size != 0 && !file_.holds(entry.offset, entry.size))
            return false; // cut off
        sections_.push_back(entry);
    }
    const auto root = fileOffset(address, size);
    root_ = root.value_or(0);
    return root.has_value();
}

std::optional<std::uint64_t> Resources::fileOffset(std::uint32_t address, std::uint32_t size) const {
    for (const Section& section : sections_) {
        if (address >= section.address && address - section.address < section.size) {
            const std::uint32_t inside = address - section.address;
            if (size == 0 || size > section.size - inside)
                return std::nullopt;
            return std::uint64_t{section.offset} + inside;
        }
    }
    return std::nullopt;
}

std::optional<std::uint32_t> Resources::find(std::uint32_t folder, std::uint32_t id) const {
    const std::uint64_t offset = root_ + folder;
    const ResourceFolder header(file_, offset);
    if (!header)
        return std::nullopt;
    // Entries with numbers stand behind those with names, in order.
    std::uint32_t begin = header.word(12);
    std::uint32_t end = begin + header.word(14);
    while (begin < end) {
        const std::uint32_t middle = begin + (end - 1 - begin) / 2;
        const ResourceEntry entry(file_, offset + 16 + std::uint64_t{8} * middle);
        if (!entry)
            return std::nullopt;
        if (entry.word(0) == id)
            return entry.doubleWord(4);
        if (entry.word(0) > id)
            end = middle;
        else
            begin = middle + 1;
    }
    return std::nullopt;
}

std::optional<std::uint32_t> Resources::findFolder(std::uint32_t folder, std::uint32_t id) const {
    const auto found = find(folder, id);
    if (!found || (*found & folderFlag) == 0)
        return std::nullopt;
    return *found & ~folderFlag;
}

std::optional<std::uint32_t> Resources::findLanguage(std::uint32_t folder) const {
    constexpr std::uint32_t languages[] = {0x0409, 0x0009, 0}; // U.S. English, English, neutral
    std::optional<std::uint32_t> found;
    for (const std::uint32_t language : languages)
        if (!found)
            found = find(folder, language);
    if (!found) { // any other: the first one
        if (const ResourceEntry first(file_, root_ + folder + 16); first)
            found = first.doubleWord(4);
    }
    if (!found || (*found & folderFlag) != 0)
        return std::nullopt;
    return found;
}

bool Resources::readVersion(std::vector<unsigned char>& block) const {
    const auto names = findFolder(0, versionType);
    const auto languages = names ? findFolder(*names, versionName) : std::nullopt;
    const auto entry = languages ? findLanguage(*languages) : std::nullopt;
    if (!entry)
        return false;
    const ResourceData data(file_, root_ + *entry);
    if (!data)
        return false;
    constexpr std::uint32_t maximumSize = 0xFFFF; // the resource's own length has 16 bits
    const std::uint32_t size = data.doubleWord(4);
    const auto offset = fileOffset(data.doubleWord(0), size);
    if (!offset || size > maximumSize)
        return false;
    block.resize(size);
    return file_.read(*offset, size, block.data());
}

} // namespace

VersionResource readVersionResource(const WideChar* path, std::vector<unsigned char>& block) {
    const File file(path);
    if (!file.isOpen())
        return VersionResource::unknown;
    const DosHeader dos(file, 0);
    if (dos.word(0) != 0x5A4D) // "MZ"
        return VersionResource::unknown;
    const std::uint64_t offset = dos.doubleWord(60);
    const FileHeader header(file, offset);
    if (!header || header.doubleWord(0) != 0x4550) // "PE"
        return VersionResource::unknown;
    Resources resources(file);
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    const bool sound = resources.open(offset, header) && resources.readVersion(block) &&
                       readProductVersion(block.data(), block.size(), &high, &low);
    return sound ? VersionResource::sound : VersionResource::none;
}

bool readProductVersion(const unsigned char* block, std::size_t size, std::uint32_t* high, std::uint32_t* low) {
    // VS_VERSIONINFO: its length, its value's length, a type and a name, and at the next multiple of four the value.
    constexpr std::string_view name = "VS_VERSION_INFO";
    constexpr std::size_t nameOffset = 6;
    constexpr std::size_t valueOffset = 40;
    constexpr std::size_t valueSize = 52; // of VS_FIXEDFILEINFO
    const Bytes bytes(block, size);
    const std::uint32_t length = bytes.word(0);
    if (length > size || length < valueOffset + valueSize || bytes.word(2) != valueSize)
        return false;
    for (std::size_t index = 0; index <= name.size(); ++index) {
        const std::uint32_t letter = index < name.size() ? static_cast<unsigned char>(name[index]) : 0;
        if (bytes.word(nameOffset + 2 * index) != letter)
            return false;
    }
    if (bytes.doubleWord(valueOffset) != 0xFEEF04BD)
        return false;
    *high = bytes.doubleWord(valueOffset + 16);
    *low = bytes.doubleWord(valueOffset + 20);
    return true;
}

} // namespace Velmor::os
