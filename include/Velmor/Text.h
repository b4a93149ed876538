#pragma once

/// @file
/// Wide text to and from UTF-8, the current code page and ISO 8859.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Velmor {

/// Conversions between wide text (UTF-16) and narrow text.
///
/// Failure: bad text never throws. The operation answers with an empty or shortened result, and the first time, per message,
/// reports the condition to an attached debugger and breaks. Memory exhaustion and texts beyond the container's limit raise
/// the standard library's exceptions.
///
/// Ownership: results are the caller's own; nothing that is passed in is kept.
///
/// Threads: all operations may run concurrently.
class VELMOR_API StringOperations {
public:
    /// A single-byte ISO 8859 code page, by its Windows code-page number. Any 32-bit value may be held.
    enum CharSet_e : std::uint32_t {
        ISO_8859_1 = 28591, ///< Latin-1.
        ISO_8859_2 = 28592, ///< Latin-2.
        ISO_8859_3 = 28593, ///< Latin-3.
        ISO_8859_4 = 28594, ///< Baltic.
        ISO_8859_5 = 28595, ///< Cyrillic.
        ISO_8859_6 = 28596, ///< Arabic.
        ISO_8859_7 = 28597, ///< Greek, in its 1987 edition.
        ISO_8859_8 = 28598, ///< Hebrew.
        ISO_8859_9 = 28599  ///< Turkish.
    };

    StringOperations& operator=(const StringOperations&) = default;
    StringOperations& operator=(StringOperations&&) = default;

    /// Decodes UTF-8 up to its first zero byte.
    ///
    /// Sequences of one, two and three bytes are decoded, each to one code unit; continuation bytes are masked, not checked,
    /// and overlong forms are taken. A stray continuation byte and a byte of 0xF0 or above are errors.
    /// @param source NUL-terminated text, or null.
    /// @return the text; empty on error. A sequence that the end of the text cuts off leaves a zero unit at the end.
    static WideString ConvertFromUTF8(const unsigned char* source);

    /// Decodes UTF-8 up to its first zero byte or `sourceLength` bytes, by the rules of the form above.
    /// @param source       the text, or null.
    /// @param sourceLength its length in bytes.
    static WideString ConvertFromUTF8(const unsigned char* source, std::size_t sourceLength);

    /// Decodes UTF-8 into the caller's buffer, by the rules of the forms above, except that a sequence that the end of the
    /// text cuts off leaves no zero unit: a first byte of two ends the text, a first byte of three alone is dropped, and one
    /// of three with one continuation byte is an error.
    /// @param source              the text.
    /// @param sourceLength        its length in bytes.
    /// @param[out] destination    receives the text and a terminating zero unit; text that does not fit is cut.
    /// @param destinationCapacity size of `destination` in code units; 0 writes nothing.
    /// @return the number of code units written, the terminator not counted; 0 on error, and then no terminator is written.
    static std::size_t ConvertFromUTF8(const unsigned char* source, std::size_t sourceLength, WideChar* destination,
                                       std::size_t destinationCapacity);

    /// Encodes wide text as UTF-8, up to its first zero unit.
    ///
    /// Every code unit is encoded by itself in one to three bytes, surrogates included.
    /// @return the text, without a terminator.
    static std::string ConvertToUTF8(const WideString& source);

    /// Decodes text in the code page of the calling thread, up to its first zero byte.
    /// @return the text; empty when it cannot be converted.
    static WideString ConvertFromCurrentLocale(const std::string& source);

    /// Decodes text in the code page of the calling thread into the caller's buffer.
    ///
    /// The result is neither terminated nor reported on; what the buffer holds when the text does not fit is the platform's.
    /// @param source              the text.
    /// @param sourceLength        its length in bytes, narrowed to 32 bits.
    /// @param[out] destination    receives the text.
    /// @param destinationCapacity size of `destination` in code units, narrowed to 32 bits.
    static void ConvertFromCurrentLocale(const char* source, std::size_t sourceLength, WideChar* destination,
                                         std::size_t destinationCapacity);

    /// Encodes wide text in the system's code page (not the thread's: the two directions differ on purpose).
    /// @return the text; empty when it cannot be converted, and deliberately also when its encoding is a single byte.
    static const std::string ConvertToCurrentLocale(const WideString& source);

    /// Encodes wide text in the system's code page into the caller's buffer.
    /// @param source              the text.
    /// @param sourceLength        its length in code units.
    /// @param[out] destination    receives what fits of the text, and zero bytes after it; it is terminated only when the
    ///                            text is shorter than the capacity.
    /// @param destinationCapacity size of `destination` in bytes.
    static void ConvertToCurrentLocale(const WideChar* source, std::size_t sourceLength, char* destination,
                                       std::size_t destinationCapacity);

    /// The character of one byte of an ISO 8859 code page.
    /// @param charSet the code page. For any other number a byte b of 0x80 or above gives 0xFF00 | b, on purpose.
    /// @param byte    the byte. Bytes 0x80..0x9F map to U+0080..U+009F; bytes that a code page leaves undefined map to the
    ///                Private Use Area as on Windows.
    static WideChar ConvertIsoLatinToWideChar(CharSet_e charSet, char byte);

    /// Encodes wide text as ISO 8859-1.
    /// @param input       the text.
    /// @param[out] output receives the bytes, as many as `input` has code units. On failure the bytes from the first
    ///                    character above U+00FF on are what `output` held before, or zero.
    /// @return true when every character is at most U+00FF.
    static bool TryConvertToIsoLatin1(const WideString& input, std::string& output);

    /// The number in decimal. It is read as a signed 32-bit integer, on purpose: 4294967295 gives "-1".
    static WideString AsWString(unsigned int value);

    /// The number that a text begins with: white space, an optional sign, decimal digits up to the first other character.
    /// White space and digits of other scripts count as well.
    /// @return the number, held at the ends of its range; 0 for text without digits.
    static int IntFromWString(const WideString& text);

private:
    static std::size_t ConvertFromUTF8(const unsigned char* source, std::size_t sourceLength, WideChar* destination,
                                       std::size_t destinationCapacity, bool reserveTerminator);
    static std::size_t ConvertToUTF8(const WideChar* source, std::size_t sourceLength, unsigned char* destination,
                                     std::size_t destinationCapacity);
    static std::size_t StringLengthUTF8(const unsigned char* source, std::size_t length);
};

} // namespace Velmor
