#include "diagnostics/Diagnostics.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>

// A message is printed to standard output as if it were the format of a printf call whose arguments are all zero. The C
// library cannot be used for this: reading missing arguments is undefined behavior, and `%n` would write to memory. The text
// is therefore parsed here. A conversion specification has the form
//
//     % [digits $] [flags -+ #0] [width] [. precision] [length] type
//
// where width and precision are digits or an asterisk. Each specification that `conversions` lists is reduced to "%" flags
// "*.*" type, with only the flags that C defines for the type, and printed by snprintf with a zero of the type. A percent
// sign without a known specification is copied.

namespace Velmor::diagnostics {

namespace {

constexpr std::size_t capacity = 8192; // of a message, including the terminator

/// A text of at most `capacity - 1` characters. The rest of a longer text is dropped.
class BoundedText {
public:
    void append(std::string_view text) {
        const std::size_t count = std::min(text.size(), available());
        std::memcpy(text_ + length_, text.data(), count);
        length_ += count;
    }

    /// Appends the output of snprintf for a conversion of a zero value.
    /// @param format    one conversion specification with asterisks as width and precision.
    /// @param precision negative for none.
    template <class Zero>
    void appendConversion(const char* format, int width, int precision, Zero zero) {
        const int written = std::snprintf(text_ + length_, available() + 1, format, width, precision, zero);
        if (written > 0)
            length_ += std::min(static_cast<std::size_t>(written), available());
    }

    std::string_view text() const { return {text_, length_}; }

private:
    std::size_t available() const { return capacity - 1 - length_; }

    char text_[capacity];
    std::size_t length_ = 0;
};

/// What a conversion prints for a zero argument.
enum class Output {
    integer,       ///< 0
    floatingPoint, ///< 0.0
    character,     ///< a NUL
    nullText,      ///< "(null)"
    nullPointer,   ///< "0000000000000000"
    nothing,       ///< of %n
    percentSign,
};

/// A group of conversion types with the same behavior.
struct Conversion {
    std::string_view types;
    const char* flags; ///< The flags that C defines for these types; the effect of the others is undefined.
    Output output;
};

constexpr Conversion conversions[] = {
    {"diu", "-+ 0", Output::integer}, {"oxX", "-+ #0", Output::integer}, {"aAeEfFgG", "-+ #0", Output::floatingPoint},
    {"cC", "-", Output::character},   {"sS", "-", Output::nullText},     {"p", "-", Output::nullPointer},
    {"n", "", Output::nothing},       {"%", "", Output::percentSign},
};

/// Finds a conversion type; null if it is unknown.
const Conversion* findConversion(char type) {
    for (const Conversion& conversion : conversions)
        if (conversion.types.find(type) != std::string_view::npos)
            return &conversion;
    return nullptr;
}

/// A parsed conversion specification.
struct Specification {
    std::string_view flags;
    int width = 0;
    int precision = -1; ///< -1 if it is not given.
    char type = '\0';
    std::size_t length = 0; ///< Number of characters after the percent sign.
};

/// The text after a percent sign, from which the parts of a specification are removed one after the other.
class SpecificationParser {
public:
    explicit SpecificationParser(std::string_view text) : rest_(text), length_(text.size()) {}

    Specification parse() {
        Specification result;
        skipArgumentNumber();
        result.flags = take(span("-+ #0"));
        result.width = takeNumber();
        if (rest_.starts_with('.')) {
            take(1);
            result.precision = takeNumber();
        }
        const bool isMicrosoftLength = rest_.starts_with("I64") || rest_.starts_with("I32");
        take(isMicrosoftLength ? 3 : span("hljztLqwI"));
        if (const std::string_view type = take(1); !type.empty())
            result.type = type.front();
        result.length = length_ - rest_.size();
        return result;
    }

private:
    static constexpr const char* digits = "0123456789";

    /// Returns the number of characters at the beginning that are in a set.
    std::size_t span(const char* set) const { return std::min(rest_.find_first_not_of(set), rest_.size()); }

    std::string_view take(std::size_t count) {
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(taken.size());
        return taken;
    }

    /// Skips the "5$" of "%5$d". The number of the argument has no effect, because all arguments are zero.
    void skipArgumentNumber() {
        const std::size_t count = span(digits);
        if (count != 0 && rest_.substr(count).starts_with('$'))
            take(count + 1);
    }

    /// Reads a width or precision, limited to `capacity`; an asterisk is 0, the value of its argument.
    int takeNumber() {
        if (rest_.starts_with('*')) {
            take(1);
            return 0;
        }
        int number = 0;
        for (const char digit : take(span(digits)))
            number = std::min(number * 10 + (digit - '0'), static_cast<int>(capacity));
        return number;
    }

    std::string_view rest_;
    std::size_t length_;
};

/// Appends the output of a conversion of a zero argument.
void appendZeroConversion(const Specification& specification, const Conversion& conversion, BoundedText& out) {
    char format[16] = "%";
    char* end = format + 1;
    for (const char* flag = conversion.flags; *flag != '\0'; ++flag)
        if (specification.flags.find(*flag) != std::string_view::npos)
            *end++ = *flag;
    std::memcpy(end, "*.*", 3);
    end += 3;

    switch (conversion.output) {
    case Output::integer:
        *end = specification.type;
        out.appendConversion(format, specification.width, specification.precision, 0);
        break;
    case Output::floatingPoint:
        *end = specification.type;
        out.appendConversion(format, specification.width, specification.precision, 0.0);
        break;
    case Output::character:
        *end = 'c';
        out.appendConversion(format, specification.width, -1, 0);
        break;
    case Output::nullText:
        *end = 's';
        out.appendConversion(format, specification.width, specification.precision, "(null)");
        break;
    case Output::nullPointer:
        *end = 's';
        out.appendConversion(format, specification.width, -1, "0000000000000000");
        break;
    case Output::nothing:
        break;
    case Output::percentSign:
        out.append("%");
        break;
    }
}

/// Appends the output of a printf call whose format is the text and whose arguments are all zero.
void formatWithZeros(std::string_view text, BoundedText& out) {
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('%'), text.size());
        out.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (text.empty())
            return;

        text.remove_prefix(1); // the percent sign
        const Specification specification = SpecificationParser(text).parse();
        if (const Conversion* const conversion = findConversion(specification.type)) {
            appendZeroConversion(specification, *conversion, out);
            text.remove_prefix(specification.length);
        } else {
            out.append("%");
        }
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

    // Frozen: standard output receives the text formatted a second time.
    BoundedText output;
    formatWithZeros(text, output);
    std::fwrite(output.text().data(), 1, output.text().size(), stdout);
}

void breakIntoDebugger() {
    if (os::isDebuggerPresent())
        os::debugBreak();
}

} // namespace Velmor::diagnostics
