#include "os/os.h"
#include "os/posix/charsets.h"
#include "os/posix/handles.h"
#include "os/posix/pageconversion.h"
#include "os/posix/unicode.h"

#include <langinfo.h>
#include <locale.h>

#include <algorithm>
#include <cstddef>
#include <string>

// Both conversions read one character at a time and append it to an output that has a capacity or only counts. UTF-8 is
// decoded by the functions in unicode.h; the other code pages by the classes in pageconversion.h. A class that converts has
// the function
//
//     ConvertedCharacter<Unit> read(const Source* source, std::size_t length);

namespace Velmor::os {

namespace {

using posix::ConvertedCharacter;

constexpr WideChar replacementCharacter = 0xFFFD;

unsigned codePageOfThread() {
    const locale_t locale = uselocale(nullptr);
    return posix::codePageOfCharset(locale == LC_GLOBAL_LOCALE ? nl_langinfo(CODESET) : nl_langinfo_l(CODESET, locale));
}

unsigned codePageOfEnvironment() {
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr)
        return posix::utf8CodePage;
    const unsigned codePage = posix::codePageOfCharset(nl_langinfo_l(CODESET, locale));
    freelocale(locale);
    return codePage;
}

/// Receives converted text; counts it if the capacity is 0.
template <class Unit>
class Output {
public:
    Output(Unit* destination, int capacity) : destination_(destination), capacity_(static_cast<std::size_t>(capacity)) {}

    /// Appends a character if it fits. Of a surrogate pair, the first half is appended if only that fits, as Win32 does.
    /// @return number of units appended.
    std::size_t append(const Unit* units, std::size_t count) {
        if (capacity_ != 0) {
            const std::size_t available = capacity_ - size_;
            if (count > available)
                count = sizeof(Unit) == sizeof(WideChar) ? available : 0;
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

class Utf8Reader {
public:
    ConvertedCharacter<WideChar> read(const unsigned char* source, std::size_t length) const {
        const posix::DecodedCharacter decoded = posix::decodeUtf8(source, length);
        ConvertedCharacter<WideChar> result;
        result.size = posix::encodeUtf16(decoded.isValid ? decoded.value : replacementCharacter, result.units.data());
        result.length = decoded.length;
        return result;
    }
};

class Utf8Writer {
public:
    ConvertedCharacter<char> read(const WideChar* source, std::size_t length) const {
        const posix::DecodedCharacter decoded = posix::decodeUtf16(source, length);
        ConvertedCharacter<char> result;
        result.size = posix::encodeUtf8(decoded.isValid ? decoded.value : replacementCharacter, result.units.data());
        result.length = decoded.length;
        return result;
    }
};

template <class Source, class Unit, class Reader>
int convertAll(Reader&& reader, const Source* source, std::size_t length, Output<Unit> output) {
    for (std::size_t position = 0; position < length;) {
        const ConvertedCharacter<Unit> character = reader.read(source + position, length - position);
        const std::size_t appended = output.append(character.units.data(), character.size);
        position += character.length;
        // Win32 accepts the first half of a pair at the end of the text as complete.
        const bool isComplete = appended == character.size || (appended != 0 && position == length);
        if (!isComplete) {
            posix::setLastError(posix::errorInsufficientBuffer);
            return 0;
        }
    }
    return static_cast<int>(output.size());
}

/// Returns the length of a source. If the given length is negative, the source ends with a zero unit, which is included.
template <class Unit>
std::size_t sourceLengthOf(const Unit* source, int length) {
    return length < 0 ? std::char_traits<Unit>::length(source) + 1 : static_cast<std::size_t>(length);
}

/// Replaces CP_ACP and CP_THREAD_ACP by the code pages that they refer to.
unsigned resolve(unsigned codePage) {
    return codePage == threadCodePage ? codePageOfThread() : codePage == 0 ? systemCodePage() : codePage;
}

/// Converts a text.
/// @tparam Utf8,Page the classes that convert one character from or to UTF-8 and the other code pages.
template <class Utf8, class Page, class Source, class Unit>
int convert(unsigned codePage, const Source* source, std::size_t length, Unit* destination, int capacity) {
    const Output<Unit> output(destination, capacity);
    const unsigned number = resolve(codePage);
    if (number == posix::utf8CodePage)
        return convertAll(Utf8{}, source, length, output);
    if (const posix::CodePage* page = posix::findCodePage(number)) {
        Page converter(*page);
        if (converter.isOpen())
            return convertAll(converter, source, length, output);
    }
    posix::setLastError(posix::errorInvalidParameter);
    return 0;
}

bool areValidArguments(const void* source, int sourceLength, const void* destination, int capacity) {
    const bool valid = source != nullptr && sourceLength != 0 && capacity >= 0 && (destination != nullptr || capacity == 0);
    if (!valid)
        posix::setLastError(posix::errorInvalidParameter);
    return valid;
}

} // namespace

unsigned systemCodePage() {
    static const unsigned codePage = codePageOfEnvironment(); // constant in a process, as on Windows
    return codePage;
}

int multiByteToWide(unsigned codePage, const char* source, int sourceLength, WideChar* destination, int capacity) {
    if (!areValidArguments(source, sourceLength, destination, capacity))
        return 0;
    return convert<Utf8Reader, posix::PageReader>(codePage, reinterpret_cast<const unsigned char*>(source),
                                                  sourceLengthOf(source, sourceLength), destination, capacity);
}

int wideToMultiByte(unsigned codePage, const WideChar* source, int sourceLength, char* destination, int capacity) {
    if (!areValidArguments(source, sourceLength, destination, capacity))
        return 0;
    return convert<Utf8Writer, posix::PageWriter>(codePage, source, sourceLengthOf(source, sourceLength), destination,
                                                  capacity);
}

} // namespace Velmor::os
