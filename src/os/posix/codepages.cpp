#include "os/os.h"
#include "os/posix/codepagedata.h"
#include "os/posix/handles.h"
#include "os/posix/utf16.h"

#include <iconv.h>
#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>

namespace Velmor::os {

namespace {

constexpr unsigned utf8CodePage = 65001;
constexpr WideChar replacementCharacter = 0xFFFD;

/// A code page. All of them extend ASCII.
struct CodePage {
    unsigned number;       ///< Windows's number.
    const char* converter; ///< iconv's name of what Windows means by that number.
    WideChar privateUse;   ///< Character of the first byte from 0xA0 up that is undefined; the others follow it. 0: default.
    WideChar defaultWide;  ///< Stands for a double byte that is undefined.
    bool allLead = false;  ///< All bytes from 0x81 to 0xFE lead double bytes, also those of which none is defined.
};

constexpr CodePage codePages[] = {
    {866, "CP866", 0, u'?'},
    {874, "CP874", 0xF8C1, u'?'},
    {932, "CP932", 0xF8F0, u'\u30FB'},
    {936, "GBK", 0xF8F5, u'?', true},
    {949, "CP949", 0xF8F7, u'?', true},
    {950, "CP950", 0xF8F8, u'?', true},
    {1250, "CP1250", 0, u'?'},
    {1251, "CP1251", 0, u'?'},
    {1252, "CP1252", 0, u'?'},
    {1253, "CP1253", 0xF8F9, u'?'},
    {1254, "CP1254", 0, u'?'},
    {1255, "CP1255", 0xF88D, u'?'},
    {1256, "CP1256", 0, u'?'},
    {1257, "CP1257", 0xF8FC, u'?'},
    {1258, "CP1258", 0, u'?'},
    {20866, "KOI8-R", 0, u'?'},
    {21866, "KOI8-U", 0, u'?'},
    {28591, "ISO-8859-1", 0, u'?'},
    {28592, "ISO-8859-2", 0, u'?'},
    {28593, "ISO-8859-3", 0xF7F5, u'?'},
    {28594, "ISO-8859-4", 0, u'?'},
    {28595, "ISO-8859-5", 0, u'?'},
    {28596, "ISO-8859-6", 0xF7C8, u'?'},
    {28597, "ISO-8859-7", 0xF7C2, u'?'},
    {28598, "ISO-8859-8", 0xF79C, u'?'},
    {28599, "ISO-8859-9", 0, u'?'},
    {28600, "ISO-8859-10", 0, u'?'},
    {28601, "ISO-8859-11", 0, u'?'},
    {28603, "ISO-8859-13", 0, u'?'},
    {28604, "ISO-8859-14", 0, u'?'},
    {28605, "ISO-8859-15", 0, u'?'},
    {28606, "ISO-8859-16", 0, u'?'},
    {51932, "EUC-JP", 0, u'?'},
    {51949, "EUC-KR", 0, u'?'},
    {51950, "EUC-TW", 0, u'?'},
    {54936, "GB18030", 0, u'?'},
    // Charsets that Windows has no number for.
    {0x10000, "ARMSCII-8", 0, u'?'},
    {0x10001, "BIG5-HKSCS", 0, u'?'},
    {0x10002, "GEORGIAN-PS", 0, u'?'},
    {0x10003, "KOI8-T", 0, u'?'},
    {0x10004, "PT154", 0, u'?'},
    {0x10005, "RK1048", 0, u'?'},
};

/// Names that locales give to charsets, where they are not the converter's.
struct Charset {
    const char* name;
    unsigned codePage;
};

constexpr Charset charsets[] = {
    {"UTF-8", utf8CodePage}, {"ANSI_X3.4-1968", utf8CodePage},
    {"BIG5", 950},           {"CP936", 936},
    {"GB2312", 936},         {"IBM866", 866},
    {"SHIFT_JIS", 932},      {"SJIS", 932},
    {"TIS-620", 874},        {"UHC", 949},
    {"WINDOWS-31J", 932},
};

/// The code page of a locale's charset. What nobody knows is taken for UTF-8, like the charset of the C locale.
unsigned codePageOf(const char* charset) {
    for (const Charset& entry : charsets) {
        if (std::strcmp(entry.name, charset) == 0)
            return entry.codePage;
    }
    for (const CodePage& page : codePages) {
        if (std::strcmp(page.converter, charset) == 0)
            return page.number;
    }
    return utf8CodePage;
}

unsigned codePageOfThread() {
    const locale_t locale = uselocale(nullptr);
    return codePageOf(locale == LC_GLOBAL_LOCALE ? nl_langinfo(CODESET) : nl_langinfo_l(CODESET, locale));
}

unsigned codePageOfEnvironment() {
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr)
        return utf8CodePage;
    const unsigned codePage = codePageOf(nl_langinfo_l(CODESET, locale));
    freelocale(locale);
    return codePage;
}

/// Receives converted text; a capacity of 0 counts it.
template <class Unit>
class Output {
public:
    Output(Unit* destination, int capacity) : destination_(destination), capacity_(static_cast<std::size_t>(capacity)) {}

    /// Takes a character, or nothing of it; but of a surrogate pair, as Win32 does, the half that fits.
    /// @return number of units taken.
    std::size_t put(const Unit* units, std::size_t count) {
        if (capacity_ != 0) {
            const std::size_t room = capacity_ - size_;
            if (count > room)
                count = sizeof(Unit) == sizeof(WideChar) ? room : 0;
            std::copy_n(units, count, destination_ + size_);
        }
        size_ += count;
        return count;
    }

    std::size_t size() const { return size_; }

private:
    Unit* destination_;
    std::size_t capacity_;
    std::size_t size_ = 0;
};

/// The most that one character becomes: four bytes, two code units.
template <class Unit>
struct Character {
    std::array<Unit, 4> units{};
    std::size_t size = 0; ///< Units that it becomes.
    std::size_t read = 1; ///< Units of the source that it was.
};

// UTF-8

constexpr bool isContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

/// Number of continuation bytes behind a lead, 0 if it is none.
constexpr std::size_t continuationsOf(unsigned char lead) {
    return lead < 0xC2 || lead > 0xF4 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
}

/// Whether a second byte continues its lead neither to an overlong form nor to a surrogate nor beyond U+10FFFF.
constexpr bool isSecond(unsigned char lead, unsigned char byte) {
    switch (lead) {
    case 0xE0:
        return byte >= 0xA0;
    case 0xED:
        return byte < 0xA0;
    case 0xF0:
        return byte >= 0x90;
    case 0xF4:
        return byte < 0x90;
    default:
        return true;
    }
}

class Utf8Reader {
public:
    Character<WideChar> read(const unsigned char* source, std::size_t length) const {
        const unsigned char lead = source[0];
        if (lead < 0x80)
            return one(lead, 1);
        const std::size_t continuations = continuationsOf(lead);
        // One that the end cuts off takes with it all that is left, whatever that is.
        if (continuations >= length)
            return one(replacementCharacter, length);
        if (continuations == 0 || !isContinuation(source[1]))
            return one(replacementCharacter, 1);
        if (!isSecond(lead, source[1]))
            return one(replacementCharacter, 2);
        unsigned value = lead & (0x3Fu >> continuations);
        for (std::size_t i = 1; i <= continuations; ++i) {
            if (!isContinuation(source[i]))
                return one(replacementCharacter, i);
            value = value << 6 | (source[i] & 0x3Fu);
        }
        if (value < 0x10000)
            return one(static_cast<WideChar>(value), continuations + 1);
        return {{static_cast<WideChar>(0xD7C0 + (value >> 10)), static_cast<WideChar>(0xDC00 + (value & 0x3FF))}, 2, 4};
    }

private:
    static Character<WideChar> one(unsigned character, std::size_t read) {
        return {{static_cast<WideChar>(character)}, 1, read};
    }
};

class Utf8Writer {
public:
    Character<char> read(const WideChar* source, std::size_t length) const {
        const unsigned unit = source[0];
        if (unit < 0x80)
            return {{static_cast<char>(unit)}, 1, 1};
        if (unit < 0x800)
            return {{static_cast<char>(0xC0 | unit >> 6), continuation(unit)}, 2, 1};
        if (posix::isHighSurrogate(source[0]) && length > 1 && posix::isLowSurrogate(source[1])) {
            const unsigned value = 0x10000 + ((unit & 0x3FF) << 10 | (source[1] & 0x3FFu));
            return {{static_cast<char>(0xF0 | value >> 18), continuation(value >> 12), continuation(value >> 6),
                     continuation(value)},
                    4,
                    2};
        }
        const bool alone = posix::isHighSurrogate(source[0]) || posix::isLowSurrogate(source[0]);
        const unsigned value = alone ? replacementCharacter : unit;
        return {{static_cast<char>(0xE0 | value >> 12), continuation(value >> 6), continuation(value)}, 3, 1};
    }

private:
    static char continuation(unsigned value) { return static_cast<char>(0x80 | (value & 0x3F)); }
};

// Other charsets

/// An iconv descriptor, for one character at a time.
class Converter {
public:
    Converter(const char* to, const char* from) : descriptor_(iconv_open(to, from)) {}
    ~Converter() {
        if (isOpen())
            iconv_close(descriptor_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool isOpen() const { return descriptor_ != reinterpret_cast<iconv_t>(-1); }

    enum Result { converted, cutOff, invalid };

    /// @param[in,out] size capacity in bytes of `output`, then the number of bytes written.
    Result convert(const void* input, std::size_t length, void* output, std::size_t& size) {
        const std::size_t capacity = size;
        size_t left = length;
        size_t room = capacity;
        char* in = static_cast<char*>(const_cast<void*>(input)); // iconv only reads it
        char* out = static_cast<char*>(output);
        constexpr size_t failed = static_cast<size_t>(-1);
        iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);
        if (iconv(descriptor_, &in, &left, &out, &room) == failed)
            return errno == EINVAL ? cutOff : invalid;
        // Some decoders hold a letter back, in case an accent follows.
        if (iconv(descriptor_, nullptr, nullptr, &out, &room) == failed)
            return invalid;
        size = capacity - room;
        return size != 0 ? converted : invalid;
    }

private:
    iconv_t descriptor_;
};

constexpr const char* wideCharset = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

/// Decodes text of a code page, one character at a time.
class PageReader {
public:
    explicit PageReader(const CodePage& page) : page_(page), converter_(wideCharset, page.converter) {
        if (isOpen())
            readSingles();
    }

    bool isOpen() const { return converter_.isOpen(); }

    Character<WideChar> read(const unsigned char* source, std::size_t length) {
        if (const std::optional<WideChar> single = singles_[source[0]])
            return {{*single}, 1, 1};
        if (const std::optional<WideChar> pair = length > 1 ? doubleOf(source[0], source[1]) : std::nullopt)
            return {{*pair}, 1, 2};
        constexpr std::size_t longest = 4;
        for (std::size_t size = 2; size <= std::min(length, longest); ++size) {
            Character<WideChar> result;
            const Converter::Result outcome = convert(source, size, result);
            if (outcome == Converter::converted)
                return result;
            if (outcome == Converter::invalid)
                break;
        }
        // An undefined character is taken to have two bytes, unless a NUL or the end follows its lead.
        const bool leadOnly = length == 1 || source[1] == 0;
        return {{page_.defaultWide}, 1, leadOnly ? 1u : 2u};
    }

    /// The byte of a character that is encoded in one.
    std::optional<unsigned char> singleOf(WideChar character) const {
        const auto found = std::find(singles_.begin(), singles_.end(), std::optional<WideChar>(character));
        if (found == singles_.end())
            return std::nullopt;
        return static_cast<unsigned char>(found - singles_.begin());
    }

    /// The double byte of a character that has another one with iconv, or none; 0 for any other.
    unsigned doubleOf(WideChar character) const {
        for (const posix::DoubleBytes& run : posix::doubleBytes) {
            if (run.codePage == page_.number && character >= run.character &&
                character <= run.character + (run.last - run.first))
                return run.first + (character - run.character);
        }
        return 0;
    }

private:
    std::optional<WideChar> doubleOf(unsigned char lead, unsigned char trail) const {
        const int bytes = lead << 8 | trail;
        for (const posix::DoubleBytes& run : posix::doubleBytes) {
            if (run.codePage == page_.number && bytes >= run.first && bytes <= run.last)
                return static_cast<WideChar>(run.character + (bytes - run.first));
        }
        return std::nullopt;
    }

    Converter::Result convert(const unsigned char* source, std::size_t length, Character<WideChar>& result) {
        std::size_t size = sizeof result.units;
        const Converter::Result outcome = converter_.convert(source, length, result.units.data(), size);
        result.size = size / sizeof(WideChar);
        result.read = length;
        return outcome;
    }

    /// Every byte that is a character by itself; the others are leads.
    void readSingles() {
        for (unsigned byte = 0; byte < 0x80; ++byte)
            singles_[byte] = static_cast<WideChar>(byte);
        WideChar privateUse = page_.privateUse;
        for (unsigned byte = 0x80; byte < 0x100; ++byte) {
            const unsigned char source[] = {static_cast<unsigned char>(byte)};
            Character<WideChar> character;
            Converter::Result outcome = convert(source, 1, character);
            for (const posix::SingleByte& difference : posix::singleBytes) {
                if (difference.codePage == page_.number && difference.byte == byte) {
                    outcome = difference.character != 0 ? Converter::converted : Converter::invalid;
                    character.units[0] = difference.character;
                }
            }
            if (page_.allLead && byte > 0x80 && byte < 0xFF)
                outcome = Converter::cutOff;
            if (outcome == Converter::converted)
                singles_[byte] = character.units[0];
            else if (outcome == Converter::invalid && byte < 0xA0)
                singles_[byte] = static_cast<WideChar>(byte);
            else if (outcome == Converter::invalid)
                singles_[byte] = page_.privateUse != 0 ? privateUse++ : page_.defaultWide;
        }
    }

    const CodePage& page_;
    Converter converter_;
    std::array<std::optional<WideChar>, 0x100> singles_;
};

/// Encodes text in a code page, one character at a time.
class PageWriter {
public:
    explicit PageWriter(const CodePage& page) : page_(page), reader_(page), converter_(page.converter, wideCharset) {}

    bool isOpen() const { return reader_.isOpen() && converter_.isOpen(); }

    Character<char> read(const WideChar* source, std::size_t length) {
        Character<char> result;
        if (posix::isHighSurrogate(source[0]) && length > 1 && posix::isLowSurrogate(source[1]) && encode(source, 2, result))
            return result;
        if (encode(source, 1, result))
            return result;
        const WideChar alike = bestFitOf(source[0]);
        if (alike != 0 && encode(&alike, 1, result))
            return result;
        return {{'?'}, 1, 1};
    }

private:
    bool encode(const WideChar* source, std::size_t length, Character<char>& result) {
        result.read = length;
        if (const std::optional<unsigned char> single = reader_.singleOf(source[0])) {
            result.units[0] = static_cast<char>(*single);
            result.size = 1;
            return true;
        }
        if (const unsigned pair = reader_.doubleOf(source[0])) {
            result.units = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
            result.size = 2;
            return true;
        }
        result.size = result.units.size();
        if (converter_.convert(source, length * sizeof(WideChar), result.units.data(), result.size) != Converter::converted)
            return false;
        // What does not decode to the same is iconv's own idea of something alike.
        unsigned char bytes[sizeof result.units];
        std::memcpy(bytes, result.units.data(), sizeof bytes);
        const Character<WideChar> back = reader_.read(bytes, result.size);
        return back.read == result.size && back.size == length && std::equal(source, source + length, back.units.begin());
    }

    WideChar bestFitOf(WideChar character) const {
        const auto* const entry =
            std::find(std::begin(posix::bestFitCodePages), std::end(posix::bestFitCodePages), page_.number);
        if (entry == std::end(posix::bestFitCodePages))
            return 0;
        const std::uint32_t bit = std::uint32_t{1} << (entry - std::begin(posix::bestFitCodePages));
        for (const posix::BestFit& fit : posix::bestFits) {
            if ((fit.codePages & bit) == 0)
                continue;
            for (std::size_t i = 0; i < fit.pairs.size(); i += 2) {
                if (fit.pairs[i] == character)
                    return fit.pairs[i + 1];
            }
        }
        return 0;
    }

    const CodePage& page_;
    PageReader reader_;
    Converter converter_;
};

// Both directions

template <class Source, class Unit, class Reader>
int convertAll(Reader&& reader, const Source* source, std::size_t length, Output<Unit> output) {
    for (std::size_t position = 0; position < length;) {
        const Character<Unit> character = reader.read(source + position, length - position);
        const std::size_t taken = output.put(character.units.data(), character.size);
        position += character.read;
        // Win32's: half a pair at the very end passes for all.
        const bool complete = taken == character.size || (taken != 0 && position == length);
        if (!complete) {
            posix::setLastError(posix::errorInsufficientBuffer);
            return 0;
        }
    }
    return static_cast<int>(output.size());
}

/// Length of a source whose end is told by a zero unit when `length` is negative; the zero unit counts.
template <class Unit>
std::size_t lengthOf(const Unit* source, int length) {
    return length < 0 ? std::char_traits<Unit>::length(source) + 1 : static_cast<std::size_t>(length);
}

const CodePage* findCodePage(unsigned number) {
    const auto* const found = std::find_if(std::begin(codePages), std::end(codePages),
                                           [number](const CodePage& page) { return page.number == number; });
    return found != std::end(codePages) ? found : nullptr;
}

/// CP_ACP and CP_THREAD_ACP stand for other numbers.
unsigned resolve(unsigned codePage) {
    return codePage == threadCodePage ? codePageOfThread() : codePage == 0 ? systemCodePage() : codePage;
}

/// What both conversions have in common. `Utf8` and `Page` convert one character at a time.
template <class Utf8, class Page, class Source, class Unit>
int convert(unsigned codePage, const Source* source, std::size_t length, Unit* destination, int capacity) {
    const Output<Unit> output(destination, capacity);
    const unsigned number = resolve(codePage);
    if (number == utf8CodePage)
        return convertAll(Utf8{}, source, length, output);
    if (const CodePage* page = findCodePage(number)) {
        Page reader(*page);
        if (reader.isOpen())
            return convertAll(reader, source, length, output);
    }
    posix::setLastError(posix::errorInvalidParameter);
    return 0;
}

bool areArguments(const void* source, int sourceLength, const void* destination, int capacity) {
    const bool valid = source != nullptr && sourceLength != 0 && capacity >= 0 && (destination != nullptr || capacity == 0);
    if (!valid)
        posix::setLastError(posix::errorInvalidParameter);
    return valid;
}

} // namespace

unsigned systemCodePage() {
    // As on Windows, the same from the first question to the end of the process.
    static const unsigned codePage = codePageOfEnvironment();
    return codePage;
}

int multiByteToWide(unsigned codePage, const char* source, int sourceLength, WideChar* destination, int capacity) {
    if (!areArguments(source, sourceLength, destination, capacity))
        return 0;
    return convert<Utf8Reader, PageReader>(codePage, reinterpret_cast<const unsigned char*>(source),
                                           lengthOf(source, sourceLength), destination, capacity);
}

int wideToMultiByte(unsigned codePage, const WideChar* source, int sourceLength, char* destination, int capacity) {
    if (!areArguments(source, sourceLength, destination, capacity))
        return 0;
    return convert<Utf8Writer, PageWriter>(codePage, source, lengthOf(source, sourceLength), destination, capacity);
}

} // namespace Velmor::os
