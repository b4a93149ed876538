#pragma once

// The values of the exchange structure (ISO 10303-21): where each begins and ends in the text. A value is a view of the
// file's text. Nothing is copied, and the content of a list is read only when a caller reads it.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace importer::step {

/// The kind of a value. The first characters of the value determine it.
enum class ValueKind : std::uint8_t {
    Absent,      ///< There is no value.
    Omitted,     ///< $
    Derived,     ///< *
    Number,      ///< 12 or -1.5E3
    Text,        ///< 'text'; `Value::text` is the part between the apostrophes, still encoded
    Enumeration, ///< .NAME.; `Value::text` is the name
    Binary,      ///< "0AF"; `Value::text` is the part between the quotes
    Reference,   ///< #12; `Value::text` is the number
    List,        ///< (...); `Value::text` is the part between the parentheses
    Typed,       ///< NAME(...); `Value::text` is the whole value
    Invalid      ///< None of these.
};

/// One value. Its text is part of the file's text and is valid as long as the file.
struct Value {
    ValueKind kind = ValueKind::Absent;
    std::string_view text;

    bool given() const { return kind != ValueKind::Absent && kind != ValueKind::Omitted && kind != ValueKind::Derived; }
};

/// Reads the values of a list one after the other. They are separated by commas.
class ValueReader {
public:
    /// @param list the text between the parentheses.
    explicit ValueReader(std::string_view list) : position_(list.data()), end_(list.data() + list.size()) {}

    /// Reads the next value. Text that is not a value becomes an `Invalid` value. If no comma can be found after it,
    /// it is the last value.
    /// @return false after the last value.
    bool next(Value& value);

private:
    const char* position_;
    const char* end_;
    bool expected_ = false; // a comma was read: another value must follow
};

/// The first character from `position` on that is neither white space nor part of a comment; `end` if there is none.
const char* skipBlanks(const char* position, const char* end);

/// The position after the closing apostrophe of the text whose opening apostrophe is at `position`; null if it is not
/// closed.
const char* skipText(const char* position, const char* end);

/// Where the parameters of an instance end, and how.
struct ParametersEnd {
    const char* position; ///< After the closing parenthesis; at the semicolon; or at the end of the text.
    enum { Closed, Semicolon, CutOff, OpenText } how; ///< OpenText: the end of the text is inside a text or a binary.
};

/// Finds the parenthesis that closes the one at `position`. A semicolon outside of texts and comments ends the search.
ParametersEnd findParametersEnd(const char* position, const char* end);

/// The number of a value of kind `Number`; nothing if it is not a number or too large for a double. A number too small for a
/// double is 0.
std::optional<double> numberOf(const Value& value);

/// The number of a value of kind `Number` that has no fraction and fits 64 bits; otherwise nothing.
std::optional<std::int64_t> integerOf(const Value& value);

/// The instance number of a value of kind `Reference`; nothing if it is not a positive number of 64 bits.
std::optional<std::uint64_t> referenceOf(const Value& value);

/// The name of the type of a value of kind `Typed`.
std::string_view typeOf(const Value& value);

/// The text between the parentheses of a value of kind `Typed`.
std::string_view contentOf(const Value& value);

inline bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Whether a character may be part of the name of an entity.
inline bool isNameCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || isDigit(c) || c == '_';
}

/// The name in capitals.
std::string capitals(std::string_view name);

} // namespace importer::step
