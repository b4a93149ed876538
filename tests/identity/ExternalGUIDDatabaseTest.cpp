#include <Velmor/Identity.h>

#include "PlainDatabase.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace Velmor;
using velmor_tests::Hash;
using velmor_tests::PlainKeys;
using velmor_tests::PlainSpatialTree;

namespace {

static_assert(sizeof(ExternalGUIDDatabase) == sizeof(void*));
static_assert(!std::is_copy_constructible_v<ExternalGUIDDatabase>);
static_assert(std::is_copy_assignable_v<ExternalGUIDDatabase>);
static_assert(!std::is_polymorphic_v<ExternalGUIDDatabase>);
static_assert(sizeof(ExternalGUIDRuntimeID_e) == 4);
static_assert(std::is_same_v<std::underlying_type_t<ExternalGUIDRuntimeID_e>, std::uint32_t>);
static_assert(FirstSpatialRuntimeID == 0 && FirstKeyedRuntimeID == 0xFFFFFFFE && NoRuntimeID == 0xFFFFFFFF);

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

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

ExternalGUIDRuntimeID_e id(std::uint32_t value) {
    return static_cast<ExternalGUIDRuntimeID_e>(value);
}

std::string globalId(std::uint32_t number) {
    std::string text = std::to_string(number);
    return std::string("0_$aBcDeFgHiJkLmNoPqRs").substr(0, 22 - text.size()) + text;
}

ExternalGUID ifc(const std::string& text) {
    EXPECT_EQ(text.size(), 22u);
    return ExternalGUID::fromIFCGlobalID(text.c_str());
}

std::string littleEndian(std::uint64_t value, unsigned size) {
    std::string bytes;
    for (unsigned i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

ExternalGUID kx(const std::string& bytes) {
    EXPECT_EQ(bytes.size(), 16u);
    KXGUID_t guid;
    std::memcpy(guid.bytes, bytes.data(), 16);
    return ExternalGUID::fromKX(guid);
}

/// The identity of a kind and a number, with the bytes of it that count.
std::pair<ExternalGUID, std::string> keyed(std::uint32_t type, std::uint32_t number) {
    switch (type) {
    case 2:
        return {ifc(globalId(number)), globalId(number)};
    case 3: {
        const std::string bytes = littleEndian(number * 0x9E3779B97F4A7C15u, 8) + littleEndian(number, 8);
        return {kx(bytes), bytes};
    }
    case 4:
        return {ExternalGUID::fromCadmaticObi(static_cast<int>(number * 40503u)), littleEndian(number * 40503u, 4)};
    default:
        // The upper half of a handle does not count.
        return {ExternalGUID::fromDWGHandle(std::uint64_t{number * 77777u} << 32 | number), littleEndian(number, 4)};
    }
}

void expectKeyed(const ExternalGUID& actual, std::uint32_t type, const std::string& key) {
    ASSERT_EQ(actual.getType(), type);
    unsigned size = 0;
    const char* bytes = actual.getBytes(&size);
    ASSERT_EQ(std::string(bytes, size), littleEndian(type, 8) + key + std::string(88 - key.size(), '\0'));
}

std::string withReserved(std::uint32_t type, const std::string& payload, char rest) {
    return littleEndian(type, 4) + std::string(4, rest) + payload + std::string(88 - payload.size(), rest);
}

ExternalGUID fromBytes(const std::string& bytes) {
    return ExternalGUID::fromByteStream(static_cast<unsigned>(bytes.size()), bytes.data());
}

class Random {
public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}
    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(engine_() % limit); }
    /// Uniform in [0, scale).
    double number(double scale) { return static_cast<double>(engine_() >> 11) * 0x1p-53 * scale; }

private:
    std::mt19937_64 engine_;
};

/// The database beside the model of its tree, compared at each step.
struct Spatial {
    void insert(const Hash& hash) {
        ASSERT_EQ(database.insertGUID(spatial(hash)), model.insert(hash)) << "after " << model.size() << " nodes";
    }

    void find(const Hash& hash) { ASSERT_EQ(database.findGUID(spatial(hash)), model.find(hash)); }

    void findID(std::uint32_t number) {
        const ExternalGUID guid = database.findGUID(id(number));
        const auto expected = model.slot(number);
        if (expected) {
            ASSERT_EQ(guid.getType(), ExternalGUID::SpatialHash) << number;
            ASSERT_TRUE(sameBits(hashOf(guid), *expected)) << number;
        } else {
            ASSERT_EQ(guid.getType(), ExternalGUID::Invalid) << number;
        }
    }

    /// Every place of every chunk, and those beyond.
    void findAllIDs() {
        for (std::uint32_t number = 0; number < model.size() + 2100; ++number)
            ASSERT_NO_FATAL_FAILURE(findID(number));
        for (std::uint32_t number : {0x10000u, 0xFFFFFFu, 0x7FFFFC00u, 0x7FFFFFFFu})
            ASSERT_NO_FATAL_FAILURE(findID(number));
    }

    ExternalGUIDDatabase database;
    PlainSpatialTree model;
};

/// Inserts, and searches between the insertions for what was, was not and nearly was inserted.
void runSpatial(const std::vector<Hash>& hashes, std::uint32_t seed) {
    Spatial both;
    Random random(seed);
    for (std::size_t i = 0; i < hashes.size(); ++i) {
        ASSERT_NO_FATAL_FAILURE(both.insert(hashes[i]));
        if (i % 3 == 0) {
            Hash near = hashes[random.below(static_cast<std::uint32_t>(i + 1))];
            ASSERT_NO_FATAL_FAILURE(both.find(near));
            for (double& coordinate : near)
                coordinate += random.number(0.0036) - 0.0018; // some 0.01 in sum
            ASSERT_NO_FATAL_FAILURE(both.find(near));
            ASSERT_NO_FATAL_FAILURE(both.find(hashes[random.below(static_cast<std::uint32_t>(hashes.size()))]));
            if (i % 9 == 0) {
                ASSERT_NO_FATAL_FAILURE(both.insert(near));
            }
        }
        if (i % 7 == 0) {
            ASSERT_NO_FATAL_FAILURE(both.findID(static_cast<std::uint32_t>(both.model.size()) + random.below(3)));
        }
    }
    ASSERT_NO_FATAL_FAILURE(both.findAllIDs());
    for (const Hash& hash : hashes)
        ASSERT_NO_FATAL_FAILURE(both.find(hash));
}

} // namespace

// Keyed identities
// -------------------------------------------------------------------------------------------------------------

TEST(ExternalGUIDDatabase, KeyedIdsCountDownFromOneCounterForAllKinds) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.insertGUID(ifc(globalId(1))), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(kx(std::string(16, 'k'))), 0xFFFFFFFDu);
    EXPECT_EQ(database.insertGUID(ifc(globalId(1))), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromCadmaticObi(0)), 0xFFFFFFFCu);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromDWGHandle(0)), 0xFFFFFFFBu);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromCadmaticObi(0)), 0xFFFFFFFCu);
    EXPECT_EQ(database.insertGUID(ifc(globalId(2))), 0xFFFFFFFAu);
}

TEST(ExternalGUIDDatabase, FindNeverAdds) {
    ExternalGUIDDatabase database;
    for (std::uint32_t type = 2; type <= 5; ++type)
        EXPECT_EQ(database.findGUID(keyed(type, 1).first), NoRuntimeID);
    EXPECT_EQ(database.findGUID(spatial(filled(1))), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(ifc(globalId(1))), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(spatial(filled(1))), 0u);
}

TEST(ExternalGUIDDatabase, EmptyDatabaseKnowsNoKeyedId) {
    ExternalGUIDDatabase database;
    for (std::uint32_t number : {0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFDu, 0x80000000u, 0xC0000000u})
        EXPECT_EQ(database.findGUID(id(number)).getType(), ExternalGUID::Invalid);
}

TEST(ExternalGUIDDatabase, UnsupportedTypesHaveNoId) {
    ExternalGUIDDatabase database;
    for (std::uint32_t type : {0u, 6u, 7u, 8u, 100u, 255u, 0x101u, 0x102u, 0x80000002u, 0xFFFFFFFFu}) {
        const ExternalGUID guid = fromBytes(withReserved(type, "0_$aBcDeFgHiJkLmNoPqRs", '\1'));
        EXPECT_EQ(database.insertGUID(guid), NoRuntimeID);
        EXPECT_EQ(database.findGUID(guid), NoRuntimeID);
    }
    EXPECT_EQ(database.insertGUID(ExternalGUID()), NoRuntimeID);
    EXPECT_EQ(database.findGUID(ExternalGUID()), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(ifc(globalId(1))), 0xFFFFFFFEu) << "no id was used up";
    EXPECT_EQ(database.insertGUID(spatial(filled(0))), 0u);
}

TEST(ExternalGUIDDatabase, TheSameBytesOfAnotherKindAreAnotherIdentity) {
    ExternalGUIDDatabase database;
    const std::string payload = "0_$aBcDeFgHiJkLmNoPqRs";
    for (std::uint32_t type = 2; type <= 5; ++type)
        EXPECT_EQ(database.insertGUID(fromBytes(withReserved(type, payload, 0))), 0xFFFFFFFEu - (type - 2));
    for (std::uint32_t type = 2; type <= 5; ++type)
        EXPECT_EQ(database.findGUID(fromBytes(withReserved(type, payload, 0))), 0xFFFFFFFEu - (type - 2));
}

TEST(ExternalGUIDDatabase, OnlyTheBytesOfTheKeyCount) {
    const std::pair<std::uint32_t, std::string> keys[] = {
        {2, "0_$aBcDeFgHiJkLmNoPqRs"}, {3, "0123456789abcdef"}, {4, "obi!"}, {5, littleEndian(0x12345678, 4)}};
    ExternalGUIDDatabase database;
    for (const auto& [type, key] : keys) {
        const auto first = database.insertGUID(fromBytes(withReserved(type, key, '\x55')));
        EXPECT_EQ(database.insertGUID(fromBytes(withReserved(type, key, '\xAA'))), first);
        EXPECT_EQ(database.findGUID(fromBytes(withReserved(type, key, '\0'))), first);
        expectKeyed(database.findGUID(first), type, key);
        for (std::size_t place = 0; place < key.size(); ++place) {
            std::string other = key;
            other[place] = static_cast<char>(other[place] ^ 1);
            EXPECT_EQ(database.findGUID(fromBytes(withReserved(type, other, '\x55'))), NoRuntimeID) << place;
        }
    }
}

TEST(ExternalGUIDDatabase, GlobalIdsWithNulsCountInAllTwentyTwoBytes) {
    ExternalGUIDDatabase database;
    std::string a(22, '\0');
    a[0] = 'a';
    std::string b = a;
    b[21] = 'b';
    EXPECT_EQ(database.insertGUID(ifc(a)), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(ifc(b)), 0xFFFFFFFDu);
    EXPECT_EQ(database.findGUID(ifc(a)), 0xFFFFFFFEu);
    expectKeyed(database.findGUID(id(0xFFFFFFFD)), 2, b);
}

TEST(ExternalGUIDDatabase, OfADWGHandleOnlyTheLowHalfCounts) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromDWGHandle(0x100000001)), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromDWGHandle(0x200000001)), 0xFFFFFFFEu);
    EXPECT_EQ(database.findGUID(ExternalGUID::fromDWGHandle(1)), 0xFFFFFFFEu);
    EXPECT_EQ(database.findGUID(ExternalGUID::fromDWGHandle(0xFFFFFFFF00000001)), 0xFFFFFFFEu);
    EXPECT_EQ(database.findGUID(id(0xFFFFFFFE)).getDWGHandle(), 1u);
    EXPECT_EQ(database.findGUID(ExternalGUID::fromDWGHandle(0x100000002)), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromDWGHandle(0x1FFFFFFFF)), 0xFFFFFFFDu);
    expectKeyed(database.findGUID(id(0xFFFFFFFD)), 5, littleEndian(0xFFFFFFFF, 4));
}

TEST(ExternalGUIDDatabase, KeyedIdentitiesMatchThePlainModelBeyondSeveralBuckets) {
    for (std::uint32_t seed = 1; seed <= 3; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        ExternalGUIDDatabase database;
        PlainKeys model;
        for (int step = 0; step < 80000; ++step) {
            const std::uint32_t type = 2 + random.below(4);
            const auto [guid, key] = keyed(type, random.below(9000));
            switch (random.below(3)) {
            case 0:
            case 1:
                ASSERT_EQ(database.insertGUID(guid), model.insert(type, key)) << "step " << step;
                break;
            default:
                ASSERT_EQ(database.findGUID(guid), model.find(type, key)) << "step " << step;
            }
            if (step % 4 == 0) {
                const std::uint32_t number = model.next() - 3 + random.below(0xFFFFFFFF - model.next() + 4);
                const auto [expectedType, expectedKey] = model.at(number);
                const ExternalGUID found = database.findGUID(id(number));
                if (expectedType == 0) {
                    ASSERT_EQ(found.getType(), ExternalGUID::Invalid) << number;
                } else {
                    ASSERT_NO_FATAL_FAILURE(expectKeyed(found, expectedType, expectedKey));
                }
            }
        }
        ASSERT_LT(model.next(), 0xFFFFFFFE - 4u * 6000) << "more than three buckets of each kind";
        for (std::uint32_t number = model.next() - 5; number != 0; ++number) {
            const auto [expectedType, expectedKey] = model.at(number);
            if (expectedType == 0) {
                ASSERT_EQ(database.findGUID(id(number)).getType(), ExternalGUID::Invalid);
            } else {
                ASSERT_NO_FATAL_FAILURE(expectKeyed(database.findGUID(id(number)), expectedType, expectedKey));
            }
        }
    }
}

TEST(ExternalGUIDDatabase, AHundredThousandGlobalIdsKeepTheirIds) {
    ExternalGUIDDatabase database;
    for (std::uint32_t i = 0; i < 100000; ++i)
        ASSERT_EQ(database.insertGUID(ifc(globalId(i))), 0xFFFFFFFEu - i);
    for (std::uint32_t i = 0; i < 100000; ++i) {
        ASSERT_EQ(database.findGUID(ifc(globalId(i))), 0xFFFFFFFEu - i);
        ASSERT_STREQ(database.findGUID(id(0xFFFFFFFEu - i)).getIFCGlobalID(), globalId(i).c_str());
        ASSERT_EQ(database.findGUID(ifc(globalId(100000 + i))), NoRuntimeID);
    }
}

// Spatial identities
// ------------------------------------------------------------------------------------------------------------

TEST(ExternalGUIDDatabase, SpatialIdsCountUpFromZero) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.findGUID(spatial(filled(0))), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(spatial(filled(0))), 0u);
    EXPECT_EQ(database.insertGUID(spatial(filled(1))), 1u);
    EXPECT_EQ(database.insertGUID(spatial(filled(0))), 0u);
    EXPECT_EQ(database.insertGUID(ifc(globalId(0))), 0xFFFFFFFEu) << "the two ranges are apart";
    EXPECT_EQ(database.insertGUID(spatial(filled(2))), 2u);
    EXPECT_EQ(database.findGUID(spatial(filled(1))), 1u);
    EXPECT_EQ(database.findGUID(spatial(filled(3))), NoRuntimeID);
}

TEST(ExternalGUIDDatabase, SpatialHashesMatchWithinAHundredthInSum) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.insertGUID(spatial(filled(0))), 0u);
    EXPECT_EQ(database.insertGUID(spatial(filled(0.0009))), 0u);
    EXPECT_EQ(database.insertGUID(spatial(filled(-0.0009))), 0u);
    EXPECT_EQ(database.insertGUID(spatial(filled(0.001))), 1u);
    Hash one{};
    for (std::size_t i = 0; i < 11; ++i) {
        one = Hash{};
        one[i] = std::nextafter(0.01, 0);
        EXPECT_EQ(database.findGUID(spatial(one)), 0u) << i;
    }
    // A distance equal to the tolerance is no match.
    ExternalGUIDDatabase other;
    EXPECT_EQ(other.insertGUID(spatial(Hash{})), 0u);
    one = Hash{};
    one[10] = 0.01;
    EXPECT_EQ(other.insertGUID(spatial(one)), 1u);
    one[10] = -0.01;
    EXPECT_EQ(other.findGUID(spatial(one)), NoRuntimeID);
}

TEST(ExternalGUIDDatabase, AKeySlightlyBelowANodeStillGoesHigh) {
    // On axis 0 the root is 0. What goes high meets node 1 (high child), what goes low meets nothing.
    const auto at = [](double x) {
        Hash hash{};
        hash[0] = x;
        return hash;
    };
    {
        ExternalGUIDDatabase database;
        database.insertGUID(spatial(at(0)));
        EXPECT_EQ(database.insertGUID(spatial(at(-0.035))), 1u); // high child
        EXPECT_EQ(database.findGUID(spatial(at(-0.04))), 1u);    // equal to the bound goes high and meets it
        EXPECT_EQ(database.findGUID(spatial(at(-0.0401))), NoRuntimeID) << "goes low though node 1 is near enough";
        EXPECT_EQ(database.insertGUID(spatial(at(-0.0401))), 2u);
        EXPECT_EQ(database.findGUID(spatial(at(-0.0401))), 2u);
        EXPECT_EQ(database.findGUID(spatial(at(-0.0399))), 1u);
    }
    {
        ExternalGUIDDatabase database;
        database.insertGUID(spatial(at(0)));
        EXPECT_EQ(database.insertGUID(spatial(at(std::nextafter(-0.04, -1)))), 1u); // low child
        EXPECT_EQ(database.findGUID(spatial(at(-0.04))), NoRuntimeID);
        EXPECT_EQ(database.insertGUID(spatial(at(-0.04))), 2u); // high child
    }
}

TEST(ExternalGUIDDatabase, TheAxisFollowsTheDepth) {
    // A chain of nodes along which every step goes high by its own axis; a key that is low on one axis leaves there.
    Spatial both;
    for (int i = 0; i < 40; ++i) {
        Hash hash = filled(i);
        ASSERT_NO_FATAL_FAILURE(both.insert(hash));
    }
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

TEST(ExternalGUIDDatabase, SpatialIdGivesItsHashBitForBit) {
    ExternalGUIDDatabase database;
    Hash odd = {notANumber, -0.0, infinity, -infinity, std::numeric_limits<double>::denorm_min(), 1e308, -1e-308,
                0.1,        0.0,  1,        2};
    odd[9] = std::bit_cast<double>(std::uint64_t{0x7FF8000000000ABC});
    EXPECT_EQ(database.insertGUID(spatial(odd)), 0u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(id(0))), odd));
    EXPECT_EQ(database.findGUID(id(0)).getType(), ExternalGUID::SpatialHash);
}

TEST(ExternalGUIDDatabase, AMatchGivesTheFirstHashBack) {
    ExternalGUIDDatabase database;
    database.insertGUID(spatial(filled(1)));
    database.insertGUID(spatial(filled(1.0005)));
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(id(0))), filled(1)));
}

TEST(ExternalGUIDDatabase, PlacesNeverGivenOutHoldZerosOrTheLastCandidate) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.findGUID(id(0)).getType(), ExternalGUID::SpatialHash);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(id(0))), Hash{}));
    database.insertGUID(spatial(filled(1)));
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(id(1))), Hash{}));
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(id(1000))), Hash{}));
    EXPECT_EQ(database.insertGUID(spatial(filled(1.0001))), 0u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(id(1))), filled(1.0001)));
    EXPECT_EQ(database.insertGUID(spatial(filled(1.0002))), 0u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(id(1))), filled(1.0002)));
    EXPECT_EQ(database.findGUID(spatial(filled(1.0003))), 0u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(id(1))), filled(1.0002))) << "a search leaves no candidate";
    EXPECT_EQ(database.insertGUID(spatial(filled(5))), 1u);
    EXPECT_TRUE(sameBits(hashOf(database.findGUID(id(1))), filled(5)));
    EXPECT_EQ(database.findGUID(id(1023)).getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(database.findGUID(id(1024)).getType(), ExternalGUID::Invalid);
    EXPECT_EQ(database.findGUID(id(5000)).getType(), ExternalGUID::Invalid);
    EXPECT_EQ(database.findGUID(id(0x7FFFFFFF)).getType(), ExternalGUID::Invalid);
}

TEST(ExternalGUIDDatabase, ANewChunkComesWithTheInsertionAfterAFullOneEvenIfThatMatches) {
    Spatial both;
    for (int i = 0; i < 1024; ++i)
        ASSERT_NO_FATAL_FAILURE(both.insert(filled(i % 2 ? i : -i)));
    EXPECT_EQ(both.database.findGUID(id(1023)).getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(both.database.findGUID(id(1024)).getType(), ExternalGUID::Invalid);
    EXPECT_EQ(both.database.findGUID(spatial(filled(3))), 3u);
    EXPECT_EQ(both.database.findGUID(id(1024)).getType(), ExternalGUID::Invalid) << "a search makes no chunk";
    ASSERT_NO_FATAL_FAILURE(both.insert(filled(3.0001)));
    EXPECT_TRUE(sameBits(hashOf(both.database.findGUID(id(1024))), filled(3.0001)));
    EXPECT_TRUE(sameBits(hashOf(both.database.findGUID(id(2047))), Hash{}));
    EXPECT_EQ(both.database.findGUID(id(2048)).getType(), ExternalGUID::Invalid);
    ASSERT_NO_FATAL_FAILURE(both.insert(filled(3.0002)));
    EXPECT_EQ(both.database.findGUID(id(2048)).getType(), ExternalGUID::Invalid) << "one chunk is enough";
    EXPECT_EQ(both.database.insertGUID(spatial(filled(0.5))), 1024u);
}

TEST(ExternalGUIDDatabase, NaNNeverMatchesAndGoesLow) {
    Spatial both;
    for (std::size_t place = 0; place < 11; ++place) {
        Hash hash = filled(1);
        hash[place] = notANumber;
        for (int round = 0; round < 3; ++round) {
            ASSERT_NO_FATAL_FAILURE(both.insert(hash));
            ASSERT_NO_FATAL_FAILURE(both.find(hash));
        }
    }
    EXPECT_EQ(both.model.size(), 33u);
    for (double value : {infinity, -infinity})
        for (int round = 0; round < 3; ++round)
            ASSERT_NO_FATAL_FAILURE(both.insert(filled(value)));
    EXPECT_EQ(both.model.size(), 39u) << "the difference of equal infinities is no number";
    ASSERT_NO_FATAL_FAILURE(both.insert(filled(1)));
    ASSERT_NO_FATAL_FAILURE(both.find(filled(1)));
    both.findAllIDs();
}

TEST(ExternalGUIDDatabase, RandomHashesMatchThePlainModel) {
    for (std::uint32_t seed = 1; seed <= 4; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        std::vector<Hash> hashes(5000);
        for (Hash& hash : hashes)
            for (double& coordinate : hash)
                coordinate = random.number(seed % 2 ? 1000 : 0.2);
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, seed));
    }
}

TEST(ExternalGUIDDatabase, ClusteredHashesMatchThePlainModel) {
    for (std::uint32_t seed = 11; seed <= 14; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        std::vector<Hash> hashes(4500);
        const double spread = seed % 2 ? 0.006 : 0.03;
        for (Hash& hash : hashes) {
            hash = filled(random.below(6));
            for (double& coordinate : hash)
                coordinate += random.number(spread);
        }
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, seed));
    }
}

TEST(ExternalGUIDDatabase, SortedHashesMatchThePlainModel) {
    for (const bool descending : {false, true}) {
        std::vector<Hash> hashes;
        for (int i = 0; i < 3500; ++i) {
            Hash hash = filled(0.25);
            hash[0] = i * 0.013;
            hash[1] = i * 0.002;
            hashes.push_back(hash);
        }
        if (descending)
            std::reverse(hashes.begin(), hashes.end());
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, 21)) << descending;
    }
}

TEST(ExternalGUIDDatabase, GridsOfIdenticalObjectsMatchThePlainModel) {
    // The same radii at every place of a grid, as columns and bolts give them, in order and shuffled.
    for (std::uint32_t seed = 31; seed <= 34; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        const double step = seed % 2 ? 0.5 : 0.005;
        std::vector<Hash> hashes;
        for (int x = 0; x < 16; ++x)
            for (int y = 0; y < 16; ++y)
                for (int z = 0; z < 16; ++z)
                    hashes.push_back({x * step, y * step, z * step, 0.3, 0.3, 0.3, 0.3, 0.4, 0.4, 0.4, 0.4});
        if (seed > 32)
            for (std::size_t i = hashes.size() - 1; i > 0; --i)
                std::swap(hashes[i], hashes[random.below(static_cast<std::uint32_t>(i + 1))]);
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, seed));
    }
}

TEST(ExternalGUIDDatabase, HashesAtTheToleranceMatchThePlainModel) {
    // Coordinates in steps of a tenth of the tolerance: many sums lie within rounding of it.
    for (std::uint32_t seed = 41; seed <= 43; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        std::vector<Hash> hashes(4500);
        for (Hash& hash : hashes)
            for (double& coordinate : hash)
                coordinate = random.below(4) * 0.001 + random.below(2) * 0.04;
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, seed));
    }
}

TEST(ExternalGUIDDatabase, OddHashesMatchThePlainModel) {
    const double odds[] = {notANumber, infinity, -infinity, 0.0, -0.0, 1e308, -1e308, 5e-324};
    for (std::uint32_t seed = 51; seed <= 53; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        std::vector<Hash> hashes(3500);
        for (Hash& hash : hashes) {
            for (double& coordinate : hash)
                coordinate = random.number(2);
            for (std::uint32_t i = random.below(4); i > 0; --i)
                hash[random.below(11)] = odds[random.below(8)];
        }
        ASSERT_NO_FATAL_FAILURE(runSpatial(hashes, seed));
    }
}

TEST(ExternalGUIDDatabase, VertexHashesFindTheirObjectsAgain) {
    Spatial both;
    Random random(61);
    std::vector<std::vector<double>> objects(500);
    const auto hash = [](const std::vector<double>& xyz) {
        return hashOf(ExternalGUID::spatialHashFromVertexes(static_cast<unsigned>(xyz.size() / 3), xyz.data()));
    };
    for (std::uint32_t i = 0; i < 500; ++i) {
        for (int k = 0; k < 30; ++k)
            objects[i].push_back(random.number(10) + 20 * i);
        ASSERT_NO_FATAL_FAILURE(both.insert(hash(objects[i])));
    }
    ASSERT_EQ(both.model.size(), 500u);
    unsigned found = 0;
    for (std::uint32_t i = 0; i < 500; ++i) {
        for (double& coordinate : objects[i])
            coordinate += random.number(0.0004);
        ASSERT_NO_FATAL_FAILURE(both.find(hash(objects[i])));
        found += both.model.find(hash(objects[i])) == i;
    }
    EXPECT_GE(found, 490u); // a vertex that changes its octant, or a number that crosses a branch, hides its object
}

// Assignment and diagnostics
// ----------------------------------------------------------------------------------------------------

TEST(ExternalGUIDDatabase, AssignmentSharesTheStateAndFreesNothing) {
    ExternalGUIDDatabase owner;
    owner.insertGUID(ifc(globalId(1)));
    ExternalGUIDDatabase other;
    other.insertGUID(ifc(globalId(2)));
    other.insertGUID(ifc(globalId(3)));

    // The pointer to the former state is kept aside, to be put back before the two are destroyed.
    void* state;
    std::memcpy(&state, static_cast<const void*>(&other), sizeof state);
    ExternalGUIDDatabase& result = (other = owner);
    EXPECT_EQ(&result, &other);
    EXPECT_EQ(std::memcmp(static_cast<const void*>(&owner), static_cast<const void*>(&other), sizeof state), 0);

    EXPECT_EQ(other.findGUID(ifc(globalId(1))), 0xFFFFFFFEu);
    EXPECT_EQ(other.findGUID(ifc(globalId(2))), NoRuntimeID);
    EXPECT_EQ(other.insertGUID(ifc(globalId(4))), 0xFFFFFFFDu);
    EXPECT_EQ(owner.findGUID(ifc(globalId(4))), 0xFFFFFFFDu);
    EXPECT_EQ(owner.insertGUID(spatial(filled(1))), 0u);
    EXPECT_EQ(other.findGUID(spatial(filled(1))), 0u);

    std::memcpy(static_cast<void*>(&other), &state, sizeof state);
    EXPECT_EQ(other.findGUID(ifc(globalId(3))), 0xFFFFFFFDu) << "the former state is still alive";
    EXPECT_EQ(other.findGUID(ifc(globalId(4))), NoRuntimeID);
}

TEST(ExternalGUIDDatabase, AssignmentToItselfChangesNothing) {
    ExternalGUIDDatabase database;
    database.insertGUID(ifc(globalId(1)));
    const ExternalGUIDDatabase& same = database;
    database = same;
    EXPECT_EQ(database.findGUID(ifc(globalId(1))), 0xFFFFFFFEu);
}

VELMOR_SCENARIO(DatabaseAtWork) {
    ExternalGUIDDatabase database;
    const ExternalGUID guids[] = {ExternalGUID(),
                                  spatial(filled(notANumber)),
                                  spatial(filled(1)),
                                  ifc(globalId(1)),
                                  kx(std::string(16, 'k')),
                                  ExternalGUID::fromCadmaticObi(-1),
                                  ExternalGUID::fromDWGHandle(0x100000001),
                                  fromBytes(withReserved(7, "", '\7')),
                                  fromBytes(withReserved(0xFFFFFFFF, "", '\7'))};
    for (int round = 0; round < 2; ++round)
        for (const ExternalGUID& guid : guids) {
            database.findGUID(guid);
            database.findGUID(database.insertGUID(guid));
        }
    database.findGUID(NoRuntimeID);
    database.findGUID(id(5000));
    database.findGUID(id(0x80000000));
}

TEST(ExternalGUIDDatabase, ReportsNothingToADebugger) {
    const auto run = velmor_tests::runUnderDebugger("DatabaseAtWork");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}
