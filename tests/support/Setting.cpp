#include "support/Setting.h"

#include "support/Utf16.h"

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <cstdlib>
#endif

namespace velmor_tests {

#if defined(_WIN32)

std::optional<std::string> variable(const char* name) {
    const std::wstring wideName = wide(name);
    std::wstring value(32768, L'\0');
    SetLastError(ERROR_SUCCESS);
    value.resize(GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size())));
    if (value.empty() && GetLastError() == ERROR_ENVVAR_NOT_FOUND)
        return std::nullopt;
    return narrow(value);
}

void setVariable(const char* name, const std::optional<std::string>& value) {
    SetEnvironmentVariableW(wide(name).c_str(), value ? wide(*value).c_str() : nullptr);
}

#else

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

void setVariable(const char* name, const std::optional<std::string>& value) {
    if (value)
        setenv(name, value->c_str(), 1);
    else
        unsetenv(name);
}

#endif

VariableSetting::VariableSetting(const char* name, const std::optional<std::string>& value)
    : name_(name), old_(variable(name)) {
    setVariable(name, value);
}

VariableSetting::~VariableSetting() {
    setVariable(name_, old_);
}

} // namespace velmor_tests
