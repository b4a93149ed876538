#pragma once

// The values of the exchange structure (ISO 10303-21): how one of them begins and ends in the text. Nothing is copied,
// nothing recurses: a value is a piece of the file's text, and what a list holds is looked at only by who asks for it.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace importer::step {

/// What a value is, seen from its first characters.
enum class ValueKind : std::uint8_t {
    Absent,      ///< There is none.
    Omitted,     ///< $
    Derived,     ///< *
    Number,      ///< 12 or -1.5E3
    Text,        ///< 'text'; `Value::text` is what stands between the apostrophes, still encoded
    Enumeration, ///< .NAME.; `Value::text` is the name
    Binary,      ///< "0AF"; `Value::text` is what stands between the quotes
    Reference,   ///< #12; `Value::text` is the number
    List,        ///< (...); `Value::text` is what stands between the parentheses
    Typed,       ///< NAME(...); `Value::text` is all of it
    Invalid      ///< None of these.
};

/// One value. The text is part of the file's, and lives as long as that does.
struct Value {
    ValueKind kind = ValueKind::Absent;
    std::string_view text;

    bool given() const { return kind != ValueKind::Absent && kind != ValueKind::Omitted && kind != ValueKind::Derived; }
};

/// Walks along the values of a list, which are separated by commas.
class ValueReader {
public:
    /// @param list the text between the parentheses.
    explicit ValueReader(std::string_view list) : position_(list.data()), end_(list.data() + list.size()) {}

    /// The next value; `Invalid` for what is none, and that is then the last one.
    /// @return false behind the last one.
    bool next(Value& value);

private:
    const char* position_;
    const char* end_;
    bool expected_ = false; // a comma promised one more value
};

/// The first character at or behind `position` that is neither white space nor part of a comment; `end` if there is none.
const char* skipBlanks(const char* position, const char* end);

/// Behind the closing apostrophe of the text whose opening one is at `position`; null when it is not closed.
const char* skipText(const char* position, const char* end);

/// Where the parameters of an instance end, and how.
struct ParametersEnd {
    const char* position; ///< Behind the closing parenthesis; at the semicolon; or at the end of the text.
    enum { Closed, Semicolon, CutOff, OpenText } how; ///< The last: the text ends within a text or a binary.
};

/// Looks for the parenthesis that closes the one at `position`. A semicolon outside of texts and comments ends the search.
ParametersEnd findParametersEnd(const char* position, const char* end);

/// The number that a value of kind `Number` is; nothing when it is not a number or too large for one. What is too small is
/// 0.
std::optional<double> numberOf(const Value& value);

/// The same for a number without a fraction.
std::optional<std::int64_t> integerOf(const Value& value);

/// The instance number of a value of kind `Reference`; nothing when it is not a positive number of 64 bits.
std::optional<std::uint64_t> referenceOf(const Value& value);

/// The type's name of a value of kind `Typed`.
std::string_view typeOf(const Value& value);

/// What stands between the parentheses of a value of kind `Typed`.
std::string_view contentOf(const Value& value);

inline bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Whether a character may be part of an entity's name.
inline bool isNameCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || isDigit(c) || c == '_';
}

/// A name in capitals.
std::string capitals(std::string_view name);

} // namespace importer::step
