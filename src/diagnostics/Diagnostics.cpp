#include "diagnostics/Diagnostics.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Velmor::diagnostics {

namespace {

constexpr std::size_t capacity = 8192;

/// Text of at most capacity - 1 characters; what does not fit is dropped.
class BoundedText {
public:
    void append(const char* text, std::size_t length) {
        const std::size_t fits = std::min(length, room());
        std::memcpy(text_ + length_, text, fits);
        length_ += fits;
    }

    /// Appends one conversion of a zero of the given type.
    template <class Zero>
    void appendConversion(const char* conversion, int width, int precision, Zero zero) {
        const int written = std::snprintf(text_ + length_, room() + 1, conversion, width, precision, zero);
        if (written > 0)
            length_ += std::min(static_cast<std::size_t>(written), room());
    }

    std::size_t room() const { return capacity - 1 - length_; }
    const char* data() const { return text_; }
    std::size_t length() const { return length_; }

private:
    char text_[capacity];
    std::size_t length_ = 0;
};

/// Reads a width or precision: digits, or '*', which reads a zero argument. Held at the capacity, beyond which it makes no
/// difference.
int parseNumber(const char*& position) {
    if (*position == '*') {
        ++position;
        return 0;
    }
    int number = 0;
    for (; *position >= '0' && *position <= '9'; ++position)
        number = std::min(number * 10 + (*position - '0'), static_cast<int>(capacity));
    return number;
}

/// The flags that C defines for a type of conversion; what the others do is left open.
const char* definedFlags(char type) {
    if (std::strchr("cCsSp", type) != nullptr)
        return "-";
    return std::strchr("diu", type) != nullptr ? "-+ 0" : "-+ #0";
}

/// Appends what a conversion prints whose arguments are all zero.
/// @param position behind the percent sign.
/// @return behind the conversion; null if there is none that a formatter knows.
const char* appendZeroConversion(const char* position, BoundedText& out) {
    // "%5$d" names the argument: it is a zero like all others.
    const char* afterDigits = position + std::strspn(position, "0123456789");
    if (afterDigits != position && *afterDigits == '$')
        position = afterDigits + 1;

    const char* const flags = position;
    const std::size_t flagCount = std::strspn(position, "-+ #0");
    position += flagCount;
    const int width = parseNumber(position);
    int precision = -1; // taken as if it were not given
    if (*position == '.') {
        ++position;
        precision = parseNumber(position);
    }
    if (std::strncmp(position, "I64", 3) == 0 || std::strncmp(position, "I32", 3) == 0)
        position += 3;
    else
        position += std::strspn(position, "hljztLqwI");

    const char type = *position;
    char conversion[16] = "%";
    std::size_t length = 1;
    for (const char* flag = definedFlags(type); *flag != '\0'; ++flag)
        if (std::memchr(flags, *flag, flagCount) != nullptr)
            conversion[length++] = *flag;
    std::memcpy(conversion + length, "*.*", 3);
    length += 3;
    switch (type) {
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        conversion[length] = type;
        out.appendConversion(conversion, width, precision, 0);
        break;
    case 'a':
    case 'A':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
        conversion[length] = type;
        out.appendConversion(conversion, width, precision, 0.0);
        break;
    case 'c':
    case 'C':
        conversion[length] = 'c';
        out.appendConversion(conversion, width, -1, 0);
        break;
    case 's':
    case 'S':
        conversion[length] = 's';
        out.appendConversion(conversion, width, precision, "(null)");
        break;
    case 'p':
        conversion[length] = 's';
        out.appendConversion(conversion, width, -1, "0000000000000000");
        break;
    case 'n':
        break; // would write to its argument, which is nowhere
    case '%':
        out.append("%", 1);
        break;
    default:
        return nullptr;
    }
    return position + 1;
}

/// What a printf prints that is given the text as its format and zeros for all arguments.
void formatAgain(const char* text, BoundedText& out) {
    while (*text != '\0') {
        const std::size_t plain = std::strcspn(text, "%");
        out.append(text, plain);
        text += plain;
        if (*text == '\0')
            return;
        const char* behind = appendZeroConversion(text + 1, out);
        if (behind == nullptr) {
            out.append(text, 1);
            behind = text + 1;
        }
        text = behind;
    }
}

} // namespace

void reportDiagnostic(int /*level*/, const char* format, ...) {
    if (!os::isDebuggerPresent())
        return;

    char text[capacity];
    va_list arguments;
    va_start(arguments, format);
    const int written = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (written < 0)
        text[0] = '\0';

    os::outputDebugString(text);

    // The text goes to standard output as a format, on purpose: percent signs in it are interpreted a second time.
    BoundedText again;
    formatAgain(text, again);
    std::fwrite(again.data(), 1, again.length(), stdout);
}

void breakIntoDebugger() {
    if (os::isDebuggerPresent())
        os::debugBreak();
}

} // namespace Velmor::diagnostics
