#include "os/posix/pageconversion.h"

#include "os/posix/codepagedata.h"
#include "os/posix/unicode.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace Velmor::os::posix {

namespace {

constexpr const char* utf16Charset = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

} // namespace

Converter::Converter(const char* to, const char* from) : descriptor_(iconv_open(to, from)) {}

Converter::~Converter() {
    if (isOpen())
        iconv_close(descriptor_);
}

bool Converter::isOpen() const {
    return descriptor_ != reinterpret_cast<iconv_t>(-1);
}

Converter::Result Converter::convert(const void* input, std::size_t length, void* output, std::size_t& size) {
    constexpr std::size_t failed = static_cast<std::size_t>(-1);
    const std::size_t capacity = size;
    std::size_t unread = length;
    std::size_t available = capacity;
    char* in = static_cast<char*>(const_cast<void*>(input)); // iconv only reads it
    char* out = static_cast<char*>(output);
    iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);
    if (iconv(descriptor_, &in, &unread, &out, &available) == failed)
        return errno == EINVAL ? truncated : invalid;
    // Some decoders buffer a letter because a combining accent may follow; this call writes it.
    if (iconv(descriptor_, nullptr, nullptr, &out, &available) == failed)
        return invalid;
    size = capacity - available;
    return size != 0 ? converted : invalid;
}

PageReader::PageReader(const CodePage& page) : page_(page), converter_(utf16Charset, page.converter) {
    if (isOpen())
        readSingleBytes();
}

ConvertedCharacter<WideChar> PageReader::read(const unsigned char* source, std::size_t length) {
    if (const std::optional<WideChar> single = singles_[source[0]])
        return {{*single}, 1, 1};
    if (const std::optional<WideChar> pair = length > 1 ? decodeDoubleByte(source[0], source[1]) : std::nullopt)
        return {{*pair}, 1, 2};
    constexpr std::size_t longest = 4;
    for (std::size_t size = 2; size <= std::min(length, longest); ++size) {
        ConvertedCharacter<WideChar> result;
        const Converter::Result outcome = convert(source, size, result);
        if (outcome == Converter::converted)
            return result;
        if (outcome == Converter::invalid)
            break;
    }
    // An undefined character has two bytes, except at the end of the text or before a NUL.
    const bool leadOnly = length == 1 || source[1] == 0;
    return {{page_.defaultWide}, 1, leadOnly ? 1u : 2u};
}

std::optional<unsigned char> PageReader::singleByteOf(WideChar character) const {
    const auto found = std::find(singles_.begin(), singles_.end(), std::optional<WideChar>(character));
    if (found == singles_.end())
        return std::nullopt;
    return static_cast<unsigned char>(found - singles_.begin());
}

unsigned PageReader::doubleByteOf(WideChar character) const {
    for (const DoubleBytes& run : doubleBytes)
        if (run.codePage == page_.number && character >= run.character &&
            character <= run.character + (run.last - run.first))
            return run.first + (character - run.character);
    return 0;
}

std::optional<WideChar> PageReader::decodeDoubleByte(unsigned char lead, unsigned char trail) const {
    const int bytes = lead << 8 | trail;
    for (const DoubleBytes& run : doubleBytes)
        if (run.codePage == page_.number && bytes >= run.first && bytes <= run.last)
            return static_cast<WideChar>(run.character + (bytes - run.first));
    return std::nullopt;
}

Converter::Result PageReader::convert(const unsigned char* source, std::size_t length,
                                      ConvertedCharacter<WideChar>& result) {
    std::size_t size = sizeof result.units;
    const Converter::Result outcome = converter_.convert(source, length, result.units.data(), size);
    result.size = size / sizeof(WideChar);
    result.length = length;
    return outcome;
}

void PageReader::readSingleBytes() {
    for (unsigned byte = 0; byte < 0x80; ++byte)
        singles_[byte] = static_cast<WideChar>(byte);
    WideChar privateUse = page_.privateUse;
    for (unsigned byte = 0x80; byte < 0x100; ++byte) {
        const unsigned char source[] = {static_cast<unsigned char>(byte)};
        ConvertedCharacter<WideChar> character;
        Converter::Result outcome = convert(source, 1, character);
        for (const SingleByte& difference : singleBytes) {
            if (difference.codePage == page_.number && difference.byte == byte) {
                outcome = difference.character != 0 ? Converter::converted : Converter::invalid;
                character.units[0] = difference.character;
            }
        }
        if (page_.allLeadsDefined && byte > 0x80 && byte < 0xFF)
            outcome = Converter::truncated;
        if (outcome == Converter::converted)
            singles_[byte] = character.units[0];
        else if (outcome == Converter::invalid && byte < 0xA0)
            singles_[byte] = static_cast<WideChar>(byte);
        else if (outcome == Converter::invalid)
            singles_[byte] = page_.privateUse != 0 ? privateUse++ : page_.defaultWide;
    }
}

PageWriter::PageWriter(const CodePage& page) : page_(page), reader_(page), converter_(page.converter, utf16Charset) {}

ConvertedCharacter<char> PageWriter::read(const WideChar* source, std::size_t length) {
    ConvertedCharacter<char> result;
    const std::size_t units = decodeUtf16(source, length).length;
    if (units == 2 && encode(source, 2, result))
        return result;
    if (encode(source, 1, result))
        return result;
    const WideChar bestFit = bestFitOf(source[0]);
    if (bestFit != 0 && encode(&bestFit, 1, result))
        return result;
    return {{'?'}, 1, 1};
}

bool PageWriter::encode(const WideChar* source, std::size_t length, ConvertedCharacter<char>& result) {
    result.length = length;
    if (const std::optional<unsigned char> single = reader_.singleByteOf(source[0])) {
        result.units[0] = static_cast<char>(*single);
        result.size = 1;
        return true;
    }
    if (const unsigned pair = reader_.doubleByteOf(source[0])) {
        result.units = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
        result.size = 2;
        return true;
    }
    result.size = result.units.size();
    if (converter_.convert(source, length * sizeof(WideChar), result.units.data(), result.size) != Converter::converted)
        return false;
    unsigned char bytes[sizeof result.units];
    std::memcpy(bytes, result.units.data(), sizeof bytes);
    const ConvertedCharacter<WideChar> decoded = reader_.read(bytes, result.size);
    return decoded.length == result.size && decoded.size == length &&
           std::equal(source, source + length, decoded.units.begin());
}

WideChar PageWriter::bestFitOf(WideChar character) const {
    const auto* const entry = std::find(std::begin(bestFitCodePages), std::end(bestFitCodePages), page_.number);
    if (entry == std::end(bestFitCodePages))
        return 0;
    const std::uint32_t bit = std::uint32_t{1} << (entry - std::begin(bestFitCodePages));
    for (const BestFit& fit : bestFits) {
        if ((fit.codePages & bit) == 0)
            continue;
        for (std::size_t i = 0; i < fit.pairs.size(); i += 2)
            if (fit.pairs[i] == character)
                return fit.pairs[i + 1];
    }
    return 0;
}

} // namespace Velmor::os::posix
