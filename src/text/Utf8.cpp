#include "text/Utf8.h"

#if defined(__SSE2__) || defined(_M_X64)
    #define VELMOR_UTF8_SSE2 1
    #include <emmintrin.h>
#endif

#include <bit>
#include <cstdint>
#include <cstring>

namespace Velmor::utf8 {

#if defined(VELMOR_UTF8_SSE2)

// The plain forms take a branch on every character, which in mixed text goes wrong every few of them. These take a block of
// units at a time, with arithmetic on all of them at once; what is left at the end, and all text that is not regular, is
// done by the plain forms.

namespace {

constexpr std::size_t block = 16;

inline __m128i load(const void* source) {
    return _mm_loadu_si128(static_cast<const __m128i*>(source));
}

inline void store(void* destination, __m128i value) {
    _mm_storeu_si128(static_cast<__m128i*>(destination), value);
}

inline __m128i everyByte(unsigned value) {
    return _mm_set1_epi8(static_cast<char>(value));
}

inline __m128i everyUnit(unsigned value) {
    return _mm_set1_epi16(static_cast<short>(value));
}

/// One bit for every byte of which the top bit is set.
inline unsigned topBits(__m128i bytes) {
    return static_cast<unsigned>(_mm_movemask_epi8(bytes));
}

/// `chosen` where `mask` is set, `other` elsewhere.
inline __m128i choose(__m128i mask, __m128i chosen, __m128i other) {
    return _mm_or_si128(_mm_and_si128(mask, chosen), _mm_andnot_si128(mask, other));
}

/// Sum of the 16 bytes.
inline std::size_t sumOfBytes(__m128i bytes) {
    const __m128i halves = _mm_sad_epu8(bytes, _mm_setzero_si128());
    return static_cast<std::size_t>(_mm_cvtsi128_si32(halves)) + static_cast<std::size_t>(_mm_extract_epi16(halves, 4));
}

/// A block of bytes.
class ByteBlock {
public:
    explicit ByteBlock(const unsigned char* source) : bytes_(load(source)), high_(topBits(bytes_)) {}

    /// No zero byte and none above 0x7F.
    bool isAscii() const { return (high_ | zeros()) == 0; }

    /// Where continuation bytes must stand for the block to be regular: one bit for every byte of the block, and of two
    /// behind it. The first bits are those that the block before calls for.
    unsigned expected(unsigned fromBefore) const { return (high_ & begins()) << 1 | fromUp(0xE0) << 2 | fromBefore; }

    /// No zero byte, no byte from 0xF0 up, and continuation bytes exactly where they must stand.
    bool isRegular(unsigned expected) const { return (zeros() | fromUp(0xF0) | ((expected ^ ~begins()) & 0xFFFF)) == 0; }

    /// 1 for every byte that begins a character of a regular block, 0 for its continuation bytes, the lowest signed ones.
    __m128i steps() const { return _mm_and_si128(_mm_cmpgt_epi8(bytes_, everyByte(0xBF)), everyByte(1)); }

    /// Number of characters that begin in a regular block.
    std::size_t characters() const { return sumOfBytes(steps()); }

private:
    unsigned begins() const { return topBits(_mm_cmpgt_epi8(bytes_, everyByte(0xBF))); }

    unsigned zeros() const { return topBits(_mm_cmpeq_epi8(bytes_, _mm_setzero_si128())); }

    unsigned fromUp(unsigned least) const { return topBits(_mm_cmpeq_epi8(_mm_max_epu8(bytes_, everyByte(least)), bytes_)); }

    __m128i bytes_;
    unsigned high_;
};

/// The place of the first character behind a regular block, where one that began in it may still go on.
constexpr std::size_t nextCharacter(std::size_t position, unsigned expectedBehind) {
    return position + (expectedBehind & 1) + (expectedBehind >> 1);
}

inline void decodeAscii(const unsigned char* source, WideChar* destination) {
    const __m128i bytes = load(source);
    store(destination, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    store(destination + block / 2, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

/// Eight characters, each from its first byte and from the two bytes behind it as far as the first calls for them.
inline __m128i decodeUnits(__m128i first, __m128i second, __m128i third) {
    const __m128i six = everyUnit(0x3F);
    const __m128i low = _mm_and_si128(second, six);
    const __m128i two = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(first, everyUnit(0x1F)), 6), low);
    const __m128i three =
        _mm_or_si128(_mm_or_si128(_mm_slli_epi16(first, 12), _mm_slli_epi16(low, 6)), _mm_and_si128(third, six));
    const __m128i more = choose(_mm_cmpgt_epi16(first, everyUnit(0xDF)), three, two);
    return choose(_mm_cmpgt_epi16(first, everyUnit(0x7F)), more, first);
}

/// Decodes a regular block; two bytes behind it are read as well.
///
/// Every byte is decoded as if it began a character. What a continuation byte gives is overwritten by the next character;
/// behind the last one, the unit that stood there is put back.
inline void decodeRegular(const unsigned char* source, const ByteBlock& bytes, WideChar* destination) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i first = load(source);
    const __m128i second = load(source + 1);
    const __m128i third = load(source + 2);
    WideChar units[block];
    store(units,
          decodeUnits(_mm_unpacklo_epi8(first, zero), _mm_unpacklo_epi8(second, zero), _mm_unpacklo_epi8(third, zero)));
    store(units + block / 2,
          decodeUnits(_mm_unpackhi_epi8(first, zero), _mm_unpackhi_epi8(second, zero), _mm_unpackhi_epi8(third, zero)));
    unsigned char steps[block];
    store(steps, bytes.steps());
    WideChar* const end = destination + bytes.characters();
    unsigned char behind[sizeof(WideChar)]; // as bytes: the caller may never have written that unit
    std::memcpy(behind, end, sizeof behind);
    for (std::size_t i = 0; i < block; ++i) {
        *destination = units[i];
        destination += steps[i];
    }
    std::memcpy(end, behind, sizeof behind);
}

/// The bytes of eight units below 0x800, in two bytes each.
inline __m128i encodePairs(__m128i units) {
    const __m128i last = _mm_slli_epi16(_mm_and_si128(units, everyUnit(0x3F)), 8);
    const __m128i two = _mm_or_si128(_mm_or_si128(_mm_srli_epi16(units, 6), everyUnit(0x80C0)), last);
    return choose(_mm_cmpgt_epi16(units, everyUnit(0x7F)), two, units);
}

/// The bytes of four units, in four bytes each.
inline __m128i encodeTriples(__m128i units) {
    const __m128i six = _mm_set1_epi32(0x3F);
    const __m128i last = _mm_and_si128(units, six);
    const __m128i two =
        _mm_or_si128(_mm_or_si128(_mm_srli_epi32(units, 6), _mm_set1_epi32(0x80C0)), _mm_slli_epi32(last, 8));
    const __m128i middle = _mm_slli_epi32(_mm_and_si128(_mm_srli_epi32(units, 6), six), 8);
    const __m128i three = _mm_or_si128(_mm_or_si128(_mm_srli_epi32(units, 12), _mm_set1_epi32(0x8080E0)),
                                       _mm_or_si128(middle, _mm_slli_epi32(last, 16)));
    const __m128i more = choose(_mm_cmpgt_epi32(units, _mm_set1_epi32(0x7FF)), three, two);
    return choose(_mm_cmpgt_epi32(units, _mm_set1_epi32(0x7F)), more, units);
}

/// A block of code units.
class UnitBlock {
public:
    explicit UnitBlock(const WideChar* source) : low_(load(source)), high_(load(source + block / 2)) {}

    bool hasZero() const {
        const __m128i zero = _mm_setzero_si128();
        return topBits(_mm_or_si128(_mm_cmpeq_epi16(low_, zero), _mm_cmpeq_epi16(high_, zero))) != 0;
    }

    /// Whether all units are below 0x80 (`bits` 0xFF80) or 0x800 (`bits` 0xF800).
    bool hasNone(unsigned bits) const {
        const __m128i found = _mm_and_si128(_mm_or_si128(low_, high_), everyUnit(bits));
        return topBits(_mm_cmpeq_epi16(found, _mm_setzero_si128())) == 0xFFFF;
    }

    void encodeAscii(unsigned char* destination) const { store(destination, _mm_packus_epi16(low_, high_)); }

    /// Number of bytes that each unit takes.
    __m128i sizes() const {
        // A comparison gives -1: 3 less what is below 0x800 and less what is below 0x80.
        return _mm_add_epi8(everyByte(3), _mm_add_epi8(below(0xF800), below(0xFF80)));
    }

    /// Encodes the first units, which have none of 0x800 or more; the bytes behind them change.
    /// @param[out] written the number of bytes.
    /// @return the number of units.
    std::size_t encodeShort(unsigned char* destination, std::size_t& written) const {
        std::uint16_t characters[block];
        store(characters, encodePairs(low_));
        store(characters + block / 2, encodePairs(high_));
        return encode(characters, destination, written);
    }

    /// The same for any units.
    std::size_t encodeAny(unsigned char* destination, std::size_t& written) const {
        const __m128i zero = _mm_setzero_si128();
        std::uint32_t characters[block];
        store(characters, encodeTriples(_mm_unpacklo_epi16(low_, zero)));
        store(characters + block / 4, encodeTriples(_mm_unpackhi_epi16(low_, zero)));
        store(characters + block / 2, encodeTriples(_mm_unpacklo_epi16(high_, zero)));
        store(characters + block / 4 * 3, encodeTriples(_mm_unpackhi_epi16(high_, zero)));
        return encode(characters, destination, written);
    }

private:
    __m128i below(unsigned bits) const {
        const __m128i zero = _mm_setzero_si128();
        return _mm_packs_epi16(_mm_cmpeq_epi16(_mm_and_si128(low_, everyUnit(bits)), zero),
                               _mm_cmpeq_epi16(_mm_and_si128(high_, everyUnit(bits)), zero));
    }

    /// Stores the characters one behind the other, each whole, with up to sizeof(Bytes) - 1 bytes too many. As many units
    /// are left out at the end: what is written for them later surely covers those bytes.
    template <class Bytes>
    std::size_t encode(const Bytes (&characters)[block], unsigned char* destination, std::size_t& written) const {
        constexpr std::size_t count = block - (sizeof(Bytes) - 1);
        unsigned char lengths[block];
        store(lengths, sizes());
        unsigned char* place = destination;
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(place, characters + i, sizeof(Bytes));
            place += lengths[i];
        }
        written = static_cast<std::size_t>(place - destination);
        return count;
    }

    __m128i low_;
    __m128i high_;
};

} // namespace

static_assert(std::endian::native == std::endian::little);

Outcome decode(const unsigned char* source, std::size_t length, WideChar* destination, std::size_t capacity) {
    std::size_t position = 0;
    std::size_t written = 0;
    unsigned expectedBehind = 0;
    while (length - position >= block + 2 && capacity - written > block) {
        const ByteBlock bytes(source + position);
        if (bytes.isAscii() && expectedBehind == 0) {
            decodeAscii(source + position, destination + written);
            written += block;
        } else {
            const unsigned expected = bytes.expected(expectedBehind);
            if (!bytes.isRegular(expected))
                break;
            decodeRegular(source + position, bytes, destination + written);
            written += bytes.characters();
            expectedBehind = expected >> block;
        }
        position += block;
    }
    position = nextCharacter(position, expectedBehind);
    const Outcome rest = plain::decode(source + position, length - position, destination + written, capacity - written);
    return {written + rest.count, rest.valid};
}

Outcome countCharacters(const unsigned char* source, std::size_t length) {
    std::size_t position = 0;
    std::size_t count = 0;
    unsigned expectedBehind = 0;
    for (; length - position >= block + 2; position += block) {
        const ByteBlock bytes(source + position);
        if (bytes.isAscii() && expectedBehind == 0) {
            count += block;
        } else {
            const unsigned expected = bytes.expected(expectedBehind);
            if (!bytes.isRegular(expected))
                break;
            count += bytes.characters();
            expectedBehind = expected >> block;
        }
    }
    position = nextCharacter(position, expectedBehind);
    const Outcome rest = plain::countCharacters(source + position, length - position);
    return {count + rest.count, rest.valid};
}

std::size_t encode(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity) {
    std::size_t read = 0;
    std::size_t position = 0;
    while (length - read >= block && capacity - position >= 3 * block) {
        const UnitBlock units(source + read);
        if (units.hasZero())
            break;
        std::size_t written = block;
        if (units.hasNone(0xFF80)) {
            units.encodeAscii(destination + position);
            read += block;
        } else if (units.hasNone(0xF800)) {
            read += units.encodeShort(destination + position, written);
        } else {
            read += units.encodeAny(destination + position, written);
        }
        position += written;
    }
    return position + plain::encode(source + read, length - read, destination + position, capacity - position);
}

Extent extentOf(const WideChar* source, std::size_t length) {
    std::size_t read = 0;
    std::size_t size = 0;
    for (; length - read >= block; read += block) {
        const UnitBlock units(source + read);
        if (units.hasZero())
            break;
        size += sumOfBytes(units.sizes());
    }
    const Extent rest = plain::extentOf(source + read, length - read);
    return {read + rest.units, size + rest.bytes};
}

#else

Outcome decode(const unsigned char* source, std::size_t length, WideChar* destination, std::size_t capacity) {
    return plain::decode(source, length, destination, capacity);
}

Outcome countCharacters(const unsigned char* source, std::size_t length) {
    return plain::countCharacters(source, length);
}

std::size_t encode(const WideChar* source, std::size_t length, unsigned char* destination, std::size_t capacity) {
    return plain::encode(source, length, destination, capacity);
}

Extent extentOf(const WideChar* source, std::size_t length) {
    return plain::extentOf(source, length);
}

#endif

} // namespace Velmor::utf8
