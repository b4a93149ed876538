// Solids while an allocation fails: their content, the reports to a debugger, and the order of allocation and release.

#include <Velmor/ForeignObject.h>

#include "support/FailingAllocation.h"
#include "support/Setting.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace velmor_tests;

namespace {

using Type = ForeignObjectSolid::Type_t;

Type type(std::uint32_t value) {
    return static_cast<Type>(value);
}

const char* blockOf(const ForeignObjectSolid& solid) {
    unsigned size = 0;
    return solid.getBytes(&size);
}

bool isEmpty(const ForeignObjectSolid& solid, std::uint32_t value) {
    unsigned size = 77;
    return solid.getBytes(&size) == nullptr && size == 0 && solid.getType() == type(value);
}

bool holds(const ForeignObjectSolid& solid, std::uint32_t value, const std::string& bytes) {
    unsigned size = 77;
    const char* const block = solid.getBytes(&size);
    return block != nullptr && std::string(block, size) == bytes && solid.getType() == type(value);
}

/// Runs an operation, which must not throw, while its first allocation and all later ones fail.
/// @return the size of the first failed allocation; nothing if the operation did not allocate.
template <class Operation>
std::optional<std::size_t> failedSizeDuring(Operation operation) {
    const FailAllocation fail(1, true);
    operation();
    return fail.happened() ? std::optional(fail.failedSize()) : std::nullopt;
}

/// Ends the scenario with exit code 1 if a condition is false.
void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "failed: %s\n", what);
        std::exit(1);
    }
}

} // namespace

TEST(ForeignObjectSolidMemory, AllocatesOneBlockPerOperation) {
    ForeignObjectSolid source(type(1), 5, "bytes");
    ForeignObjectSolid target(type(2), 3, "old");
    unsigned seen[3];
    {
        const FailAllocation count(1000);
        const ForeignObjectSolid constructed(type(1), 5, "bytes");
        seen[0] = count.seen();
    }
    {
        const FailAllocation count(1000);
        const ForeignObjectSolid copy(source);
        seen[1] = count.seen();
    }
    {
        const FailAllocation count(1000);
        target = source;
        seen[2] = count.seen();
    }
    for (const unsigned number : seen)
        EXPECT_EQ(number, 1u);
}

TEST(ForeignObjectSolidMemory, EmptySolidsAndGettersDoNotAllocate) {
    ForeignObjectSolid empty(type(1), 0, "not read");
    ForeignObjectSolid full(type(2), 4, "full");
    ForeignObjectSolid target(type(3), 3, "old");
    unsigned seen;
    {
        const FailAllocation fail(1, true);
        const ForeignObjectSolid none;
        const ForeignObjectSolid copy(empty);
        target = empty;
        unsigned size;
        full.getBytes(&size);
        full.getType();
        seen = fail.seen();
    }
    EXPECT_EQ(seen, 0u);
    EXPECT_TRUE(isEmpty(target, 1));
}

TEST(ForeignObjectSolidMemory, FailedConstructionKeepsOnlyType) {
    std::optional<ForeignObjectSolid> solid;
    EXPECT_EQ(failedSizeDuring([&] { solid.emplace(type(7), 11u, "eleven byte"); }), 11u);
    EXPECT_TRUE(isEmpty(*solid, 7));
}

TEST(ForeignObjectSolidMemory, FailedCopyKeepsOnlyType) {
    const ForeignObjectSolid source(type(8), 12, "twelve bytes");
    std::optional<ForeignObjectSolid> copy;
    EXPECT_EQ(failedSizeDuring([&] { copy.emplace(source); }), 12u);
    EXPECT_TRUE(isEmpty(*copy, 8));
    EXPECT_TRUE(holds(source, 8, "twelve bytes"));
}

TEST(ForeignObjectSolidMemory, FailedAssignmentKeepsOnlyTypeOfSource) {
    ForeignObjectSolid source(type(9), 13, "thirteen byte");
    ForeignObjectSolid full(type(1), 3, "old");
    ForeignObjectSolid empty(type(2));
    for (ForeignObjectSolid* target : {&full, &empty}) {
        EXPECT_EQ(failedSizeDuring([&] { *target = source; }), 13u);
        EXPECT_TRUE(isEmpty(*target, 9));
        EXPECT_TRUE(holds(source, 9, "thirteen byte"));
    }
}

TEST(ForeignObjectSolidMemory, SolidIsUsableAfterFailure) {
    ForeignObjectSolid source(type(3), 5, "bytes");
    std::optional<ForeignObjectSolid> constructed;
    std::optional<ForeignObjectSolid> copied;
    ForeignObjectSolid assigned(type(1), 3, "old");
    failedSizeDuring([&] { constructed.emplace(type(7), 5u, "bytes"); });
    failedSizeDuring([&] { copied.emplace(source); });
    failedSizeDuring([&] { assigned = source; });
    for (ForeignObjectSolid* solid : {&*constructed, &*copied, &assigned}) {
        const std::uint32_t value = solid == &*constructed ? 7 : 3;
        ASSERT_TRUE(isEmpty(*solid, value));
        EXPECT_TRUE(isEmpty(ForeignObjectSolid(*solid), value));
        ForeignObjectSolid other(type(1), 3, "old");
        other = *solid;
        EXPECT_TRUE(isEmpty(other, value));
        *solid = source;
        EXPECT_TRUE(holds(*solid, 3, "bytes"));
    }
}

TEST(ForeignObjectSolidMemory, AssignmentFreesOwnBlockBeforeAllocation) {
    for (const bool fails : {false, true}) {
        ForeignObjectSolid source(type(1), 5, "bytes");
        ForeignObjectSolid target(type(2), 9, "old bytes");
        const WatchFree freed(blockOf(target));
        {
            const FailAllocation allocations(fails ? 1 : 1000);
            target = source;
        }
        EXPECT_EQ(freed.times(), 1u);
        EXPECT_EQ(freed.seenBefore(), 0u) << "an allocation came before the release";
    }
}

TEST(ForeignObjectSolidMemory, AssignmentDoesNotFreeBlockOfSource) {
    ForeignObjectSolid source(type(1), 5, "bytes");
    ForeignObjectSolid target(type(2), 9, "old bytes");
    const WatchFree freed(blockOf(source));
    target = source;
    EXPECT_EQ(freed.times(), 0u);
}

TEST(ForeignObjectSolidMemory, AssignmentOfEmptySolidFreesOwnBlock) {
    ForeignObjectSolid source(type(1));
    ForeignObjectSolid target(type(2), 9, "old bytes");
    const WatchFree freed(blockOf(target));
    target = source;
    EXPECT_EQ(freed.times(), 1u);
    EXPECT_TRUE(isEmpty(target, 1));
}

TEST(ForeignObjectSolidMemory, DestructorFreesBlockOnce) {
    std::optional<ForeignObjectSolid> solid(std::in_place, type(1), 5u, "bytes");
    const WatchFree freed(blockOf(*solid));
    solid.reset();
    EXPECT_EQ(freed.times(), 1u);
}

// Reports

/// Lets one operation fail for each letter in VELMOR_FAILURES: n(ew), c(opy) or a(ssignment). The blocks have 10, 11, ...
/// bytes.
VELMOR_SCENARIO(FailedBlocks) {
    const std::string letters = setting("VELMOR_FAILURES");
    const std::string bytes(10 + letters.size(), 'x');
    for (std::size_t i = 0; i < letters.size(); ++i) {
        const auto size = static_cast<unsigned>(10 + i);
        ForeignObjectSolid source(type(5), size, bytes.data());
        ForeignObjectSolid target(type(6), size, bytes.data());
        std::optional<ForeignObjectSolid> constructed;
        const auto failedSize = failedSizeDuring([&] {
            if (letters[i] == 'n')
                constructed.emplace(type(5), size, bytes.data());
            else if (letters[i] == 'c')
                constructed.emplace(source);
            else
                target = source;
        });
        require(failedSize == size, "no allocation of the expected size");
        require(isEmpty(constructed ? *constructed : target, 5), "the solid is empty");
        require(holds(source, 5, bytes.substr(0, size)), "the source is unchanged");
    }
}

TEST(ForeignObjectSolidReports, EachOperationReportsItsFirstFailure) {
    const struct {
        const char* failures;
        std::vector<int> reported; ///< Sizes of the blocks that are reported.
    } cases[] = {
        {"", {}},
        {"n", {10}},
        {"c", {10}},
        {"a", {10}},
        {"nnnn", {10}},
        {"cccc", {10}},
        {"aaaa", {10}},
        {"nca", {10, 11, 12}},
        {"acnacn", {10, 11, 12}},
        {"ccnnaacna", {10, 12, 14}},
    };
    for (const auto& [failures, sizes] : cases) {
        SCOPED_TRACE(failures);
        std::vector<std::string> reports;
        std::vector<std::size_t> order;
        for (const int size : sizes) {
            reports.push_back("Invalid alloc size " + std::to_string(size));
            order.push_back(reports.size()); // each break follows its report
        }
        const ScenarioRun run = runUnderDebugger("FailedBlocks", {std::string("VELMOR_FAILURES=") + failures});
        EXPECT_EQ(run.reports, reports);
        EXPECT_EQ(run.reportsBeforeBreak, order);
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 0u) << run.error;
    }
}

TEST(ForeignObjectSolidReports, IsSilentWithoutDebugger) {
    const ScenarioRun run = runAlone("FailedBlocks", {"VELMOR_FAILURES=ncanca"});
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.error, "");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
}

VELMOR_SCENARIO(FailedBlockOfGivenSize) {
    const auto size = static_cast<unsigned>(std::stoul(setting("VELMOR_SIZE")));
    std::optional<ForeignObjectSolid> solid;
    require(failedSizeDuring([&] { solid.emplace(type(5), size, "few bytes"); }) == size,
            "no allocation of the expected size");
    require(isEmpty(*solid, 5), "the solid is empty");
}

TEST(ForeignObjectSolidReports, SizeIsReportedAsSignedNumber) {
    // The format of the report is %d.
    const std::pair<const char*, const char*> cases[] = {
        {"1", "1"}, {"2147483647", "2147483647"}, {"2147483648", "-2147483648"}, {"4294967295", "-1"}};
    for (const auto& [size, reported] : cases) {
        const ScenarioRun run = runUnderDebugger("FailedBlockOfGivenSize", {std::string("VELMOR_SIZE=") + size});
        EXPECT_EQ(run.channel, std::string("Invalid alloc size ") + reported);
        EXPECT_EQ(run.breaks, 1);
        EXPECT_EQ(run.exitCode, 0u) << run.error;
    }
}

VELMOR_SCENARIO(SuccessfulOperations) {
    ForeignObjectSolid source(type(5), 5, "bytes");
    ForeignObjectSolid target(source);
    target = source;
    ForeignObjectSolid empty(type(1), 0, "bytes");
    target = empty;
    const Velmor::PngTexture texture(std::vector<char>(100, 'x'));
    Velmor::PngTexture copy(texture);
    copy = Velmor::PngTexture();
}

TEST(ForeignObjectSolidReports, SuccessIsNotReported) {
    const ScenarioRun run = runUnderDebugger("SuccessfulOperations");
    EXPECT_EQ(run.channel, "");
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
}
