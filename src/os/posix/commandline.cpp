#include "os/posix/commandline.h"

#include "os/posix/names.h"

#include <cstddef>

// The rules of CommandLineToArgvW for the arguments after the program name:
//
//   - Blanks outside a quotation separate the arguments.
//   - 2n backslashes before a quote are n backslashes, and the quote begins or ends a quotation.
//   - 2n + 1 backslashes before a quote are n backslashes and a quote character.
//   - All other backslashes are copied.
//   - Two consecutive quotes end a quotation. Of three, including the one that begins the quotation, the third one is copied
//     and ends the quotation.

namespace Velmor::os::posix {

namespace {

bool isBlank(WideChar unit) {
    return unit == ' ' || unit == '\t';
}

/// Reads the first argument, the program name. It ends at the next quote or, if it does not begin with one, at the next
/// blank; backslashes have no special meaning.
WideString readProgramName(const WideChar*& position) {
    const bool quoted = *position == '"';
    if (quoted)
        ++position;
    const WideChar* const begin = position;
    while (*position != 0 && (quoted ? *position != '"' : !isBlank(*position)))
        ++position;
    WideString name(begin, position);
    if (quoted && *position != 0)
        ++position;
    return name;
}

/// Reads an argument after the program name.
WideString readArgument(const WideChar*& position) {
    WideString argument;
    unsigned quotes = 0; // number of consecutive quotes in the quotation; 0 outside a quotation
    while (*position != 0 && !(quotes == 0 && isBlank(*position))) {
        std::size_t backslashes = 0;
        for (; *position == '\\'; ++position)
            ++backslashes;
        if (*position != '"') {
            argument.append(backslashes, VELMOR_WIDE('\\'));
            if (*position != 0 && !(quotes == 0 && isBlank(*position)))
                argument.push_back(*position++);
            continue;
        }
        argument.append(backslashes / 2, VELMOR_WIDE('\\'));
        ++position;
        if (backslashes % 2 != 0)
            argument.push_back(VELMOR_WIDE('"'));
        else
            ++quotes;
        for (; *position == '"'; ++position) {
            if (++quotes == 3) {
                argument.push_back(VELMOR_WIDE('"'));
                quotes = 0;
            }
        }
        if (quotes == 2)
            quotes = 0;
    }
    return argument;
}

} // namespace

std::vector<std::string> splitCommandLine(const WideChar* commandLine, const std::string& application) {
    if (*commandLine == 0)
        return {application};
    const WideChar* position = commandLine;
    std::vector<std::string> arguments = {narrowName(readProgramName(position).c_str())};
    for (;;) {
        while (isBlank(*position))
            ++position;
        if (*position == 0)
            return arguments;
        arguments.push_back(narrowName(readArgument(position).c_str()));
    }
}

} // namespace Velmor::os::posix
