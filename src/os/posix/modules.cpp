#include "os/posix/environment.h"
#include "os/posix/handles.h"
#include "os/posix/names.h"
#include "os/posix/paths.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Velmor::os {

namespace {

using Segment = ElfW(Phdr);
using DynamicEntry = ElfW(Dyn);

constexpr unsigned char nativeClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
constexpr unsigned char nativeOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;

/// An open file of which pieces are read, and never any beyond its end.
class PieceReader {
public:
    explicit PieceReader(const std::string& path) : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        struct stat status = {};
        if (descriptor_ >= 0 && fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode))
            size_ = static_cast<std::uint64_t>(status.st_size);
    }

    ~PieceReader() {
        if (descriptor_ >= 0)
            close(descriptor_);
    }

    PieceReader(const PieceReader&) = delete;
    PieceReader& operator=(const PieceReader&) = delete;

    bool holds(std::uint64_t offset, std::uint64_t size) const { return offset <= size_ && size <= size_ - offset; }

    bool read(std::uint64_t offset, void* buffer, std::size_t size) const {
        if (!holds(offset, size))
            return false;
        std::size_t done = 0;
        while (done < size) {
            const ssize_t count =
                pread(descriptor_, static_cast<char*>(buffer) + done, size - done, static_cast<off_t>(offset + done));
            if (count < 0 && errno == EINTR)
                continue;
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
    int descriptor_;
    std::uint64_t size_ = 0;
};

/// What must be known of a module before the loader sees it.
struct ModuleFile {
    bool sound = false;              ///< A module of this machine that the loader may map: a cut-off one would crash it.
    std::vector<std::string> needed; ///< The names of the modules that it needs.
};

/// The piece of the file that is loaded at an address; its offset, or nothing.
bool findInFile(const std::vector<Segment>& segments, std::uint64_t address, std::uint64_t size, std::uint64_t& offset) {
    for (const Segment& segment : segments) {
        if (segment.p_type != PT_LOAD || address < segment.p_vaddr)
            continue;
        const std::uint64_t inside = address - segment.p_vaddr;
        if (inside <= segment.p_filesz && size <= segment.p_filesz - inside) {
            offset = segment.p_offset + inside;
            return true;
        }
    }
    return false;
}

/// Reads the names of the needed modules from the dynamic section.
bool readNeeded(const PieceReader& file, const std::vector<Segment>& segments, const Segment& dynamicSegment,
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

ModuleFile inspectModule(const std::string& path) {
    ModuleFile module;
    const PieceReader file(path);
    ElfW(Ehdr) header;
    if (!file.read(0, &header, sizeof header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
        header.e_ident[EI_CLASS] != nativeClass || header.e_ident[EI_DATA] != nativeOrder ||
        header.e_phentsize != sizeof(Segment))
        return module;
    std::vector<Segment> segments;
    if (!file.readRecords(header.e_phoff, header.e_phnum, segments))
        return module;
    for (const Segment& segment : segments)
        if ((segment.p_type == PT_LOAD || segment.p_type == PT_DYNAMIC) && !file.holds(segment.p_offset, segment.p_filesz))
            return module;
    for (const Segment& segment : segments)
        if (segment.p_type == PT_DYNAMIC)
            module.sound = readNeeded(file, segments, segment, module.needed);
    return module;
}

/// The folders of "PATH"; an empty one is the current folder.
std::vector<std::string> searchFolders() {
    std::vector<std::string> folders;
    const std::string path = posix::environmentValue("PATH").value_or("");
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find(':', begin), path.size());
        folders.push_back(end > begin ? path.substr(begin, end - begin) : ".");
        begin = end + 1;
    }
    return folders;
}

/// The path of a file in the first folder that has it; empty if none has.
std::string findFile(const std::vector<std::string>& folders, const std::string& name) {
    for (const std::string& folder : folders) {
        std::string path = folder;
        path.append("/").append(name);
        struct stat status = {};
        if (stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode))
            return path;
    }
    return {};
}

/// Loads a module and, before it, those of the modules that it needs which lie in the given folders: the system's loader
/// would not look there, but takes what is already loaded under the needed name.
class Loader {
public:
    explicit Loader(std::vector<std::string> folders) : folders_(std::move(folders)) {}

    /// The module keeps what it needs; the holds taken here are given up.
    ~Loader() {
        for (void* module : needed_)
            dlclose(module);
    }

    Loader(const Loader&) = delete;
    Loader& operator=(const Loader&) = delete;

    void* load(const std::string& path) {
        const ModuleFile module = inspectModule(path);
        if (!module.sound) {
            posix::setLastError(posix::errorBadExeFormat);
            return nullptr;
        }
        for (const std::string& name : module.needed)
            loadNeeded(name);
        void* const loaded = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (loaded == nullptr)
            posix::setLastError(posix::errorModNotFound);
        return loaded;
    }

private:
    void loadNeeded(const std::string& name) {
        if (name.find('/') != std::string::npos || !seen_.insert(name).second)
            return;
        if (void* const present = dlopen(name.c_str(), RTLD_NOW | RTLD_NOLOAD)) {
            dlclose(present);
            return;
        }
        const std::string path = findFile(folders_, name);
        if (path.empty())
            return; // the system's loader looks in the system's folders
        if (void* const module = load(path))
            needed_.push_back(module);
    }

    std::vector<std::string> folders_;
    std::set<std::string> seen_; // modules that need one another end the search
    std::vector<void*> needed_;
};

/// The file name that stands for a module's: without an ending it gets the system's, and a dot at its end says that it has
/// none.
std::string moduleFileName(std::string name) {
    const std::size_t slash = name.rfind('/');
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return name + ".so";
    if (dot == name.size() - 1)
        name.pop_back();
    return name;
}

/// A file's path as the kernel tells it, freed of the word that it puts behind the name of one that was deleted or replaced.
std::string withoutDeletedMark(std::string path) {
    constexpr std::string_view mark = " (deleted)";
    struct stat status = {};
    if (path.ends_with(mark) && lstat(path.c_str(), &status) != 0)
        path.resize(path.size() - mark.size());
    return path;
}

/// The file that is mapped at an address, by the kernel's table of them; it knows the file wherever the process goes.
std::string mappedFile(const void* address) {
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        if (std::sscanf(line.c_str(), "%zx-%zx", &begin, &end) != 2 || wanted < begin || wanted >= end)
            continue;
        const std::size_t path = line.find('/'); // nothing before it holds one
        return path == std::string::npos ? std::string() : withoutDeletedMark(line.substr(path));
    }
    return {};
}

/// The path of the running program's file; empty if it cannot be had.
std::string programPath() {
    std::string path(256, '\0');
    for (;;) {
        const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
        if (length < 0)
            return {};
        if (static_cast<std::size_t>(length) < path.size()) {
            path.resize(static_cast<std::size_t>(length));
            return withoutDeletedMark(std::move(path));
        }
        path.resize(path.size() * 2);
    }
}

} // namespace

WideChar searchPathSeparator() {
    return VELMOR_WIDE(':');
}

void* loadModule(const WideChar* name) {
    const std::string file = moduleFileName(posix::narrowName(name));
    std::vector<std::string> folders = searchFolders();
    const std::size_t slash = file.rfind('/');
    std::string path = file;
    if (slash != std::string::npos)
        folders.insert(folders.begin(), file.substr(0, slash)); // the altered search begins beside the module
    else
        path = findFile(folders, file);

    struct stat status = {};
    if (!path.empty() && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode))
        return Loader(std::move(folders)).load(path);
    // A bare name may stand for one of the system's modules; an empty one would stand for the program itself.
    if (slash == std::string::npos && !file.empty())
        if (void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL))
            return module;
    posix::setLastError(posix::errorModNotFound);
    return nullptr;
}

void* executableModule() {
    return dlopen(nullptr, RTLD_NOW);
}

void* symbolAddress(void* module, const char* symbol) {
    void* const address = dlsym(module, symbol);
    if (address == nullptr)
        return nullptr;
    // dlsym also finds what the module's dependencies export; that is not the module's.
    const link_map* own = nullptr;
    void* owner = nullptr;
    Dl_info information = {};
    if (dlinfo(module, RTLD_DI_LINKMAP, &own) != 0 || dladdr1(address, &information, &owner, RTLD_DL_LINKMAP) == 0)
        return nullptr;
    return owner == own ? address : nullptr;
}

void freeModule(void* module) {
    dlclose(module);
}

void* moduleOfAddress(const void* address) {
    if (address == nullptr)
        return executableModule(); // a name of null stands for the program, also where an address is meant
    Dl_info information = {};
    void* module = nullptr;
    return dladdr1(address, &information, &module, RTLD_DL_LINKMAP) != 0 ? module : nullptr;
}

unsigned getModuleFileName(void* module, WideChar* buffer, unsigned capacity) {
    const std::string loadedAs = static_cast<const link_map*>(module)->l_name;
    WideString name;
    if (loadedAs.empty()) { // the program itself
        name = posix::wideName(programPath());
    } else if (loadedAs.front() == '/') {
        name = posix::absolutePath(posix::wideName(loadedAs)).value_or(WideString());
    } else { // loaded by a relative name, or a piece of the kernel that is no file
        name = posix::wideName(mappedFile(static_cast<const link_map*>(module)->l_ld));
    }
    if (name.empty() || capacity == 0) {
        posix::setLastError(posix::errorModNotFound);
        return 0;
    }
    const std::size_t fits = std::min<std::size_t>(name.size(), capacity - 1);
    name.copy(buffer, fits);
    buffer[fits] = 0;
    if (fits == name.size())
        return static_cast<unsigned>(fits);
    posix::setLastError(posix::errorInsufficientBuffer);
    return capacity;
}

unsigned setErrorMode(unsigned /*mode*/) {
    return 0;
}

} // namespace Velmor::os
