#pragma once

// Conversion between UTF-16 and the code pages other than UTF-8, one character at a time.
//
// iconv knows the charsets, but not all details of the Windows code pages. Decoding therefore looks in this order:
//
//   1. singles_: the character of each byte that is a character by itself, computed once per reader from iconv and from the
//      differences in codepagedata.h. The other bytes are lead bytes.
//   2. The double bytes in codepagedata.h that Windows defines differently, mostly private-use characters.
//   3. iconv with 2, 3 and 4 bytes.
//
// Encoding uses the same data in the other direction. A result of iconv is accepted only if it decodes to the original
// character, because iconv has its own replacements. A character that the code page does not have is replaced by its best
// fit (codepagedata.h) or by a question mark.

#include "os/posix/charsets.h"

#include <iconv.h>

#include <array>
#include <cstddef>
#include <optional>

namespace Velmor::os::posix {

/// A converted character. The longest one has four bytes or two UTF-16 code units.
template <class Unit>
struct ConvertedCharacter {
    std::array<Unit, 4> units{};
    std::size_t size = 0;   ///< Number of units in the result.
    std::size_t length = 1; ///< Number of units of the source.
};

/// Owns an iconv descriptor, which converts one character per call.
class Converter {
public:
    enum Result {
        converted,
        truncated, ///< The source ends within a character.
        invalid,
    };

    Converter(const char* to, const char* from);
    ~Converter();
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool isOpen() const;

    /// @param[in,out] size capacity of `output` in bytes; receives the number of bytes written.
    Result convert(const void* input, std::size_t length, void* output, std::size_t& size);

private:
    iconv_t descriptor_;
};

/// Decodes text of a code page.
class PageReader {
public:
    explicit PageReader(const CodePage& page);

    /// Whether iconv supports the code page.
    bool isOpen() const { return converter_.isOpen(); }

    /// Decodes the first character of a text.
    ConvertedCharacter<WideChar> read(const unsigned char* source, std::size_t length);

    /// Returns the byte of a character that is encoded in one byte.
    std::optional<unsigned char> singleByteOf(WideChar character) const;

    /// Returns the double byte of a character for which Windows and iconv differ; 0 for all other characters.
    unsigned doubleByteOf(WideChar character) const;

private:
    std::optional<WideChar> decodeDoubleByte(unsigned char lead, unsigned char trail) const;
    Converter::Result convert(const unsigned char* source, std::size_t length, ConvertedCharacter<WideChar>& result);
    void readSingleBytes();

    const CodePage& page_;
    Converter converter_;
    std::array<std::optional<WideChar>, 0x100> singles_; // empty for a lead byte
};

/// Encodes text in a code page.
class PageWriter {
public:
    explicit PageWriter(const CodePage& page);

    /// Whether iconv supports the code page.
    bool isOpen() const { return reader_.isOpen() && converter_.isOpen(); }

    /// Encodes the first character of a text.
    ConvertedCharacter<char> read(const WideChar* source, std::size_t length);

private:
    bool encode(const WideChar* source, std::size_t length, ConvertedCharacter<char>& result);
    WideChar bestFitOf(WideChar character) const;

    const CodePage& page_;
    PageReader reader_;
    Converter converter_;
};

} // namespace Velmor::os::posix
