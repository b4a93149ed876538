#include "importer/child/Fingerprint.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace velmor_tests {

using namespace importer::child;
using namespace importer::exchange;
using namespace importer::ifc;
using Velmor::ExternalGUID;
using Velmor::ExternalVersion;

namespace {

// A box from the origin to (2, 4, 6); the last vertex is the farthest one.
Product box(Shape shape) {
    Product product;
    product.shape = shape;
    for (const double z : {0.0, 6.0}) {
        for (const double y : {0.0, 4.0}) {
            for (const double x : {0.0, 2.0})
                product.vertices.insert(product.vertices.end(), {x, y, z});
        }
    }
    product.volume = 48;
    product.centroid[0] = 1;
    product.centroid[1] = 2;
    product.centroid[2] = 3;
    return product;
}

TEST(Fingerprint, OfSolidHasAllNumbersAndUsesTheLastVertex) {
    Product product = box(Shape::Solid);
    const Fingerprint print = fingerprint(product);
    EXPECT_TRUE(print.finite);
    ASSERT_EQ(print.spatialHash.getType(), ExternalGUID::SpatialHash);
    const double* const hash = print.spatialHash.getSpatialHash();
    EXPECT_EQ(hash[0], 1);
    EXPECT_EQ(hash[1], 2);
    EXPECT_EQ(hash[2], 3);
    ASSERT_EQ(print.version.getType(), ExternalVersion::Solid);
    double d[8];
    print.version.getDistances(d);
    for (int octant = 0; octant < 8; ++octant) {
        EXPECT_EQ(hash[3 + octant], std::sqrt(14.0)) << octant;
        EXPECT_EQ(d[octant], std::sqrt(14.0)) << octant;
    }
    double x = 0, y = 0, z = 0;
    print.version.getBoundingBox(&x, &y, &z);
    EXPECT_EQ(x, 2);
    EXPECT_EQ(y, 4);
    EXPECT_EQ(z, 6);
    print.version.getCenteroid(&x, &y, &z);
    EXPECT_EQ(x, 1);
    EXPECT_EQ(y, 2);
    EXPECT_EQ(z, 3);
    EXPECT_EQ(print.version.getVolume(), 48);
}

TEST(Fingerprint, OfOpenShapeHasBoxAndDistances) {
    Product product = box(Shape::Points);
    const Fingerprint print = fingerprint(product);
    EXPECT_EQ(print.spatialHash.getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(print.version.getType(), ExternalVersion::Geometry);
}

TEST(Fingerprint, OfSolidWithoutFiniteVolumeEqualsThatOfOpenShape) {
    Product product = box(Shape::Solid);
    product.volume = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(fingerprint(product).version.getType(), ExternalVersion::Geometry);
    product = box(Shape::Solid);
    product.centroid[2] = std::numeric_limits<double>::infinity();
    EXPECT_EQ(fingerprint(product).version.getType(), ExternalVersion::Geometry);
}

TEST(Fingerprint, OfSinglePointIsABoxWithDefinedSimilarity) {
    Product product;
    product.shape = Shape::Points;
    product.vertices = {7, 8, 9};
    const Fingerprint print = fingerprint(product);
    EXPECT_EQ(print.spatialHash.getSpatialHash()[1], 8);
    EXPECT_EQ(print.version.getType(), ExternalVersion::BoundingBox);
    EXPECT_EQ(print.version.similarity(print.version), 1.0);
}

TEST(Fingerprint, WithoutGeometryIsEmptyAndDefined) {
    Product without;
    Product none = box(Shape::None);
    for (Product* const product : {&without, &none}) {
        const Fingerprint print = fingerprint(*product);
        EXPECT_TRUE(print.finite);
        EXPECT_EQ(print.version.getType(), ExternalVersion::Invalid);
        unsigned size = 0;
        const char* const bytes = print.spatialHash.getBytes(&size);
        EXPECT_EQ(std::string(bytes, size), std::string(96, '\0'));
    }
}

TEST(Fingerprint, OfCoordinatesThatAreNotFiniteIsEmpty) {
    for (const double bad : {1e308 * 10, std::numeric_limits<double>::quiet_NaN(), 1.7e308}) {
        Product product = box(Shape::Points);
        product.vertices[4] = bad;
        product.vertices[7] = -bad;
        const Fingerprint print = fingerprint(product);
        EXPECT_FALSE(print.finite) << bad;
        EXPECT_EQ(print.spatialHash.getType(), ExternalGUID::Invalid);
        EXPECT_EQ(print.version.getType(), ExternalVersion::Invalid);
    }
}

TEST(GlobalIds, AreAcceptedOnceAndOnlyWith22ValidCharacters) {
    const std::string invalid = " is not a GlobalId of 22 characters (0-9, A-Z, a-z, _, $)";
    const struct {
        const char* id;
        std::string reason;
    } cases[] = {{"0123456789012345678901", ""},
                 {"0123456789012345678902", ""},
                 {"0123456789012345678901", "its GlobalId '0123456789012345678901' is already used by #100"},
                 {"0123456789012345678902", "its GlobalId '0123456789012345678902' is already used by #101"},
                 {"", "it has no GlobalId"},
                 {"x", "'x'" + invalid},
                 {"012345678901234567890", "'012345678901234567890'" + invalid},
                 {"01234567890123456789012", "'01234567890123456789012'" + invalid},
                 {"012345678901234567890-", "'012345678901234567890-'" + invalid},
                 {" 123456789012345678901", "' 123456789012345678901'" + invalid},
                 {"01234567890123456789\xC3\xBC", "'01234567890123456789\xC3\xBC'" + invalid},   // 22 bytes
                 {"012345678901234567890\xC3\xBC", "'012345678901234567890\xC3\xBC'" + invalid}, // 22 characters
                 {"ABCDEFGHIJKLMNOPQRSTUV", ""},
                 {"WXYZabcdefghijklmnopqr", ""},
                 {"stuvwxyz_$0123456789ab", ""},
                 {"0123456789012345678903", ""}};
    GlobalIds ids;
    Product product;
    product.instance = 100;
    for (const auto& each : cases) {
        product.globalId = each.id;
        std::string reason;
        const ExternalGUID identity = ids.identify(product, reason);
        EXPECT_EQ(reason, each.reason);
        EXPECT_STREQ(identity.getType() == ExternalGUID::IFCGlobalID ? identity.getIFCGlobalID() : "",
                     reason.empty() ? each.id : "");
        ++product.instance;
    }
}

TEST(GlobalIds, AreShortenedInMessages) {
    GlobalIds ids;
    Product product;
    product.globalId.assign(1000000, 'x');
    std::string reason;
    EXPECT_EQ(ids.identify(product, reason).getType(), ExternalGUID::Invalid);
    EXPECT_EQ(reason, "'" + std::string(40, 'x') + "...' is not a GlobalId of 22 characters (0-9, A-Z, a-z, _, $)");
}

} // namespace
} // namespace velmor_tests
