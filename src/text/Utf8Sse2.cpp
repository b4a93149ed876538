#include "simd/X86.h"
#include "text/Utf8.h"

// The plain kernel branches on every character, which the processor predicts badly in mixed text. This kernel takes blocks
// of 16 bytes or code units and computes all of their characters without branches. The plain kernel takes over at the first
// irregular block and for the rest at the end.
//
// Decoding. A block is regular if it has no zero byte, no byte from 0xF0 up, and continuation bytes exactly where the first
// bytes require them. Each of its bytes is decoded as if it began a character, from itself and the two bytes after it. The
// 16 results are stored one after another, but the destination advances only after a byte that begins a character: the
// result of a continuation byte is overwritten by the next character.
//
// Encoding. The encoding of each unit is computed in a word of two or four bytes. The words are stored one after another,
// but the destination advances only by the size of the encoding: the next word overwrites the unused bytes.

#if defined(VELMOR_X86_64)

    #include <bit>
    #include <cstdint>
    #include <cstring>

namespace Velmor::text {

static_assert(std::endian::native == std::endian::little);

namespace {

using simd::load;
using simd::select;
using simd::store;

/// Bytes or code units of a block.
constexpr std::size_t blockSize = 16;

inline __m128i everyByte(unsigned value) {
    return _mm_set1_epi8(static_cast<char>(value));
}

inline __m128i everyUnit(unsigned value) {
    return _mm_set1_epi16(static_cast<short>(value));
}

/// The most significant bits of the 16 bytes, that of the first byte in bit 0.
inline unsigned topBits(__m128i bytes) {
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

/// Sum of the 16 bytes.
inline std::size_t sumOfBytes(__m128i bytes) {
    const __m128i halves = _mm_sad_epu8(bytes, _mm_setzero_si128());
    return static_cast<std::size_t>(_mm_cvtsi128_si32(halves)) + static_cast<std::size_t>(_mm_extract_epi16(halves, 4));
}

class ByteBlock {
public:
    explicit ByteBlock(const unsigned char* source) : bytes_(load(source)), high_(topBits(bytes_)) {}

    /// Whether no byte is zero or above 0x7F.
    bool isAscii() const { return (high_ | zeros()) == 0; }

    /// Where continuation bytes must be in a regular block: bits 0 to 15 for its bytes, bits 16 and 17 for the two bytes
    /// after it.
    /// @param fromBefore the bits that the previous block requires.
    unsigned expected(unsigned fromBefore) const { return (high_ & begins()) << 1 | atLeast(0xE0) << 2 | fromBefore; }

    bool isRegular(unsigned expected) const { return (zeros() | atLeast(0xF0) | ((expected ^ ~begins()) & 0xFFFF)) == 0; }

    /// For a regular block: 1 for each byte that begins a character, 0 for each continuation byte. Continuation bytes are
    /// those below 0xC0, the lowest ones in a signed comparison.
    __m128i steps() const { return _mm_and_si128(_mm_cmpgt_epi8(bytes_, everyByte(0xBF)), everyByte(1)); }

    /// Number of characters that begin in a regular block.
    std::size_t characters() const { return sumOfBytes(steps()); }

private:
    unsigned begins() const { return topBits(_mm_cmpgt_epi8(bytes_, everyByte(0xBF))); }

    unsigned zeros() const { return topBits(_mm_cmpeq_epi8(bytes_, _mm_setzero_si128())); }

    unsigned atLeast(unsigned least) const {
        return topBits(_mm_cmpeq_epi8(_mm_max_epu8(bytes_, everyByte(least)), bytes_));
    }

    __m128i bytes_;
    unsigned high_; ///< Bits of the bytes above 0x7F.
};

/// The position of the first character that begins after a regular block.
/// @param position      the end of the block.
/// @param expectedAfter where continuation bytes must follow it, in bits 0 and 1.
constexpr std::size_t nextCharacter(std::size_t position, unsigned expectedAfter) {
    return position + (expectedAfter & 1) + (expectedAfter >> 1);
}

inline void decodeAscii(const unsigned char* source, WideChar* destination) {
    const __m128i bytes = load(source);
    store(destination, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    store(destination + blockSize / 2, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

/// Decodes eight characters from their first bytes and the two bytes after each, one byte per lane of 16 bits.
inline __m128i decodeUnits(__m128i first, __m128i second, __m128i third) {
    const __m128i sixBits = everyUnit(0x3F);
    const __m128i low = _mm_and_si128(second, sixBits);
    const __m128i fromTwo = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(first, everyUnit(0x1F)), 6), low);
    const __m128i fromThree =
        _mm_or_si128(_mm_or_si128(_mm_slli_epi16(first, 12), _mm_slli_epi16(low, 6)), _mm_and_si128(third, sixBits));
    const __m128i fromMore = select(_mm_cmpgt_epi16(first, everyUnit(0xDF)), fromThree, fromTwo);
    return select(_mm_cmpgt_epi16(first, everyUnit(0x7F)), fromMore, first);
}

/// Decodes a regular block. Reads two bytes after it. The unit after the last character may be written, so it is saved and
/// restored.
inline void decodeRegular(const unsigned char* source, const ByteBlock& bytes, WideChar* destination) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i first = load(source);
    const __m128i second = load(source + 1);
    const __m128i third = load(source + 2);
    WideChar units[blockSize];
    store(units,
          decodeUnits(_mm_unpacklo_epi8(first, zero), _mm_unpacklo_epi8(second, zero), _mm_unpacklo_epi8(third, zero)));
    store(units + blockSize / 2,
          decodeUnits(_mm_unpackhi_epi8(first, zero), _mm_unpackhi_epi8(second, zero), _mm_unpackhi_epi8(third, zero)));
    unsigned char steps[blockSize];
    store(steps, bytes.steps());
    WideChar* const end = destination + bytes.characters();
    unsigned char saved[sizeof(WideChar)]; // bytes, because the unit may be uninitialized
    std::memcpy(saved, end, sizeof saved);
    for (std::size_t i = 0; i < blockSize; ++i) {
        *destination = units[i];
        destination += steps[i];
    }
    std::memcpy(end, saved, sizeof saved);
}

/// Encodes eight units below 0x800 in two bytes each.
inline __m128i encodeToPairs(__m128i units) {
    const __m128i last = _mm_slli_epi16(_mm_and_si128(units, everyUnit(0x3F)), 8);
    const __m128i two = _mm_or_si128(_mm_or_si128(_mm_srli_epi16(units, 6), everyUnit(0x80C0)), last);
    return select(_mm_cmpgt_epi16(units, everyUnit(0x7F)), two, units);
}

/// Encodes four units in four bytes each.
inline __m128i encodeToQuads(__m128i units) {
    const __m128i sixBits = _mm_set1_epi32(0x3F);
    const __m128i last = _mm_and_si128(units, sixBits);
    const __m128i two =
        _mm_or_si128(_mm_or_si128(_mm_srli_epi32(units, 6), _mm_set1_epi32(0x80C0)), _mm_slli_epi32(last, 8));
    const __m128i middle = _mm_slli_epi32(_mm_and_si128(_mm_srli_epi32(units, 6), sixBits), 8);
    const __m128i three = _mm_or_si128(_mm_or_si128(_mm_srli_epi32(units, 12), _mm_set1_epi32(0x8080E0)),
                                       _mm_or_si128(middle, _mm_slli_epi32(last, 16)));
    const __m128i more = select(_mm_cmpgt_epi32(units, _mm_set1_epi32(0x7FF)), three, two);
    return select(_mm_cmpgt_epi32(units, _mm_set1_epi32(0x7F)), more, units);
}

class UnitBlock {
public:
    explicit UnitBlock(const WideChar* source) : low_(load(source)), high_(load(source + blockSize / 2)) {}

    bool hasZero() const {
        const __m128i zero = _mm_setzero_si128();
        return topBits(_mm_or_si128(_mm_cmpeq_epi16(low_, zero), _mm_cmpeq_epi16(high_, zero))) != 0;
    }

    /// Whether all units are below 0x80.
    bool isAscii() const { return hasNone(notAscii); }

    /// Whether the encoding of each unit has at most two bytes.
    bool isShort() const { return hasNone(notShort); }

    /// Number of bytes of each unit's encoding.
    __m128i sizes() const {
        // A true comparison results in -1: 3, minus 1 below 0x800, minus 1 below 0x80.
        return _mm_add_epi8(everyByte(3), _mm_add_epi8(lanesWithout(notShort), lanesWithout(notAscii)));
    }

    void encodeAscii(unsigned char* destination) const { store(destination, _mm_packus_epi16(low_, high_)); }

    /// Encodes the first units of a block whose units are all short. A few bytes after the result change; the encoding of
    /// the other units overwrites them.
    /// @param[out] written the number of bytes.
    /// @return the number of units.
    std::size_t encodeShort(unsigned char* destination, std::size_t& written) const {
        std::uint16_t characters[blockSize];
        store(characters, encodeToPairs(low_));
        store(characters + blockSize / 2, encodeToPairs(high_));
        return storeCharacters(characters, destination, written);
    }

    /// As `encodeShort`, for all units.
    std::size_t encodeAny(unsigned char* destination, std::size_t& written) const {
        const __m128i zero = _mm_setzero_si128();
        std::uint32_t characters[blockSize];
        store(characters, encodeToQuads(_mm_unpacklo_epi16(low_, zero)));
        store(characters + blockSize / 4, encodeToQuads(_mm_unpackhi_epi16(low_, zero)));
        store(characters + blockSize / 2, encodeToQuads(_mm_unpacklo_epi16(high_, zero)));
        store(characters + blockSize / 4 * 3, encodeToQuads(_mm_unpackhi_epi16(high_, zero)));
        return storeCharacters(characters, destination, written);
    }

private:
    static constexpr unsigned notAscii = 0xFF80; ///< Units from 0x80 up have one or more of these bits.
    static constexpr unsigned notShort = 0xF800; ///< Units from 0x800 up have one or more of these bits.

    bool hasNone(unsigned bits) const {
        const __m128i found = _mm_and_si128(_mm_or_si128(low_, high_), everyUnit(bits));
        return topBits(_mm_cmpeq_epi16(found, _mm_setzero_si128())) == 0xFFFF;
    }

    /// One byte for each unit: -1 if it has none of the bits, otherwise 0.
    __m128i lanesWithout(unsigned bits) const {
        const __m128i zero = _mm_setzero_si128();
        return _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low_, everyUnit(bits)), zero),
                               _mm_cmpeq_epi16(_mm_and_si128(high_, everyUnit(bits)), zero));
    }

    /// Stores the encodings one after another. Each store writes up to sizeof(Bytes) - 1 unused bytes. The last
    /// sizeof(Bytes) - 1 units of the block are left for the next block: each has at least one byte, so they overwrite the
    /// unused bytes.
    template <class Bytes>
    std::size_t storeCharacters(const Bytes (&characters)[blockSize], unsigned char* destination,
                                std::size_t& written) const {
        constexpr std::size_t count = blockSize - (sizeof(Bytes) - 1);
        unsigned char lengths[blockSize];
        store(lengths, sizes());
        unsigned char* end = destination;
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(end, characters + i, sizeof(Bytes));
            end += lengths[i];
        }
        written = static_cast<std::size_t>(end - destination);
        return count;
    }

    __m128i low_;
    __m128i high_;
};

} // namespace

DecodeResult sse2::decodeUtf8(const unsigned char* source, std::size_t length, WideChar* destination, std::size_t capacity) {
    std::size_t position = 0;
    std::size_t written = 0;
    unsigned expectedAfter = 0;
    while (length - position >= blockSize + 2 && capacity - written > blockSize) {
        const ByteBlock bytes(source + position);
        if (bytes.isAscii() && expectedAfter == 0) {
            decodeAscii(source + position, destination + written);
            written += blockSize;
        } else {
            const unsigned expected = bytes.expected(expectedAfter);
            if (!bytes.isRegular(expected))
                break;
            decodeRegular(source + position, bytes, destination + written);
            written += bytes.characters();
            expectedAfter = expected >> blockSize;
        }
        position += blockSize;
    }
    position = nextCharacter(position, expectedAfter);
    const DecodeResult rest =
        plain::decodeUtf8(source + position, length - position, destination + written, capacity - written);
    return {written + rest.count, rest.valid};
}

DecodeResult sse2::countUtf8(const unsigned char* source, std::size_t length) {
    std::size_t position = 0;
    std::size_t count = 0;
    unsigned expectedAfter = 0;
    for (; length - position >= blockSize + 2; position += blockSize) {
        const ByteBlock bytes(source + position);
        if (bytes.isAscii() && expectedAfter == 0) {
            count += blockSize;
        } else {
            const unsigned expected = bytes.expected(expectedAfter);
            if (!bytes.isRegular(expected))
                break;
            count += bytes.characters();
            expectedAfter = expected >> blockSize;
        }
    }
    position = nextCharacter(position, expectedAfter);
    const DecodeResult rest = plain::countUtf8(source + position, length - position);
    return {count + rest.count, rest.valid};
}

std::size_t sse2::encodeUtf8(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity) {
    std::size_t read = 0;
    std::size_t position = 0;
    while (length - read >= blockSize && capacity - position >= 3 * blockSize) {
        const UnitBlock units(source + read);
        if (units.hasZero())
            break;
        std::size_t written = blockSize;
        if (units.isAscii()) {
            units.encodeAscii(destination + position);
            read += blockSize;
        } else if (units.isShort()) {
            read += units.encodeShort(destination + position, written);
        } else {
            read += units.encodeAny(destination + position, written);
        }
        position += written;
    }
    return position + plain::encodeUtf8(source + read, length - read, destination + position, capacity - position);
}

Utf8Size sse2::measureUtf8(const WideChar* source, std::size_t length) {
    std::size_t read = 0;
    std::size_t size = 0;
    for (; length - read >= blockSize; read += blockSize) {
        const UnitBlock units(source + read);
        if (units.hasZero())
            break;
        size += sumOfBytes(units.sizes());
    }
    const Utf8Size rest = plain::measureUtf8(source + read, length - read);
    return {read + rest.units, size + rest.bytes};
}

} // namespace Velmor::text

#endif
