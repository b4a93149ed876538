#include <Velmor/Version.h>

#include "support/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

using namespace Velmor;
using velmor_tests::Random;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

struct Fields {
    std::uint32_t type = 0;
    double box[3] = {};
    double d[8] = {};
    double volume = 0;
    double centroid[3] = {};
};

ExternalVersion makeVersion(const Fields& fields) {
    auto* record = static_cast<CExternalVersion*>(std::malloc(sizeof(CExternalVersion)));
    if (!record)
        std::abort();
    record->type = static_cast<ExternalVersion::Type_t>(fields.type);
    std::copy_n(fields.box, 3, record->bb);
    std::copy_n(fields.d, 8, record->d);
    record->volume = fields.volume;
    std::copy_n(fields.centroid, 3, record->centroid);
    return ExternalVersion(record);
}

double similarity(const Fields& a, const Fields& b) {
    return makeVersion(a).similarity(makeVersion(b));
}

// The reference: the formula, term by term, with std::pow.

double clamped(double v) {
    return 0 > v ? 0 : v;
}

double close(double x) {
    const double closeness = clamped(1 - x);
    return std::pow(clamped((closeness - 0.7) / (1 - 0.7)), 3.0);
}

double distanceOf(const double* a, const double* b) {
    const double x = b[0] - a[0];
    const double y = b[1] - a[1];
    const double z = b[2] - a[2];
    return std::sqrt(x * x + y * y + z * z);
}

double mean(const double* d) {
    double sum = d[0];
    for (int i = 1; i < 8; ++i)
        sum += d[i];
    return sum * 0.125;
}

double referenceSimilarity(const Fields& a, const Fields& b) {
    if (a.type == 1)
        return close(distanceOf(a.box, b.box));
    if (a.type != 2 && a.type != 3)
        return 0;
    const double scale = mean(a.d) > mean(b.d) ? mean(a.d) : mean(b.d);
    double agreement = 0;
    for (int i = 0; i < 8; ++i)
        agreement += 1 - std::fabs(b.d[i] - a.d[i]) / scale;
    agreement *= 0.125;
    const double fc = close(distanceOf(a.centroid, b.centroid) / scale);
    const double fd = std::pow(clamped((agreement - 0.8) / (1 - 0.8)), 4.0);
    const double fb = close(distanceOf(a.box, b.box) / scale);
    if (a.type == 3)
        return fc * fd * fb;
    const double most = a.volume > b.volume ? a.volume : b.volume;
    const double least = a.volume > b.volume ? b.volume : a.volume;
    const double ratio = std::fabs(most) > 1e-20 ? least / most : 1.0;
    const double fv = std::pow(clamped((ratio - 0.5) + (ratio - 0.5)), 3.0);
    return fc * fv * fd * fb;
}

/// Compares with a tolerance, because std::pow differs between runtimes in its last bits.
void expectReference(const Fields& a, const Fields& b) {
    const double actual = similarity(a, b);
    const double expected = referenceSimilarity(a, b);
    EXPECT_TRUE(std::isnan(expected) ? std::isnan(actual) : std::fabs(actual - expected) <= expected * 0x1p-48)
        << std::hexfloat << actual << " instead of " << expected << std::defaultfloat << ", types " << a.type << " and "
        << b.type;
}

Fields box(double x, double y = 0, double z = 0) {
    Fields fields;
    fields.type = 1;
    fields.box[0] = x;
    fields.box[1] = y;
    fields.box[2] = z;
    return fields;
}

/// Eight equal distances, a volume and a centroid.
Fields solid(double distance = 10, double volume = 10) {
    Fields fields;
    fields.type = 2;
    std::fill_n(fields.box, 3, 4.0);
    std::fill_n(fields.d, 8, distance);
    fields.volume = volume;
    std::fill_n(fields.centroid, 3, 1.0);
    return fields;
}

Fields geometry(double distance = 10) {
    Fields fields = solid(distance, 0);
    fields.type = 3;
    std::fill_n(fields.centroid, 3, 0.0);
    return fields;
}

/// Fields of a random type and, in proportion to `size`, of random values.
Fields randomFields(Random& random, double size) {
    Fields fields;
    fields.type = random.below(6u);
    for (double& x : fields.box)
        x = random.real(0, 2) * size;
    for (double& x : fields.d)
        x = random.real(0.5, 1) * size;
    for (double& x : fields.centroid)
        x = random.real(-10, 10) * size;
    fields.volume = random.real(0, 8) * size * size * size;
    return fields;
}

/// Fields close to others, so that all factors differ from 0 and 1.
Fields nearFields(Random& random, const Fields& fields, double size) {
    Fields result = fields;
    result.type = random.below(6u);
    const double deviation = std::pow(10.0, random.real(-4, 0)) * size;
    for (double& x : result.box)
        x += random.real(-0.3, 0.3) * deviation;
    for (double& x : result.d)
        x += random.real(-0.5, 0.5) * deviation;
    for (double& x : result.centroid)
        x += random.real(-0.3, 0.3) * deviation;
    result.volume *= random.real(0.5, 2);
    return result;
}

/// Sets one number of a or b to a special value.
void putSpecialValue(Random& random, Fields& a, Fields& b) {
    const double values[] = {0.0, -0.0, 5e-324, 1e300, -1e300, 1e-20, -1, notANumber};
    double* const numbers[] = {&a.volume, &b.d[random.below(8)], &a.box[1], &b.centroid[2], &b.volume};
    *random.oneOf(numbers) = random.oneOf(values);
}

} // namespace

TEST(Similarity, OfAnInvalidOrUnknownTypeIsZero) {
    for (std::uint32_t a : {0u, 4u, 5u, 255u, 0x102u, 0x80000001u, 0xFFFFFFFFu})
        for (std::uint32_t b : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu}) {
            Fields first = solid();
            Fields second = solid();
            first.type = a;
            second.type = b;
            const double result = similarity(first, second);
            EXPECT_EQ(std::bit_cast<std::uint64_t>(result), 0u) << a << " " << b;
            // Not even a NaN passes through.
            first.d[0] = notANumber;
            EXPECT_EQ(std::bit_cast<std::uint64_t>(similarity(first, second)), 0u);
        }
}

TEST(Similarity, OfBoxesIsAbsolute) {
    const struct {
        double x, y, z, similarity;
    } cases[] = {
        {0, 0, 0, 1},
        {0.1, 0, 0, 0x1.2f684bda12f6ap-2}, // (2/3)^3
        {0, -0.1, 0, 0x1.2f684bda12f6ap-2},
        {0.15, 0, 0, 0.125},
        {0, 0, 0.15, 0.125},
        {0.2, 0, 0, 0x1.2f684bda12f75p-5}, // (1/3)^3
        {0.29999, 0, 0, 0x1.4d9997ca9f466p-45},
        {0.3, 0, 0, 0},
        {0.3, 0.3, 0.3, 0},
        {1, 0, 0, 0},
        {1e300, 0, 0, 0},
        {-infinity, 0, 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(similarity(box(0), box(c.x, c.y, c.z)), c.similarity) << c.x << " " << c.y << " " << c.z;
        EXPECT_EQ(similarity(box(c.x, c.y, c.z), box(0)), c.similarity);
    }
    EXPECT_NEAR(similarity(box(1000), box(1000.1)), 8.0 / 27, 1e-11) << "independent of the size of the boxes";
    EXPECT_EQ(similarity(box(1e6), box(1e6 + 0.5)), 0);
    EXPECT_TRUE(std::isnan(similarity(box(notANumber), box(0))));
    EXPECT_TRUE(std::isnan(similarity(box(infinity), box(infinity))));
}

TEST(Similarity, OfBoxesIgnoresOtherFields) {
    Fields a = box(1, 2, 3);
    Fields b = solid();
    std::copy_n(a.box, 3, b.box);
    a.volume = notANumber;
    a.d[3] = notANumber;
    a.centroid[1] = notANumber;
    for (std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu}) {
        b.type = type;
        EXPECT_EQ(similarity(a, b), 1.0) << type;
    }
}

TEST(Similarity, WithItselfIsExactlyOne) {
    Random random(1);
    for (int round = 0; round < 10000; ++round) {
        Fields fields;
        for (double& x : fields.box)
            x = random.real(0, 1e4);
        for (double& x : fields.d)
            x = random.real(1e-6, 1e4);
        for (double& x : fields.centroid)
            x = random.real(-1e5, 1e5);
        fields.volume = random.real(0, 1e9);
        for (fields.type = 1; fields.type <= 3; ++fields.type)
            ASSERT_EQ(similarity(fields, fields), 1.0);
    }
}

TEST(Similarity, OfDistancesIsTheirMeanAgreement) {
    // One of eight distances differs by 0.8 of the scale: D = 0.9, (0.1 / 0.2)^4.
    Fields a = geometry();
    Fields b = geometry();
    b.d[3] = 2;
    EXPECT_EQ(similarity(a, b), 0.0625);
    EXPECT_EQ(similarity(b, a), 0.0625);
    // A term can be negative: one distance differs by 1.2 of the scale, D = 0.85, (0.05 / 0.2)^4.
    b = geometry();
    b.d[7] = -2;
    EXPECT_NEAR(similarity(a, b), 0.00390625, 1e-15);
    EXPECT_NEAR(similarity(b, a), 0.00390625, 1e-15);
    // All differ by half of the scale: clamped to 0.
    EXPECT_EQ(similarity(geometry(10), geometry(5)), 0);
    // The scale is the greater mean of the two versions.
    EXPECT_EQ(similarity(geometry(10), geometry(9)), similarity(geometry(9), geometry(10)));
    EXPECT_NEAR(similarity(geometry(10), geometry(9)), 0.0625, 1e-15);
}

TEST(Similarity, OfBoxAndCentroidIsRelativeToTheScale) {
    Fields a = geometry(10);
    Fields b = geometry(10);
    b.box[1] += 1.5; // 0.15 of the scale
    EXPECT_EQ(similarity(a, b), 0.125);
    b = a;
    b.centroid[2] += 1.5;
    EXPECT_EQ(similarity(a, b), 0.125);
    b.box[0] -= 1.5;
    EXPECT_EQ(similarity(a, b), 0.015625);
    b = a;
    b.box[0] += 3;
    EXPECT_EQ(similarity(a, b), 0);
    b = a;
    b.centroid[0] -= 3;
    EXPECT_EQ(similarity(a, b), 0);
    a = solid(100);
    b = solid(100);
    b.centroid[0] += 15;
    EXPECT_EQ(similarity(a, b), 0.125);
}

TEST(Similarity, OfVolumesIsTheirRatio) {
    const struct {
        double a, b, similarity;
    } cases[] = {
        {10, 10, 1},
        {10, 8, 0x1.ba5e353f7ceddp-3}, // 0.6^3
        {8, 10, 0x1.ba5e353f7ceddp-3},
        {10, 4, 0},
        {4, 10, 0},
        {10, 5, 0},
        {10, 7.5, 0.125},
        {10, -10, 0},
        {0, 10, 0},
        {0, 0, 1},
        {-0.0, 0, 1},
        {1e-20, 0, 1}, // too small for a ratio
        {1e-20, -1e300, 1},
        {0x1.79ca10c924224p-67, 0, 0}, // the next number above 1e-20
        {-2, -4, 27},                  // the greater volume is -2, the ratio 2
        {-10, -10, 1},
        {infinity, 1, 0},
    };
    ASSERT_EQ(std::nextafter(1e-20, 1), 0x1.79ca10c924224p-67);
    for (const auto& c : cases)
        EXPECT_EQ(similarity(solid(10, c.a), solid(10, c.b)), c.similarity) << c.a << " " << c.b;
    EXPECT_TRUE(std::isnan(similarity(solid(10, infinity), solid(10, infinity))));
}

TEST(Similarity, OfANaNVolumeDependsOnItsSide) {
    // If one volume is NaN, the second counts as the greater. A NaN in the first is then the smaller, and the ratio is NaN.
    // A NaN in the second does not exceed the limit for a ratio.
    for (double other : {10.0, -10.0, 1e300, infinity}) {
        EXPECT_TRUE(std::isnan(similarity(solid(10, notANumber), solid(10, other)))) << other;
        EXPECT_EQ(similarity(solid(10, other), solid(10, notANumber)), 1.0) << other;
    }
    EXPECT_EQ(similarity(solid(10, notANumber), solid(10, 0)), 1.0) << "too small for a ratio";
    EXPECT_EQ(similarity(solid(10, notANumber), solid(10, notANumber)), 1.0);
}

TEST(Similarity, OfAGeometryIgnoresVolumes) {
    Fields a = geometry();
    Fields b = geometry();
    a.volume = 10;
    b.volume = 1;
    EXPECT_EQ(similarity(a, b), 1.0);
    b.volume = notANumber;
    EXPECT_EQ(similarity(a, b), 1.0);
}

TEST(Similarity, OfAGeometryIncludesCentroids) {
    Fields a = geometry();
    a.centroid[0] = 1.5;
    EXPECT_EQ(similarity(a, geometry()), 0.125);
}

TEST(Similarity, WithoutDistancesIsNaN) {
    EXPECT_TRUE(std::isnan(similarity(geometry(0), geometry(0))));
    EXPECT_TRUE(std::isnan(similarity(solid(0), solid(0))));
    Fields other = box(4, 4, 4);
    EXPECT_TRUE(std::isnan(similarity(solid(0), other)));
    EXPECT_TRUE(std::isnan(similarity(solid(0, 10), solid(0, 1)))) << "a factor of 0 does not hide the NaN";
}

TEST(Similarity, OfANaNIsNaN) {
    for (std::uint32_t type : {2u, 3u})
        for (int i = 0; i < 14; ++i) {
            Fields a = solid();
            a.type = type;
            Fields b = a;
            if (i < 8)
                b.d[i] = notANumber;
            else if (i < 11)
                b.box[i - 8] = notANumber;
            else
                b.centroid[i - 11] = notANumber;
            EXPECT_TRUE(std::isnan(similarity(a, b))) << type << " " << i;
            EXPECT_TRUE(std::isnan(similarity(b, a))) << type << " " << i;
        }
}

TEST(Similarity, DependsOnTheTypeOfTheFirstVersionOnly) {
    Fields first = solid();
    first.type = 1;
    const Fields second = solid();
    for (std::uint32_t other = 0; other <= 5; ++other) {
        Fields b = second;
        b.type = other;
        Fields a = first;
        for (a.type = 0; a.type <= 5; ++a.type)
            EXPECT_EQ(similarity(a, b), a.type >= 1 && a.type <= 3 ? 1.0 : 0.0) << a.type << " " << other;
    }
    // A box compared with a solid uses the box only. The solid reads zero distances, volume and centroid from the box.
    const Fields onlyBox = box(4, 4, 4);
    EXPECT_EQ(similarity(onlyBox, solid()), 1.0);
    EXPECT_EQ(similarity(solid(), onlyBox), 0.0);
    EXPECT_EQ(similarity(Fields(), solid()), 0.0);
    EXPECT_EQ(similarity(solid(), Fields()), 0.0);
    // A geometry and a solid of the same shape: only the solid uses the volume.
    Fields shape = geometry();
    Fields body = solid(10, 10);
    std::fill_n(body.centroid, 3, 0.0);
    EXPECT_EQ(similarity(shape, body), 1.0);
    EXPECT_EQ(similarity(body, shape), 0.0);
}

TEST(Similarity, OfVersionsFromFactories) {
    double d[8] = {10, 10, 10, 10, 10, 10, 10, 10};
    double c[3] = {1, 2, 3};
    EXPECT_EQ(createFromBoundingBox(1, 2, 3).similarity(createFromBoundingBox(1, 2, 3)), 1.0);
    EXPECT_EQ(createFromGeometry(1, 2, 3, d).similarity(createFromGeometry(1, 2, 3, d)), 1.0);
    EXPECT_EQ(createFromSolid(1, 2, 3, d, 4, c).similarity(createFromSolid(1, 2, 3, d, 4, c)), 1.0);
    EXPECT_EQ(createFromBoundingBox(1, 2, 3).similarity(createFromSolid(1, 2, 3, d, 4, c)), 1.0);
    EXPECT_EQ(createFromSolid(1, 2, 3, d, 10, c).similarity(createFromSolid(1, 2, 3, d, 7.5, c)), 0.125);
    EXPECT_EQ(ExternalVersion().similarity(ExternalVersion()), 0.0);
}

namespace {

// Computed with Python's fractions: each operation is exact and then rounded to the nearest double, ties to even; square
// roots by math.isqrt of 2^800 times the number; powers are exact and rounded once.
const struct {
    Fields a, b;
    double similarity;
} exactCases[] = {
    {{2, {4.761, 6.826, 3.43}, {8.549, 6.64, 7.866, 6.061, 5.981, 8.25, 6.993, 6.663}, 79.11, {4.632, -1.905, 2.041}},
     {2, {4.773, 6.965, 3.73}, {8.373, 6.792, 7.847, 6.186, 6.204, 8.039, 6.821, 6.61}, 72.124, {4.572, -1.938, 1.891}},
     0x1.653e950ea7a37p-3},
    {{3, {6.948, 7.102, 4.122}, {6.381, 5.805, 6.707, 6.266, 5.856, 8.471, 5.916, 5.162}, 59.009, {-4.806, 3.654, 3.44}},
     {3, {6.84, 7.378, 4.305}, {6.334, 5.572, 6.918, 6.33, 5.694, 8.768, 5.835, 4.984}, 58.93, {-4.671, 3.511, 3.395}},
     0x1.d0169a510af95p-3},
    {{2, {3.698, 8.52, 8.993}, {6.86, 5.679, 7.782, 8.445, 6.327, 5.828, 7.746, 5.392}, 83.742, {-4.957, -3.493, 2.038}},
     {2, {3.608, 8.269, 9.175}, {6.704, 5.656, 7.64, 8.459, 6.289, 6.111, 7.567, 5.135}, 80.434, {-5.103, -3.428, 1.938}},
     0x1.cf686b5668a0ep-3},
    {{3, {1.805, 2.749, 2.564}, {6.554, 7.061, 5.893, 6.418, 7.81, 8.199, 7.315, 8.728}, 71.766, {4.361, 2.205, 1.334}},
     {3, {1.576, 2.482, 2.339}, {6.752, 7.305, 5.962, 6.171, 7.812, 8.041, 7.365, 8.867}, 66.915, {4.211, 2.047, 1.511}},
     0x1.e177150804798p-3},
    {{2, {5.493, 8.957, 6.052}, {7.382, 7.24, 7.177, 6.259, 5.491, 5.116, 5.246, 7.541}, 74.996, {1.199, -2.898, -2.921}},
     {2, {5.307, 8.769, 5.94}, {7.522, 7.321, 7.378, 6.442, 5.321, 5.168, 5.215, 7.492}, 78.041, {1.352, -3.034, -2.962}},
     0x1.ea2a74cdaa1c5p-3},
    {{3, {7.021, 3.853, 6.493}, {5.477, 7.699, 8.091, 8.008, 6.677, 8.905, 5.857, 6.858}, 69.856, {3.058, -0.684, -4.893}},
     {3, {6.925, 4.137, 6.756}, {5.33, 7.839, 7.926, 8.29, 6.873, 9.113, 5.598, 7.088}, 65.315, {3.203, -0.761, -4.726}},
     0x1.b1b43156e826ep-3},
    {{2, {4.96, 3.903, 4.73}, {6.735, 6.968, 6.305, 5.149, 5.486, 6.454, 7.547, 5.723}, 78.204, {-4.456, -0.644, -4.738}},
     {2, {5.207, 4.167, 4.569}, {6.626, 7.19, 6.087, 5.191, 5.251, 6.216, 7.606, 5.842}, 77.172, {-4.592, -0.752, -4.938}},
     0x1.5e7e225535562p-3},
    {{3, {1.995, 4.023, 5.585}, {6.783, 8.154, 8.319, 8.7, 7.208, 8.061, 8.596, 6.106}, 64.274, {1.375, -0.956, 2.609}},
     {3, {1.886, 4.036, 5.428}, {6.951, 8.069, 8.272, 8.68, 7.093, 8.337, 8.707, 5.922}, 66.139, {1.197, -1.004, 2.669}},
     0x1.b28bd5a8370aap-2},
    {{2, {3.103, 5.144, 6.219}, {6.139, 7.151, 8.768, 8.057, 7.021, 6.854, 6.125, 5.99}, 70.74, {2.389, 4.542, 4.63}},
     {2, {3.35, 5.132, 6.138}, {5.858, 7.238, 8.885, 8.21, 7.263, 6.615, 6.192, 5.804}, 74.521, {2.572, 4.645, 4.532}},
     0x1.a22034ad6c801p-3},
    {{3, {7.45, 7.195, 6.367}, {7.082, 8.767, 8.202, 5.671, 7.856, 8.305, 5.277, 5.497}, 73.725, {-3.697, -1.147, 4.793}},
     {3, {7.648, 6.954, 6.52}, {6.923, 8.644, 8.44, 5.861, 8.114, 8.236, 5.042, 5.275}, 72.433, {-3.645, -1.214, 4.922}},
     0x1.0f80a7ccff748p-2},
};

} // namespace

TEST(Similarity, HasTheSameBitsOnEverySystem) {
    for (const auto& c : exactCases)
        EXPECT_EQ(similarity(c.a, c.b), c.similarity) << std::hexfloat << similarity(c.a, c.b) << std::defaultfloat;
}

TEST(Similarity, MatchesTheReference) {
    for (std::uint32_t seed = 1; seed <= 3; ++seed) {
        Random random(seed);
        for (int round = 0; round < 20000; ++round) {
            const double size = std::pow(10.0, random.real(-6, 6));
            Fields a = randomFields(random, size);
            Fields b = nearFields(random, a, size);
            if (random.oneIn(10))
                putSpecialValue(random, a, b);
            if (random.oneIn(50))
                std::fill_n(a.d, 8, 0.0);
            if (random.oneIn(50))
                std::fill_n(b.d, 8, 0.0);
            expectReference(a, b);
            ASSERT_FALSE(HasFailure()) << "round " << round;
        }
    }
}
