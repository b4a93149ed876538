#include "os/posix/elffile.h"

#include "os/posix/descriptors.h"

#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bit>
#include <cstdint>
#include <cstring>

// An ELF file begins with a header, which contains the offset of the segment table. A segment is a block of the file that
// the loader maps at an address. One of them is the dynamic section: a list of tagged values, among them the address and
// size of a string table and, for each needed module, the offset of its name in that table. The address is converted to a
// file offset by the segment that contains it.
//
// A file is loadable if all its segments and names lie within the file.

namespace Velmor::os::posix {

namespace {

using Segment = ElfW(Phdr);
using DynamicEntry = ElfW(Dyn);

constexpr unsigned char nativeClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr unsigned char nativeOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

/// Reads blocks of a regular file, none of them beyond its end. Any other file is treated as empty.
class BlockReader {
public:
    explicit BlockReader(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        struct stat status = {};
        if (file_.isOpen() && fstat(file_.number(), &status) == 0 && S_ISREG(status.st_mode))
            size_ = static_cast<std::uint64_t>(status.st_size);
    }

    bool contains(std::uint64_t offset, std::uint64_t size) const { return offset <= size_ && size <= size_ - offset; }

    bool read(std::uint64_t offset, void* buffer, std::size_t size) const {
        if (!contains(offset, size))
            return false;
        for (std::size_t done = 0; done < size;) {
            const ssize_t count = retryInterrupted([&] {
                return pread(file_.number(), static_cast<char*>(buffer) + done, size - done,
                             static_cast<off_t>(offset + done));
            });
            if (count <= 0)
                return false;
            done += static_cast<std::size_t>(count);
        }
        return true;
    }

    template <class Record>
    bool readRecords(std::uint64_t offset, std::uint64_t count, std::vector<Record>& records) const {
        if (count > size_ / sizeof(Record))
            return false;
        records.resize(count);
        return read(offset, records.data(), count * sizeof(Record));
    }

private:
    Descriptor file_;
    std::uint64_t size_ = 0;
};

/// Converts the address of a loaded block to its offset in the file.
/// @return false if no segment contains the whole block.
bool findInFile(const std::vector<Segment>& segments, std::uint64_t address, std::uint64_t size, std::uint64_t& offset) {
    for (const Segment& segment : segments) {
        if (segment.p_type != PT_LOAD || address < segment.p_vaddr)
            continue;
        const std::uint64_t position = address - segment.p_vaddr;
        if (position <= segment.p_filesz && size <= segment.p_filesz - position) {
            offset = segment.p_offset + position;
            return true;
        }
    }
    return false;
}

/// Reads the names of the needed modules from the dynamic section.
bool readNeeded(const BlockReader& file, const std::vector<Segment>& segments, const Segment& dynamicSegment,
                std::vector<std::string>& needed) {
    std::vector<DynamicEntry> entries;
    if (!file.readRecords(dynamicSegment.p_offset, dynamicSegment.p_filesz / sizeof(DynamicEntry), entries))
        return false;

    std::uint64_t textAddress = 0;
    std::uint64_t textSize = 0;
    std::vector<std::uint64_t> names;
    for (const DynamicEntry& entry : entries) {
        if (entry.d_tag == DT_NULL)
            break;
        if (entry.d_tag == DT_STRTAB)
            textAddress = entry.d_un.d_ptr;
        else if (entry.d_tag == DT_STRSZ)
            textSize = entry.d_un.d_val;
        else if (entry.d_tag == DT_NEEDED)
            names.push_back(entry.d_un.d_val);
    }

    std::uint64_t textOffset = 0;
    std::vector<char> text;
    if (!findInFile(segments, textAddress, textSize, textOffset) || !file.readRecords(textOffset, textSize, text))
        return false;
    for (const std::uint64_t name : names) {
        if (name >= textSize || std::memchr(&text[name], '\0', textSize - name) == nullptr)
            return false;
        needed.emplace_back(&text[name]);
    }
    return true;
}

} // namespace

ElfFile inspectElfFile(const std::string& path) {
    ElfFile module;
    const BlockReader file(path);
    ElfW(Ehdr) header;
    if (!file.read(0, &header, sizeof header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != nativeClass || header.e_ident[EI_DATA] != nativeOrder ||
        header.e_phentsize != sizeof(Segment))
        return module;
    std::vector<Segment> segments;
    if (!file.readRecords(header.e_phoff, header.e_phnum, segments))
        return module;
    for (const Segment& segment : segments) {
        const bool isUsed = segment.p_type == PT_LOAD || segment.p_type == PT_DYNAMIC;
        if (isUsed && !file.contains(segment.p_offset, segment.p_filesz))
            return module;
    }
    for (const Segment& segment : segments)
        if (segment.p_type == PT_DYNAMIC)
            module.isLoadable = readNeeded(file, segments, segment, module.needed);
    return module;
}

} // namespace Velmor::os::posix
