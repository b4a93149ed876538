#include <Velmor/Identity.h>

#include "Identities.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

// The spatial identities of the database, compared with the reference model after every operation.

using namespace Velmor;
using namespace velmor_tests;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

/// A database and its model.
struct SpatialPair {
    void insert(const Hash& hash) {
        ASSERT_EQ(database.insertGUID(spatial(hash)), model.insert(hash)) << "after " << model.size() << " nodes";
    }

    void find(const Hash& hash) { ASSERT_EQ(database.findGUID(spatial(hash)), model.find(hash)); }

    void findID(std::uint32_t number) {
        const ExternalGUID guid = database.findGUID(runtimeID(number));
        const auto expected = model.slot(number);
        if (expected) {
            ASSERT_EQ(guid.getType(), ExternalGUID::SpatialHash) << number;
            ASSERT_TRUE(sameBits(hashOf(guid), *expected)) << number;
        } else {
            ASSERT_EQ(guid.getType(), ExternalGUID::Invalid) << number;
        }
    }

    /// All slots of all chunks, and ids after the last chunk.
    void findAllIDs() {
        for (std::uint32_t number = 0; number < model.size() + 2100; ++number)
            ASSERT_NO_FATAL_FAILURE(findID(number));
        for (std::uint32_t number : {0x10000u, 0xFFFFFFu, 0x7FFFFC00u, 0x7FFFFFFFu})
            ASSERT_NO_FATAL_FAILURE(findID(number));
    }

    ExternalGUIDDatabase database;
    ReferenceSpatialTree model;
};

/// Inserts all hashes. After some insertions, searches for a stored hash, for one close to it, and for any of the hashes.
void runSpatial(const std::vector<Hash>& hashes, Random& random) {
    SpatialPair both;
    for (std::size_t i = 0; i < hashes.size(); ++i) {
        ASSERT_NO_FATAL_FAILURE(both.insert(hashes[i]));
        if (i % 3 == 0) {
            Hash close = hashes[random.below(i + 1)];
            ASSERT_NO_FATAL_FAILURE(both.find(close));
            for (double& coordinate : close)
                coordinate += random.realWithin(0.0018); // a sum of about 0.01
            ASSERT_NO_FATAL_FAILURE(both.find(close));
            ASSERT_NO_FATAL_FAILURE(both.find(hashes[random.below(hashes.size())]));
            if (i % 9 == 0) {
                ASSERT_NO_FATAL_FAILURE(both.insert(close));
            }
        }
        if (i % 7 == 0) {
            ASSERT_NO_FATAL_FAILURE(both.findID(static_cast<std::uint32_t>(both.model.size()) + random.below(3u)));
        }
    }
    ASSERT_NO_FATAL_FAILURE(both.findAllIDs());
    for (const Hash& hash : hashes)
        ASSERT_NO_FATAL_FAILURE(both.find(hash));
}

/// Positions of a cubic grid with equal radii, as columns or bolts have them.
std::vector<Hash> gridOfEqualObjects(double step) {
    std::vector<Hash> hashes;
    for (int x = 0; x < 16; ++x)
        for (int y = 0; y < 16; ++y)
            for (int z = 0; z < 16; ++z)
                hashes.push_back({x * step, y * step, z * step, 0.3, 0.3, 0.3, 0.3, 0.4, 0.4, 0.4, 0.4});
    return hashes;
}

} // namespace

// A chain of nodes in which every step goes to the high child; a key that is low on one axis leaves the chain there.
TEST(SpatialTreeModel, AxisFollowsTheDepth) {
    SpatialPair both;
    for (int i = 0; i < 40; ++i)
        ASSERT_NO_FATAL_FAILURE(both.insert(filled(i)));
    for (int i = 0; i < 40; ++i)
        for (std::size_t axis = 0; axis < 11; ++axis) {
            Hash hash = filled(i);
            hash[axis] = -100;
            ASSERT_NO_FATAL_FAILURE(both.find(hash));
            ASSERT_NO_FATAL_FAILURE(both.insert(hash));
            ASSERT_NO_FATAL_FAILURE(both.find(hash));
            hash[axis] = 100;
            ASSERT_NO_FATAL_FAILURE(both.insert(hash));
        }
    both.findAllIDs();
}

TEST(SpatialTreeModel, ChunksAreAddedAsInTheModel) {
    SpatialPair both;
    for (int i = 0; i < 1024; ++i)
        ASSERT_NO_FATAL_FAILURE(both.insert(filled(i % 2 ? i : -i)));
    ASSERT_NO_FATAL_FAILURE(both.findAllIDs());
    ASSERT_NO_FATAL_FAILURE(both.insert(filled(3.0001)));
    ASSERT_NO_FATAL_FAILURE(both.findAllIDs());
    ASSERT_NO_FATAL_FAILURE(both.insert(filled(3.0002)));
    ASSERT_NO_FATAL_FAILURE(both.insert(filled(0.5)));
    ASSERT_NO_FATAL_FAILURE(both.findAllIDs());
}

TEST(SpatialTreeModel, NaNNeverMatchesAndGoesToTheLowChild) {
    SpatialPair both;
    for (std::size_t i = 0; i < 11; ++i) {
        Hash hash = filled(1);
        hash[i] = notANumber;
        for (int round = 0; round < 3; ++round) {
            ASSERT_NO_FATAL_FAILURE(both.insert(hash));
            ASSERT_NO_FATAL_FAILURE(both.find(hash));
        }
    }
    EXPECT_EQ(both.model.size(), 33u);
    for (double value : {infinity, -infinity})
        for (int round = 0; round < 3; ++round)
            ASSERT_NO_FATAL_FAILURE(both.insert(filled(value)));
    EXPECT_EQ(both.model.size(), 39u) << "the difference of equal infinities is NaN";
    ASSERT_NO_FATAL_FAILURE(both.insert(filled(1)));
    ASSERT_NO_FATAL_FAILURE(both.find(filled(1)));
    both.findAllIDs();
}

TEST(SpatialTreeModel, MatchesForRandomHashes) {
    for (std::uint32_t seed = 1; seed <= 4; ++seed) {
        Random random(seed);
        std::vector<Hash> hashes(5000);
        for (Hash& hash : hashes)
            for (double& coordinate : hash)
                coordinate = random.real(0, seed % 2 ? 1000 : 0.2);
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, random));
    }
}

TEST(SpatialTreeModel, MatchesForClusteredHashes) {
    for (std::uint32_t seed = 11; seed <= 14; ++seed) {
        Random random(seed);
        std::vector<Hash> hashes(4500);
        const double spread = seed % 2 ? 0.006 : 0.03;
        for (Hash& hash : hashes) {
            hash = filled(random.below(6));
            for (double& coordinate : hash)
                coordinate += random.real(0, spread);
        }
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, random));
    }
}

TEST(SpatialTreeModel, MatchesForSortedHashes) {
    for (const bool descending : {false, true}) {
        Random random(21);
        std::vector<Hash> hashes;
        for (int i = 0; i < 3500; ++i) {
            Hash hash = filled(0.25);
            hash[0] = i * 0.013;
            hash[1] = i * 0.002;
            hashes.push_back(hash);
        }
        if (descending)
            std::reverse(hashes.begin(), hashes.end());
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, random)) << descending;
    }
}

TEST(SpatialTreeModel, MatchesForGridsOfEqualObjects) {
    for (std::uint32_t seed = 31; seed <= 34; ++seed) {
        Random random(seed);
        std::vector<Hash> hashes = gridOfEqualObjects(seed % 2 ? 0.5 : 0.005);
        if (seed > 32)
            for (std::size_t i = hashes.size() - 1; i > 0; --i)
                std::swap(hashes[i], hashes[random.below(i + 1)]);
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, random));
    }
}

// Coordinates in steps of a tenth of the tolerance: many sums are within rounding of the tolerance.
TEST(SpatialTreeModel, MatchesForHashesAtTheTolerance) {
    for (std::uint32_t seed = 41; seed <= 43; ++seed) {
        Random random(seed);
        std::vector<Hash> hashes(4500);
        for (Hash& hash : hashes)
            for (double& coordinate : hash) {
                const double steps = random.below(4) * 0.001;
                coordinate = steps + random.below(2) * 0.04;
            }
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, random));
    }
}

TEST(SpatialTreeModel, MatchesForHashesWithSpecialValues) {
    const double specialValues[] = {notANumber, infinity, -infinity, 0.0, -0.0, 1e308, -1e308, 5e-324};
    for (std::uint32_t seed = 51; seed <= 53; ++seed) {
        Random random(seed);
        std::vector<Hash> hashes(3500);
        for (Hash& hash : hashes) {
            for (double& coordinate : hash)
                coordinate = random.real(0, 2);
            for (int i = random.below(4); i > 0; --i)
                hash[random.below(hash.size())] = random.oneOf(specialValues);
        }
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, random));
    }
}

TEST(SpatialTreeModel, SlightlyMovedVerticesFindTheirObject) {
    SpatialPair both;
    Random random(61);
    std::vector<std::vector<double>> objects(500);
    const auto hash = [](const std::vector<double>& xyz) {
        return hashOf(ExternalGUID::spatialHashFromVertexes(static_cast<unsigned>(xyz.size() / 3), xyz.data()));
    };
    for (std::uint32_t i = 0; i < 500; ++i) {
        for (int k = 0; k < 30; ++k)
            objects[i].push_back(random.real(0, 10) + 20 * i);
        ASSERT_NO_FATAL_FAILURE(both.insert(hash(objects[i])));
    }
    ASSERT_EQ(both.model.size(), 500u);
    unsigned found = 0;
    for (std::uint32_t i = 0; i < 500; ++i) {
        for (double& coordinate : objects[i])
            coordinate += random.real(0, 0.0004);
        ASSERT_NO_FATAL_FAILURE(both.find(hash(objects[i])));
        found += both.model.find(hash(objects[i])) == i;
    }
    // An object is missed if a vertex changes its octant or a number crosses a bound of the tree.
    EXPECT_GE(found, 490u);
}
