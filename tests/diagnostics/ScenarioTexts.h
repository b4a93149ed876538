#pragma once

// Scenarios that print many texts: a separator follows each text on standard output.

#include "diagnostics/Diagnostics.h"

#include <cstdio>
#include <string>
#include <vector>

namespace velmor_tests {

/// No report contains this character.
inline constexpr char separator = '\x1E';

/// The parts of a text between separators.
inline std::vector<std::string> split(const std::string& text) {
    std::vector<std::string> parts(1);
    for (const char c : text)
        if (c == separator)
            parts.emplace_back();
        else
            parts.back().push_back(c);
    return parts;
}

/// Reports each text as a message of its own.
inline void reportEach(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        Velmor::diagnostics::reportDiagnostic(4, "%s", text.c_str());
        std::putchar(separator);
        std::fflush(stdout);
    }
}

inline std::string repeated(const std::string& text, int times) {
    std::string result;
    while (times-- > 0)
        result += text;
    return result;
}

} // namespace velmor_tests
