#include <Velmor/Digest.h>

#include <utility>

namespace Velmor {

namespace {

constexpr char hexDigits[] = "0123456789abcdef";

constexpr char base64Digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char base64Padding = '=';

constexpr std::size_t hexTextSize = 40;

/// The value of a hexadecimal digit.
constexpr unsigned hexValue(char character) {
    if (character >= '0' && character <= '9')
        return static_cast<unsigned>(character - '0');
    if (character >= 'A' && character <= 'F')
        return static_cast<unsigned>(character - 'A' + 10);
    if (character >= 'a' && character <= 'f')
        return static_cast<unsigned>(character - 'a' + 10);
    return 0; // Frozen: any other character counts as the digit 0.
}

WideString widen(const std::string& ascii) {
    return WideString(ascii.begin(), ascii.end());
}

} // namespace

Sha1::Digest::Digest(const std::vector<unsigned char>& bytes) : bytes_(bytes) {
    static_assert(sizeof(Digest) == sizeof(std::vector<unsigned char>));
}

Sha1::Digest::Digest(const Digest& other) = default;

Sha1::Digest::Digest(Digest&& other) noexcept = default;

Sha1::Digest& Sha1::Digest::operator=(const Digest& other) = default;

Sha1::Digest& Sha1::Digest::operator=(Digest&& other) noexcept {
    // The standard does not guarantee that a vector is empty after it was moved from by assignment.
    bytes_ = std::exchange(other.bytes_, {});
    return *this;
}

Sha1::Digest::~Digest() = default;

bool Sha1::Digest::operator==(const Digest& other) const {
    return bytes_ == other.bytes_;
}

const std::vector<unsigned char>& Sha1::Digest::asBytes() const {
    return bytes_;
}

std::string Sha1::Digest::asString() const {
    std::string text;
    text.reserve(2 * bytes_.size());
    for (const unsigned char byte : bytes_) {
        text += hexDigits[byte >> 4];
        text += hexDigits[byte & 15];
    }
    return text;
}

WideString Sha1::Digest::asWString() const {
    return widen(asString());
}

std::string Sha1::Digest::asBase64String() const {
    const std::size_t size = bytes_.size();
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    for (std::size_t i = 0; i < size; i += 3) {
        const unsigned first = bytes_[i];
        const unsigned second = i + 1 < size ? bytes_[i + 1] : 0;
        const unsigned third = i + 2 < size ? bytes_[i + 2] : 0;
        text += base64Digits[first >> 2];
        text += base64Digits[(first & 3) << 4 | second >> 4];
        text += i + 1 < size ? base64Digits[(second & 15) << 2 | third >> 6] : base64Padding;
        text += i + 2 < size ? base64Digits[third & 63] : base64Padding;
    }
    return text;
}

WideString Sha1::Digest::asBase64WString() const {
    return widen(asBase64String());
}

Sha1::Digest Sha1::Digest::fromString(const std::string& text) {
    if (text.size() != hexTextSize) {
        // Frozen: for a text of another length the result is a digest of five zero bytes.
        static const Digest invalid(std::vector<unsigned char>{0, 0, 0, 0, 0});
        return invalid;
    }
    std::vector<unsigned char> bytes;
    bytes.reserve(hexTextSize / 2);
    for (std::size_t i = 0; i < hexTextSize; i += 2)
        bytes.push_back(static_cast<unsigned char>(hexValue(text[i]) << 4 | hexValue(text[i + 1])));
    return Digest(bytes);
}

} // namespace Velmor
