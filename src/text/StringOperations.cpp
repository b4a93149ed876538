#include <Velmor/Text.h>

#include "diagnostics/Diagnostics.h"
#include "os/os.h"
#include "text/Decimal.h"
#include "text/IsoLatinTables.h"
#include "text/Utf8.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Velmor {

using namespace diagnostics;

namespace {

/// A copy of a source for a message: the source may have no terminator.
std::string toString(const unsigned char* source, std::size_t length) {
    return {reinterpret_cast<const char*>(source), length};
}

} // namespace

WideString StringOperations::ConvertFromUTF8(const unsigned char* source) {
    if (source == nullptr)
        return {};
    return ConvertFromUTF8(source, std::strlen(reinterpret_cast<const char*>(source)));
}

WideString StringOperations::ConvertFromUTF8(const unsigned char* source, std::size_t sourceLength) {
    if (source == nullptr || sourceLength == 0 || source[0] == 0)
        return {};
    const std::size_t length = StringLengthUTF8(source, sourceLength);
    if (length == 0) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, " StringOperations::ConvertFromUTF8, Invalid Conversion."); });
        return {};
    }
    // Frozen: the result has the counted length, with zero units at its end, also if the decoder writes fewer units.
    WideString result(length, WideChar{});
    ConvertFromUTF8(source, sourceLength, result.data(), length, false);
    return result;
}

std::size_t StringOperations::ConvertFromUTF8(const unsigned char* source, std::size_t sourceLength, WideChar* destination,
                                              std::size_t destinationCapacity) {
    return ConvertFromUTF8(source, sourceLength, destination, destinationCapacity, true);
}

std::size_t StringOperations::ConvertFromUTF8(const unsigned char* source, std::size_t sourceLength, WideChar* destination,
                                              std::size_t destinationCapacity, bool reserveTerminator) {
    if (destinationCapacity == 0)
        return 0;
    const std::size_t limit = reserveTerminator ? destinationCapacity - 1 : destinationCapacity;
    const text::DecodeResult decoded = text::decodeUtf8(source, sourceLength, destination, limit);
    // Frozen: on error the result is 0 and no terminator is written, although the units before the error have been written.
    if (!decoded.valid) {
        static ReportOnce once;
        once([&] {
            reportDiagnostic(diagnosticLevel, "StringOperations::ConvertFromUTF8 error for string %s",
                             toString(source, sourceLength).c_str());
        });
        return 0;
    }
    if (decoded.count < destinationCapacity)
        destination[decoded.count] = WideChar{};
    return decoded.count;
}

std::size_t StringOperations::StringLengthUTF8(const unsigned char* source, std::size_t length) {
    const text::DecodeResult counted = text::countUtf8(source, length);
    if (!counted.valid) {
        static ReportOnce once;
        once([&] {
            reportDiagnostic(diagnosticLevel, "StringOperations::StringLengthUTF8 error for string %s",
                             toString(source, length).c_str());
        });
        return 0;
    }
    return counted.count;
}

std::string StringOperations::ConvertToUTF8(const WideString& source) {
    const text::Utf8Size size = text::measureUtf8(source.data(), source.size());
    std::string result(size.bytes, '\0');
    // The encoder writes its terminator over that of the string, which is also 0.
    ConvertToUTF8(source.data(), size.units, reinterpret_cast<unsigned char*>(result.data()), size.bytes + 1);
    return result;
}

std::size_t StringOperations::ConvertToUTF8(const WideChar* source, std::size_t sourceLength, unsigned char* destination,
                                            std::size_t destinationCapacity) {
    if (destinationCapacity == 0)
        return 0;
    const std::size_t written = text::encodeUtf8(source, sourceLength, destination, destinationCapacity - 1);
    destination[written] = 0;
    return written;
}

WideString StringOperations::ConvertFromCurrentLocale(const std::string& source) {
    if (source.empty())
        return {};
    const int length = os::multiByteToWide(os::threadCodePage, source.c_str(), -1, nullptr, 0);
    if (length <= 1) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, " StringOperations::ConvertFromCurrentLocale, Invalid Conversion."); });
        return {};
    }
    // The buffer has no space for the terminator: the call writes all units before it and then fails.
    WideString result(static_cast<std::size_t>(length) - 1, WideChar{});
    os::multiByteToWide(os::threadCodePage, source.c_str(), -1, result.data(), length - 1);
    return result;
}

void StringOperations::ConvertFromCurrentLocale(const char* source, std::size_t sourceLength, WideChar* destination,
                                                std::size_t destinationCapacity) {
    os::multiByteToWide(os::threadCodePage, source, static_cast<int>(sourceLength), destination,
                        static_cast<int>(destinationCapacity));
}

const std::string StringOperations::ConvertToCurrentLocale(const WideString& source) {
    if (source.empty())
        return {};
    // Frozen: this direction uses the code page of the system, the other direction that of the thread.
    const unsigned codePage = os::systemCodePage();
    const int sourceLength = static_cast<int>(source.size());
    const int length = os::wideToMultiByte(codePage, source.data(), sourceLength, nullptr, 0);
    // Frozen: a text whose encoding is a single byte is an error, as if that byte were a terminator.
    if (static_cast<unsigned>(length) <= 1) {
        static ReportOnce once;
        once([] { reportDiagnostic(diagnosticLevel, "StringOperations::ConvertToCurrentLocale, Invalid Conversion."); });
        return {};
    }
    std::string result(static_cast<unsigned>(length), '\0');
    os::wideToMultiByte(codePage, source.data(), sourceLength, result.data(), length);
    return result;
}

void StringOperations::ConvertToCurrentLocale(const WideChar* source, std::size_t sourceLength, char* destination,
                                              std::size_t destinationCapacity) {
    WideString wideText;
    // Unlike the constructor, assign() checks for an impossible length before it computes with the length.
    wideText.assign(source, sourceLength);
    const std::string text = ConvertToCurrentLocale(wideText);
    std::fill_n(destination, destinationCapacity, '\0');
    std::copy_n(text.data(), std::min(text.size(), destinationCapacity), destination);
}

WideChar StringOperations::ConvertIsoLatinToWideChar(CharSet_e charSet, char byte) {
    const unsigned code = static_cast<unsigned char>(byte);
    if (code < 0x80)
        return static_cast<WideChar>(code);
    // Frozen: for an unknown code page the byte is extended with its sign: 0xE9 becomes U+FFE9.
    if (charSet < ISO_8859_1 || charSet > ISO_8859_9)
        return static_cast<WideChar>(0xFF00 | code);
    if (charSet == ISO_8859_1 || code < text::isoLatinFirstByte)
        return static_cast<WideChar>(code);
    return text::isoLatinUpperHalves[charSet - ISO_8859_2][code - text::isoLatinFirstByte];
}

bool StringOperations::TryConvertToIsoLatin1(const WideString& input, std::string& output) {
    output.resize(input.size());
    // Frozen: on failure `output` has the length of `input`, with the characters before the failure converted.
    for (std::size_t i = 0; i < input.size(); ++i) {
        if (input[i] > 0xFF)
            return false;
        output[i] = static_cast<char>(input[i]);
    }
    return true;
}

WideString StringOperations::AsWString(unsigned int value) {
    // Frozen: the number is formatted as a signed integer: 4294967295 becomes "-1".
    const std::string digits = std::to_string(static_cast<int>(value));
    return {digits.begin(), digits.end()};
}

int StringOperations::IntFromWString(const WideString& text) {
    return static_cast<int>(text::integerFromText(text.c_str(), std::numeric_limits<int>::max()));
}

} // namespace Velmor
