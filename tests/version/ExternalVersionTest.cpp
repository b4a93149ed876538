#include <Velmor/Version.h>

#include "support/Setting.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using namespace Velmor;
using velmor_tests::setting;

namespace {

static_assert(sizeof(ExternalVersion) == sizeof(void*));
static_assert(!std::is_polymorphic_v<ExternalVersion>);
static_assert(std::is_same_v<std::underlying_type_t<ExternalVersion::Type_t>, std::uint32_t>);
static_assert(ExternalVersion::Invalid == 0 && ExternalVersion::BoundingBox == 1 && ExternalVersion::Solid == 2);
static_assert(ExternalVersion::Geometry == 3);
static_assert(sizeof(CExternalVersion) == 128 && std::is_standard_layout_v<CExternalVersion>);
static_assert(offsetof(CExternalVersion, type) == 0 && sizeof(CExternalVersion::type) == 4);
static_assert(offsetof(CExternalVersion, bb) == 8 && offsetof(CExternalVersion, d) == 32);
static_assert(offsetof(CExternalVersion, volume) == 96 && offsetof(CExternalVersion, centroid) == 104);

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

using Bytes = std::vector<unsigned char>;

/// The fifteen numbers of a record in its order: box, distances, volume, centroid.
using Numbers = std::array<double, 15>;

constexpr std::size_t boxAt = 0, distancesAt = 3, volumeAt = 11, centroidAt = 12;

constexpr Numbers someNumbers = {1.5, 2.5, 3.5, 10, 20, 30, 40, 50, 60, 70, 80, 99.5, -1, -2, -3};

CExternalVersion* newRecord(std::uint32_t type, const Numbers& numbers) {
    auto* record = static_cast<CExternalVersion*>(std::malloc(sizeof(CExternalVersion)));
    if (!record)
        std::abort();
    record->type = static_cast<ExternalVersion::Type_t>(type);
    std::copy_n(numbers.begin() + boxAt, 3, record->bb);
    std::copy_n(numbers.begin() + distancesAt, 8, record->d);
    record->volume = numbers[volumeAt];
    std::copy_n(numbers.begin() + centroidAt, 3, record->centroid);
    return record;
}

ExternalVersion version(std::uint32_t type, const Numbers& numbers = someNumbers) {
    return ExternalVersion(newRecord(type, numbers));
}

/// The record that a version owns.
const CExternalVersion* recordOf(const ExternalVersion& v) {
    const CExternalVersion* record;
    std::memcpy(&record, static_cast<const void*>(&v), sizeof record);
    return record;
}

Numbers numbersOf(const CExternalVersion& record) {
    Numbers numbers;
    std::copy_n(record.bb, 3, numbers.begin() + boxAt);
    std::copy_n(record.d, 8, numbers.begin() + distancesAt);
    numbers[volumeAt] = record.volume;
    std::copy_n(record.centroid, 3, numbers.begin() + centroidAt);
    return numbers;
}

std::array<std::uint64_t, 15> bitsOf(const Numbers& numbers) {
    return std::bit_cast<std::array<std::uint64_t, 15>>(numbers);
}

void expectRecord(const ExternalVersion& v, std::uint32_t type, const Numbers& numbers) {
    EXPECT_EQ(static_cast<std::uint32_t>(v.getType()), type);
    EXPECT_EQ(static_cast<std::uint32_t>(recordOf(v)->type), type);
    EXPECT_EQ(bitsOf(numbersOf(*recordOf(v))), bitsOf(numbers));
}

Numbers numbersFromBits(const std::array<std::uint64_t, 15>& bits) {
    return std::bit_cast<Numbers>(bits);
}

void append(Bytes& bytes, double number) {
    const auto bits = std::bit_cast<std::uint64_t>(number);
    for (unsigned i = 0; i < 8; ++i)
        bytes.push_back(static_cast<unsigned char>(bits >> (8 * i)));
}

/// The stream of a type, by the table of its fields.
Bytes streamOf(std::uint32_t type, const Numbers& numbers) {
    Bytes bytes;
    for (unsigned i = 0; i < 4; ++i)
        bytes.push_back(static_cast<unsigned char>(type >> (8 * i)));
    std::vector<std::size_t> fields;
    if (type == 2)
        fields = {11, 12, 13, 14};
    if (type == 2 || type == 3)
        fields.insert(fields.end(), {3, 4, 5, 6, 7, 8, 9, 10});
    if (type >= 1 && type <= 3)
        fields.insert(fields.end(), {0, 1, 2});
    for (std::size_t field : fields)
        append(bytes, numbers[field]);
    return bytes;
}

void readStream(ExternalVersion& v, const Bytes& bytes) {
    const std::unique_ptr<char[]> exact(new char[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), exact.get());
    v.fromByteStream(static_cast<unsigned>(bytes.size()), exact.get());
}

std::string textOf(const ExternalVersion& v) {
    char text[1000] = "untouched";
    v.toString(sizeof text, text);
    return text;
}

const std::uint32_t typesAboveThree[] = {4, 5, 7, 100, 255, 256, 0x102, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFF};

void callGetter(const ExternalVersion& v, const std::string& getter) {
    double d[8];
    if (getter == "box")
        v.getBoundingBox(d, d + 1, d + 2);
    else if (getter == "distances")
        v.getDistances(d);
    else if (getter == "volume")
        v.getVolume();
    else if (getter == "centroid")
        v.getCenteroid(d, d + 1, d + 2);
    else
        std::abort();
}

struct Getter {
    const char* name;
    const char* text;
    std::vector<std::uint32_t> silentFor;
    std::vector<std::uint32_t> reportsFor;
};

const Getter getters[] = {
    {"box", "no bounding box in this type", {1, 2, 3, 4, 0xFFFFFFFF}, {0}},
    {"distances", "no distances in this type", {2, 3, 4, 0xFFFFFFFF}, {0, 1}},
    {"volume", "no volume in this type", {2, 4, 0xFFFFFFFF}, {0, 1, 3}},
    {"centroid", "no centeroid in this type", {2, 4, 0xFFFFFFFF}, {0, 1, 3}},
};

} // namespace

// Lifecycle
// -----------------------------------------------------------------------------------------------------------------------

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
        ExternalVersion original = version(type);
        const ExternalVersion copy = original;
        EXPECT_NE(recordOf(copy), recordOf(original));
        expectRecord(copy, type, someNumbers);
        original.fromByteStream(28, reinterpret_cast<const char*>(streamOf(1, Numbers{}).data()));
        expectRecord(copy, type, someNumbers);
    }
}

TEST(ExternalVersion, AssignmentCopiesIntoARecordOfItsOwn) {
    for (std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu}) {
        const ExternalVersion source = version(type);
        ExternalVersion target = version(3, Numbers{});
        ExternalVersion& result = (target = source);
        EXPECT_EQ(&result, &target);
        EXPECT_NE(recordOf(target), recordOf(source));
        expectRecord(target, type, someNumbers);
        expectRecord(source, type, someNumbers);
    }
}

TEST(ExternalVersion, AssignmentToItselfChangesNothing) {
    ExternalVersion v = version(2);
    const ExternalVersion& same = v;
    v = same;
    expectRecord(v, 2, someNumbers);
}

TEST(ExternalVersion, CopiesKeepEveryBit) {
    std::array<std::uint64_t, 15> bits;
    for (unsigned i = 0; i < 15; ++i)
        bits[i] = 0x7FF0000000000001u + 0x8000100000000000u * i; // signalling NaNs, quiet NaNs, denormals
    const Numbers numbers = numbersFromBits(bits);
    const ExternalVersion v = version(2, numbers);
    ExternalVersion copy = v;
    expectRecord(copy, 2, numbers);
    copy = v;
    expectRecord(copy, 2, numbers);
}

TEST(ExternalVersion, FactoriesStoreWhatTheyAreGiven) {
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

// Getters
// -------------------------------------------------------------------------------------------------------------------------

TEST(ExternalVersion, GettersAnswerWhatTheTypeCarriesAndZerosOtherwise) {
    std::vector<std::uint32_t> types = {0, 1, 2, 3};
    types.insert(types.end(), std::begin(typesAboveThree), std::end(typesAboveThree));
    for (std::uint32_t type : types) {
        SCOPED_TRACE(type);
        const ExternalVersion v = version(type);
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

TEST(ExternalVersion, OneObjectMayBeReadByManyThreads) {
    const ExternalVersion shared = version(1);
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
                    callGetter(shared, getter.name);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

VELMOR_SCENARIO(GetterTwice) {
    const ExternalVersion v = version(static_cast<std::uint32_t>(std::stoul(setting("VELMOR_TEST_TYPE"))));
    for (int i = 0; i < 2; ++i)
        callGetter(v, setting("VELMOR_TEST_GETTER"));
}

TEST(ExternalVersion, WrongTypeGetterReportsItsTextOnceAndBreaks) {
    for (const Getter& getter : getters) {
        for (std::uint32_t type : getter.reportsFor) {
            SCOPED_TRACE(std::string(getter.name) + " of type " + std::to_string(type));
            const auto run = velmor_tests::runUnderDebugger("GetterTwice", {std::string("VELMOR_TEST_GETTER=") + getter.name,
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
            const auto run = velmor_tests::runUnderDebugger("GetterTwice", {std::string("VELMOR_TEST_GETTER=") + getter.name,
                                                                            "VELMOR_TEST_TYPE=" + std::to_string(type)});
            EXPECT_TRUE(run.exited);
            EXPECT_EQ(run.breaks, 0);
            EXPECT_EQ(run.channel + run.output + run.error, "");
        }
    }
}

// Every getter asked of every type; each reports once.
VELMOR_SCENARIO(AllGettersOfAllTypes) {
    for (int round = 0; round < 2; ++round)
        for (const Getter& getter : getters)
            for (std::uint32_t type : {3u, 0u, 1u, 2u, 4u})
                callGetter(version(type), getter.name);
}

TEST(ExternalVersion, EachGetterHasItsOwnFlag) {
    const auto run = velmor_tests::runUnderDebugger("AllGettersOfAllTypes");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.breaks, 4);
    EXPECT_EQ(run.channel,
              "no bounding box in this typeno distances in this typeno volume in this typeno centeroid in this type");
    EXPECT_EQ(run.reports, (std::vector<std::string>{"no bounding box in this type", "no distances in this type",
                                                     "no volume in this type", "no centeroid in this type"}));
    EXPECT_EQ(run.output, run.channel);
}

TEST(ExternalVersion, GettersAreSilentWithoutADebugger) {
    const auto run = velmor_tests::runAlone("AllGettersOfAllTypes");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}

// Byte stream
// ---------------------------------------------------------------------------------------------------------------------

TEST(ExternalVersion, StreamIsWrittenByteForByte) {
    std::vector<std::uint32_t> types = {0, 1, 2, 3};
    types.insert(types.end(), std::begin(typesAboveThree), std::end(typesAboveThree));
    for (std::uint32_t type : types) {
        SCOPED_TRACE(type);
        const Bytes expected = streamOf(type, someNumbers);
        ASSERT_EQ(expected.size(), type == 1 ? 28u : type == 2 ? 124u : type == 3 ? 92u : 4u);
        for (unsigned size : {124u, 125u, 1000u, 0xFFFFFFFFu}) {
            Bytes buffer(200, 0xEE);
            EXPECT_EQ(version(type).toByteStream(size, reinterpret_cast<char*>(buffer.data())), expected.size());
            Bytes whole = expected;
            whole.resize(200, 0xEE);
            EXPECT_EQ(buffer, whole);
        }
    }
}

TEST(ExternalVersion, StreamOfASolidByItsBytes) {
    Numbers numbers{};
    numbers[volumeAt] = 1;
    numbers[12] = 2;
    numbers[3] = -2;
    numbers[10] = 0.5;
    numbers[0] = 3;
    numbers[2] = -0.0;
    Bytes expected(124);
    expected[0] = 2;
    const auto high = [&](std::size_t offset, unsigned char a, unsigned char b) {
        expected[offset + 6] = a;
        expected[offset + 7] = b;
    };
    high(4, 0xF0, 0x3F);   // volume 1
    high(12, 0x00, 0x40);  // c1 = 2
    high(36, 0x00, 0xC0);  // d1 = -2
    high(92, 0xE0, 0x3F);  // d8 = 0.5
    high(100, 0x08, 0x40); // x = 3
    high(116, 0x00, 0x80); // z = -0.0
    Bytes buffer(124, 0xEE);
    EXPECT_EQ(version(2, numbers).toByteStream(124, reinterpret_cast<char*>(buffer.data())), 124u);
    EXPECT_EQ(buffer, expected);
}

TEST(ExternalVersion, StreamKeepsEveryBit) {
    std::array<std::uint64_t, 15> bits;
    for (unsigned i = 0; i < 15; ++i)
        bits[i] = 0x7FF0000000000001u + 0x8123456789ABCDEFu * i;
    const Numbers numbers = numbersFromBits(bits);
    Bytes buffer(124);
    EXPECT_EQ(version(2, numbers).toByteStream(124, reinterpret_cast<char*>(buffer.data())), 124u);
    EXPECT_EQ(buffer, streamOf(2, numbers));
    ExternalVersion read;
    readStream(read, buffer);
    expectRecord(read, 2, numbers);
}

TEST(ExternalVersion, BufferBelowTheLongestStreamIsRefusedForEveryType) {
    for (std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu})
        for (unsigned size = 0; size < 124; ++size) {
            Bytes buffer(124, 0xEE);
            EXPECT_EQ(version(type).toByteStream(size, reinterpret_cast<char*>(buffer.data())), 0u) << type << " " << size;
            EXPECT_EQ(buffer, Bytes(124, 0xEE));
        }
}

TEST(ExternalVersion, StreamRoundTrips) {
    for (std::uint32_t type = 0; type <= 4; ++type) {
        Bytes buffer(124);
        buffer.resize(version(type).toByteStream(124, reinterpret_cast<char*>(buffer.data())));
        ExternalVersion read;
        readStream(read, buffer);
        Bytes again(124);
        again.resize(read.toByteStream(124, reinterpret_cast<char*>(again.data())));
        EXPECT_EQ(again, buffer);
        if (type < 4) {
            EXPECT_TRUE(read == version(type));
        }
    }
}

TEST(ExternalVersion, StreamOfAnyLengthAndTypeIsReadAsFarAsItGoes) {
    Numbers before;
    Numbers given;
    for (std::size_t i = 0; i < 15; ++i) {
        before[i] = 1000 + static_cast<double>(i);
        given[i] = -0.125 * static_cast<double>(i + 1);
    }
    for (std::uint32_t oldType : {0u, 1u, 2u, 3u, 9u})
        for (std::uint32_t type : {0u, 1u, 2u, 3u, 4u, 5u, 0x01000002u, 0x00020000u, 0x7F7F7F7Fu})
            for (unsigned size = 0; size <= 130; ++size) {
                Bytes bytes = streamOf(type, given);
                while (bytes.size() < size)
                    bytes.push_back(0x3F);
                bytes.resize(size);
                ExternalVersion v = version(oldType, before);
                readStream(v, bytes);

                // What each type reads: groups of numbers, each from where the one before ended.
                Numbers expected = before;
                if (size >= 4) {
                    std::size_t at = 4;
                    bool goesOn = type >= 1 && type <= 3;
                    if (goesOn && type == 2) {
                        goesOn = size >= 36;
                        if (goesOn)
                            std::copy_n(given.begin() + volumeAt, 4, expected.begin() + volumeAt);
                        at = 36;
                    }
                    if (goesOn && type >= 2) {
                        goesOn = size >= at + 64;
                        if (goesOn)
                            std::copy_n(given.begin() + distancesAt, 8, expected.begin() + distancesAt);
                        at += 64;
                    }
                    if (goesOn && size == at + 24)
                        std::copy_n(given.begin() + boxAt, 3, expected.begin() + boxAt);
                }
                SCOPED_TRACE("type " + std::to_string(type) + ", size " + std::to_string(size));
                expectRecord(v, size < 4 ? 0 : type, expected);
                ASSERT_FALSE(HasFailure());
            }
}

TEST(ExternalVersion, ThreeBytesMakeARecordInvalidWithoutClearingIt) {
    ExternalVersion v = version(2);
    v.fromByteStream(3, "\1\0\0");
    expectRecord(v, 0, someNumbers);
    v.fromByteStream(0, nullptr);
    expectRecord(v, 0, someNumbers);
}

TEST(ExternalVersion, OneByteTooManyLeavesOnlyTheBoxUnread) {
    Bytes bytes = streamOf(2, someNumbers);
    bytes.push_back(0);
    ExternalVersion v;
    readStream(v, bytes);
    Numbers expected = someNumbers;
    std::fill_n(expected.begin() + boxAt, 3, 0.0);
    expectRecord(v, 2, expected);
}

TEST(ExternalVersion, TypeBytesAreTakenAsSigned) {
    const auto typeOf = [](unsigned char b0, unsigned char b1, unsigned char b2, unsigned char b3) {
        ExternalVersion v;
        readStream(v, {b0, b1, b2, b3});
        return static_cast<std::uint32_t>(v.getType());
    };
    EXPECT_EQ(typeOf(0xFF, 0, 0, 0), 0xFFFFFFFFu);
    EXPECT_EQ(typeOf(0x80, 0, 0, 0), 0xFFFFFF80u);
    EXPECT_EQ(typeOf(0xFF, 1, 0, 0), 0x000000FFu);
    EXPECT_EQ(typeOf(0, 0xFF, 0, 0), 0xFFFFFF00u);
    EXPECT_EQ(typeOf(0, 0xFF, 1, 0), 0x0000FF00u);
    EXPECT_EQ(typeOf(0xFF, 0xFF, 0xFF, 0xFF), 0xFEFEFEFFu);
    EXPECT_EQ(typeOf(0, 0, 0, 0x80), 0x80000000u);
    EXPECT_EQ(typeOf(0x80, 0x80, 0x80, 0x80), 0x7F7F7F80u);
    EXPECT_EQ(typeOf(2, 0, 0, 1), 0x01000002u);
    const int values[] = {0, 1, 2, 3, 0x7F, 0x80, 0x81, 0xFE, 0xFF};
    const auto asSigned = [](int byte) { return byte < 128 ? byte : byte - 256; };
    for (int b0 = 0; b0 < 256; ++b0)
        for (int b1 : values)
            for (int b2 : values)
                for (int b3 : values) {
                    const std::int64_t sum =
                        ((std::int64_t{asSigned(b3)} * 256 + asSigned(b2)) * 256 + asSigned(b1)) * 256 + asSigned(b0);
                    ASSERT_EQ(typeOf(static_cast<unsigned char>(b0), static_cast<unsigned char>(b1),
                                     static_cast<unsigned char>(b2), static_cast<unsigned char>(b3)),
                              static_cast<std::uint32_t>(sum));
                }
}

TEST(ExternalVersion, SignedTypeBytesDecideWhatIsRead) {
    // As unsigned bytes this would be type 254 + 256; as signed ones it is 254, and nothing is read either way. No
    // stream but the plain one gives a type that is read.
    Bytes bytes = streamOf(1, someNumbers);
    bytes[0] = 0xFE;
    bytes[1] = 1;
    ExternalVersion v;
    readStream(v, bytes);
    expectRecord(v, 254, Numbers{});
    // A type of 255 does not survive its own stream.
    Bytes written(124);
    EXPECT_EQ(version(255).toByteStream(124, reinterpret_cast<char*>(written.data())), 4u);
    written.resize(4);
    EXPECT_EQ(written, (Bytes{255, 0, 0, 0}));
    readStream(v, written);
    EXPECT_EQ(static_cast<std::uint32_t>(v.getType()), 0xFFFFFFFFu);
}

namespace {

struct Damage {
    std::uint32_t type;
    unsigned size;
    char flag; // '-' for a sound stream
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

} // namespace

VELMOR_SCENARIO(ReadOneStreamTwice) {
    const Damage& damage = damages[std::stoul(setting("VELMOR_TEST_STREAM"))];
    readDamaged(damage);
    readDamaged(damage);
}

TEST(ExternalVersion, DamagedStreamBreaksOnceAndPrintsNothing) {
    for (std::size_t i = 0; i < std::size(damages); ++i) {
        SCOPED_TRACE("type " + std::to_string(damages[i].type) + ", size " + std::to_string(damages[i].size));
        const auto run = velmor_tests::runUnderDebugger("ReadOneStreamTwice", {"VELMOR_TEST_STREAM=" + std::to_string(i)});
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

TEST(ExternalVersion, EachDamageHasItsOwnFlag) {
    const struct {
        const char* flags;
        int breaks;
    } cases[] = {{"-", 0}, {"A", 1}, {"B", 1}, {"C", 1}, {"AB", 2}, {"AC", 2}, {"BC", 2}, {"-ABC", 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.flags);
        const auto run =
            velmor_tests::runUnderDebugger("ReadAllStreamsOfSomeFlags", {std::string("VELMOR_TEST_FLAGS=") + c.flags});
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.breaks, c.breaks);
        EXPECT_EQ(run.channel + run.output + run.error, "");
    }
    const auto alone = velmor_tests::runAlone("ReadAllStreamsOfSomeFlags", {"VELMOR_TEST_FLAGS=ABC"});
    EXPECT_TRUE(alone.exited);
    EXPECT_EQ(alone.exitCode, 0u);
    EXPECT_EQ(alone.channel + alone.output + alone.error, "");
}

// Text
// ----------------------------------------------------------------------------------------------------------------------------

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

TEST(ExternalVersion, TextOfEachType) {
    for (std::uint32_t type = 0; type <= 3; ++type)
        EXPECT_EQ(textOf(version(type, textNumbers)), expectedText(type));
}

TEST(ExternalVersion, TextOfAnUnknownTypeLeavesTheBufferAlone) {
    for (std::uint32_t type : typesAboveThree)
        EXPECT_EQ(textOf(version(type, textNumbers)), "untouched");
}

TEST(ExternalVersion, TextIsCutToItsBuffer) {
    for (std::uint32_t type = 0; type <= 3; ++type) {
        const std::string whole = expectedText(type);
        for (std::size_t size = 0; size <= whole.size() + 3; ++size) {
            SCOPED_TRACE("type " + std::to_string(type) + ", size " + std::to_string(size));
            const std::unique_ptr<char[]> exact(new char[size + 1]);
            std::memset(exact.get(), '#', size + 1);
            version(type, textNumbers).toString(static_cast<unsigned>(size), exact.get());
            EXPECT_EQ(exact[size], '#');
            if (size == 0)
                continue;
            ASSERT_NE(std::memchr(exact.get(), 0, size), nullptr);
            EXPECT_EQ(std::string(exact.get()), whole.substr(0, size - 1));
        }
    }
}

TEST(ExternalVersion, TextOfADiagonal) {
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

TEST(ExternalVersion, TextOfOddNumbers) {
    double d[8] = {infinity, -infinity, notANumber, 5e-324, 1.7976931348623157e308, -1e-5, 0, 9.99999951};
    EXPECT_EQ(textOf(createFromGeometry(0, 0, 0, d)),
              "bb=0.000000e+00 d1=inf d2=-inf d3=nan d4=4.940656e-324 d5=1.797693e+308 d6=-1.000000e-05 d7=0.000000e+00"
              " d8=1.000000e+01");
}

// Equality
// ------------------------------------------------------------------------------------------------------------------------

namespace {

/// Whether two versions of a type are equal whose numbers are 0 but for one.
bool equalWith(std::uint32_t type, std::size_t place, double a, double b) {
    Numbers numbersA{};
    Numbers numbersB{};
    numbersA[place] = a;
    numbersB[place] = b;
    const bool equal = version(type, numbersA) == version(type, numbersB);
    EXPECT_EQ(version(type, numbersB) == version(type, numbersA), equal) << "equality is symmetric";
    return equal;
}

bool carries(std::uint32_t type, std::size_t place) {
    if (place >= volumeAt)
        return type == 2;
    return place >= distancesAt ? type >= 2 : type >= 1;
}

double toleranceOf(std::size_t place) {
    return place == volumeAt ? 1e-6 : 0.001;
}

} // namespace

TEST(ExternalVersionEquality, TypesMustAgree) {
    for (std::uint32_t a = 0; a <= 5; ++a)
        for (std::uint32_t b = 0; b <= 5; ++b)
            EXPECT_EQ(version(a) == version(b), a == b && a <= 3) << a << " " << b;
    for (std::uint32_t type : typesAboveThree) {
        const ExternalVersion v = version(type);
        EXPECT_FALSE(v == v) << type;
    }
}

TEST(ExternalVersionEquality, InvalidOnesAreAlwaysEqual) {
    EXPECT_TRUE(version(0) == ExternalVersion());
    EXPECT_TRUE(ExternalVersion() == ExternalVersion());
}

TEST(ExternalVersionEquality, EachNumberHasItsToleranceIfTheTypeCarriesIt) {
    for (std::uint32_t type = 0; type <= 3; ++type)
        for (std::size_t place = 0; place < 15; ++place)
            for (double sign : {1.0, -1.0}) {
                SCOPED_TRACE("type " + std::to_string(type) + ", number " + std::to_string(place));
                const double tolerance = toleranceOf(place) * sign;
                EXPECT_TRUE(equalWith(type, place, 0, 0));
                EXPECT_TRUE(equalWith(type, place, 0, tolerance / 2));
                EXPECT_TRUE(equalWith(type, place, 0, std::nextafter(tolerance, 0)));
                EXPECT_TRUE(equalWith(type, place, 0, tolerance)) << "a difference equal to the tolerance";
                EXPECT_EQ(equalWith(type, place, 0, std::nextafter(tolerance, sign)), !carries(type, place));
                EXPECT_EQ(equalWith(type, place, 0, tolerance * 2), !carries(type, place));
                EXPECT_EQ(equalWith(type, place, 0, 1e300 * sign), !carries(type, place));
            }
}

TEST(ExternalVersionEquality, DifferencesAreAbsoluteWhateverTheSize) {
    for (std::size_t place = 0; place < 15; ++place) {
        EXPECT_TRUE(equalWith(2, place, 1e9, 1e9));
        EXPECT_FALSE(equalWith(2, place, 1e9, 1e9 + 0.25));
        EXPECT_TRUE(equalWith(2, place, 0x1p60, 0x1p60 + 1)) << "a sum that is lost in rounding";
    }
    EXPECT_TRUE(equalWith(2, volumeAt, 1, 1 + 0x1p-20));  // 9.5e-7
    EXPECT_FALSE(equalWith(2, volumeAt, 1, 1 + 0x1p-19)); // 1.9e-6
}

TEST(ExternalVersionEquality, BoxesAreComparedByTheirEuclideanDistance) {
    const ExternalVersion zero = createFromBoundingBox(0, 0, 0);
    EXPECT_FALSE(createFromBoundingBox(0.0006, 0.0006, 0.0006) == zero); // 0.00104
    EXPECT_TRUE(createFromBoundingBox(0.0005, 0.0005, 0) == zero);
    EXPECT_TRUE(createFromBoundingBox(0.0006, 0.0008, 0) == zero); // 0.001
    EXPECT_TRUE(createFromBoundingBox(-0.0006, 0, 0.0007) == zero);
    EXPECT_FALSE(createFromBoundingBox(0.0008, -0.0008, 0) == zero);
    EXPECT_FALSE(createFromBoundingBox(1, 2, 3) == createFromBoundingBox(3, 2, 1));
    for (std::uint32_t type : {2u, 3u}) {
        Numbers a{};
        Numbers b{};
        b[0] = b[1] = b[2] = 0.0006;
        EXPECT_FALSE(version(type, a) == version(type, b));
        b[2] = 0;
        EXPECT_TRUE(version(type, a) == version(type, b));
    }
}

TEST(ExternalVersionEquality, DistancesAndCentroidAreComparedOneByOne) {
    // Each within its tolerance, though far outside it together.
    Numbers a{};
    Numbers b{};
    std::fill_n(b.begin() + distancesAt, 8, 0.001);
    std::fill_n(b.begin() + centroidAt, 3, 0.001);
    b[volumeAt] = 1e-6;
    EXPECT_TRUE(version(2, a) == version(2, b));
    EXPECT_TRUE(version(3, a) == version(3, b));
}

TEST(ExternalVersionEquality, NaNIsNoDifference) {
    for (std::uint32_t type = 1; type <= 3; ++type)
        for (std::size_t place = 0; place < 15; ++place) {
            EXPECT_TRUE(equalWith(type, place, notANumber, 0));
            EXPECT_TRUE(equalWith(type, place, notANumber, notANumber));
            EXPECT_TRUE(equalWith(type, place, infinity, infinity)) << "their difference is no number";
            EXPECT_EQ(equalWith(type, place, infinity, -infinity), !carries(type, place));
            EXPECT_EQ(equalWith(type, place, infinity, 0), !carries(type, place));
            EXPECT_TRUE(equalWith(type, place, 0.0, -0.0));
        }
    // A NaN hides nothing of the other numbers.
    Numbers a{};
    Numbers b{};
    a[volumeAt] = notANumber;
    b[boxAt] = 1;
    EXPECT_FALSE(version(2, a) == version(2, b));
    // In a box it hides the other two extents.
    a[boxAt + 1] = notANumber;
    EXPECT_TRUE(version(2, a) == version(2, b));
}

TEST(ExternalVersionEquality, ComparesSilently) {
    const auto run = velmor_tests::runUnderDebugger("CompareAndPrintEverything");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}

VELMOR_SCENARIO(CompareAndPrintEverything) {
    for (std::uint32_t a = 0; a <= 5; ++a)
        for (std::uint32_t b = 0; b <= 5; ++b) {
            if (version(a) == version(b))
                version(a).similarity(version(b));
            else
                version(b).similarity(version(a));
            textOf(version(a));
            Bytes buffer(124);
            version(a).toByteStream(124, reinterpret_cast<char*>(buffer.data()));
            version(a).toByteStream(123, reinterpret_cast<char*>(buffer.data()));
        }
}
