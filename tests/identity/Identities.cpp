#include "Identities.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace Velmor;

namespace velmor_tests {

ExternalGUID spatial(const Hash& hash) {
    ExternalGUID guid;
    guid.fromSpatialHash(hash.data());
    return guid;
}

Hash filled(double value) {
    Hash hash;
    hash.fill(value);
    return hash;
}

Hash hashOf(const ExternalGUID& guid) {
    Hash hash;
    std::memcpy(hash.data(), guid.getSpatialHash(), sizeof hash);
    return hash;
}

bool sameBits(const Hash& a, const Hash& b) {
    return std::memcmp(a.data(), b.data(), sizeof a) == 0;
}

ExternalGUIDRuntimeID_e runtimeID(std::uint32_t value) {
    return static_cast<ExternalGUIDRuntimeID_e>(value);
}

std::string globalID(std::uint32_t number) {
    std::string text = std::to_string(number);
    return std::string("0_$aBcDeFgHiJkLmNoPqRs").substr(0, 22 - text.size()) + text;
}

ExternalGUID ifc(const std::string& text) {
    EXPECT_EQ(text.size(), 22u);
    return ExternalGUID::fromIFCGlobalID(text.c_str());
}

ExternalGUID kx(const std::string& bytes) {
    EXPECT_EQ(bytes.size(), 16u);
    KXGUID_t guid;
    std::memcpy(guid.bytes, bytes.data(), 16);
    return ExternalGUID::fromKX(guid);
}

std::string littleEndian(std::uint64_t value, unsigned size) {
    std::string bytes;
    for (unsigned i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

std::pair<ExternalGUID, std::string> keyed(std::uint32_t type, std::uint32_t number) {
    switch (type) {
    case 2:
        return {ifc(globalID(number)), globalID(number)};
    case 3: {
        const std::string bytes = littleEndian(number * 0x9E3779B97F4A7C15u, 8) + littleEndian(number, 8);
        return {kx(bytes), bytes};
    }
    case 4:
        return {ExternalGUID::fromCadmaticObi(static_cast<int>(number * 40503u)), littleEndian(number * 40503u, 4)};
    default:
        // The upper half of a handle is not compared.
        return {ExternalGUID::fromDWGHandle(std::uint64_t{number * 77777u} << 32 | number), littleEndian(number, 4)};
    }
}

void expectKeyed(const ExternalGUID& actual, std::uint32_t type, const std::string& key) {
    ASSERT_EQ(actual.getType(), type);
    unsigned size = 0;
    const char* bytes = actual.getBytes(&size);
    ASSERT_EQ(std::string(bytes, size), littleEndian(type, 8) + key + std::string(88 - key.size(), '\0'));
}

std::string recordBytes(std::uint32_t type, const std::string& payload, char rest) {
    return littleEndian(type, 4) + std::string(4, rest) + payload + std::string(88 - payload.size(), rest);
}

ExternalGUID fromBytes(const std::string& bytes) {
    return ExternalGUID::fromByteStream(static_cast<unsigned>(bytes.size()), bytes.data());
}

} // namespace velmor_tests
