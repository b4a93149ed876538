#pragma once

/// @file
/// Conversions of wide text to and from UTF-8, the current code page and ISO 8859.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Velmor {

/// Conversions between wide text (UTF-16) and narrow text, and between wide text and numbers.
///
/// Failure: invalid text never throws. The operation returns an empty or shortened result. If a debugger is attached, the
/// operation also reports the failure to it and breaks, once per process for each of five messages. If memory is exhausted
/// or a text is longer than a string can be, the exceptions of the standard library are thrown.
///
/// Ownership: the caller owns the results. The operations keep no reference to their arguments.
///
/// Threads: all operations may run concurrently.
///
/// Complexity: linear in the length of the text.
class VELMOR_API StringOperations {
public:
    /// The Windows code-page number of an ISO 8859 code page. Other values are unknown code pages.
    enum CharSet_e : std::uint32_t {
        ISO_8859_1 = 28591, ///< Latin-1.
        ISO_8859_2 = 28592, ///< Latin-2.
        ISO_8859_3 = 28593, ///< Latin-3.
        ISO_8859_4 = 28594, ///< Baltic.
        ISO_8859_5 = 28595, ///< Cyrillic.
        ISO_8859_6 = 28596, ///< Arabic.
        ISO_8859_7 = 28597, ///< Greek, edition of 1987.
        ISO_8859_8 = 28598, ///< Hebrew.
        ISO_8859_9 = 28599  ///< Turkish.
    };

    StringOperations& operator=(const StringOperations&) = default;
    StringOperations& operator=(StringOperations&&) = default;

    /// Decodes UTF-8 up to its first zero byte.
    ///
    /// Each sequence of one, two or three bytes becomes one code unit. Continuation bytes are not checked, only their low
    /// six bits are used; overlong forms are accepted. A sequence that begins with a continuation byte or with a byte from
    /// 0xF0 up is an error.
    /// @param source NUL-terminated text, or null.
    /// @return the text; empty on error and for null. If the last sequence is incomplete, the text ends with a zero unit.
    static WideString ConvertFromUTF8(const unsigned char* source);

    /// Decodes UTF-8 up to its first zero byte or up to `sourceLength` bytes, like the form above.
    /// @param source       the text, or null.
    /// @param sourceLength its length in bytes.
    static WideString ConvertFromUTF8(const unsigned char* source, std::size_t sourceLength);

    /// Decodes UTF-8 into a buffer, like the forms above except for an incomplete sequence at the end of the source. If its
    /// first byte begins a sequence of two bytes, the text ends before it. If it begins a sequence of three bytes, this
    /// byte is dropped and the byte after it begins a new sequence; a continuation byte there is an error.
    /// @param source              the text.
    /// @param sourceLength        its length in bytes.
    /// @param[out] destination    receives the text and a terminating zero unit. Text that does not fit is cut off.
    /// @param destinationCapacity size of `destination` in code units. With 0 nothing is written.
    /// @return the number of code units written, without the terminator; 0 on error. After an error there is no terminator,
    ///         and the units before the error have been written.
    static std::size_t ConvertFromUTF8(const unsigned char* source, std::size_t sourceLength, WideChar* destination,
                                       std::size_t destinationCapacity);

    /// Encodes wide text as UTF-8, up to its first zero unit. Each code unit becomes a sequence of one to three bytes; the
    /// two surrogates of a pair become two sequences.
    static std::string ConvertToUTF8(const WideString& source);

    /// Decodes text in the code page of the calling thread, up to its first zero byte.
    /// @return the text; empty if it cannot be converted.
    static WideString ConvertFromCurrentLocale(const std::string& source);

    /// Decodes text in the code page of the calling thread into a buffer. No failure is reported.
    /// @param source              the text.
    /// @param sourceLength        its length in bytes, truncated to 32 bits.
    /// @param[out] destination    receives the text without a terminator. If the text does not fit, the content
    ///                            depends on the operating system.
    /// @param destinationCapacity size of `destination` in code units, truncated to 32 bits.
    static void ConvertFromCurrentLocale(const char* source, std::size_t sourceLength, WideChar* destination,
                                         std::size_t destinationCapacity);

    /// Encodes wide text in the code page of the system. The other direction uses the code page of the thread.
    /// @return the text; empty if it cannot be converted, or if its encoding is a single byte.
    static const std::string ConvertToCurrentLocale(const WideString& source);

    /// Encodes wide text in the code page of the system into a buffer, like the form above.
    /// @param source              the text.
    /// @param sourceLength        its length in code units.
    /// @param[out] destination    receives the part of the text that fits, then zero bytes up to its end. It has
    ///                            a terminator only if the text is shorter than the capacity.
    /// @param destinationCapacity size of `destination` in bytes.
    static void ConvertToCurrentLocale(const WideChar* source, std::size_t sourceLength, char* destination,
                                       std::size_t destinationCapacity);

    /// Returns the character of a byte in an ISO 8859 code page. Bytes 0x80 to 0x9F are U+0080 to U+009F. A byte that the
    /// code page leaves undefined is a character of the Private Use Area, as on Windows.
    /// @param charSet the code page. In an unknown code page, a byte b from 0x80 up is the character 0xFF00 + b.
    /// @param byte    the byte.
    static WideChar ConvertIsoLatinToWideChar(CharSet_e charSet, char byte);

    /// Encodes wide text as ISO 8859-1.
    /// @param input       the text.
    /// @param[out] output receives one byte per code unit. On failure it is resized too, and only the bytes before the first
    ///                    character above U+00FF are replaced; new bytes are zero.
    /// @return true if no character is above U+00FF.
    static bool TryConvertToIsoLatin1(const WideString& input, std::string& output);

    /// Formats a number in decimal, as a signed 32-bit integer: 4294967295 becomes "-1".
    static WideString AsWString(unsigned int value);

    /// Parses the decimal number at the beginning of a text: white space, an optional sign, then digits up to the first
    /// other character. White space and digits of other scripts are accepted too.
    /// @return the number, limited to the range of `int`; 0 for a text without digits.
    static int IntFromWString(const WideString& text);

private:
    static std::size_t ConvertFromUTF8(const unsigned char* source, std::size_t sourceLength, WideChar* destination,
                                       std::size_t destinationCapacity, bool reserveTerminator);
    static std::size_t ConvertToUTF8(const WideChar* source, std::size_t sourceLength, unsigned char* destination,
                                     std::size_t destinationCapacity);
    static std::size_t StringLengthUTF8(const unsigned char* source, std::size_t length);
};

} // namespace Velmor
