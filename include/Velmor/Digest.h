#pragma once

/// @file
/// SHA-1 digests of data and files.

#include <Velmor/Export.h>
#include <Velmor/WideText.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Velmor {

/// A SHA-1 hasher (FIPS 180). It computes the digest of one message, which is appended in pieces of any size. For the next
/// message, assign `Sha1()`.
///
/// Failure: operations throw only `std::bad_alloc`.
///
/// Ownership: a hasher is a plain value without heap memory. Copies are independent. A hasher keeps its state when it is
/// moved from.
///
/// Threads: different hashers may be used concurrently, one hasher by one thread at a time. The static operations may run
/// concurrently.
///
/// Complexity: linear in the length of the message.
class VELMOR_API Sha1 {
public:
    /// The bytes of a digest: 20 for a digest of `Sha1`, any number for others. A digest that was moved from is empty.
    ///
    /// Failure: operations throw only `std::bad_alloc`. Threads: a digest may be read concurrently.
    class VELMOR_API Digest {
    public:
        /// @param bytes the bytes, which are copied.
        Digest(const std::vector<unsigned char>& bytes);

        Digest(const Digest& other);
        Digest(Digest&& other) noexcept;
        Digest& operator=(const Digest& other);
        Digest& operator=(Digest&& other) noexcept;
        ~Digest();

        /// Whether both digests have the same number of bytes and the same bytes.
        bool operator==(const Digest& other) const;

        /// The bytes. The reference is valid until the digest is assigned, moved from or destroyed.
        const std::vector<unsigned char>& asBytes() const;

        /// Hexadecimal text: two lower-case digits per byte.
        std::string asString() const;
        /// The text of `asString`.
        WideString asWString() const;

        /// Base64 text with padding (RFC 4648), without line breaks.
        std::string asBase64String() const;
        /// The text of `asBase64String`.
        WideString asBase64WString() const;

        /// Parses hexadecimal text.
        /// @param text 40 digits, upper or lower case. Any other character counts as the digit 0.
        /// @return a digest of 20 bytes; for a text of any other length a digest of five zero bytes, which
        ///         equals no digest of 20 bytes.
        static Digest fromString(const std::string& text);

    private:
        std::vector<unsigned char> bytes_;
    };

    /// Begins an empty message.
    Sha1();

    Sha1(const Sha1& other);
    Sha1(Sha1&& other) noexcept;
    Sha1& operator=(const Sha1& other);
    Sha1& operator=(Sha1&& other) noexcept;

    /// Appends the next bytes of the message.
    void appendData(const std::vector<char>& data);

    /// Ends the message: appends the padding and the length.
    /// @return the digest of all bytes that were appended before. A second call returns the digest of the padded message.
    Digest calculateDigest();

    /// Computes the digest of a whole message.
    static Digest FromData(const std::vector<char>& data);

    /// Computes the digest of the content of a file, which is read in pieces of 1 MiB.
    /// @param path the file.
    /// @return the digest. If the file cannot be opened, twenty zero bytes; `FileStream::openFileForReading` reports this.
    ///         If a read fails, the digest of the bytes before it.
    static Digest FromFile(const WideString& path);

private:
    void append(const unsigned char* bytes, std::size_t count);
    void processChunk();

    std::uint32_t blockFill_;
    unsigned char block_[64];
    std::uint32_t state_[5];
    std::uint64_t totalLength_;
};

static_assert(sizeof(Sha1) == 96, "the layout of a hasher is fixed");

} // namespace Velmor
