#include <Velmor/Identity.h>

#include "support/Setting.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <bit>
#include <climits>
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

constexpr unsigned recordSize = 96;
constexpr unsigned payloadOffset = 8;

static_assert(sizeof(ExternalGUID) == sizeof(void*));
static_assert(!std::is_polymorphic_v<ExternalGUID>);
static_assert(sizeof(KXGUID_t) == 16 && alignof(KXGUID_t) == 1 && std::is_trivially_copyable_v<KXGUID_t>);
static_assert(std::is_same_v<std::underlying_type_t<ExternalGUID::Type_t>, std::uint32_t>);
static_assert(ExternalGUID::Invalid == 0 && ExternalGUID::SpatialHash == 1 && ExternalGUID::IFCGlobalID == 2);
static_assert(ExternalGUID::KXGUID == 3 && ExternalGUID::CadmaticObi == 4 && ExternalGUID::DWGHandle == 5);

using Record = std::array<unsigned char, recordSize>;

Record recordOf(const ExternalGUID& guid) {
    unsigned size = 0;
    const char* bytes = guid.getBytes(&size);
    EXPECT_EQ(size, recordSize);
    Record record;
    std::memcpy(record.data(), bytes, record.size());
    return record;
}

const void* blockOf(const ExternalGUID& guid) {
    unsigned size = 0;
    return guid.getBytes(&size);
}

ExternalGUID fromBytes(const std::vector<unsigned char>& bytes) {
    return ExternalGUID::fromByteStream(static_cast<unsigned>(bytes.size()), reinterpret_cast<const char*>(bytes.data()));
}

void putTag(Record& record, std::uint32_t tag) {
    for (unsigned i = 0; i < 4; ++i)
        record[i] = static_cast<unsigned char>(tag >> (8 * i));
}

/// A record of any tag, every other byte of which is different from 0.
ExternalGUID withTag(std::uint32_t tag) {
    Record record;
    for (unsigned i = 0; i < recordSize; ++i)
        record[i] = static_cast<unsigned char>(0x40 + i);
    putTag(record, tag);
    return ExternalGUID::fromByteStream(recordSize, reinterpret_cast<const char*>(record.data()));
}

/// Known tags, the ones next to them, and tags that a look at their low byte or their sign alone would take for known ones.
const std::uint32_t tags[] = {0,   1,   2,     3,     4,     5,     6,       7,       8,          9,          100,
                              255, 256, 0x101, 0x102, 0x103, 0x104, 0x10005, 0x20002, 0x7FFFFFFF, 0x80000002, 0xFFFFFFFF};

/// The factories' record: tag, zeros, and a payload at its place.
Record expectedRecord(std::uint32_t tag, const std::vector<unsigned char>& payload) {
    Record record{};
    putTag(record, tag);
    std::copy(payload.begin(), payload.end(), record.begin() + payloadOffset);
    return record;
}

std::vector<unsigned char> bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

KXGUID_t hostGUID(unsigned char first) {
    KXGUID_t guid;
    for (unsigned i = 0; i < 16; ++i)
        guid.bytes[i] = static_cast<unsigned char>(first + i);
    return guid;
}

constexpr std::uint64_t oddDoubles[11] = {
    0x3FF8000000000000, // 1.5
    0x8000000000000000, // -0.0
    0x7FF0000000000000, // infinity
    0xFFF0000000000000, // -infinity
    0x7FF8000000000123, // a quiet NaN with a payload
    0x7FF0000000000001, // a signalling NaN
    0xFFFFFFFFFFFFFFFF, // a negative NaN
    0x0000000000000001, // the smallest denormal
    0x000FFFFFFFFFFFFF, // the largest denormal
    0x7FEFFFFFFFFFFFFF, // the largest number
    0xBFB999999999999A, // -0.1
};

/// The odd doubles, kept from any arithmetic.
std::unique_ptr<double[]> oddHash() {
    auto hash = std::make_unique<double[]>(11);
    std::memcpy(hash.get(), oddDoubles, sizeof oddDoubles);
    return hash;
}

std::vector<unsigned char> oddHashBytes() {
    std::vector<unsigned char> bytes;
    for (std::uint64_t bits : oddDoubles)
        for (unsigned i = 0; i < 8; ++i)
            bytes.push_back(static_cast<unsigned char>(bits >> (8 * i)));
    return bytes;
}

void callGetter(const ExternalGUID& guid, const std::string& getter) {
    if (getter == "hash")
        guid.getSpatialHash();
    else if (getter == "ifc")
        guid.getIFCGlobalID();
    else if (getter == "kx")
        guid.getKXGUID();
    else if (getter == "cadmatic")
        guid.getCadmaticObi();
    else if (getter == "dwg")
        guid.getDWGHandle();
    else
        std::abort();
}

std::uint32_t tagOf(const std::string& getter) {
    if (getter == "hash")
        return 1;
    if (getter == "ifc")
        return 2;
    if (getter == "kx")
        return 3;
    return getter == "cadmatic" ? 4 : 5;
}

const char* const reportingGetters[] = {"ifc", "kx", "cadmatic", "dwg"};

} // namespace

TEST(ExternalGUID, DefaultIsInvalid) {
    const ExternalGUID guid;
    EXPECT_EQ(guid.getType(), ExternalGUID::Invalid);
    unsigned size = 0;
    const char* bytes = guid.getBytes(&size);
    EXPECT_EQ(size, 96u);
    EXPECT_EQ(std::string(bytes, 4), std::string(4, '\0'));
}

TEST(ExternalGUID, ByteStreamOfEveryLengthFillsTheRecordFromTheFrontAndZeroesTheRest) {
    for (unsigned size = 0; size <= 200; ++size) {
        SCOPED_TRACE(size);
        std::vector<unsigned char> bytes;
        for (unsigned i = 0; i < size; ++i)
            bytes.push_back(static_cast<unsigned char>(i + 1));
        bytes.shrink_to_fit();
        Record expected{};
        for (unsigned i = 0; i < size && i < recordSize; ++i)
            expected[i] = static_cast<unsigned char>(i + 1);
        EXPECT_EQ(recordOf(fromBytes(bytes)), expected);
    }
}

TEST(ExternalGUID, ByteStreamLongerThanARecordIsReadForARecordOnly) {
    const std::unique_ptr<char[]> bytes(new char[recordSize]); // a byte more than these would be seen by the sanitizer
    std::memset(bytes.get(), 0x11, recordSize);
    for (unsigned size : {97u, 200u, 0x80000000u, 0xFFFFFFFFu}) {
        Record expected;
        expected.fill(0x11);
        EXPECT_EQ(recordOf(ExternalGUID::fromByteStream(size, bytes.get())), expected) << size;
    }
}

TEST(ExternalGUID, EmptyByteStreamMayBeNull) {
    EXPECT_EQ(recordOf(ExternalGUID::fromByteStream(0, nullptr)), Record{});
}

TEST(ExternalGUID, ByteStreamKeepsAnyTag) {
    for (std::uint32_t tag : tags)
        EXPECT_EQ(static_cast<std::uint32_t>(withTag(tag).getType()), tag);
    EXPECT_EQ(fromBytes({5}).getType(), ExternalGUID::DWGHandle);
    EXPECT_EQ(static_cast<std::uint32_t>(fromBytes({1, 2, 0xFF}).getType()), 0xFF0201u);
}

TEST(ExternalGUID, ByteStreamRoundTripsEveryRecord) {
    ExternalGUID hash;
    hash = ExternalGUID::fromByteStream(0, nullptr);
    hash.fromSpatialHash(oddHash().get());
    const ExternalGUID guids[] = {hash,
                                  ExternalGUID::fromIFCGlobalID("0123456789ABCDEFGHIJ_$"),
                                  ExternalGUID::fromKX(hostGUID(1)),
                                  ExternalGUID::fromCadmaticObi(-7),
                                  ExternalGUID::fromDWGHandle(0xFEDCBA9876543210u),
                                  withTag(7)};
    for (const ExternalGUID& guid : guids) {
        unsigned size = 0;
        const char* bytes = guid.getBytes(&size);
        EXPECT_EQ(recordOf(ExternalGUID::fromByteStream(size, bytes)), recordOf(guid));
    }
}

TEST(ExternalGUID, IFCGlobalIDTakesExactlyTwentyTwoCharacters) {
    const std::string id = "2O2Fr$t4X7Zf8NOew3FL_r";
    ASSERT_EQ(id.size(), 22u);
    const std::unique_ptr<char[]> exact(new char[22]);
    std::memcpy(exact.get(), id.data(), 22);
    const ExternalGUID guid = ExternalGUID::fromIFCGlobalID(exact.get());
    EXPECT_EQ(guid.getType(), ExternalGUID::IFCGlobalID);
    EXPECT_EQ(recordOf(guid), expectedRecord(2, bytesOf(id)));
    EXPECT_STREQ(guid.getIFCGlobalID(), id.c_str());
    EXPECT_STREQ(ExternalGUID::fromIFCGlobalID((id + "more text").c_str()).getIFCGlobalID(), id.c_str());
    EXPECT_EQ(recordOf(ExternalGUID::fromIFCGlobalID((id + "more text").c_str())), recordOf(guid));
}

TEST(ExternalGUID, IFCGlobalIDKeepsNulsAndHighBytes) {
    std::string id(22, '\0');
    for (unsigned i = 0; i < 22; ++i)
        id[i] = static_cast<char>(i % 5 == 0 ? 0 : 0xF0 + i);
    EXPECT_EQ(recordOf(ExternalGUID::fromIFCGlobalID(id.c_str())), expectedRecord(2, bytesOf(id)));
}

TEST(ExternalGUID, HostGUIDIsSixteenBytes) {
    const KXGUID_t key = hostGUID(0xF8);
    const ExternalGUID guid = ExternalGUID::fromKX(key);
    EXPECT_EQ(guid.getType(), ExternalGUID::KXGUID);
    EXPECT_EQ(recordOf(guid), expectedRecord(3, {key.bytes, key.bytes + 16}));
    EXPECT_EQ(std::memcmp(&guid.getKXGUID(), &key, 16), 0);
}

TEST(ExternalGUID, CadmaticObiIsASigned32BitNumber) {
    const struct {
        int obi;
        std::vector<unsigned char> bytes;
    } cases[] = {{0, {0, 0, 0, 0}},
                 {1, {1, 0, 0, 0}},
                 {-1, {0xFF, 0xFF, 0xFF, 0xFF}},
                 {0x12345678, {0x78, 0x56, 0x34, 0x12}},
                 {INT_MAX, {0xFF, 0xFF, 0xFF, 0x7F}},
                 {INT_MIN, {0, 0, 0, 0x80}}};
    for (const auto& c : cases) {
        const ExternalGUID guid = ExternalGUID::fromCadmaticObi(c.obi);
        EXPECT_EQ(guid.getType(), ExternalGUID::CadmaticObi);
        EXPECT_EQ(recordOf(guid), expectedRecord(4, c.bytes));
        EXPECT_EQ(guid.getCadmaticObi(), c.obi);
    }
}

TEST(ExternalGUID, DWGHandleIsAnUnsigned64BitNumber) {
    const struct {
        unsigned long long handle;
        std::vector<unsigned char> bytes;
    } cases[] = {{0, {0, 0, 0, 0, 0, 0, 0, 0}},
                 {1, {1, 0, 0, 0, 0, 0, 0, 0}},
                 {0x0123456789ABCDEFu, {0xEF, 0xCD, 0xAB, 0x89, 0x67, 0x45, 0x23, 0x01}},
                 {0xFFFFFFFFFFFFFFFFu, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}};
    for (const auto& c : cases) {
        const ExternalGUID guid = ExternalGUID::fromDWGHandle(c.handle);
        EXPECT_EQ(guid.getType(), ExternalGUID::DWGHandle);
        EXPECT_EQ(recordOf(guid), expectedRecord(5, c.bytes));
        EXPECT_EQ(guid.getDWGHandle(), c.handle);
    }
}

TEST(ExternalGUID, SpatialHashIsStoredBitForBit) {
    ExternalGUID guid = ExternalGUID::fromByteStream(0, nullptr);
    const void* block = blockOf(guid);
    guid.fromSpatialHash(oddHash().get());
    EXPECT_EQ(blockOf(guid), block);
    EXPECT_EQ(guid.getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(recordOf(guid), expectedRecord(1, oddHashBytes()));
    EXPECT_EQ(std::memcmp(guid.getSpatialHash(), oddDoubles, sizeof oddDoubles), 0);
}

TEST(ExternalGUID, SpatialHashLeavesTheReservedBytesAsTheyAre) {
    for (std::uint32_t tag : tags) {
        ExternalGUID guid = withTag(tag);
        Record expected = expectedRecord(1, oddHashBytes());
        for (unsigned i = 4; i < 8; ++i)
            expected[i] = static_cast<unsigned char>(0x40 + i);
        guid.fromSpatialHash(oddHash().get());
        EXPECT_EQ(recordOf(guid), expected) << tag;
    }
}

TEST(ExternalGUID, SpatialHashOfADefaultRecordSetsTagAndNumbers) {
    ExternalGUID guid;
    guid.fromSpatialHash(oddHash().get());
    EXPECT_EQ(guid.getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(std::memcmp(guid.getSpatialHash(), oddDoubles, sizeof oddDoubles), 0);
}

TEST(ExternalGUID, CopyIsDeepAndComplete) {
    for (std::uint32_t tag : tags) {
        ExternalGUID original = withTag(tag);
        const Record record = recordOf(original);
        const ExternalGUID copy = original;
        EXPECT_NE(blockOf(copy), blockOf(original));
        EXPECT_EQ(recordOf(copy), record);
        original.fromSpatialHash(oddHash().get());
        EXPECT_EQ(recordOf(copy), record);
    }
}

TEST(ExternalGUID, AssignmentCopiesIntoTheBlockAlreadyOwned) {
    for (std::uint32_t tag : tags) {
        ExternalGUID target = ExternalGUID::fromIFCGlobalID("0123456789ABCDEFGHIJ_$");
        ExternalGUID source = withTag(tag);
        const Record record = recordOf(source);
        const void* block = blockOf(target);
        ExternalGUID& result = (target = source);
        EXPECT_EQ(&result, &target);
        EXPECT_EQ(blockOf(target), block);
        EXPECT_NE(blockOf(source), block);
        EXPECT_EQ(recordOf(target), record);
        source.fromSpatialHash(oddHash().get());
        EXPECT_EQ(recordOf(target), record);
    }
}

TEST(ExternalGUID, AssignmentToItselfChangesNothing) {
    ExternalGUID guid = withTag(7);
    const Record record = recordOf(guid);
    const ExternalGUID& same = guid;
    guid = same;
    EXPECT_EQ(recordOf(guid), record);
}

TEST(ExternalGUID, GettersPointIntoTheRecord) {
    const ExternalGUID hash = withTag(1);
    const ExternalGUID ifc = withTag(2);
    const ExternalGUID kx = withTag(3);
    const auto payload = [](const ExternalGUID& guid) { return static_cast<const char*>(blockOf(guid)) + payloadOffset; };
    EXPECT_EQ(static_cast<const void*>(hash.getSpatialHash()), payload(hash));
    EXPECT_EQ(static_cast<const void*>(ifc.getIFCGlobalID()), payload(ifc));
    EXPECT_EQ(static_cast<const void*>(&kx.getKXGUID()), payload(kx));
}

TEST(ExternalGUID, WrongTypeGetterAnswersNeutralValue) {
    const ExternalGUID shared = withTag(0);
    const double* zeros = shared.getSpatialHash();
    const char* empty = shared.getIFCGlobalID();
    const KXGUID_t* zeroGUID = &shared.getKXGUID();
    for (std::uint32_t tag : tags) {
        SCOPED_TRACE(tag);
        const ExternalGUID guid = withTag(tag);
        if (tag != 1) {
            EXPECT_EQ(guid.getSpatialHash(), zeros);
            for (unsigned i = 0; i < 11; ++i)
                EXPECT_EQ(std::bit_cast<std::uint64_t>(guid.getSpatialHash()[i]), 0u);
        }
        if (tag != 2) {
            EXPECT_EQ(guid.getIFCGlobalID(), empty);
            EXPECT_STREQ(guid.getIFCGlobalID(), "");
        }
        if (tag != 3) {
            EXPECT_EQ(&guid.getKXGUID(), zeroGUID);
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(guid.getKXGUID().bytes), 16), std::string(16, '\0'));
        }
        if (tag != 4) {
            EXPECT_EQ(guid.getCadmaticObi(), 0);
        }
        if (tag != 5) {
            EXPECT_EQ(guid.getDWGHandle(), 0u);
        }
    }
}

TEST(ExternalGUID, RightTypeGetterReadsARecordFromAByteStream) {
    EXPECT_EQ(withTag(4).getCadmaticObi(), 0x4B4A4948);
    EXPECT_EQ(withTag(5).getDWGHandle(), 0x4F4E4D4C4B4A4948u);
    EXPECT_EQ(withTag(3).getKXGUID().bytes[0], 0x48);
    EXPECT_EQ(withTag(3).getKXGUID().bytes[15], 0x57);
    EXPECT_EQ(std::string(withTag(2).getIFCGlobalID(), 3), "HIJ");
    EXPECT_EQ(std::bit_cast<std::uint64_t>(withTag(1).getSpatialHash()[10]), 0x9F9E9D9C9B9A9998u);
}

TEST(ExternalGUID, OneObjectMayBeReadByManyThreads) {
    const ExternalGUID shared = withTag(4);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) {
                const ExternalGUID copy = shared;
                if (shared.getCadmaticObi() != 0x4B4A4948 || copy.getCadmaticObi() != 0x4B4A4948 ||
                    shared.getDWGHandle() != 0 || *shared.getIFCGlobalID() != 0 || shared.getKXGUID().bytes[0] != 0 ||
                    shared.getSpatialHash()[0] != 0)
                    ++wrong;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

// One getter, asked of every record that it does not answer, twice over.
VELMOR_SCENARIO(OneGetterOfEveryWrongType) {
    const std::string getter = setting("VELMOR_TEST_GETTER");
    for (int round = 0; round < 2; ++round)
        for (std::uint32_t tag : tags)
            if (tag != tagOf(getter))
                callGetter(withTag(tag), getter);
}

TEST(ExternalGUID, WrongTypeGetterBreaksOnceAndPrintsNothing) {
    for (const char* getter : reportingGetters) {
        SCOPED_TRACE(getter);
        const auto run =
            velmor_tests::runUnderDebugger("OneGetterOfEveryWrongType", {std::string("VELMOR_TEST_GETTER=") + getter});
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.exitCode, 0u);
        EXPECT_EQ(run.breaks, 1);
        EXPECT_EQ(run.channel, "");
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.error, "");
    }
}

TEST(ExternalGUID, WrongTypeSpatialHashNeverBreaks) {
    const auto run = velmor_tests::runUnderDebugger("OneGetterOfEveryWrongType", {"VELMOR_TEST_GETTER=hash"});
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}

VELMOR_SCENARIO(OneWrongType) {
    const std::string getter = setting("VELMOR_TEST_GETTER");
    callGetter(withTag(static_cast<std::uint32_t>(std::stoul(setting("VELMOR_TEST_TAG")))), getter);
}

TEST(ExternalGUID, EveryWrongTypeMayBeTheFirst) {
    for (const char* getter : reportingGetters)
        for (const char* tag : {"0", "1", "2", "3", "4", "5", "7", "4294967295"}) {
            const auto run = velmor_tests::runUnderDebugger(
                "OneWrongType", {std::string("VELMOR_TEST_GETTER=") + getter, std::string("VELMOR_TEST_TAG=") + tag});
            EXPECT_TRUE(run.exited);
            EXPECT_EQ(run.breaks, std::to_string(tagOf(getter)) == tag ? 0 : 1) << getter << " of " << tag;
            EXPECT_EQ(run.channel + run.output, "");
        }
}

// The first steps of a fixed sequence.
VELMOR_SCENARIO(WrongTypeSequence) {
    const char* const steps[] = {"dwg", "dwg", "cadmatic", "dwg", "kx", "cadmatic", "hash", "ifc", "kx", "ifc"};
    const ExternalGUID invalid;
    const int count = std::stoi(setting("VELMOR_TEST_STEPS"));
    for (int i = 0; i < count; ++i)
        callGetter(invalid, steps[i]);
}

TEST(ExternalGUID, EachGetterHasItsOwnFlag) {
    const int breaks[] = {0, 1, 1, 2, 2, 3, 3, 3, 4, 4, 4};
    for (int steps = 0; steps <= 10; ++steps) {
        const auto run = velmor_tests::runUnderDebugger("WrongTypeSequence", {"VELMOR_TEST_STEPS=" + std::to_string(steps)});
        EXPECT_TRUE(run.exited);
        EXPECT_EQ(run.breaks, breaks[steps]) << "after " << steps << " steps";
        EXPECT_EQ(run.channel + run.output, "");
    }
}

VELMOR_SCENARIO(EverythingRight) {
    ExternalGUID hash;
    hash.fromSpatialHash(oddHash().get());
    callGetter(hash, "hash");
    callGetter(ExternalGUID::fromIFCGlobalID("0123456789ABCDEFGHIJ_$"), "ifc");
    callGetter(ExternalGUID::fromKX(hostGUID(0)), "kx");
    callGetter(ExternalGUID::fromCadmaticObi(0), "cadmatic");
    callGetter(ExternalGUID::fromDWGHandle(0), "dwg");
    for (std::uint32_t tag : tags) {
        ExternalGUID guid = withTag(tag);
        ExternalGUID copy = guid;
        copy = guid;
        copy.getType();
        blockOf(copy);
    }
}

TEST(ExternalGUID, RightTypeNeverBreaks) {
    const auto run = velmor_tests::runUnderDebugger("EverythingRight");
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}

TEST(ExternalGUID, NothingHappensWithoutADebugger) {
    const auto run = velmor_tests::runAlone("WrongTypeSequence", {"VELMOR_TEST_STEPS=10"});
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.breaks, 0);
    EXPECT_EQ(run.channel + run.output + run.error, "");
}
