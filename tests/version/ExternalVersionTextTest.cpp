#include <Velmor/Version.h>

#include "VersionRecords.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

using namespace Velmor;
using namespace velmor_tests;

namespace {

const Numbers textNumbers = {3, 4, 12, 1, -2.5, 1e100, 1e-100, 0.0000015, -0.0, 123456.75, 1e9, 77, -1e-9, 0.5, 9.9999995e9};

const std::string distancesText = " d1=1.000000e+00 d2=-2.500000e+00 d3=1.000000e+100 d4=1.000000e-100 d5=1.500000e-06"
                                  " d6=-0.000000e+00 d7=1.234568e+05 d8=1.000000e+09";

std::string expectedText(std::uint32_t type) {
    switch (type) {
    case 0:
        return "invalid";
    case 1:
        return "bb=1.300000e+01";
    case 2:
        return "bb=1.300000e+01" + distancesText + " c1=-1.000000e-09 c2=5.000000e-01 c3=1.000000e+10";
    default:
        return "bb=1.300000e+01" + distancesText;
    }
}

} // namespace

TEST(ExternalVersionText, HasTheFieldsOfEachType) {
    for (std::uint32_t type = 0; type <= 3; ++type)
        EXPECT_EQ(textOf(makeVersion(type, textNumbers)), expectedText(type));
}

TEST(ExternalVersionText, OfAnUnknownTypeIsNotWritten) {
    for (std::uint32_t type : typesAboveThree)
        EXPECT_EQ(textOf(makeVersion(type, textNumbers)), "unchanged");
}

TEST(ExternalVersionText, IsTruncatedToItsBuffer) {
    for (std::uint32_t type = 0; type <= 3; ++type) {
        const std::string whole = expectedText(type);
        for (std::size_t size = 0; size <= whole.size() + 3; ++size) {
            SCOPED_TRACE("type " + std::to_string(type) + ", size " + std::to_string(size));
            const std::unique_ptr<char[]> exact(new char[size + 1]);
            std::memset(exact.get(), '#', size + 1);
            makeVersion(type, textNumbers).toString(static_cast<unsigned>(size), exact.get());
            EXPECT_EQ(exact[size], '#');
            if (size == 0)
                continue;
            ASSERT_NE(std::memchr(exact.get(), 0, size), nullptr);
            EXPECT_EQ(std::string(exact.get()), whole.substr(0, size - 1));
        }
    }
}

TEST(ExternalVersionText, BeginsWithTheDiagonalOfTheBox) {
    const auto diagonal = [](double x, double y, double z) { return textOf(createFromBoundingBox(x, y, z)); };
    EXPECT_EQ(diagonal(0, 0, 0), "bb=0.000000e+00");
    EXPECT_EQ(diagonal(-1, -2, -2), "bb=3.000000e+00");
    EXPECT_EQ(diagonal(3e20, 4e20, 0), "bb=5.000000e+20");
    EXPECT_EQ(diagonal(3e-20, 4e-20, 0), "bb=5.000000e-20");
    EXPECT_EQ(diagonal(3e120, 0, 4e120), "bb=5.000000e+120");
    EXPECT_EQ(diagonal(1e200, 0, 0), "bb=inf"); // the square overflows
    EXPECT_EQ(diagonal(1e-200, 0, 0), "bb=0.000000e+00");
    EXPECT_EQ(diagonal(-infinity, 0, 0), "bb=inf");
    EXPECT_EQ(diagonal(notANumber, 0, 0), "bb=nan");
}

TEST(ExternalVersionText, OfSpecialValues) {
    double d[8] = {infinity, -infinity, notANumber, 5e-324, 1.7976931348623157e308, -1e-5, 0, 9.99999951};
    EXPECT_EQ(textOf(createFromGeometry(0, 0, 0, d)),
              "bb=0.000000e+00 d1=inf d2=-inf d3=nan d4=4.940656e-324 d5=1.797693e+308 d6=-1.000000e-05 d7=0.000000e+00"
              " d8=1.000000e+01");
}
