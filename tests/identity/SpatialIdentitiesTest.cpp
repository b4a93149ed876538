#include <Velmor/Identity.h>

#include "Identities.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

using namespace Velmor;
using namespace velmor_tests;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// A hash that is 0 except on axis 0.
Hash onFirstAxis(double x) {
    Hash hash{};
    hash[0] = x;
    return hash;
}

} // namespace

TEST(SpatialIdentities, IdsCountUpFromZero) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.findGUID(spatial(filled(0))), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(spatial(filled(0))), 0u);
    EXPECT_EQ(database.insertGUID(spatial(filled(1))), 1u);
    EXPECT_EQ(database.insertGUID(spatial(filled(0))), 0u);
    EXPECT_EQ(database.insertGUID(ifc(globalID(0))), 0xFFFFFFFEu) << "keyed ids have another counter";
    EXPECT_EQ(database.insertGUID(spatial(filled(2))), 2u);
    EXPECT_EQ(database.findGUID(spatial(filled(1))), 1u);
    EXPECT_EQ(database.findGUID(spatial(filled(3))), NoRuntimeID);
}

TEST(SpatialIdentities, MatchIfTheSumOfDifferencesIsLessThanTheTolerance) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.insertGUID(spatial(filled(0))), 0u);
    EXPECT_EQ(database.insertGUID(spatial(filled(0.0009))), 0u);
    EXPECT_EQ(database.insertGUID(spatial(filled(-0.0009))), 0u);
    EXPECT_EQ(database.insertGUID(spatial(filled(0.001))), 1u);
    Hash hash{};
    for (std::size_t i = 0; i < 11; ++i) {
        hash = Hash{};
        hash[i] = std::nextafter(0.01, 0);
        EXPECT_EQ(database.findGUID(spatial(hash)), 0u) << i;
    }
}

TEST(SpatialIdentities, DifferenceEqualToTheToleranceDoesNotMatch) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.insertGUID(spatial(Hash{})), 0u);
    Hash hash{};
    hash[10] = 0.01;
    EXPECT_EQ(database.insertGUID(spatial(hash)), 1u);
    hash[10] = -0.01;
    EXPECT_EQ(database.findGUID(spatial(hash)), NoRuntimeID);
}

// The root is 0 on axis 0. A key that goes to the high child meets node 1, a key that goes to the low child meets no node.
TEST(SpatialIdentities, KeySlightlyBelowANodeGoesToTheHighChild) {
    ExternalGUIDDatabase database;
    database.insertGUID(spatial(onFirstAxis(0)));
    EXPECT_EQ(database.insertGUID(spatial(onFirstAxis(-0.035))), 1u); // high child
    EXPECT_EQ(database.findGUID(spatial(onFirstAxis(-0.04))), 1u) << "equal to the bound";
    EXPECT_EQ(database.findGUID(spatial(onFirstAxis(-0.0401))), NoRuntimeID) << "goes low, although node 1 would match";
    EXPECT_EQ(database.insertGUID(spatial(onFirstAxis(-0.0401))), 2u);
    EXPECT_EQ(database.findGUID(spatial(onFirstAxis(-0.0401))), 2u);
    EXPECT_EQ(database.findGUID(spatial(onFirstAxis(-0.0399))), 1u);
}

TEST(SpatialIdentities, KeyBelowTheBoundGoesToTheLowChild) {
    ExternalGUIDDatabase database;
    database.insertGUID(spatial(onFirstAxis(0)));
    EXPECT_EQ(database.insertGUID(spatial(onFirstAxis(std::nextafter(-0.04, -1)))), 1u); // low child
    EXPECT_EQ(database.findGUID(spatial(onFirstAxis(-0.04))), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(spatial(onFirstAxis(-0.04))), 2u); // high child
}

TEST(SpatialIdentities, IdReturnsTheHashBitForBit) {
    ExternalGUIDDatabase database;
    Hash special = {notANumber, -0.0, infinity, -infinity, std::numeric_limits<double>::denorm_min(), 1e308, -1e-308,
                    0.1,        0.0,  1,        2};
    special[9] = std::bit_cast<double>(std::uint64_t{0x7FF8000000000ABC});
    EXPECT_EQ(database.insertGUID(spatial(special)), 0u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(0))), special));
    EXPECT_EQ(database.findGUID(runtimeID(0)).getType(), ExternalGUID::SpatialHash);
}

TEST(SpatialIdentities, MatchDoesNotChangeTheStoredHash) {
    ExternalGUIDDatabase database;
    database.insertGUID(spatial(filled(1)));
    database.insertGUID(spatial(filled(1.0005)));
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(0))), filled(1)));
}

TEST(SpatialIdentities, UnusedIdsReturnZerosOrTheLastCandidate) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.findGUID(runtimeID(0)).getType(), ExternalGUID::SpatialHash);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(0))), Hash{}));
    database.insertGUID(spatial(filled(1)));
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(1))), Hash{}));
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(1000))), Hash{}));
    EXPECT_EQ(database.insertGUID(spatial(filled(1.0001))), 0u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(1))), filled(1.0001)));
    EXPECT_EQ(database.insertGUID(spatial(filled(1.0002))), 0u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(1))), filled(1.0002)));
    EXPECT_EQ(database.findGUID(spatial(filled(1.0003))), 0u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(1))), filled(1.0002))) << "a search writes no candidate";
    EXPECT_EQ(database.insertGUID(spatial(filled(5))), 1u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(1))), filled(5)));
}

TEST(SpatialIdentities, IdsAfterTheLastChunkAreInvalid) {
    ExternalGUIDDatabase database;
    database.insertGUID(spatial(filled(1)));
    EXPECT_EQ(database.findGUID(runtimeID(1023)).getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(database.findGUID(runtimeID(1024)).getType(), ExternalGUID::Invalid);
    EXPECT_EQ(database.findGUID(runtimeID(5000)).getType(), ExternalGUID::Invalid);
    EXPECT_EQ(database.findGUID(runtimeID(0x7FFFFFFF)).getType(), ExternalGUID::Invalid);
}

TEST(SpatialIdentities, InsertionAfterAFullChunkAddsAChunkEvenIfItMatches) {
    ExternalGUIDDatabase database;
    for (int i = 0; i < 1024; ++i)
        ASSERT_EQ(database.insertGUID(spatial(filled(i % 2 ? i : -i))), static_cast<std::uint32_t>(i));
    EXPECT_EQ(database.findGUID(runtimeID(1023)).getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(database.findGUID(runtimeID(1024)).getType(), ExternalGUID::Invalid);
    EXPECT_EQ(database.findGUID(spatial(filled(3))), 3u);
    EXPECT_EQ(database.findGUID(runtimeID(1024)).getType(), ExternalGUID::Invalid) << "a search adds no chunk";
    EXPECT_EQ(database.insertGUID(spatial(filled(3.0001))), 3u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(1024))), filled(3.0001)));
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(runtimeID(2047))), Hash{}));
    EXPECT_EQ(database.findGUID(runtimeID(2048)).getType(), ExternalGUID::Invalid);
    EXPECT_EQ(database.insertGUID(spatial(filled(3.0002))), 3u);
    EXPECT_EQ(database.findGUID(runtimeID(2048)).getType(), ExternalGUID::Invalid) << "only one chunk is added";
    EXPECT_EQ(database.insertGUID(spatial(filled(0.5))), 1024u);
}
