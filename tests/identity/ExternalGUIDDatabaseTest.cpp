#include <Velmor/Identity.h>

#include "Identities.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

// What keyed and spatial identities have in common: searches, unsupported types, assignment, reports.

using namespace Velmor;
using namespace velmor_tests;

namespace {

static_assert(!std::is_copy_constructible_v<ExternalGUIDDatabase>);
static_assert(std::is_copy_assignable_v<ExternalGUIDDatabase>);
static_assert(!std::is_polymorphic_v<ExternalGUIDDatabase>);
static_assert(std::is_same_v<std::underlying_type_t<ExternalGUIDRuntimeID_e>, std::uint32_t>);
static_assert(FirstSpatialRuntimeID == 0 && FirstKeyedRuntimeID == 0xFFFFFFFE && NoRuntimeID == 0xFFFFFFFF);

} // namespace

TEST(ExternalGUIDDatabase, FindDoesNotAdd) {
    ExternalGUIDDatabase database;
    for (std::uint32_t type = 2; type <= 5; ++type)
        EXPECT_EQ(database.findGUID(keyed(type, 1).first), NoRuntimeID);
    EXPECT_EQ(database.findGUID(spatial(filled(1))), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(ifc(globalID(1))), 0xFFFFFFFEu);
    EXPECT_EQ(database.insertGUID(spatial(filled(1))), 0u);
}

TEST(ExternalGUIDDatabase, UnsupportedTypesHaveNoId) {
    ExternalGUIDDatabase database;
    for (std::uint32_t type : {0u, 6u, 7u, 8u, 100u, 255u, 0x101u, 0x102u, 0x80000002u, 0xFFFFFFFFu}) {
        const ExternalGUID guid = fromBytes(recordBytes(type, "0_$aBcDeFgHiJkLmNoPqRs", '\1'));
        EXPECT_EQ(database.insertGUID(guid), NoRuntimeID);
        EXPECT_EQ(database.findGUID(guid), NoRuntimeID);
    }
    EXPECT_EQ(database.insertGUID(ExternalGUID()), NoRuntimeID);
    EXPECT_EQ(database.findGUID(ExternalGUID()), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(ifc(globalID(1))), 0xFFFFFFFEu) << "no id was used up";
    EXPECT_EQ(database.insertGUID(spatial(filled(0))), 0u);
}

TEST(ExternalGUIDDatabase, AssignmentSharesTheStateAndFreesNothing) {
    ExternalGUIDDatabase owner;
    owner.insertGUID(ifc(globalID(1)));
    ExternalGUIDDatabase other;
    other.insertGUID(ifc(globalID(2)));
    other.insertGUID(ifc(globalID(3)));

    // Saves the pointer to the former state and restores it at the end, so that both databases can be destroyed.
    void* state;
    std::memcpy(&state, static_cast<const void*>(&other), sizeof state);
    ExternalGUIDDatabase& result = (other = owner);
    EXPECT_EQ(&result, &other);
    EXPECT_EQ(std::memcmp(static_cast<const void*>(&owner), static_cast<const void*>(&other), sizeof state), 0);

    EXPECT_EQ(other.findGUID(ifc(globalID(1))), 0xFFFFFFFEu);
    EXPECT_EQ(other.findGUID(ifc(globalID(2))), NoRuntimeID);
    EXPECT_EQ(other.insertGUID(ifc(globalID(4))), 0xFFFFFFFDu);
    EXPECT_EQ(owner.findGUID(ifc(globalID(4))), 0xFFFFFFFDu);
    EXPECT_EQ(owner.insertGUID(spatial(filled(1))), 0u);
    EXPECT_EQ(other.findGUID(spatial(filled(1))), 0u);

    std::memcpy(static_cast<void*>(&other), &state, sizeof state);
    EXPECT_EQ(other.findGUID(ifc(globalID(3))), 0xFFFFFFFDu) << "the former state was not freed";
    EXPECT_EQ(other.findGUID(ifc(globalID(4))), NoRuntimeID);
}

TEST(ExternalGUIDDatabase, AssignmentToItselfChangesNothing) {
    ExternalGUIDDatabase database;
    database.insertGUID(ifc(globalID(1)));
    const ExternalGUIDDatabase& same = database;
    database = same;
    EXPECT_EQ(database.findGUID(ifc(globalID(1))), 0xFFFFFFFEu);
}

VELMOR_SCENARIO(UseOfADatabase) {
    ExternalGUIDDatabase database;
    const ExternalGUID guids[] = {ExternalGUID(),
                                  spatial(filled(std::numeric_limits<double>::quiet_NaN())),
                                  spatial(filled(1)),
                                  ifc(globalID(1)),
                                  kx(std::string(16, 'k')),
                                  ExternalGUID::fromCadmaticObi(-1),
                                  ExternalGUID::fromDWGHandle(0x100000001),
                                  fromBytes(recordBytes(7, "", '\7')),
                                  fromBytes(recordBytes(0xFFFFFFFF, "", '\7'))};
    for (int round = 0; round < 2; ++round)
        for (const ExternalGUID& guid : guids) {
            database.findGUID(guid);
            database.findGUID(database.insertGUID(guid));
        }
    database.findGUID(NoRuntimeID);
    database.findGUID(runtimeID(5000));
    database.findGUID(runtimeID(0x80000000));
}

TEST(ExternalGUIDDatabase, ReportsNothingToADebugger) {
    const auto run = velmor_tests::runUnderDebugger("UseOfADatabase");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}
