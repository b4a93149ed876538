#include <Velmor/Platform.h>
#include <Velmor/Text.h>

#include "diagnostics/Diagnostics.h"
#include "os/os.h"

namespace Velmor {

using namespace diagnostics;

namespace {

/// Loads a module with a temporary value of "PATH".
void* loadWithPath(const WideString& name, const WideString& temporaryPath, const WideString& oldPath) {
    const WideString variable = VELMOR_WIDE("PATH");
    EnvironmentVariables::SetString(variable, temporaryPath);
    void* const module = os::loadModule(name.c_str());
    EnvironmentVariables::SetString(variable, oldPath);
    return module;
}

} // namespace

DynamicLibrary::DynamicLibrary(void* module) : module_(module) {}

DynamicLibrary::~DynamicLibrary() {
    if (module_ != nullptr)
        os::freeModule(module_);
}

DynamicLibrary* DynamicLibrary::loadDynamicLibrary(const WideString& name, const WideString& folder) {
    const WideString oldPath = EnvironmentVariables::GetString(VELMOR_WIDE("PATH"));
    if (oldPath.empty() && os::getEnvironmentVariable(VELMOR_WIDE("PATH"), nullptr, 0) > 1)
        return new DynamicLibrary(nullptr); // "PATH" could not be read, so it could not be restored
    // Frozen: an empty folder or an empty old value is not treated specially; a missing "PATH" is empty afterwards.
    const WideString newPath = folder + os::searchPathSeparator() + oldPath;
    void* const module = loadWithPath(name, newPath, oldPath);
    if (module == nullptr && os::isDebuggerPresent()) {
        // Load again with error dialogs enabled: for a developer, the system then names the missing dependency.
        const unsigned previous = os::setErrorMode(0);
        void* const again = loadWithPath(name, newPath, oldPath);
        const unsigned code = os::lastError();
        reportDiagnostic(diagnosticLevel, "LoadLibraryEx(%s) failed with GetLastError %d\n",
                         StringOperations::ConvertToCurrentLocale(name).c_str(), static_cast<int>(code));
        os::setErrorMode(previous);
        if (again != nullptr)
            os::freeModule(again);
    }
    return new DynamicLibrary(module);
}

DynamicLibrary* DynamicLibrary::getExecutable() {
    // Frozen: the destructor releases this module, although no reference was added on Windows.
    return new DynamicLibrary(os::executableModule());
}

void* DynamicLibrary::getSymbolAddress(const std::string& symbol) {
    return module_ != nullptr ? os::symbolAddress(module_, symbol.c_str()) : nullptr;
}

bool DynamicLibrary::isValid() const {
    return module_ != nullptr;
}

} // namespace Velmor
