#include "os/versionresource.h"

#include <limits>
#include <optional>
#include <string_view>

// Format of a PE file, as far as it is read here; all numbers are little-endian:
//
//     DOS header      "MZ"; at 60 the offset of the PE header
//     PE header       "PE\0\0", machine, number of sections, ..., size of the optional header
//     optional header magic (32 or 64 bits), ..., data directories; the third one is the address of the resources
//     section headers address and size in memory, size and offset in the file
//
// The resources are a tree in one section with three levels: type, name and language. Each node is a folder header, then its
// entries: those with a name, then those with a number in ascending order. An entry of the last level leads to the address
// and size of the data. The version resource has the type 16 and the name 1; of its languages, "neutral" is preferred, then
// US English, then the first one.
//
// The data of the resource is a VS_VERSIONINFO record, which contains a VS_FIXEDFILEINFO record.

namespace Velmor::os {

namespace {

/// Access to a block of bytes as little-endian numbers. Bytes after the end of the block read as 0.
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

/// A file that is read at given offsets.
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

    /// Reads a block.
    /// @return false if the file does not contain the whole block.
    bool read(std::uint64_t offset, std::uint32_t size, unsigned char* block) const {
        std::uint32_t count = 0;
        return offset <= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()) &&
               setFilePointer(handle_, static_cast<std::int32_t>(offset)) && readFile(handle_, block, size, &count) &&
               count == size;
    }

    /// Whether the file contains a block.
    bool contains(std::uint64_t offset, std::uint64_t size) const {
        unsigned char last = 0;
        return size == 0 || read(offset + size - 1, 1, &last);
    }

private:
    HANDLE handle_;
};

/// A record of a fixed size, read from a file. Converts to false if the file does not contain the whole record.
template <std::uint32_t Size>
class Record {
public:
    Record(const File& file, std::uint64_t offset) : isComplete_(file.read(offset, Size, bytes_)) {}

    explicit operator bool() const { return isComplete_; }
    std::uint32_t word(std::size_t offset) const { return Bytes(bytes_, Size).word(offset); }
    std::uint32_t doubleWord(std::size_t offset) const { return Bytes(bytes_, Size).doubleWord(offset); }

private:
    unsigned char bytes_[Size] = {};
    bool isComplete_;
};

using DosHeader = Record<64>;
using FileHeader = Record<24>; // including the signature
using SectionHeader = Record<40>;
using ResourceFolder = Record<16>;
using ResourceEntry = Record<8>;
using ResourceData = Record<16>;

constexpr std::uint32_t magic32 = 0x10B;
constexpr std::uint32_t magic64 = 0x20B;
constexpr std::uint32_t versionType = 16; // RT_VERSION
constexpr std::uint32_t versionName = 1;  // VS_VERSION_INFO
constexpr std::uint32_t neutralLanguage = 0;
constexpr std::uint32_t englishLanguage = 0x0409;
constexpr std::uint32_t folderFlag = 0x80000000;

/// A section of a PE file.
struct Section {
    std::uint32_t address; ///< In memory, relative to the base address of the module.
    std::uint32_t size;    ///< Number of bytes that are mapped from the file.
    std::uint32_t offset;  ///< In the file.
};

/// Reads the headers of the sections that can be accessed in memory.
/// @param headers offset of the section headers.
/// @return nothing if the file is truncated or the system would not load it.
std::optional<std::vector<Section>> readSections(const File& file, std::uint64_t headers, std::uint32_t count) {
    constexpr std::uint32_t accessFlags = 0xE0000000; // executable, readable, writable
    constexpr std::uint64_t pageSize = 0x1000;
    std::vector<Section> sections;
    for (std::uint32_t index = 0; index < count; ++index) {
        const SectionHeader header(file, headers + std::uint64_t{40} * index);
        const std::uint64_t memorySize = header.doubleWord(8);
        const std::uint32_t address = header.doubleWord(12);
        const std::uint32_t fileSize = header.doubleWord(16);
        const std::uint32_t offset = header.doubleWord(20);
        if (!header || address == 0 || !file.contains(offset, fileSize))
            return std::nullopt;
        const std::uint64_t pages = (memorySize + pageSize - 1) / pageSize * pageSize;
        const std::uint32_t size = memorySize == 0 || fileSize < pages ? fileSize : static_cast<std::uint32_t>(pages);
        if ((header.doubleWord(36) & accessFlags) != 0)
            sections.push_back({address, size, offset});
    }
    return sections;
}

/// The resource tree of a PE file.
class Resources {
public:
    /// @param section the section that contains the resources.
    /// @param root    offset of the root in the section.
    Resources(const File& file, const Section& section, std::uint32_t root) : file_(file), section_(section), root_(root) {}

    /// Reads the version resource.
    bool readVersion(std::vector<unsigned char>& block) const;

private:
    /// Returns the offset in the file of a block of the section.
    /// @param position offset in the section.
    /// @return nothing if the section does not contain the whole block.
    std::optional<std::uint64_t> fileOffset(std::uint64_t position, std::uint64_t size) const {
        if (position > section_.size || size > section_.size - position)
            return std::nullopt;
        return section_.offset + position;
    }

    /// Finds an entry of a folder by binary search.
    /// @param folder   offset of the folder from the root.
    /// @param ids      the numbers to look for, in order of preference.
    /// @param anyEntry whether the first entry of the folder is found if no entry has one of these numbers.
    /// @return the target of the entry: an offset from the root, with `folderFlag` if it is a folder. Nothing if there is no
    ///         such entry or the folder is damaged.
    std::optional<std::uint32_t> find(std::uint32_t folder, std::initializer_list<std::uint32_t> ids,
                                      bool anyEntry = false) const;

    /// Finds the subfolder of a folder that has a number.
    std::optional<std::uint32_t> findFolder(std::uint32_t folder, std::uint32_t id) const;

    const File& file_;
    const Section section_;
    const std::uint32_t root_;
};

std::optional<std::uint32_t> Resources::find(std::uint32_t folder, std::initializer_list<std::uint32_t> ids,
                                             bool anyEntry) const {
    constexpr std::uint64_t headerSize = 16;
    constexpr std::uint64_t entrySize = 8;
    const std::uint64_t position = std::uint64_t{root_} + folder;
    const auto headerOffset = fileOffset(position, headerSize);
    if (!headerOffset)
        return std::nullopt;
    const ResourceFolder header(file_, *headerOffset);
    const std::uint32_t named = header.word(12); // entries with a name, which come first
    const std::uint32_t count = named + header.word(14);
    const auto entries = fileOffset(position + headerSize, count * entrySize);
    if (!header || count == 0 || !entries)
        return std::nullopt;

    for (const std::uint32_t id : ids) {
        std::uint32_t begin = named;
        std::uint32_t end = count;
        while (begin < end) {
            const std::uint32_t middle = begin + (end - 1 - begin) / 2;
            const ResourceEntry entry(file_, *entries + middle * entrySize);
            if (!entry)
                return std::nullopt;
            if (entry.word(0) == id)
                return entry.doubleWord(4);
            if (entry.word(0) > id)
                end = middle;
            else
                begin = middle + 1;
        }
    }
    const ResourceEntry first(file_, *entries);
    return anyEntry && first ? std::optional(first.doubleWord(4)) : std::nullopt;
}

std::optional<std::uint32_t> Resources::findFolder(std::uint32_t folder, std::uint32_t id) const {
    const auto found = find(folder, {id});
    return found && (*found & folderFlag) != 0 ? std::optional(*found & ~folderFlag) : std::nullopt;
}

bool Resources::readVersion(std::vector<unsigned char>& block) const {
    const auto names = findFolder(0, versionType);
    const auto languages = names ? findFolder(*names, versionName) : std::nullopt;
    const auto entry = languages ? find(*languages, {neutralLanguage, englishLanguage}, true) : std::nullopt;
    if (!entry || (*entry & folderFlag) != 0)
        return false;
    constexpr std::uint64_t dataSize = 16;
    const auto dataOffset = fileOffset(std::uint64_t{root_} + *entry, dataSize);
    if (!dataOffset)
        return false;
    const ResourceData data(file_, *dataOffset);
    const std::uint32_t address = data.doubleWord(0);
    const std::uint32_t size = data.doubleWord(4);
    constexpr std::uint32_t maximumSize = 0xFFFF; // the length field of the resource has 16 bits
    if (!data || address < section_.address || size > maximumSize)
        return false;
    const auto offset = fileOffset(address - section_.address, size);
    if (!offset)
        return false;
    block.resize(size);
    return file_.read(*offset, size, block.data());
}

/// Reads the version resource of a PE file.
/// @param offset of the PE header.
/// @param header the PE header.
bool readVersion(const File& file, std::uint64_t offset, const FileHeader& header, std::vector<unsigned char>& block) {
    constexpr std::uint32_t resourceDirectory = 2;
    const std::uint64_t optional = offset + 24;
    const std::uint32_t magic = Record<2>(file, optional).word(0);
    if (magic != magic32 && magic != magic64)
        return false;
    const std::uint64_t directories = optional + (magic == magic32 ? 96 : 112);
    const Record<4> directoryCount(file, directories - 4);
    const Record<8> directory(file, directories + std::uint64_t{8} * resourceDirectory);
    if (directoryCount.doubleWord(0) <= resourceDirectory || !directory)
        return false;
    const auto sections = readSections(file, optional + header.word(20), header.word(6));
    if (!sections)
        return false;
    const std::uint32_t address = directory.doubleWord(0);
    for (const Section& section : *sections)
        if (address >= section.address && address - section.address < section.size)
            return Resources(file, section, address - section.address).readVersion(block);
    return false;
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
    if (header.word(0) != 0x4550) // "PE"
        return VersionResource::unknown;
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    const bool valid = header && header.word(2) == 0 && readVersion(file, offset, header, block) &&
                       readProductVersion(block.data(), block.size(), &high, &low);
    return valid ? VersionResource::valid : VersionResource::invalid;
}

bool readProductVersion(const unsigned char* block, std::size_t size, std::uint32_t* high, std::uint32_t* low) {
    // VS_VERSIONINFO: its length, the length of the value, the type, the name in UTF-16, and the value at a multiple of 4.
    constexpr std::string_view name = "VS_VERSION_INFO";
    constexpr std::size_t nameOffset = 6;
    constexpr std::size_t valueOffset = 40;
    constexpr std::size_t valueSize = 52; // of VS_FIXEDFILEINFO
    const Bytes bytes(block, size);
    const std::uint32_t length = bytes.word(0);
    if (length > size || length < valueOffset + valueSize || bytes.word(2) != valueSize || bytes.word(4) != 0)
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
