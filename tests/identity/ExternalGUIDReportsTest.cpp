#include <Velmor/Identity.h>

#include "GuidRecords.h"
#include "support/Setting.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>

// What the getters of an identity report to a debugger.

using namespace Velmor;
using namespace velmor_tests;

namespace {

void callGetter(const ExternalGUID& guid, const std::string& getter) {
    if (getter == "hash")
        guid.getSpatialHash();
    else if (getter == "ifc")
        guid.getIFCGlobalID();
    else if (getter == "kx")
        guid.getKXGUID();
    else if (getter == "cadmatic")
        guid.getCadmaticObi();
    else if (getter == "dwg")
        guid.getDWGHandle();
    else
        std::abort();
}

std::uint32_t tagOf(const std::string& getter) {
    if (getter == "hash")
        return 1;
    if (getter == "ifc")
        return 2;
    if (getter == "kx")
        return 3;
    return getter == "cadmatic" ? 4 : 5;
}

const char* const reportingGetters[] = {"ifc", "kx", "cadmatic", "dwg"};

} // namespace

// Calls one getter for every wrong type, two times.
VELMOR_SCENARIO(GetterOfEveryWrongType) {
    const std::string getter = setting("VELMOR_TEST_GETTER");
    for (int round = 0; round < 2; ++round)
        for (std::uint32_t tag : tags)
            if (tag != tagOf(getter))
                callGetter(withTag(tag), getter);
}

TEST(ExternalGUIDReports, WrongTypeGetterBreaksOnceAndPrintsNothing) {
    for (const char* getter : reportingGetters) {
        SCOPED_TRACE(getter);
        const auto run = runUnderDebugger("GetterOfEveryWrongType", {std::string("VELMOR_TEST_GETTER=") + getter});
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 0u);
        EXPECT_EQ(run.breaks, 1);
        EXPECT_EQ(run.channel, "");
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.error, "");
    }
}

TEST(ExternalGUIDReports, GetSpatialHashOfAWrongTypeDoesNotBreak) {
    const auto run = runUnderDebugger("GetterOfEveryWrongType", {"VELMOR_TEST_GETTER=hash"});
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}

VELMOR_SCENARIO(GetterOfOneType) {
    const std::string getter = setting("VELMOR_TEST_GETTER");
    callGetter(withTag(static_cast<std::uint32_t>(std::stoul(setting("VELMOR_TEST_TAG")))), getter);
}

TEST(ExternalGUIDReports, AnyWrongTypeCanBeTheFirst) {
    for (const char* getter : reportingGetters)
        for (const char* tag : {"0", "1", "2", "3", "4", "5", "7", "4294967295"}) {
            const auto run = runUnderDebugger(
                "GetterOfOneType", {std::string("VELMOR_TEST_GETTER=") + getter, std::string("VELMOR_TEST_TAG=") + tag});
            EXPECT_TRUE(run.exited);
            EXPECT_EQ(run.breaks, std::to_string(tagOf(getter)) == tag ? 0 : 1) << getter << " of " << tag;
            EXPECT_EQ(run.channel + run.output, "");
        }
}

// Runs the first steps of a fixed sequence.
VELMOR_SCENARIO(WrongTypeSequence) {
    const char* const steps[] = {"dwg", "dwg", "cadmatic", "dwg", "kx", "cadmatic", "hash", "ifc", "kx", "ifc"};
    const ExternalGUID invalid;
    const int count = std::stoi(setting("VELMOR_TEST_STEPS"));
    for (int i = 0; i < count; ++i)
        callGetter(invalid, steps[i]);
}

TEST(ExternalGUIDReports, EachGetterHasItsOwnFlag) {
    const int breaks[] = {0, 1, 1, 2, 2, 3, 3, 3, 4, 4, 4};
    for (int steps = 0; steps <= 10; ++steps) {
        const auto run = runUnderDebugger("WrongTypeSequence", {"VELMOR_TEST_STEPS=" + std::to_string(steps)});
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.breaks, breaks[steps]) << "after " << steps << " steps";
        EXPECT_EQ(run.channel + run.output, "");
    }
}

VELMOR_SCENARIO(GettersOfTheRightType) {
    ExternalGUID hash;
    hash.fromSpatialHash(specialHash().get());
    callGetter(hash, "hash");
    callGetter(ExternalGUID::fromIFCGlobalID("0123456789ABCDEFGHIJ_$"), "ifc");
    callGetter(ExternalGUID::fromKX(hostGUID(0)), "kx");
    callGetter(ExternalGUID::fromCadmaticObi(0), "cadmatic");
    callGetter(ExternalGUID::fromDWGHandle(0), "dwg");
    for (std::uint32_t tag : tags) {
        ExternalGUID guid = withTag(tag);
        ExternalGUID copy = guid;
        copy = guid;
        copy.getType();
        blockOf(copy);
    }
}

TEST(ExternalGUIDReports, GetterOfTheRightTypeDoesNotBreak) {
    const auto run = runUnderDebugger("GettersOfTheRightType");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}

TEST(ExternalGUIDReports, GettersAreSilentWithoutADebugger) {
    const auto run = runAlone("WrongTypeSequence", {"VELMOR_TEST_STEPS=10"});
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}
