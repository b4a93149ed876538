#include <Velmor/Version.h>

#include "VersionRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <type_traits>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

static_assert(!std::is_polymorphic_v<ExternalVersion>);
static_assert(std::is_same_v<std::underlying_type_t<ExternalVersion::Type_t>, std::uint32_t>);
static_assert(ExternalVersion::Invalid == 0 && ExternalVersion::BoundingBox == 1 && ExternalVersion::Solid == 2);
static_assert(ExternalVersion::Geometry == 3);
static_assert(std::is_standard_layout_v<CExternalVersion> && sizeof(CExternalVersion::type) == 4);

} // namespace

TEST(ExternalVersion, DefaultIsInvalidAndAllZero) {
    const ExternalVersion v;
    expectRecord(v, 0, Numbers{});
}

TEST(ExternalVersion, AdoptsARecord) {
    CExternalVersion* record = newRecord(2, someNumbers);
    const ExternalVersion v(record);
    EXPECT_EQ(recordOf(v), record);
    expectRecord(v, 2, someNumbers);
}

TEST(ExternalVersion, CopyIsDeepAndCompleteForEveryType) {
    for (std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu}) {
        ExternalVersion original = makeVersion(type);
        const ExternalVersion copy = original;
        EXPECT_NE(recordOf(copy), recordOf(original));
        expectRecord(copy, type, someNumbers);
        original.fromByteStream(28, reinterpret_cast<const char*>(streamOf(1, Numbers{}).data()));
        expectRecord(copy, type, someNumbers);
    }
}

TEST(ExternalVersion, AssignmentCopiesIntoASeparateRecord) {
    for (std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu}) {
        const ExternalVersion source = makeVersion(type);
        ExternalVersion target = makeVersion(3, Numbers{});
        ExternalVersion& result = (target = source);
        EXPECT_EQ(&result, &target);
        EXPECT_NE(recordOf(target), recordOf(source));
        expectRecord(target, type, someNumbers);
        expectRecord(source, type, someNumbers);
    }
}

TEST(ExternalVersion, AssignmentToItselfChangesNothing) {
    ExternalVersion v = makeVersion(2);
    const ExternalVersion& same = v;
    v = same;
    expectRecord(v, 2, someNumbers);
}

TEST(ExternalVersion, CopiesKeepEveryBit) {
    std::array<std::uint64_t, 15> bits;
    for (unsigned i = 0; i < 15; ++i)
        bits[i] = 0x7FF0000000000001u + 0x8000100000000000u * i; // signaling NaNs, quiet NaNs, denormals
    const Numbers numbers = numbersFromBits(bits);
    const ExternalVersion v = makeVersion(2, numbers);
    ExternalVersion copy = v;
    expectRecord(copy, 2, numbers);
    copy = v;
    expectRecord(copy, 2, numbers);
}

TEST(ExternalVersion, FactoriesStoreTheirArgumentsUnchanged) {
    double d[8] = {10, -0.0, infinity, notANumber, 5e-324, 60, -70, 80};
    double c[3] = {-1, notANumber, -infinity};
    Numbers expected{};
    expected[0] = 1.5;
    expected[1] = -2.5;
    expected[2] = notANumber;
    expectRecord(createFromBoundingBox(1.5, -2.5, notANumber), 1, expected);
    std::copy_n(d, 8, expected.begin() + distancesAt);
    expectRecord(createFromGeometry(1.5, -2.5, notANumber, d), 3, expected);
    expected[volumeAt] = -0.0;
    std::copy_n(c, 3, expected.begin() + centroidAt);
    expectRecord(createFromSolid(1.5, -2.5, notANumber, d, -0.0, c), 2, expected);
}

TEST(ExternalVersion, GettersReturnTheFieldsOfTheTypeAndZerosOtherwise) {
    for (std::uint32_t type : allTypes()) {
        SCOPED_TRACE(type);
        const ExternalVersion v = makeVersion(type);
        Numbers actual;
        actual.fill(12345);
        v.getBoundingBox(&actual[0], &actual[1], &actual[2]);
        v.getDistances(&actual[distancesAt]);
        actual[volumeAt] = v.getVolume();
        v.getCenteroid(&actual[12], &actual[13], &actual[14]);
        Numbers expected = someNumbers;
        if (type == 0)
            std::fill_n(expected.begin() + boxAt, 3, 0.0);
        if (type <= 1)
            std::fill_n(expected.begin() + distancesAt, 8, 0.0);
        if (type <= 1 || type == 3)
            std::fill_n(expected.begin() + volumeAt, 4, 0.0);
        EXPECT_EQ(bitsOf(actual), bitsOf(expected));
        EXPECT_EQ(static_cast<std::uint32_t>(v.getType()), type);
        expectRecord(v, type, someNumbers);
    }
}

TEST(ExternalVersion, OneObjectCanBeReadByManyThreads) {
    const ExternalVersion shared = makeVersion(1);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) {
                const ExternalVersion copy = shared;
                double x, y, z;
                shared.getBoundingBox(&x, &y, &z);
                if (x != 1.5 || shared.getVolume() != 0 || !(copy == shared) || shared.similarity(copy) != 1)
                    ++wrong;
                for (const Getter& getter : getters)
                    getter.call(shared);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
