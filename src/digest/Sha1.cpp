#include <Velmor/Digest.h>
#include <Velmor/Platform.h>

#include "digest/Sha1Compression.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>

// The hasher of FIPS 180-4. Bytes that do not fill a block wait in `block_`; all other blocks are compressed in the caller's
// memory. The padding (section 5.1.1) is a byte 0x80, zeros, and the length of the message in bits in the last eight bytes
// of a block.

namespace Velmor {

namespace {

constexpr std::size_t digestSize = 20;

/// Offset of the message length in the last block.
constexpr std::size_t lengthOffset = 56;

constexpr std::uint64_t filePieceSize = 0x100000;

/// Writes a number with its most significant byte first.
template <class Value>
void putBigEndian(Value value, unsigned char* bytes) {
    for (std::size_t i = sizeof value; i > 0; --i, value = static_cast<Value>(value >> 8))
        bytes[i - 1] = static_cast<unsigned char>(value);
}

} // namespace

Sha1::Sha1() : blockFill_(0), block_(), state_{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0}, totalLength_(0) {
    static_assert(offsetof(Sha1, blockFill_) == 0);
    static_assert(offsetof(Sha1, block_) == 4);
    static_assert(offsetof(Sha1, state_) == 68);
    static_assert(offsetof(Sha1, totalLength_) == 88);
    static_assert(sizeof block_ == digest::blockSize);
}

Sha1::Sha1(const Sha1& other) = default;

Sha1::Sha1(Sha1&& other) noexcept = default;

Sha1& Sha1::operator=(const Sha1& other) = default;

Sha1& Sha1::operator=(Sha1&& other) noexcept = default;

void Sha1::appendData(const std::vector<char>& data) {
    append(reinterpret_cast<const unsigned char*>(data.data()), data.size());
}

Sha1::Digest Sha1::calculateDigest() {
    static constexpr unsigned char padding[digest::blockSize] = {0x80};
    unsigned char length[8];
    putBigEndian(totalLength_ * 8, length);
    // Frozen: padding and length are appended to the message and counted in its length. A second digest is therefore that of
    // the padded message.
    append(padding, (blockFill_ < lengthOffset ? lengthOffset : sizeof block_ + lengthOffset) - blockFill_);
    append(length, sizeof length);

    std::vector<unsigned char> bytes(digestSize);
    for (std::size_t i = 0; i < std::size(state_); ++i)
        putBigEndian(state_[i], &bytes[i * sizeof state_[i]]);
    return Digest(bytes);
}

Sha1::Digest Sha1::FromData(const std::vector<char>& data) {
    Sha1 hasher;
    hasher.appendData(data);
    return hasher.calculateDigest();
}

Sha1::Digest Sha1::FromFile(const WideString& path) {
    std::unique_ptr<FileStream> file(FileStream::openFileForReading(path));
    // Frozen: a file that cannot be opened has the digest of twenty zero bytes.
    if (file->getHandle() == ProcessOperations::InvalidHandle())
        return Digest(std::vector<unsigned char>(digestSize));
    Sha1 hasher;
    std::vector<char> piece;
    // Frozen: a read error ends the message like the end of the file.
    while (file->read(filePieceSize, piece) && !piece.empty())
        hasher.appendData(piece);
    file.reset();
    return hasher.calculateDigest();
}

void Sha1::append(const unsigned char* bytes, std::size_t count) {
    if (count == 0)
        return; // `bytes` may be null
    totalLength_ += count;
    if (blockFill_ > 0) {
        const std::size_t piece = std::min(count, sizeof block_ - blockFill_);
        std::memcpy(block_ + blockFill_, bytes, piece);
        blockFill_ += static_cast<std::uint32_t>(piece);
        if (blockFill_ < sizeof block_)
            return;
        processChunk();
        bytes += piece;
        count -= piece;
    }
    const std::size_t blocks = count / sizeof block_;
    if (blocks > 0)
        digest::compress(state_, bytes, blocks);
    blockFill_ = static_cast<std::uint32_t>(count % sizeof block_);
    std::memcpy(block_, bytes + blocks * sizeof block_, blockFill_);
}

void Sha1::processChunk() {
    digest::compress(state_, block_, 1);
    blockFill_ = 0;
}

} // namespace Velmor
