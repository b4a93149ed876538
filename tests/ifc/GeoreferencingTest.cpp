#include <Velmor/Georeferencing.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace Velmor;
using Plexor::Vertex;

namespace {

using Projection = IFC4_MapProjection;
using Conversion = IFC4_MapConversion;

static_assert(sizeof(Vertex) == 24 && std::is_standard_layout_v<Vertex> && std::is_trivially_copyable_v<Vertex>);
static_assert(offsetof(Vertex, x) == 0 && offsetof(Vertex, y) == 8 && offsetof(Vertex, z) == 16);
static_assert(std::is_constructible_v<Vertex, double, double, double>);

static_assert(sizeof(WideString) != 32 || (sizeof(Projection) == 232 && sizeof(Conversion) == 304));
static_assert(sizeof(Projection) == 7 * sizeof(WideString) + 8 && sizeof(Conversion) == 72 + sizeof(Projection));

template <class... Records>
constexpr bool arePlainValues = ((!std::is_polymorphic_v<Records> && std::is_default_constructible_v<Records> &&
                                  std::is_copy_constructible_v<Records> && std::is_copy_assignable_v<Records> &&
                                  std::is_nothrow_move_constructible_v<Records> &&
                                  std::is_nothrow_move_assignable_v<Records> &&
                                  std::is_nothrow_destructible_v<Records>)&&...);
static_assert(arePlainValues<Projection, Conversion>);

static_assert(std::is_constructible_v<Projection, const WideString&, const WideString&, const WideString&, const WideString&,
                                      const WideString&, const WideString&, const WideString&, double>);
static_assert(
    std::is_constructible_v<Conversion, const Vertex&, double, double, double, double, double, double, const Projection&>);

using TextGetter = const WideString& (Projection::*)() const;
using NumberGetter = double (Conversion::*)() const;

/// In the order of the fields and of the constructor's arguments.
const TextGetter textGetters[] = {&Projection::getName,           &Projection::getDescription,
                                  &Projection::getGeodeticDatum,  &Projection::getVerticalDatum,
                                  &Projection::getProjectionType, &Projection::getZone,
                                  &Projection::getUnitName};
const NumberGetter numberGetters[] = {&Conversion::getEastings,         &Conversion::getNorthings,
                                      &Conversion::getOrthogonalHeight, &Conversion::getXAxisAbscissa,
                                      &Conversion::getXAxisOrdinate,    &Conversion::getScaleToMapProjection};

using Texts = std::vector<WideString>;
using Numbers = std::vector<double>;

const Texts shortTexts = {VELMOR_WIDE("a"), VELMOR_WIDE("b"), VELMOR_WIDE("c"), VELMOR_WIDE("d"),
                          VELMOR_WIDE("e"), VELMOR_WIDE("f"), VELMOR_WIDE("g")};

/// Texts that are too long for the string's own buffer, with NULs inside and at the end.
const Texts& longTexts() {
    static const Texts texts = [] {
        Texts result;
        for (std::size_t i = 0; i < 7; ++i) {
            result.emplace_back(50 + 5000 * i, static_cast<WideChar>(0x3042 + i));
            result.back()[3 + i] = 0;
            result.back() += WideChar(0);
        }
        return result;
    }();
    return texts;
}

Projection projectionOf(const Texts& texts, double scale) {
    return Projection(texts[0], texts[1], texts[2], texts[3], texts[4], texts[5], texts[6], scale);
}

Conversion conversionOf(const Vertex& origin, const Numbers& numbers, const Projection& projection) {
    return Conversion(origin, numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5], projection);
}

std::uint64_t bitsOf(double number) {
    return std::bit_cast<std::uint64_t>(number);
}

void expectProjection(const Projection& projection, const Texts& texts, double scale) {
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ((projection.*textGetters[i])(), texts[i]) << i;
    EXPECT_EQ(bitsOf(projection.getScaleToMetric()), bitsOf(scale));
}

void expectConversion(const Conversion& conversion, const Vertex& origin, const Numbers& numbers) {
    EXPECT_EQ(bitsOf(conversion.getSourceOrigin().x), bitsOf(origin.x));
    EXPECT_EQ(bitsOf(conversion.getSourceOrigin().y), bitsOf(origin.y));
    EXPECT_EQ(bitsOf(conversion.getSourceOrigin().z), bitsOf(origin.z));
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(bitsOf((conversion.*numberGetters[i])()), bitsOf(numbers[i])) << i;
}

std::ptrdiff_t distance(const void* from, const void* to) {
    return static_cast<const char*>(to) - static_cast<const char*>(from);
}

double numberAt(const void* record, std::size_t offset) {
    double number;
    std::memcpy(&number, static_cast<const char*>(record) + offset, sizeof number);
    return number;
}

const double anyNumbers[] = {0.0,
                             -0.0,
                             -1.0,
                             1e300,
                             std::numeric_limits<double>::denorm_min(),
                             std::numeric_limits<double>::infinity(),
                             -std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN(),
                             std::bit_cast<double>(std::uint64_t{0xFFF80000DEADBEEF})};

} // namespace

// Point

TEST(Vertex, ConstructorSetsCoordinatesInOrder) {
    const Vertex vertex(1.5, -2.5, 3.5);
    EXPECT_EQ(vertex.x, 1.5);
    EXPECT_EQ(vertex.y, -2.5);
    EXPECT_EQ(vertex.z, 3.5);
}

// Projected system

TEST(MapProjection, IsEmptyWithScaleOneByDefault) {
    expectProjection(Projection(), Texts(7), 1.0);
}

TEST(MapProjection, ConstructorSetsFieldsInOrder) {
    const WideString a = VELMOR_WIDE("a"), b = VELMOR_WIDE("b"), c = VELMOR_WIDE("c"), d = VELMOR_WIDE("d"),
                     e = VELMOR_WIDE("e"), f = VELMOR_WIDE("f"), g = VELMOR_WIDE("g");
    const Projection projection(a, b, c, d, e, f, g, 0.3048);
    EXPECT_EQ(projection.getName(), a);
    EXPECT_EQ(projection.getDescription(), b);
    EXPECT_EQ(projection.getGeodeticDatum(), c);
    EXPECT_EQ(projection.getVerticalDatum(), d);
    EXPECT_EQ(projection.getProjectionType(), e);
    EXPECT_EQ(projection.getZone(), f);
    EXPECT_EQ(projection.getUnitName(), g);
    EXPECT_EQ(projection.getScaleToMetric(), 0.3048);
}

TEST(MapProjection, HasFixedLayout) {
    const Projection projection = projectionOf(shortTexts, 0.3048);
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ(distance(&projection, &(projection.*textGetters[i])()),
                  static_cast<std::ptrdiff_t>(i * sizeof(WideString)));
    EXPECT_EQ(numberAt(&projection, 7 * sizeof(WideString)), 0.3048);
}

TEST(MapProjection, KeepsLongTextsAndNuls) {
    expectProjection(projectionOf(longTexts(), 2), longTexts(), 2);
}

TEST(MapProjection, KeepsAnyScale) {
    for (const double scale : anyNumbers)
        expectProjection(projectionOf(shortTexts, scale), shortTexts, scale);
}

TEST(MapProjection, OwnsItsTexts) {
    for (const Texts& texts : {shortTexts, longTexts()}) {
        Texts given = texts;
        const Projection projection = projectionOf(given, 2);
        for (WideString& text : given)
            text[0] = 'X';
        expectProjection(projection, texts, 2);
    }
}

TEST(MapProjection, GettersReturnSameReference) {
    const Projection projection = projectionOf(longTexts(), 2);
    for (const TextGetter getter : textGetters)
        EXPECT_EQ(&(projection.*getter)(), &(projection.*getter)());
}

TEST(MapProjection, CopiesAreIndependent) {
    for (const Texts& texts : {shortTexts, longTexts()}) {
        Projection original = projectionOf(texts, 2);
        const Projection copy = original;
        Projection assigned;
        Projection& result = (assigned = original);
        EXPECT_EQ(&result, &assigned);
        for (const TextGetter getter : textGetters) {
            EXPECT_NE((copy.*getter)().data(), (original.*getter)().data());
            EXPECT_NE((assigned.*getter)().data(), (original.*getter)().data());
        }
        expectProjection(original, texts, 2);
        original = Projection();
        expectProjection(original, Texts(7), 1.0);
        expectProjection(copy, texts, 2);
        expectProjection(assigned, texts, 2);
    }
}

TEST(MapProjection, CopyOutlivesItsOriginal) {
    Projection copy;
    {
        const Projection original = projectionOf(longTexts(), 2);
        copy = original;
    }
    expectProjection(copy, longTexts(), 2);
}

TEST(MapProjection, MoveTransfersTexts) {
    Projection original = projectionOf(longTexts(), 2);
    const WideChar* const characters = original.getUnitName().data();
    Projection moved = std::move(original);
    expectProjection(moved, longTexts(), 2);
    Projection assigned = projectionOf(shortTexts, 3);
    assigned = std::move(moved);
    expectProjection(assigned, longTexts(), 2);
    EXPECT_EQ(assigned.getUnitName().data(), characters) << "a move transfers the texts";
    original = projectionOf(shortTexts, 5); // a moved-from record can be assigned to
    expectProjection(original, shortTexts, 5);
    moved = std::move(original);
    expectProjection(moved, shortTexts, 5);
}

TEST(MapProjection, SelfAssignmentChangesNothing) {
    Projection projection = projectionOf(longTexts(), 2);
    const Projection& same = projection;
    projection = same;
    expectProjection(projection, longTexts(), 2);
}

// Conversion

TEST(MapConversion, IsZeroWithScaleOneByDefault) {
    const Conversion conversion;
    expectConversion(conversion, Vertex(0, 0, 0), {0.0, 0.0, 0.0, 0.0, 0.0, 1.0});
    expectProjection(conversion.getMapProjection(), Texts(7), 1.0);
}

TEST(MapConversion, DefaultXAxisIsZero) {
    EXPECT_EQ(bitsOf(Conversion().getXAxisAbscissa()), bitsOf(0.0));
    EXPECT_EQ(bitsOf(Conversion().getXAxisOrdinate()), bitsOf(0.0));
}

TEST(MapConversion, ConstructorSetsFieldsInOrder) {
    const Conversion conversion(Vertex(7, 8, 9), 1, 2, 3, 4, 5, 6, projectionOf(shortTexts, 10));
    EXPECT_EQ(conversion.getEastings(), 1);
    EXPECT_EQ(conversion.getNorthings(), 2);
    EXPECT_EQ(conversion.getOrthogonalHeight(), 3);
    EXPECT_EQ(conversion.getXAxisAbscissa(), 4);
    EXPECT_EQ(conversion.getXAxisOrdinate(), 5);
    EXPECT_EQ(conversion.getScaleToMapProjection(), 6);
    expectConversion(conversion, Vertex(7, 8, 9), {1, 2, 3, 4, 5, 6});
    expectProjection(conversion.getMapProjection(), shortTexts, 10);
}

TEST(MapConversion, HasFixedLayout) {
    const Conversion conversion(Vertex(7, 8, 9), 1, 2, 3, 4, 5, 6, projectionOf(shortTexts, 10));
    EXPECT_EQ(distance(&conversion, &conversion.getSourceOrigin()), 0);
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(numberAt(&conversion, 24 + 8 * i), static_cast<double>(i + 1));
    EXPECT_EQ(distance(&conversion, &conversion.getMapProjection()), 72);
}

TEST(MapConversion, KeepsAnyNumber) {
    for (const double number : anyNumbers)
        for (std::size_t i = 0; i < 9; ++i) {
            SCOPED_TRACE(std::to_string(number) + " as number " + std::to_string(i));
            Numbers numbers = {1, 2, 3, 4, 5, 6, 7, 8, 9};
            numbers[i] = number;
            const Vertex origin(numbers[6], numbers[7], numbers[8]);
            expectConversion(conversionOf(origin, numbers, Projection()), origin, numbers);
        }
}

TEST(MapConversion, OwnsItsProjection) {
    for (const Texts& texts : {shortTexts, longTexts()}) {
        Projection projection = projectionOf(texts, 10);
        const Conversion conversion = conversionOf(Vertex(7, 8, 9), {1, 2, 3, 4, 5, 6}, projection);
        EXPECT_NE(&conversion.getMapProjection(), &projection);
        projection = Projection();
        expectProjection(conversion.getMapProjection(), texts, 10);
    }
}

TEST(MapConversion, OwnsItsOrigin) {
    Vertex origin(7, 8, 9);
    const Conversion conversion = conversionOf(origin, {1, 2, 3, 4, 5, 6}, Projection());
    origin = Vertex(-1, -2, -3);
    expectConversion(conversion, Vertex(7, 8, 9), {1, 2, 3, 4, 5, 6});
}

TEST(MapConversion, GettersReturnSameReference) {
    const Conversion conversion = conversionOf(Vertex(7, 8, 9), {1, 2, 3, 4, 5, 6}, projectionOf(longTexts(), 10));
    EXPECT_EQ(&conversion.getSourceOrigin(), &conversion.getSourceOrigin());
    EXPECT_EQ(&conversion.getMapProjection(), &conversion.getMapProjection());
    static_assert(std::is_same_v<decltype(conversion.getSourceOrigin()), const Vertex&>);
    static_assert(std::is_same_v<decltype(conversion.getMapProjection()), const Projection&>);
}

TEST(MapConversion, CopiesAreIndependent) {
    const Numbers numbers = {1, 2, 3, 4, 5, 6};
    for (const Texts& texts : {shortTexts, longTexts()}) {
        Conversion original = conversionOf(Vertex(7, 8, 9), numbers, projectionOf(texts, 10));
        const Conversion copy = original;
        Conversion assigned;
        Conversion& result = (assigned = original);
        EXPECT_EQ(&result, &assigned);
        expectConversion(original, Vertex(7, 8, 9), numbers);
        original = Conversion();
        expectConversion(original, Vertex(0, 0, 0), {0, 0, 0, 0, 0, 1});
        expectProjection(original.getMapProjection(), Texts(7), 1.0);
        for (const Conversion& each : {copy, assigned}) {
            expectConversion(each, Vertex(7, 8, 9), numbers);
            expectProjection(each.getMapProjection(), texts, 10);
        }
    }
}

TEST(MapConversion, MoveTransfersTexts) {
    const Numbers numbers = {1, 2, 3, 4, 5, 6};
    Conversion original = conversionOf(Vertex(7, 8, 9), numbers, projectionOf(longTexts(), 10));
    const WideChar* const characters = original.getMapProjection().getName().data();
    Conversion moved = std::move(original);
    Conversion assigned;
    assigned = std::move(moved);
    expectConversion(assigned, Vertex(7, 8, 9), numbers);
    expectProjection(assigned.getMapProjection(), longTexts(), 10);
    EXPECT_EQ(assigned.getMapProjection().getName().data(), characters) << "a move transfers the texts";
    original = assigned; // a moved-from record can be assigned to
    expectConversion(original, Vertex(7, 8, 9), numbers);
    expectProjection(original.getMapProjection(), longTexts(), 10);
}
