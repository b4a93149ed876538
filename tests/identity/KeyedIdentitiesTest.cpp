#include <Velmor/Identity.h>

#include "Identities.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

using namespace Velmor;
using namespace velmor_tests;

namespace {

void expectIdentityOf(ExternalGUIDDatabase& database, std::uint32_t id, const ReferenceKeys& model) {
    const auto [type, key] = model.at(id);
    const ExternalGUID found = database.findGUID(runtimeID(id));
    if (type == 0) {
        ASSERT_EQ(found.getType(), ExternalGUID::Invalid) << id;
    } else {
        ASSERT_NO_FATAL_FAILURE(expectKeyed(found, type, key)) << id;
    }
}

/// Inserts and searches random identities in the database and in the model; two of three operations are insertions.
void runKeyed(ExternalGUIDDatabase& database, ReferenceKeys& model, Random& random, int steps) {
    for (int step = 0; step < steps; ++step) {
        const std::uint32_t type = 2 + random.below(4u);
        const auto [guid, key] = keyed(type, random.below(9000u));
        if (random.below(3) < 2) {
            ASSERT_EQ(database.insertGUID(guid), model.insert(type, key)) << "step " << step;
        } else {
            ASSERT_EQ(database.findGUID(guid), model.find(type, key)) << "step " << step;
        }
        if (step % 4 == 0) {
            const std::uint32_t id = model.next() - 3 + random.below(0xFFFFFFFF - model.next() + 4);
            ASSERT_NO_FATAL_FAILURE(expectIdentityOf(database, id, model));
        }
    }
}

} // namespace

TEST(KeyedIdentities, IdsOfAllTypesCountDownFromOneCounter) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.insertGUID(ifc(globalID(1))), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(kx(std::string(16, 'k'))), 0xFFFFFFFDu);
    EXPECT_EQ(database.insertGUID(ifc(globalID(1))), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromCadmaticObi(0)), 0xFFFFFFFCu);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromDWGHandle(0)), 0xFFFFFFFBu);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromCadmaticObi(0)), 0xFFFFFFFCu);
    EXPECT_EQ(database.insertGUID(ifc(globalID(2))), 0xFFFFFFFAu);
}

TEST(KeyedIdentities, EmptyDatabaseHasNoKeyedId) {
    ExternalGUIDDatabase database;
    for (std::uint32_t number : {0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFFDu, 0x80000000u, 0xC0000000u})
        EXPECT_EQ(database.findGUID(runtimeID(number)).getType(), ExternalGUID::Invalid);
}

TEST(KeyedIdentities, EqualBytesOfDifferentTypesAreDifferentIdentities) {
    ExternalGUIDDatabase database;
    const std::string payload = "0_$aBcDeFgHiJkLmNoPqRs";
    for (std::uint32_t type = 2; type <= 5; ++type)
        EXPECT_EQ(database.insertGUID(fromBytes(recordBytes(type, payload, 0))), 0xFFFFFFFEu - (type - 2));
    for (std::uint32_t type = 2; type <= 5; ++type)
        EXPECT_EQ(database.findGUID(fromBytes(recordBytes(type, payload, 0))), 0xFFFFFFFEu - (type - 2));
}

TEST(KeyedIdentities, OnlyTheBytesOfTheKeyAreCompared) {
    const std::pair<std::uint32_t, std::string> keys[] = {
        {2, "0_$aBcDeFgHiJkLmNoPqRs"}, {3, "0123456789abcdef"}, {4, "obi!"}, {5, littleEndian(0x12345678, 4)}};
    ExternalGUIDDatabase database;
    for (const auto& [type, key] : keys) {
        const auto first = database.insertGUID(fromBytes(recordBytes(type, key, '\x55')));
        EXPECT_EQ(database.insertGUID(fromBytes(recordBytes(type, key, '\xAA'))), first);
        EXPECT_EQ(database.findGUID(fromBytes(recordBytes(type, key, '\0'))), first);
        expectKeyed(database.findGUID(first), type, key);
        for (std::size_t i = 0; i < key.size(); ++i) {
            std::string other = key;
            other[i] = static_cast<char>(other[i] ^ 1);
            EXPECT_EQ(database.findGUID(fromBytes(recordBytes(type, other, '\x55'))), NoRuntimeID) << i;
        }
    }
}

TEST(KeyedIdentities, GlobalIdsWithNulsAreComparedInAllBytes) {
    ExternalGUIDDatabase database;
    std::string a(22, '\0');
    a[0] = 'a';
    std::string b = a;
    b[21] = 'b';
    EXPECT_EQ(database.insertGUID(ifc(a)), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(ifc(b)), 0xFFFFFFFDu);
    EXPECT_EQ(database.findGUID(ifc(a)), 0xFFFFFFFEu);
    expectKeyed(database.findGUID(runtimeID(0xFFFFFFFD)), 2, b);
}

TEST(KeyedIdentities, OnlyTheLowHalfOfADWGHandleIsCompared) {
    ExternalGUIDDatabase database;
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromDWGHandle(0x100000001)), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromDWGHandle(0x200000001)), 0xFFFFFFFEu);
    EXPECT_EQ(database.findGUID(ExternalGUID::fromDWGHandle(1)), 0xFFFFFFFEu);
    EXPECT_EQ(database.findGUID(ExternalGUID::fromDWGHandle(0xFFFFFFFF00000001)), 0xFFFFFFFEu);
    EXPECT_EQ(database.findGUID(runtimeID(0xFFFFFFFE)).getDWGHandle(), 1u);
    EXPECT_EQ(database.findGUID(ExternalGUID::fromDWGHandle(0x100000002)), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(ExternalGUID::fromDWGHandle(0x1FFFFFFFF)), 0xFFFFFFFDu);
    expectKeyed(database.findGUID(runtimeID(0xFFFFFFFD)), 5, littleEndian(0xFFFFFFFF, 4));
}

TEST(KeyedIdentities, MatchTheReferenceModelOverSeveralBuckets) {
    for (std::uint32_t seed = 1; seed <= 3; ++seed) {
        Random random(seed);
        ExternalGUIDDatabase database;
        ReferenceKeys model;
        ASSERT_NO_FATAL_FAILURE(runKeyed(database, model, random, 80000));
        ASSERT_LT(model.next(), 0xFFFFFFFE - 4u * 6000) << "more than three buckets of each type";
        for (std::uint32_t id = model.next() - 5; id != 0; ++id)
            ASSERT_NO_FATAL_FAILURE(expectIdentityOf(database, id, model));
    }
}

TEST(KeyedIdentities, HundredThousandGlobalIdsKeepTheirIds) {
    ExternalGUIDDatabase database;
    for (std::uint32_t i = 0; i < 100000; ++i)
        ASSERT_EQ(database.insertGUID(ifc(globalID(i))), 0xFFFFFFFEu - i);
    for (std::uint32_t i = 0; i < 100000; ++i) {
        ASSERT_EQ(database.findGUID(ifc(globalID(i))), 0xFFFFFFFEu - i);
        ASSERT_STREQ(database.findGUID(runtimeID(0xFFFFFFFEu - i)).getIFCGlobalID(), globalID(i).c_str());
        ASSERT_EQ(database.findGUID(ifc(globalID(100000 + i))), NoRuntimeID);
    }
}
