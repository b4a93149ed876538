#pragma once

/// @file
/// Modules that are loaded at run time.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

#include <string>

namespace Velmor {

/// A module (DLL or shared library) that is loaded at run time from a given folder.
///
/// Failure: the factory functions always return an object; `isValid` returns whether it holds a module. A failed load is
/// reported to an attached debugger.
///
/// Ownership: the caller deletes the objects that the factory functions return. The destructor unloads the module.
///
/// Threads: all functions may run concurrently. Loading changes the variable "PATH" of the process temporarily, and other
/// threads may see the temporary value.
class VELMOR_API DynamicLibrary {
public:
    /// Unloads the module.
    ~DynamicLibrary();

    DynamicLibrary(const DynamicLibrary&) = delete;
    DynamicLibrary& operator=(const DynamicLibrary&) = delete;

    /// Loads a module. During the load the folder is the first one in "PATH", so that the module and its dependencies are
    /// found there. Afterwards "PATH" has its previous value, or is empty if it was missing. If "PATH" cannot be read (it is
    /// too long or memory is exhausted), it is not changed and nothing is loaded.
    /// @param name   file name of the module, with or without extension, or its path.
    /// @param folder the folder.
    static DynamicLibrary* loadDynamicLibrary(const WideString& name, const WideString& folder);

    /// Returns an object for the main executable of the process.
    static DynamicLibrary* getExecutable();

    /// Returns the address of an exported symbol.
    /// @param symbol its name.
    /// @return the address; null if the module does not export the symbol, or if there is no module.
    void* getSymbolAddress(const std::string& symbol);

    /// Returns whether the object holds a module.
    bool isValid() const;

protected:
    /// Takes ownership of a module handle (`HMODULE` on Windows).
    explicit DynamicLibrary(void* module);

private:
    void* module_;
};

static_assert(sizeof(DynamicLibrary) == sizeof(void*), "a module is one handle");

} // namespace Velmor
