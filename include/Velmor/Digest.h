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

/// A SHA-1 hasher (FIPS 180): takes one message in pieces of any size.
///
/// A plain value: a copy continues by itself from the same point, and a hasher that was moved from keeps its state. After
/// `calculateDigest` it is used up; assign `Sha1()` for the next message.
///
/// Failure: only a failed allocation throws (`std::bad_alloc`). Threads: one hasher is used by one thread at a time; the
/// static operations may run concurrently.
class VELMOR_API Sha1 {
public:
    /// The bytes of a digest. Those of `Sha1` have 20; the class holds any number.
    ///
    /// A digest that was moved from is empty. Failure: only a failed allocation throws. Threads: may be read concurrently.
    class VELMOR_API Digest {
    public:
        /// @param bytes copied.
        Digest(const std::vector<unsigned char>& bytes);

        Digest(const Digest& other);
        Digest(Digest&& other) noexcept;
        Digest& operator=(const Digest& other);
        Digest& operator=(Digest&& other) noexcept;
        ~Digest();

        /// Whether both have the same bytes, and the same number of them.
        bool operator==(const Digest& other) const;

        /// The bytes.
        const std::vector<unsigned char>& asBytes() const;

        /// Two lower-case hexadecimal digits per byte.
        std::string asString() const;
        /// As `asString`.
        WideString asWString() const;

        /// Base64 with padding (RFC 4648), in one line.
        std::string asBase64String() const;
        /// As `asBase64String`.
        WideString asBase64WString() const;

        /// Reads hexadecimal text, in capitals or not.
        /// @param text 40 characters; one that is no digit counts as 0.
        /// @return 20 bytes. A text of any other length gives five zero bytes, which no real digest equals.
        static Digest fromString(const std::string& text);

    private:
        std::vector<unsigned char> bytes_;
    };

    /// Begins a message.
    Sha1();

    Sha1(const Sha1& other);
    Sha1(Sha1&& other) noexcept;
    Sha1& operator=(const Sha1& other);
    Sha1& operator=(Sha1&& other) noexcept;

    /// Takes the next bytes of the message.
    void appendData(const std::vector<char>& data);

    /// Ends the message.
    /// @return the digest of all bytes that were appended. A second call gives that of the message with its padding.
    Digest calculateDigest();

    /// The digest of a whole message.
    static Digest FromData(const std::vector<char>& data);

    /// The digest of a file's content, read in pieces of 1 MiB.
    /// @return twenty zero bytes when the file cannot be opened (which the opening reports, once); when reading fails on the
    /// way, the digest of what was read.
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
