// SHA-1 beside OpenSSL's.

#include <Velmor/Digest.h>

#include "PlainSha1.h"
#include "RandomBytes.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <string>
#include <vector>

using namespace velmor_tests;
using Velmor::Sha1;

namespace {

std::vector<unsigned char> opensslSha1(const Bytes& message) {
    std::vector<unsigned char> digest(20);
    unsigned size = 20;
    EXPECT_EQ(EVP_Digest(message.data(), message.size(), digest.data(), &size, EVP_sha1(), nullptr), 1);
    EXPECT_EQ(size, 20u);
    return digest;
}

} // namespace

TEST(OpenSsl, GivesTheSameDigestForEveryLengthToFiveThousand) {
    const Bytes longest = Random(1).bytes(5000);
    for (std::size_t size = 0; size <= longest.size(); ++size) {
        const Bytes message(longest.begin(), longest.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_EQ(Sha1::FromData(message).asBytes(), opensslSha1(message)) << size;
    }
}

TEST(OpenSsl, GivesTheSameDigestForRandomPieces) {
    for (std::uint32_t seed = 1; seed <= 100; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        Sha1 hasher;
        Bytes whole;
        for (std::size_t pieces = random.upTo(20); pieces > 0; --pieces) {
            const Bytes piece = random.bytes(random.upTo(seed % 2 == 0 ? 100 : 20000));
            hasher.appendData(piece);
            whole = whole + piece;
        }
        EXPECT_EQ(hasher.calculateDigest().asBytes(), opensslSha1(whole));
    }
}

TEST(OpenSsl, GivesTheSameDigestForMegabytes) {
    const Bytes message = Random(2).bytes((8 << 20) + 31);
    EXPECT_EQ(Sha1::FromData(message).asBytes(), opensslSha1(message));
}
