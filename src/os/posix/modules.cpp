#include "os/posix/elffile.h"
#include "os/posix/environment.h"
#include "os/posix/handles.h"
#include "os/posix/names.h"
#include "os/posix/paths.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A module handle is the handle of dlopen, which is the link_map of the module.
//
// Unlike LoadLibraryExW, dlopen does not search "PATH" for dependencies. `Loader` therefore loads them first, recursively:
// it reads the list of needed modules from the file, and loads those that it finds in the folders. Afterwards dlopen uses
// the loaded modules, because it compares the needed names with their DT_SONAME.

namespace Velmor::os {

namespace {

/// Returns the folders of "PATH". An empty entry is the current folder.
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

/// Returns the path of a file in the first folder that contains it; empty if no folder does.
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

/// Loads a module after those of its dependencies that are in the given folders.
class Loader {
public:
    explicit Loader(std::vector<std::string> folders) : folders_(std::move(folders)) {}

    /// Releases the references to the dependencies; the module has its own.
    ~Loader() {
        for (void* module : needed_)
            dlclose(module);
    }

    Loader(const Loader&) = delete;
    Loader& operator=(const Loader&) = delete;

    void* load(const std::string& path) {
        const posix::ElfFile module = posix::inspectElfFile(path);
        if (!module.isLoadable) {
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
            return; // dlopen searches the folders of the system
        if (void* const module = load(path))
            needed_.push_back(module);
    }

    std::vector<std::string> folders_;
    std::set<std::string> seen_; // ends the recursion for circular dependencies
    std::vector<void*> needed_;
};

/// Returns the file name of a module: adds ".so" to a name without extension and removes a dot at the end, which means "no
/// extension".
std::string moduleFileName(std::string name) {
    const std::size_t slash = name.rfind('/');
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return name + ".so";
    if (dot == name.size() - 1)
        name.pop_back();
    return name;
}

/// Removes the suffix that the kernel adds to the path of a file that was deleted or replaced.
std::string removeDeletedSuffix(std::string path) {
    constexpr std::string_view suffix = " (deleted)";
    struct stat status = {};
    if (path.ends_with(suffix) && lstat(path.c_str(), &status) != 0)
        path.resize(path.size() - suffix.size());
    return path;
}

/// Returns the absolute path of the file that is mapped at an address, from /proc/self/maps; empty if there is none. The
/// result does not depend on the current folder.
std::string mappedFile(const void* address) {
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        if (std::sscanf(line.c_str(), "%zx-%zx", &begin, &end) != 2 || wanted < begin || wanted >= end)
            continue;
        const std::size_t path = line.find('/'); // the fields before the path contain no slash
        return path == std::string::npos ? std::string() : removeDeletedSuffix(line.substr(path));
    }
    return {};
}

/// Returns the path of the program file; empty on failure.
std::string programPath() {
    std::string path(256, '\0');
    for (;;) {
        const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
        if (length < 0)
            return {};
        if (static_cast<std::size_t>(length) < path.size()) {
            path.resize(static_cast<std::size_t>(length));
            return removeDeletedSuffix(std::move(path));
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
        folders.insert(folders.begin(),
                       file.substr(0, slash)); // the altered search order begins with the folder of the module
    else
        path = findFile(folders, file);

    struct stat status = {};
    if (!path.empty() && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode))
        return Loader(std::move(folders)).load(path);
    // A bare name can be a module of the system. An empty name would be the program itself.
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
    // dlsym also finds the exports of dependencies; GetProcAddress does not.
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
        return executableModule(); // as GetModuleHandleExA does for null
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
    } else { // loaded by a relative path, or the vDSO, which has no file
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
