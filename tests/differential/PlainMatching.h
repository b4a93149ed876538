#pragma once

// A simple model of the matching of names against filter lists.

#include <Velmor/WideText.h>

#include <cstddef>

namespace velmor_tests {

/// Converts ASCII lower case letters to upper case.
inline char32_t plainUpper(char32_t c) {
    return c >= U'a' && c <= U'z' ? c - 32 : c;
}

/// Whether a name matches a token that is not empty. The comparison runs from the end and excludes the first character of
/// the shorter text.
inline bool plainMatch(const Velmor::WideString& name, const Velmor::WideString& token) {
    if (name.empty())
        return false;
    const std::size_t compared = (name.size() < token.size() ? name.size() : token.size()) - 1;
    for (std::size_t fromEnd = 1; fromEnd <= compared; ++fromEnd)
        if (plainUpper(name[name.size() - fromEnd]) != plainUpper(token[token.size() - fromEnd]))
            return false;
    return true;
}

/// Whether a name matches a token of a list. An empty token ends the list; an empty list matches every name.
inline bool plainMatchOfList(const Velmor::WideString& name, const Velmor::WideString& list) {
    if (list.empty())
        return true;
    // The list ends at its first NUL.
    const Velmor::WideString text = list.c_str();
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t bar = text.find(VELMOR_WIDE('|'), begin);
        const std::size_t end = bar == Velmor::WideString::npos ? text.size() : bar;
        if (end == begin)
            return false;
        if (plainMatch(name, text.substr(begin, end - begin)))
            return true;
        begin = end + 1;
    }
    return false;
}

} // namespace velmor_tests
