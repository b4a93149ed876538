#include "importer/exchange/PropertyRecords.h"

#include "importer/exchange/PropertySamples.h"
#include "importer/exchange/RecordSamples.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <random>

namespace velmor_tests {

using namespace importer::exchange;
using Velmor::IFC2X3Property;
using Velmor::IFC2X3PropertySet;
using Velmor::WideString;

namespace {

void expectEqual(const IFC2X3PropertySet& a, const IFC2X3PropertySet& b);

// Compares every bit, through the getters of the library.
void expectEqual(const IFC2X3Property& a, const IFC2X3Property& b) {
    SCOPED_TRACE(Velmor::StringOperations::ConvertToUTF8(a.getName()));
    ASSERT_EQ(a.getType(), b.getType());
    EXPECT_EQ(WideString(a.getName()), WideString(b.getName()));
    EXPECT_EQ(WideString(a.getDescription()), WideString(b.getDescription()));
    if (a.getType() == IFC2X3Property::Complex) {
        EXPECT_EQ(WideString(a.getPropertyComplex().getUsageName()), WideString(b.getPropertyComplex().getUsageName()));
        expectEqual(a.getPropertyComplex().getPropertySet(), b.getPropertyComplex().getPropertySet());
        return;
    }
    const auto& x = a.getPropertySingleValue();
    const auto& y = b.getPropertySingleValue();
    ASSERT_EQ(x.getValueType(), y.getValueType());
    EXPECT_EQ(x.getAsString(), y.getAsString());
    EXPECT_EQ(x.getBooleanValue(), y.getBooleanValue());
    EXPECT_EQ(x.getIntValue(), y.getIntValue());
    EXPECT_EQ(x.getInt64Value(), y.getInt64Value());
    EXPECT_EQ(x.getLogicalValue(), y.getLogicalValue());
    const double reals[] = {x.getRealValue(), y.getRealValue()};
    EXPECT_EQ(std::memcmp(&reals[0], &reals[1], sizeof(double)), 0);
    EXPECT_EQ(std::memcmp(x.getCompoundPlaneAngle(), y.getCompoundPlaneAngle(), 4 * sizeof(int)), 0);
}

void expectEqual(const IFC2X3PropertySet& a, const IFC2X3PropertySet& b) {
    ASSERT_EQ(a.getCount(), b.getCount());
    for (unsigned i = 0; i < a.getCount(); ++i)
        expectEqual(a.getProperty(i), b.getProperty(i));
}

void expectRoundTrip(const PropertySet& set) {
    const PropertySet back = decodePropertySet(encode(set));
    EXPECT_EQ(std::memcmp(back.globalId, set.globalId, sizeof set.globalId), 0);
    EXPECT_EQ(std::memcmp(back.name, set.name, sizeof set.name), 0);
    EXPECT_EQ(std::memcmp(back.description, set.description, sizeof set.description), 0);
    expectEqual(back.properties, set.properties);
}

// A property within this number of complex ones.
IFC2X3Property nested(unsigned depth) {
    IFC2X3Property property = integerProperty("innermost", 1);
    for (unsigned i = 0; i < depth; ++i)
        property = complexProperty("level", "usage", {property});
    return property;
}

PropertySet beamCommon() {
    return propertySet("Pset_BeamCommon",
                       {textProperty("Reference", "B"), complexProperty("C", "use", {realProperty("Span", 0.5)})});
}

TEST(PropertySetRecord, DecodesToTheEncodedValues) {
    expectRoundTrip(PropertySet{});
    expectRoundTrip(propertySet("a name", onePropertyOfEachType(), "3$_zZ56789012345678901", "a d\xC3\xA9scription"));
    const std::vector<IFC2X3Property> all = onePropertyOfEachType();
    expectRoundTrip(propertySet("outer", {complexProperty("empty", "", {}), complexProperty("full", "use", all),
                                          complexProperty("twice", "u", {complexProperty("inner", "v", all), all[0]})}));
}

TEST(PropertySetRecord, PreservesEveryBitOfANumber) {
    const std::uint64_t bitsOfNaN = 0x7FF0DEADBEEF0001u;
    double nan = 0;
    std::memcpy(&nan, &bitsOfNaN, sizeof nan);
    expectRoundTrip(propertySet("numbers", {realProperty("negative zero", -0.0), realProperty("nan", nan),
                                            realProperty("denormal", std::numeric_limits<double>::denorm_min()),
                                            realProperty("infinity", -std::numeric_limits<double>::infinity()),
                                            realProperty("largest", std::numeric_limits<double>::max())}));
}

TEST(PropertySetRecord, PreservesSingleSurrogates) {
    PropertySet set = propertySet("x", {});
    const WideString surrogates = {0xD83D, 0xDD28, 'x', 0xDD28, 0xD83D, 0xFFFF};
    std::copy(surrogates.begin(), surrogates.end(), set.name);
    set.properties.addProperty(Velmor::createPropertySingleValueString(surrogates, surrogates, surrogates));
    expectRoundTrip(set);
}

TEST(PropertySetRecord, HasTheDocumentedLayout) {
    const std::string bytes = encode(beamCommon());
    const std::string expected = std::string("\1\0\0\0", 4) + "0123456789012345678901" +
                                 std::string("\x0F\0\0\0Pset_BeamCommon\0\0\0\0\2\0\0\0", 27) +
                                 std::string("\1\0\0\0\x09\0\0\0Reference\0\0\0\0\1\0\0\0\1\0\0\0B", 30) +
                                 std::string("\2\0\0\0\1\0\0\0C\0\0\0\0\3\0\0\0use\1\0\0\0", 24) +
                                 std::string("\1\0\0\0\4\0\0\0Span\0\0\0\0\5\0\0\0\0\0\0\0\0\0\xE0\x3F", 28);
    EXPECT_EQ(bytes, expected);
}

TEST(PropertySetRecord, IsParsedIntoViewsOfItsBytes) {
    const std::string bytes = encode(beamCommon());
    EXPECT_TRUE(isPropertySet(bytes));
    EXPECT_EQ(nameOf(bytes), "Pset_BeamCommon");
    EXPECT_EQ(contentOf(bytes), bytes.substr(26));
    const EncodedSet set = parsePropertySet(bytes);
    EXPECT_EQ(set.globalId, "0123456789012345678901");
    ASSERT_EQ(set.properties.size(), 3u);
    EXPECT_EQ(set.properties[0].name, "Reference");
    EXPECT_EQ(set.properties[0].value, "B");
    EXPECT_EQ(set.properties[0].next, 1u);
    EXPECT_TRUE(set.properties[1].isComplex);
    EXPECT_EQ(set.properties[1].value, "use");
    EXPECT_EQ(set.properties[1].next, 3u);
    EXPECT_EQ(set.properties[2].name, "Span");
    EXPECT_EQ(set.properties[2].next, 3u);
    for (const EncodedProperty& property : set.properties)
        EXPECT_TRUE(property.name.data() >= bytes.data() && property.name.data() < bytes.data() + bytes.size());
}

TEST(PropertySetRecord, HoldsManyPropertiesAndLongTexts) {
    PropertySet set = propertySet(std::string(10000, 'n'), {}, "0123456789012345678901", std::string(10000, 'd'));
    const WideString longName(10000, 'x');
    for (int i = 0; i < 100000; ++i)
        set.properties.addProperty(integerProperty("property " + std::to_string(i), i));
    set.properties.addProperty(Velmor::createPropertySingleValueString(longName, longName, longName));
    ASSERT_EQ(set.properties.getCount(), 100001u);
    const PropertySet back = decodePropertySet(encode(set));
    ASSERT_EQ(back.properties.getCount(), 100001u);
    for (const unsigned i : {0u, 1u, 50000u, 99999u})
        EXPECT_EQ(back.properties.getProperty(i).getPropertySingleValue().getIntValue(), static_cast<int>(i));
    const IFC2X3Property& last = back.properties.getProperty(100000);
    EXPECT_EQ(WideString(last.getName()), WideString(255, 'x'));
    EXPECT_EQ(last.getPropertySingleValue().getAsString(), longName);
    EXPECT_EQ(WideString(back.name), WideString(255, 'n'));
}

TEST(PropertySetRecord, LimitsNestingToSixtyFourLevels) {
    expectRoundTrip(propertySet("deep", {nested(64), nested(1), nested(64)}));
    EXPECT_THROW(encode(propertySet("too deep", {nested(65)})), WriteError);

    // A complex property with one property, around the deepest set that is accepted.
    const std::string bytes = encode(propertySet("", {nested(64)}));
    const EncodedSet set = parsePropertySet(bytes);
    const auto properties = static_cast<std::size_t>(set.properties[0].name.data() - bytes.data()) - 12;
    const std::string level("\1\0\0\0\2\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20);
    EXPECT_THROW(parsePropertySet(bytes.substr(0, properties) + level + bytes.substr(properties)), FormatError);
}

TEST(PropertySetRecord, RejectsDeepNestingWithoutDeepRecursion) {
    std::string bytes = encode(PropertySet{});
    bytes.resize(bytes.size() - 4); // without the number of properties
    const std::string level("\1\0\0\0\2\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20);
    for (int i = 0; i < 200000; ++i)
        bytes += level;
    EXPECT_THROW(parsePropertySet(bytes), FormatError);
}

TEST(PropertySetRecord, RejectsTruncatedAndOverlongBytes) {
    const std::string bytes = encode(propertySet("a", onePropertyOfEachType()));
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THROW(parsePropertySet(std::string_view(bytes).substr(0, length)), FormatError) << length;
    EXPECT_THROW(parsePropertySet(bytes + '\0'), FormatError);
}

TEST(PropertySetRecord, RejectsUnknownTypesAndBooleans) {
    const std::string bytes = encode(propertySet("", {integerProperty("", 1)}));
    const std::size_t property = bytes.size() - 20; // start of: type, name, description, value type, value
    EXPECT_NO_THROW(parsePropertySet(bytes));
    for (const char type : {'\0', '\3', '\x7F'}) {
        std::string other = bytes;
        other[property] = type;
        EXPECT_THROW(parsePropertySet(other), FormatError);
    }
    for (const char type : {'\x0D', '\x7F'}) {
        std::string other = bytes;
        other[property + 12] = type;
        EXPECT_THROW(parsePropertySet(other), FormatError);
    }
    std::string boolean = bytes;
    boolean[property + 12] = '\2'; // the value type of a boolean, with the value 1
    EXPECT_NO_THROW(parsePropertySet(boolean));
    boolean[property + 16] = '\2';
    EXPECT_THROW(parsePropertySet(boolean), FormatError);
}

TEST(PropertySetRecord, RejectsHugeCountsWithoutAllocating) {
    std::string bytes = encode(PropertySet{});
    std::memcpy(bytes.data() + bytes.size() - 4, "\xFF\xFF\xFF\xFF", 4);
    EXPECT_THROW(parsePropertySet(bytes), FormatError);
    bytes = encode(Assignment{0, {}});
    std::memcpy(bytes.data() + bytes.size() - 4, "\xFF\xFF\xFF\xFF", 4);
    EXPECT_THROW(decodeAssignment(bytes), FormatError);
}

TEST(PropertySetRecord, SurvivesRandomBytes) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<IFC2X3Property> all = onePropertyOfEachType();
    all.push_back(complexProperty("complex", "use", {all[0], nested(3)}));
    const std::string bytes = encode(propertySet("name", all));
    unsigned rejected = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string damaged = bytes;
        for (auto flips = random() % 3 + 1; flips > 0; --flips)
            damaged[random() % damaged.size()] = static_cast<char>(random() % 2 == 0 ? random() % 16 : random());
        damaged.resize(damaged.size() - random() % 3);
        try {
            const PropertySet set = decodePropertySet(damaged);
            encode(set);
        } catch (const FormatError&) {
            ++rejected;
        }
    }
    EXPECT_GT(rejected, 10000u); // two of three are truncated
}

TEST(AssignmentRecord, DecodesToTheEncodedValues) {
    for (const Assignment& assignment : {Assignment{0, {}}, Assignment{0x0102030405060708u, {0, 0xFFFFFFFFu, 7}}}) {
        const std::string bytes = encode(assignment);
        EXPECT_FALSE(isPropertySet(bytes));
        const Assignment back = decodeAssignment(bytes);
        EXPECT_EQ(back.object, assignment.object);
        EXPECT_EQ(back.sets, assignment.sets);
        for (std::size_t length = 0; length < bytes.size(); ++length)
            EXPECT_THROW(decodeAssignment(bytes.substr(0, length)), FormatError) << length;
        EXPECT_THROW(decodeAssignment(bytes + '\0'), FormatError);
        EXPECT_THROW(parsePropertySet(bytes), FormatError);
    }
    EXPECT_EQ(encode(Assignment{5, {7}}), std::string("\2\0\0\0\5\0\0\0\0\0\0\0\1\0\0\0\7\0\0\0", 20));
    EXPECT_THROW(isPropertySet(std::string("\0\0\0\0", 4)), FormatError);
    EXPECT_THROW(isPropertySet(std::string("\3\0\0\0", 4)), FormatError);
    EXPECT_THROW(isPropertySet("\1"), FormatError);
}

// Reads a stream of these records for a model of three objects. Returns the message of the error, or the numbers of records.
std::string readBack(const std::vector<std::string>& records, unsigned checksumOffset = 0) {
    const RecordStream written(records);
    StreamTotals expected = written.totals;
    expected.checksum += checksumOffset;
    RecordReader reader(*written.stream, "test stream");
    unsigned sets = 0;
    unsigned assignments = 0;
    try {
        readAttributes(
            reader, expected, 3, [&](std::string_view set) { EXPECT_EQ(set, records[sets++ + assignments]); },
            [&](Assignment&&) { ++assignments; });
    } catch (const FormatError& error) {
        return error.what();
    }
    return std::to_string(sets) + " sets, " + std::to_string(assignments) + " assignments";
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(AttributesStream, ReturnsSetsAndAssignmentsInOrder) {
    const std::string set = encode(beamCommon());
    EXPECT_EQ(readBack({}), "0 sets, 0 assignments");
    EXPECT_EQ(readBack({set, encode(Assignment{0, {0}}), set, encode(Assignment{2, {1, 0}})}), "2 sets, 2 assignments");
}

TEST(AttributesStream, RejectsAssignmentsOfUnknownSetsAndObjects) {
    const std::string set = encode(beamCommon());
    EXPECT_EQ(readBack({encode(Assignment{0, {0}}), set}),
              "test stream: byte 0: expected a property set number below 0, found 0");
    EXPECT_TRUE(contains(readBack({set, encode(Assignment{0, {0, 1}})}), "a property set number below 1, found 1"));
    EXPECT_TRUE(contains(readBack({set, encode(Assignment{3, {0}})}), "for an object >= 0 and < 3, found one for object 3"));
    EXPECT_TRUE(contains(readBack({set, encode(Assignment{1, {0}}), encode(Assignment{1, {0}})}), ">= 2 and < 3"));
    EXPECT_TRUE(contains(readBack({set, encode(Assignment{~std::uint64_t{0}, {0}})}), "for object 18446744073709551615"));
}

TEST(AttributesStream, RejectsDamagedRecordsAndOtherTotals) {
    const std::string set = encode(beamCommon());
    EXPECT_TRUE(
        contains(readBack({set, set.substr(1)}), "test stream: byte " + std::to_string(4 + set.size()) + ": expected"));
    EXPECT_TRUE(contains(readBack({set}, 1), "expected the checksum"));
}

} // namespace
} // namespace velmor_tests
