#pragma once

// The matching of names against filter lists, told once more as plainly as can be.

#include <Velmor/WideText.h>

#include <cstddef>

namespace velmor_tests {

/// An ASCII small letter as its capital; anything else as it is.
inline char32_t plainUpper(char32_t c) {
    return c >= U'a' && c <= U'z' ? c - 32 : c;
}

/// Whether a name matches one token that is not empty: compared from the end, up to the first character of either.
inline bool plainMatch(const Velmor::WideString& name, const Velmor::WideString& token) {
    if (name.empty())
        return false;
    const std::size_t compared = (name.size() < token.size() ? name.size() : token.size()) - 1;
    for (std::size_t back = 1; back <= compared; ++back)
        if (plainUpper(name[name.size() - back]) != plainUpper(token[token.size() - back]))
            return false;
    return true;
}

/// Whether a name matches a token of a list; an empty token ends the list, an empty list matches all.
inline bool plainMatchOfList(const Velmor::WideString& name, const Velmor::WideString& list) {
    if (list.empty())
        return true;
    // The list is text up to its first zero.
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
