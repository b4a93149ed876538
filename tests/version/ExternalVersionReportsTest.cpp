#include <Velmor/Version.h>

#include "VersionRecords.h"
#include "support/Setting.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

// What getters, streams and comparisons report to a debugger.

using namespace Velmor;
using namespace velmor_tests;

namespace {

struct Damage {
    std::uint32_t type;
    unsigned size;
    char flag; // '-' for a valid stream
};

const Damage damages[] = {
    {0, 0, '-'},   {1, 3, '-'},  {0, 4, '-'},  {0, 130, '-'}, {4, 130, '-'}, {4, 5, '-'},   {1, 28, '-'},
    {2, 124, '-'}, {3, 92, '-'}, {2, 4, 'A'},  {2, 35, 'A'},  {2, 36, 'B'},  {2, 99, 'B'},  {3, 4, 'B'},
    {3, 67, 'B'},  {1, 4, 'C'},  {1, 27, 'C'}, {1, 29, 'C'},  {1, 124, 'C'}, {2, 100, 'C'}, {2, 123, 'C'},
    {2, 125, 'C'}, {3, 68, 'C'}, {3, 91, 'C'}, {3, 93, 'C'},  {3, 124, 'C'},
};

void readDamaged(const Damage& damage) {
    Bytes bytes = streamOf(damage.type, someNumbers);
    bytes.resize(damage.size, 0x3F);
    ExternalVersion v;
    readStream(v, bytes);
}

const Getter& getterNamed(const std::string& name) {
    const auto getter = std::find_if(getters.begin(), getters.end(), [&](const Getter& g) { return g.name == name; });
    if (getter == getters.end())
        std::abort();
    return *getter;
}

} // namespace

VELMOR_SCENARIO(GetterTwice) {
    const ExternalVersion v = makeVersion(static_cast<std::uint32_t>(std::stoul(setting("VELMOR_TEST_TYPE"))));
    for (int i = 0; i < 2; ++i)
        getterNamed(setting("VELMOR_TEST_GETTER")).call(v);
}

TEST(ExternalVersionReports, GetterOfAWrongTypeReportsItsTextOnceAndBreaks) {
    for (const Getter& getter : getters) {
        for (std::uint32_t type : getter.reportsFor) {
            SCOPED_TRACE(std::string(getter.name) + " of type " + std::to_string(type));
            const auto run = runUnderDebugger("GetterTwice", {std::string("VELMOR_TEST_GETTER=") + getter.name,
                                                              "VELMOR_TEST_TYPE=" + std::to_string(type)});
            EXPECT_TRUE(run.exited);
            EXPECT_EQ(run.exitCode, 0u);
            EXPECT_EQ(run.breaks, 1);
            EXPECT_EQ(run.channel, getter.text);
            EXPECT_EQ(run.output, getter.text);
            EXPECT_EQ(run.error, "");
        }
        for (std::uint32_t type : getter.silentFor) {
            SCOPED_TRACE(std::string(getter.name) + " of type " + std::to_string(type));
            const auto run = runUnderDebugger("GetterTwice", {std::string("VELMOR_TEST_GETTER=") + getter.name,
                                                              "VELMOR_TEST_TYPE=" + std::to_string(type)});
            EXPECT_TRUE(run.exited);
            EXPECT_EQ(run.breaks, 0);
            EXPECT_EQ(run.channel + run.output + run.error, "");
        }
    }
}

// Calls all getters for all types; each getter reports once.
VELMOR_SCENARIO(AllGettersOfAllTypes) {
    for (int round = 0; round < 2; ++round)
        for (const Getter& getter : getters)
            for (std::uint32_t type : {3u, 0u, 1u, 2u, 4u})
                getter.call(makeVersion(type));
}

TEST(ExternalVersionReports, EachGetterHasItsOwnFlag) {
    const auto run = runUnderDebugger("AllGettersOfAllTypes");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.breaks, 4);
    EXPECT_EQ(run.channel,
              "no bounding box in this typeno distances in this typeno volume in this typeno centeroid in this type");
    EXPECT_EQ(run.reports, (std::vector<std::string>{"no bounding box in this type", "no distances in this type",
                                                     "no volume in this type", "no centeroid in this type"}));
    EXPECT_EQ(run.output, run.channel);
}

TEST(ExternalVersionReports, GettersAreSilentWithoutADebugger) {
    const auto run = runAlone("AllGettersOfAllTypes");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}

VELMOR_SCENARIO(ReadOneStreamTwice) {
    const Damage& damage = damages[std::stoul(setting("VELMOR_TEST_STREAM"))];
    readDamaged(damage);
    readDamaged(damage);
}

TEST(ExternalVersionReports, DamagedStreamBreaksOnceAndPrintsNothing) {
    for (std::size_t i = 0; i < std::size(damages); ++i) {
        SCOPED_TRACE("type " + std::to_string(damages[i].type) + ", size " + std::to_string(damages[i].size));
        const auto run = runUnderDebugger("ReadOneStreamTwice", {"VELMOR_TEST_STREAM=" + std::to_string(i)});
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 0u);
        EXPECT_EQ(run.breaks, damages[i].flag == '-' ? 0 : 1);
        EXPECT_EQ(run.channel + run.output + run.error, "");
    }
}

VELMOR_SCENARIO(ReadAllStreamsOfSomeFlags) {
    for (int round = 0; round < 2; ++round)
        for (const Damage& damage : damages)
            if (setting("VELMOR_TEST_FLAGS").find(damage.flag) != std::string::npos)
                readDamaged(damage);
}

TEST(ExternalVersionReports, EachKindOfDamageHasItsOwnFlag) {
    const struct {
        const char* flags;
        int breaks;
    } cases[] = {{"-", 0}, {"A", 1}, {"B", 1}, {"C", 1}, {"AB", 2}, {"AC", 2}, {"BC", 2}, {"-ABC", 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.flags);
        const auto run = runUnderDebugger("ReadAllStreamsOfSomeFlags", {std::string("VELMOR_TEST_FLAGS=") + c.flags});
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.breaks, c.breaks);
        EXPECT_EQ(run.channel + run.output + run.error, "");
    }
    const auto alone = runAlone("ReadAllStreamsOfSomeFlags", {"VELMOR_TEST_FLAGS=ABC"});
    EXPECT_TRUE(alone.exited);
    EXPECT_EQ(alone.exitCode, 0u);
    EXPECT_EQ(alone.channel + alone.output + alone.error, "");
}

VELMOR_SCENARIO(CompareAndPrintEverything) {
    for (std::uint32_t a = 0; a <= 5; ++a)
        for (std::uint32_t b = 0; b <= 5; ++b) {
            if (makeVersion(a) == makeVersion(b))
                makeVersion(a).similarity(makeVersion(b));
            else
                makeVersion(b).similarity(makeVersion(a));
            textOf(makeVersion(a));
            Bytes buffer(124);
            makeVersion(a).toByteStream(124, reinterpret_cast<char*>(buffer.data()));
            makeVersion(a).toByteStream(123, reinterpret_cast<char*>(buffer.data()));
        }
}

TEST(ExternalVersionReports, ComparisonAndOutputReportNothing) {
    const auto run = runUnderDebugger("CompareAndPrintEverything");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}
