#pragma once

// Environment variables of the process, read and written without the library. Names and values are in UTF-8.

#include <optional>
#include <string>

namespace velmor_tests {

/// The value of a variable; nothing if it is not set.
std::optional<std::string> variable(const char* name);

/// Sets a variable; removes it if there is no value.
void setVariable(const char* name, const std::optional<std::string>& value);

/// The value of a variable that passes a parameter to a scenario; empty if it is not set.
inline std::string setting(const char* name) {
    return variable(name).value_or("");
}

/// Sets or removes a variable, and restores the old value at the end of the scope.
class VariableSetting {
public:
    VariableSetting(const char* name, const std::optional<std::string>& value);
    explicit VariableSetting(const char* name) : VariableSetting(name, variable(name)) {}
    ~VariableSetting();
    VariableSetting(const VariableSetting&) = delete;
    VariableSetting& operator=(const VariableSetting&) = delete;

private:
    const char* name_;
    std::optional<std::string> old_;
};

} // namespace velmor_tests
