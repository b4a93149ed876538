// The lexer works on the text in place and without recursion.
//
// A value is recognized by its first character. To skip a list, findParametersEnd counts parentheses and skips texts,
// binaries and comments; the nesting depth is a counter, so that a deeply nested list cannot exhaust the stack. The same
// search finds the end of an instance, so each byte of a file passes through it once when the file is scanned, and a table
// decides which bytes need a closer look. When the values of a list are read, the inner lists are skipped again, once per
// level of nesting that a caller reads.
//
// Damage never causes a read past `end`. An invalid value ends its list, because the begin of the next value is unknown.

#include "importer/step/Lexer.h"

#include <array>
#include <charconv>
#include <cstring>

namespace importer::step {

namespace {

/// The characters that findParametersEnd skips without a closer look. It visits every character of a file.
constexpr std::array<bool, 256> isPlain = [] {
    std::array<bool, 256> plain{};
    plain.fill(true);
    for (const char c : {'(', ')', ';', '\'', '"', '/'})
        plain[static_cast<unsigned char>(c)] = false;
    return plain;
}();

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r') || c == '\0';
}

/// The position after the closing quote of the binary at `position`; null if it is not closed.
const char* skipBinary(const char* position, const char* end) {
    const void* quote = std::memchr(position + 1, '"', static_cast<std::size_t>(end - position - 1));
    return quote ? static_cast<const char*>(quote) + 1 : nullptr;
}

/// The position after the comment at `position`, which begins with "/*"; `end` if it is not closed.
const char* skipComment(const char* position, const char* end) {
    const std::string_view rest(position + 2, static_cast<std::size_t>(end - position - 2));
    const std::size_t close = rest.find("*/");
    return close == std::string_view::npos ? end : rest.data() + close + 2;
}

bool beginsComment(const char* position, const char* end) {
    return end - position >= 2 && position[0] == '/' && position[1] == '*';
}

/// Whether a text may end before `position`: a comma, a parenthesis or the end follows.
bool textMayEndBefore(const char* position, const char* end) {
    while (position != end && isBlank(*position))
        ++position;
    return position == end || *position == ',' || *position == ')';
}

/// The position after the list at `position`; null if the list is not closed.
const char* skipList(const char* position, const char* end) {
    const ParametersEnd found = findParametersEnd(position, end);
    return found.how == ParametersEnd::Closed ? found.position : nullptr;
}

/// The value at `position`, which then moves after the value, or becomes null if the value is invalid.
Value valueAt(const char*& position, const char* end) {
    const char* begin = position;
    const auto between = [&](std::ptrdiff_t first, std::ptrdiff_t last) {
        return position ? std::string_view(begin + first, static_cast<std::size_t>(position - begin - first - last))
                        : std::string_view();
    };
    const auto skipWhile = [&](auto belongs) {
        while (position != end && belongs(*position))
            ++position;
    };
    switch (*begin) {
    case '$':
        ++position;
        return {ValueKind::Omitted, between(0, 0)};
    case '*':
        ++position;
        return {ValueKind::Derived, between(0, 0)};
    case '\'':
        position = skipText(position, end);
        return {ValueKind::Text, between(1, 1)};
    case '"':
        position = skipBinary(position, end);
        return {ValueKind::Binary, between(1, 1)};
    case '(':
        position = skipList(position, end);
        return {ValueKind::List, between(1, 1)};
    case '#':
        ++position;
        skipWhile(isDigit);
        return {ValueKind::Reference, between(1, 0)};
    case '.':
        if (end - begin < 2 || !isDigit(begin[1])) {
            ++position;
            skipWhile(isNameCharacter);
            position = position != end && *position == '.' ? position + 1 : nullptr;
            return {ValueKind::Enumeration, between(1, 1)};
        }
        break;
    default:
        break;
    }
    if (isDigit(*begin) || *begin == '-' || *begin == '+' || *begin == '.') {
        skipWhile([](char c) { return isDigit(c) || c == '.' || c == 'E' || c == 'e' || c == '-' || c == '+'; });
        return {ValueKind::Number, between(0, 0)};
    }
    skipWhile(isNameCharacter);
    position = position == begin ? nullptr : skipBlanks(position, end);
    position = position && position != end && *position == '(' ? skipList(position, end) : nullptr;
    return {ValueKind::Typed, between(0, 0)};
}

std::string_view withoutPlus(std::string_view number) {
    return number.starts_with('+') && !number.starts_with("+-") ? number.substr(1) : number;
}

} // namespace

bool ValueReader::next(Value& value) {
    position_ = skipBlanks(position_, end_);
    if (position_ == end_ || *position_ == ',') {
        const bool empty = expected_ || position_ != end_;
        expected_ = position_ != end_;
        position_ += expected_ ? 1 : 0;
        value = {empty ? ValueKind::Invalid : ValueKind::Absent, {}};
        return empty;
    }
    const char* begin = position_;
    value = valueAt(position_, end_);
    if (position_)
        position_ = skipBlanks(position_, end_);
    if (!position_ || (position_ != end_ && *position_ != ',')) {
        // The begin of the next value is unknown: this value is the last one.
        value = {ValueKind::Invalid, std::string_view(begin, static_cast<std::size_t>(end_ - begin))};
        position_ = end_;
    }
    expected_ = position_ != end_;
    position_ += expected_ ? 1 : 0;
    return true;
}

const char* skipBlanks(const char* position, const char* end) {
    while (position != end)
        if (isBlank(*position))
            ++position;
        else if (beginsComment(position, end))
            position = skipComment(position, end);
        else
            break;
    return position;
}

const char* skipText(const char* position, const char* end) {
    const char* begin = ++position;
    for (;;) {
        const void* found = std::memchr(position, '\'', static_cast<std::size_t>(end - position));
        if (!found)
            return nullptr;
        const char* quote = static_cast<const char*>(found);
        const bool doubled = end - quote >= 2 && quote[1] == '\'';
        if (quote - begin >= 3 && std::memcmp(quote - 3, "\\S\\", 3) == 0) {
            // This apostrophe is the character that \S\ shifts. Some programs double it here too, against the standard.
            position = doubled && !textMayEndBefore(quote + 2, end) ? quote + 2 : quote + 1;
        } else if (doubled) {
            position = quote + 2;
        } else {
            return quote + 1;
        }
    }
}

ParametersEnd findParametersEnd(const char* position, const char* end) {
    std::size_t depth = 0;
    while (position != end) {
        if (isPlain[static_cast<unsigned char>(*position)]) {
            ++position;
            continue;
        }
        switch (*position) {
        case '(':
            ++depth;
            break;
        case ')':
            if (--depth == 0)
                return {position + 1, ParametersEnd::Closed};
            break;
        case ';':
            return {position, ParametersEnd::Semicolon};
        case '\'':
        case '"':
            position = *position == '"' ? skipBinary(position, end) : skipText(position, end);
            if (!position)
                return {end, ParametersEnd::OpenText};
            continue;
        case '/':
            if (beginsComment(position, end)) {
                position = skipComment(position, end);
                continue;
            }
            break;
        default:
            break;
        }
        ++position;
    }
    return {end, ParametersEnd::CutOff};
}

std::optional<double> numberOf(const Value& value) {
    if (value.kind != ValueKind::Number)
        return std::nullopt;
    const std::string_view text = withoutPlus(value.text);
    double number = 0.0;
    const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (last != text.data() + text.size())
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        return text.find("E-") != text.npos || text.find("e-") != text.npos ? std::optional<double>(0.0) : std::nullopt;
    return error == std::errc() ? std::optional<double>(number) : std::nullopt;
}

std::optional<std::int64_t> integerOf(const Value& value) {
    if (value.kind != ValueKind::Number)
        return std::nullopt;
    const std::string_view text = withoutPlus(value.text);
    std::int64_t number = 0;
    const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && last == text.data() + text.size() ? std::optional<std::int64_t>(number) : std::nullopt;
}

std::optional<std::uint64_t> referenceOf(const Value& value) {
    if (value.kind != ValueKind::Reference)
        return std::nullopt;
    std::uint64_t number = 0;
    const char* end = value.text.data() + value.text.size();
    const auto [last, error] = std::from_chars(value.text.data(), end, number);
    return error == std::errc() && last == end && number != 0 ? std::optional<std::uint64_t>(number) : std::nullopt;
}

std::string_view typeOf(const Value& value) {
    std::size_t length = 0;
    while (length != value.text.size() && isNameCharacter(value.text[length]))
        ++length;
    return value.text.substr(0, length);
}

std::string_view contentOf(const Value& value) {
    const char* end = value.text.data() + value.text.size();
    const char* open = skipBlanks(value.text.data() + typeOf(value).size(), end);
    return std::string_view(open + 1, static_cast<std::size_t>(end - open - 2));
}

std::string capitals(std::string_view name) {
    std::string result(name);
    for (char& c : result)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return result;
}

} // namespace importer::step
