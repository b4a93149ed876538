#pragma once

// Checks of SHA-1 that the tests run for the library's default kernel and for each forced kernel: published digests, NIST's
// response files, and messages of every length.

#include <Velmor/Digest.h>

#include "PlainSha1.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace velmor_tests {

/// The digest of a message that is appended in pieces of `size` bytes, or in one piece if `size` is 0.
inline Velmor::Sha1::Digest digestInPieces(const Bytes& message, std::size_t size) {
    Velmor::Sha1 hasher;
    if (size == 0) {
        hasher.appendData(message);
    } else {
        for (std::size_t at = 0; at < message.size(); at += size)
            hasher.appendData(Bytes(message.begin() + static_cast<std::ptrdiff_t>(at),
                                    message.begin() + static_cast<std::ptrdiff_t>(std::min(at + size, message.size()))));
    }
    return hasher.calculateDigest();
}

/// The examples of FIPS 180 and the empty message.
inline void checkPublishedDigests() {
    const std::pair<std::string, std::string> cases[] = {
        {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
         "a49b2446a02c645bf419f995b67091253a04a259"},
        {std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
    };
    for (const auto& [text, digest] : cases)
        EXPECT_EQ(Velmor::Sha1::FromData(Bytes(text.begin(), text.end())).asString(), digest) << text.size() << " bytes";
}

/// One entry of a response file: lines "name = value" up to an empty line.
using Entry = std::map<std::string, std::string>;

inline std::vector<Entry> readResponses(const std::string& name) {
    std::ifstream file(VELMOR_DIGEST_DATA "/" + name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    std::vector<Entry> entries(1);
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const std::size_t equals = line.find(" = ");
        if (line.empty() && !entries.back().empty())
            entries.emplace_back();
        else if (equals != std::string::npos && line.front() != '#' && line.front() != '[')
            entries.back()[line.substr(0, equals)] = line.substr(equals + 3);
    }
    if (entries.back().empty())
        entries.pop_back();
    return entries;
}

inline Bytes fromHex(const std::string& text) {
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

/// Compares the digests of all entries, each computed from the whole message and from pieces of it.
inline void checkMessages(const std::string& file, std::size_t count) {
    const std::vector<Entry> entries = readResponses(file);
    EXPECT_EQ(entries.size(), count);
    for (const Entry& entry : entries) {
        SCOPED_TRACE("Len = " + entry.at("Len"));
        Bytes message = fromHex(entry.at("Msg"));
        message.resize(std::stoul(entry.at("Len")) / 8); // for the empty message the file contains one byte
        EXPECT_EQ(Velmor::Sha1::FromData(message).asString(), entry.at("MD"));
        for (const std::size_t size : {1u, 63u, 0u})
            EXPECT_EQ(digestInPieces(message, size).asString(), entry.at("MD")) << "pieces of " << size;
    }
}

inline void checkShortMessages() {
    checkMessages("SHA1ShortMsg.rsp", 65);
}

inline void checkLongMessages() {
    checkMessages("SHA1LongMsg.rsp", 64);
}

inline void checkMonteCarlo() {
    const std::vector<Entry> entries = readResponses("SHA1Monte.rsp");
    ASSERT_EQ(entries.size(), 101u);
    Bytes seed = fromHex(entries.front().at("Seed"));
    ASSERT_EQ(seed.size(), 20u);
    for (std::size_t j = 0; j < 100; ++j) {
        ASSERT_EQ(entries[j + 1].at("COUNT"), std::to_string(j));
        std::array<Bytes, 3> last = {seed, seed, seed};
        for (int i = 0; i < 1000; ++i) {
            const Velmor::Sha1::Digest digest = Velmor::Sha1::FromData(last[0] + last[1] + last[2]);
            last = {last[1], last[2], Bytes(digest.asBytes().begin(), digest.asBytes().end())};
        }
        seed = last[2];
        ASSERT_EQ(seed, fromHex(entries[j + 1].at("MD"))) << "COUNT = " << j;
    }
}

/// Compares the digests of messages of 0 to 5000 bytes to those of the reference.
inline void checkEveryLength() {
    const Bytes longest = Random(1).bytes(5000);
    for (std::size_t size = 0; size <= longest.size(); ++size) {
        const Bytes message(longest.begin(), longest.begin() + static_cast<std::ptrdiff_t>(size));
        ASSERT_EQ(Velmor::Sha1::FromData(message).asBytes(), plainSha1(message)) << size;
    }
}

} // namespace velmor_tests
