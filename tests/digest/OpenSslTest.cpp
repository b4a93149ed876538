// SHA-1 compared to OpenSSL's.

#include <Velmor/Digest.h>

#include "PlainSha1.h"
#include "support/Random.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

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

TEST(OpenSsl, ComputesTheSameDigestsForEveryLengthUpTo5000) {
    const Bytes longest = Random(1).bytes(5000);
    for (std::size_t size = 0; size <= longest.size(); ++size) {
        const Bytes message(longest.begin(), longest.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_EQ(Sha1::FromData(message).asBytes(), opensslSha1(message)) << size;
    }
}

TEST(OpenSsl, ComputesTheSameDigestsForRandomPieces) {
    for (unsigned seed = 1; seed <= 100; ++seed) {
        Random random(seed);
        Sha1 hasher;
        Bytes whole;
        for (unsigned pieces = random.upTo(20u); pieces > 0; --pieces) {
            const Bytes piece = random.bytes(random.upTo(seed % 2 == 0 ? 100u : 20000u));
            hasher.appendData(piece);
            whole = whole + piece;
        }
        EXPECT_EQ(hasher.calculateDigest().asBytes(), opensslSha1(whole));
    }
}

TEST(OpenSsl, ComputesTheSameDigestForMegabytes) {
    const Bytes message = Random(2).bytes((8 << 20) + 31);
    EXPECT_EQ(Sha1::FromData(message).asBytes(), opensslSha1(message));
}
