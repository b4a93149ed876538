#include "importer/exchange/PropertyRecords.h"

#include "importer/exchange/PropertySamples.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <random>

using namespace importer::exchange;
using namespace velmor_tests;
using Velmor::FileStream;
using Velmor::IFC2X3Property;
using Velmor::IFC2X3PropertySet;
using Velmor::WideString;

namespace {

void expectEqual(const IFC2X3PropertySet& a, const IFC2X3PropertySet& b);

// Bit by bit, through the getters of the library.
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

void expectComesBack(const PropertySet& set) {
    const auto back = decodePropertySet(encode(set));
    EXPECT_EQ(std::memcmp(back.globalId, set.globalId, sizeof set.globalId), 0);
    EXPECT_EQ(std::memcmp(back.name, set.name, sizeof set.name), 0);
    EXPECT_EQ(std::memcmp(back.description, set.description, sizeof set.description), 0);
    expectEqual(back.properties, set.properties);
}

// A property within `depth` complex ones.
IFC2X3Property nested(unsigned depth) {
    auto property = integerProperty("innermost", 1);
    for (unsigned i = 0; i < depth; ++i)
        property = complexProperty("level", "usage", {property});
    return property;
}

PropertySet beamCommon() {
    return propertySet("Pset_BeamCommon",
                       {textProperty("Reference", "B"), complexProperty("C", "use", {realProperty("Span", 0.5)})});
}

} // namespace

TEST(PropertySetRecord, ComesBackAsItWas) {
    expectComesBack(PropertySet{});
    expectComesBack(propertySet("a name", onePropertyOfEachType(), "3$_zZ56789012345678901", "a d\xC3\xA9scription"));
    auto all = onePropertyOfEachType();
    expectComesBack(propertySet("outer", {complexProperty("empty", "", {}), complexProperty("full", "use", all),
                                          complexProperty("twice", "u", {complexProperty("inner", "v", all), all[0]})}));
}

TEST(PropertySetRecord, KeepsEveryBitOfANumber) {
    std::uint64_t payloadOfNaN = 0x7FF0DEADBEEF0001u;
    double nan = 0;
    std::memcpy(&nan, &payloadOfNaN, sizeof nan);
    expectComesBack(propertySet("numbers", {realProperty("negative zero", -0.0), realProperty("nan", nan),
                                            realProperty("denormal", std::numeric_limits<double>::denorm_min()),
                                            realProperty("infinity", -std::numeric_limits<double>::infinity()),
                                            realProperty("largest", std::numeric_limits<double>::max())}));
}

TEST(PropertySetRecord, KeepsHalvesOfCharacters) {
    PropertySet set = propertySet("x", {});
    const WideString halves = {0xD83D, 0xDD28, 'x', 0xDD28, 0xD83D, 0xFFFF};
    std::copy(halves.begin(), halves.end(), set.name);
    set.properties.addProperty(Velmor::createPropertySingleValueString(halves, halves, halves));
    expectComesBack(set);
}

TEST(PropertySetRecord, HasTheDocumentedLayout) {
    const auto bytes = encode(beamCommon());
    const std::string expected = std::string("\1\0\0\0", 4) + "0123456789012345678901" +
                                 std::string("\x0F\0\0\0Pset_BeamCommon\0\0\0\0\2\0\0\0", 27) +
                                 std::string("\1\0\0\0\x09\0\0\0Reference\0\0\0\0\1\0\0\0\1\0\0\0B", 30) +
                                 std::string("\2\0\0\0\1\0\0\0C\0\0\0\0\3\0\0\0use\1\0\0\0", 24) +
                                 std::string("\1\0\0\0\4\0\0\0Span\0\0\0\0\5\0\0\0\0\0\0\0\0\0\xE0\x3F", 28);
    EXPECT_EQ(bytes, expected);
}

TEST(PropertySetRecord, GivesItsPartsWithoutCopies) {
    const auto bytes = encode(beamCommon());
    EXPECT_TRUE(isPropertySet(bytes));
    EXPECT_EQ(nameOf(bytes), "Pset_BeamCommon");
    EXPECT_EQ(contentOf(bytes), bytes.substr(26));
    const auto set = parsePropertySet(bytes);
    EXPECT_EQ(set.globalId, "0123456789012345678901");
    ASSERT_EQ(set.properties.size(), 3u);
    EXPECT_EQ(set.properties[0].name, "Reference");
    EXPECT_EQ(set.properties[0].value, "B");
    EXPECT_EQ(set.properties[0].behind, 1u);
    EXPECT_TRUE(set.properties[1].isComplex);
    EXPECT_EQ(set.properties[1].value, "use");
    EXPECT_EQ(set.properties[1].behind, 3u);
    EXPECT_EQ(set.properties[2].name, "Span");
    EXPECT_EQ(set.properties[2].behind, 3u);
    for (const auto& property : set.properties)
        EXPECT_TRUE(property.name.data() >= bytes.data() && property.name.data() < bytes.data() + bytes.size());
}

TEST(PropertySetRecord, CarriesAHundredThousandPropertiesAndLongTexts) {
    PropertySet set = propertySet(std::string(10000, 'n'), {}, "0123456789012345678901", std::string(10000, 'd'));
    const WideString longName(10000, 'x');
    for (int i = 0; i < 100000; ++i)
        set.properties.addProperty(integerProperty("property " + std::to_string(i), i));
    set.properties.addProperty(Velmor::createPropertySingleValueString(longName, longName, longName));
    ASSERT_EQ(set.properties.getCount(), 100001u);
    const auto back = decodePropertySet(encode(set));
    ASSERT_EQ(back.properties.getCount(), 100001u);
    for (const unsigned i : {0u, 1u, 50000u, 99999u})
        EXPECT_EQ(back.properties.getProperty(i).getPropertySingleValue().getIntValue(), static_cast<int>(i));
    const auto& last = back.properties.getProperty(100000);
    EXPECT_EQ(WideString(last.getName()), WideString(255, 'x'));
    EXPECT_EQ(last.getPropertySingleValue().getAsString(), longName);
    EXPECT_EQ(WideString(back.name), WideString(255, 'n'));
}

TEST(PropertySetRecord, NestsSixtyFourComplexPropertiesAndNoMore) {
    expectComesBack(propertySet("deep", {nested(64), nested(1), nested(64)}));
    EXPECT_THROW(encode(propertySet("too deep", {nested(65)})), WriteError);

    // One more level around what just goes: a complex property of one property.
    const auto bytes = encode(propertySet("", {nested(64)}));
    const auto set = parsePropertySet(bytes);
    const auto properties = static_cast<std::size_t>(set.properties[0].name.data() - bytes.data()) - 12;
    const std::string level("\1\0\0\0\2\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20);
    EXPECT_THROW(parsePropertySet(bytes.substr(0, properties) + level + bytes.substr(properties)), FormatError);
}

TEST(PropertySetRecord, NestedWithoutEndUsesNoStack) {
    std::string bytes = encode(PropertySet{});
    bytes.resize(bytes.size() - 4); // the number of properties
    const std::string level("\1\0\0\0\2\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0", 20);
    for (int i = 0; i < 200000; ++i)
        bytes += level;
    EXPECT_THROW(parsePropertySet(bytes), FormatError);
}

TEST(PropertySetRecord, IsRefusedWhenCutAnywhereOrTooLong) {
    const auto bytes = encode(propertySet("a", onePropertyOfEachType()));
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THROW(parsePropertySet(std::string_view(bytes).substr(0, length)), FormatError) << length;
    EXPECT_THROW(parsePropertySet(bytes + '\0'), FormatError);
}

TEST(PropertySetRecord, IsRefusedWithATypeThatThereIsNot) {
    const auto bytes = encode(propertySet("", {integerProperty("", 1)}));
    const auto property = bytes.size() - 20; // type, name, description, value type, value
    EXPECT_NO_THROW(parsePropertySet(bytes));
    for (const char type : {'\0', '\3', '\x7F'}) {
        auto other = bytes;
        other[property] = type;
        EXPECT_THROW(parsePropertySet(other), FormatError);
    }
    for (const char type : {'\x0D', '\x7F'}) {
        auto other = bytes;
        other[property + 12] = type;
        EXPECT_THROW(parsePropertySet(other), FormatError);
    }
    auto neither = bytes;
    neither[property + 12] = '\2'; // a boolean
    EXPECT_NO_THROW(parsePropertySet(neither));
    neither[property + 16] = '\2'; // that is neither true nor false
    EXPECT_THROW(parsePropertySet(neither), FormatError);
}

TEST(PropertySetRecord, AnnouncingFourThousandMillionPropertiesAllocatesForNone) {
    auto bytes = encode(PropertySet{});
    std::memcpy(bytes.data() + bytes.size() - 4, "\xFF\xFF\xFF\xFF", 4);
    EXPECT_THROW(parsePropertySet(bytes), FormatError);
    bytes = encode(Assignment{0, {}});
    std::memcpy(bytes.data() + bytes.size() - 4, "\xFF\xFF\xFF\xFF", 4);
    EXPECT_THROW(decodeAssignment(bytes), FormatError);
}

TEST(PropertySetRecord, SurvivesRandomBytes) {
    const auto seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto all = onePropertyOfEachType();
    all.push_back(complexProperty("complex", "use", {all[0], nested(3)}));
    const auto bytes = encode(propertySet("name", all));
    unsigned refused = 0;
    for (int round = 0; round < 20000; ++round) {
        auto damaged = bytes;
        for (auto flips = random() % 3 + 1; flips > 0; --flips)
            damaged[random() % damaged.size()] = static_cast<char>(random() % 2 == 0 ? random() % 16 : random());
        damaged.resize(damaged.size() - random() % 3);
        try {
            const auto set = decodePropertySet(damaged);
            encode(set);
        } catch (const FormatError&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 10000u); // two of three are cut
}

TEST(AssignmentRecord, ComesBackAsItWas) {
    for (const auto& assignment : {Assignment{0, {}}, Assignment{0x0102030405060708u, {0, 0xFFFFFFFFu, 7}}}) {
        const auto bytes = encode(assignment);
        EXPECT_FALSE(isPropertySet(bytes));
        const auto back = decodeAssignment(bytes);
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

namespace {

// What reading a stream of these records says, for a model of three objects; "2 sets, 1 assignments" when all is well.
std::string readBack(const std::vector<std::string>& records, int totalsOff = 0) {
    const std::unique_ptr<FileStream> stream(FileStream::createTemporaryFile());
    RecordWriter writer(*stream, "it");
    for (const auto& record : records)
        writer.write(record);
    writer.flush();
    auto expected = writer.totals();
    expected.checksum += static_cast<unsigned>(totalsOff);
    RecordReader reader(*stream, "it");
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

} // namespace

TEST(AttributesStream, GivesSetsAndAssignmentsInTheirOrder) {
    const auto set = encode(beamCommon());
    EXPECT_EQ(readBack({}), "0 sets, 0 assignments");
    EXPECT_EQ(readBack({set, encode(Assignment{0, {0}}), set, encode(Assignment{2, {1, 0}})}), "2 sets, 2 assignments");
}

TEST(AttributesStream, IsRefusedWhenAnAssignmentNamesWhatIsNotThere) {
    const auto set = encode(beamCommon());
    const auto notYet = readBack({encode(Assignment{0, {0}}), set});
    EXPECT_EQ(notYet, "it: byte 0: expected one of the 0 property sets before, found number 0");
    EXPECT_TRUE(
        contains(readBack({set, encode(Assignment{0, {0, 1}})}), "one of the 1 property sets before, found number 1"));
    EXPECT_TRUE(contains(readBack({set, encode(Assignment{3, {0}})}), "of an object from 0 on, of 3, found those of 3"));
    EXPECT_TRUE(contains(readBack({set, encode(Assignment{1, {0}}), encode(Assignment{1, {0}})}), "from 2 on"));
    EXPECT_TRUE(contains(readBack({set, encode(Assignment{~std::uint64_t{0}, {0}})}), "found those of 1844674407370955161"));
}

TEST(AttributesStream, IsRefusedWhenARecordIsDamagedOrTheTotalsDiffer) {
    const auto set = encode(beamCommon());
    EXPECT_TRUE(contains(readBack({set, set.substr(1)}), "it: byte " + std::to_string(4 + set.size()) + ": expected"));
    EXPECT_TRUE(contains(readBack({set}, 1), "expected the checksum"));
}
