#pragma once

// Shared by the tests of DynamicLibrary.

#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <dlfcn.h>
#endif

namespace velmor_tests {

using Library = std::unique_ptr<Velmor::DynamicLibrary>;

inline Library load(const std::filesystem::path& name, const std::filesystem::path& folder) {
    return Library(Velmor::DynamicLibrary::loadDynamicLibrary(wide(name), wide(folder)));
}

/// The folder of a test module in the build. Each module has its own folder; none is in the folder of the program.
inline std::filesystem::path built(const char* folder) {
    return programFolder() / "modules" / folder;
}

inline std::string file(const char* module) {
    return std::string(module) + moduleEnding;
}

inline void copy(const char* fromFolder, const char* module, const std::filesystem::path& folder) {
    std::filesystem::copy_file(built(fromFolder) / file(module), folder / file(module));
}

template <typename Result = int>
Result call(const Library& library, const char* symbol) {
    void* address = library->getSymbolAddress(symbol);
    if (address == nullptr) {
        ADD_FAILURE() << "missing symbol " << symbol;
        return Result();
    }
    Result (*function)() = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function();
}

/// The value of PATH at the time when the module was loaded.
inline std::string pathAtLoad(const Library& library) {
    const void* text = call<const void*>(library, "velmorModulePath");
#if defined(_WIN32)
    return narrow(std::wstring(static_cast<const wchar_t*>(text)));
#else
    return static_cast<const char*>(text);
#endif
}

inline bool isLoaded(const std::filesystem::path& path) {
#if defined(_WIN32)
    return GetModuleHandleW(path.filename().c_str()) != nullptr;
#else
    void* module = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (module != nullptr)
        dlclose(module);
    return module != nullptr;
#endif
}

/// Makes the protected constructor public.
struct AnyLibrary : Velmor::DynamicLibrary {
    explicit AnyLibrary(void* module) : DynamicLibrary(module) {}
};

} // namespace velmor_tests
