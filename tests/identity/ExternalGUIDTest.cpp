#include <Velmor/Identity.h>

#include "GuidRecords.h"

#include <gtest/gtest.h>

#include <atomic>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

static_assert(!std::is_polymorphic_v<ExternalGUID>);
static_assert(alignof(KXGUID_t) == 1 && std::is_trivially_copyable_v<KXGUID_t>);
static_assert(std::is_same_v<std::underlying_type_t<ExternalGUID::Type_t>, std::uint32_t>);
static_assert(ExternalGUID::Invalid == 0 && ExternalGUID::SpatialHash == 1 && ExternalGUID::IFCGlobalID == 2);
static_assert(ExternalGUID::KXGUID == 3 && ExternalGUID::CadmaticObi == 4 && ExternalGUID::DWGHandle == 5);

ExternalGUID fromBytes(const std::vector<unsigned char>& bytes) {
    return ExternalGUID::fromByteStream(static_cast<unsigned>(bytes.size()), reinterpret_cast<const char*>(bytes.data()));
}

std::vector<unsigned char> bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

} // namespace

TEST(ExternalGUID, DefaultIsInvalid) {
    const ExternalGUID guid;
    EXPECT_EQ(guid.getType(), ExternalGUID::Invalid);
    unsigned size = 0;
    const char* bytes = guid.getBytes(&size);
    EXPECT_EQ(size, 96u);
    EXPECT_EQ(std::string(bytes, 4), std::string(4, '\0'));
}

TEST(ExternalGUID, ByteStreamOfAnyLengthIsCopiedAndTheRestIsZero) {
    for (unsigned size = 0; size <= 200; ++size) {
        SCOPED_TRACE(size);
        std::vector<unsigned char> bytes;
        for (unsigned i = 0; i < size; ++i)
            bytes.push_back(static_cast<unsigned char>(i + 1));
        bytes.shrink_to_fit();
        Record expected{};
        for (unsigned i = 0; i < size && i < guidRecordSize; ++i)
            expected[i] = static_cast<unsigned char>(i + 1);
        EXPECT_EQ(recordOf(fromBytes(bytes)), expected);
    }
}

TEST(ExternalGUID, BytesAfterTheRecordAreNotRead) {
    const std::unique_ptr<char[]> bytes(new char[guidRecordSize]); // AddressSanitizer detects a read after the end
    std::memset(bytes.get(), 0x11, guidRecordSize);
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

TEST(ExternalGUID, ByteStreamRoundTripsAnyRecord) {
    ExternalGUID hash;
    hash = ExternalGUID::fromByteStream(0, nullptr);
    hash.fromSpatialHash(specialHash().get());
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

TEST(ExternalGUID, IFCGlobalIDIsExactlyTwentyTwoCharacters) {
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
    guid.fromSpatialHash(specialHash().get());
    EXPECT_EQ(blockOf(guid), block);
    EXPECT_EQ(guid.getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(recordOf(guid), expectedRecord(1, specialHashBytes()));
    EXPECT_EQ(std::memcmp(guid.getSpatialHash(), specialDoubles, sizeof specialDoubles), 0);
}

TEST(ExternalGUID, SpatialHashKeepsTheReservedBytes) {
    for (std::uint32_t tag : tags) {
        ExternalGUID guid = withTag(tag);
        Record expected = expectedRecord(1, specialHashBytes());
        for (unsigned i = 4; i < 8; ++i)
            expected[i] = static_cast<unsigned char>(0x40 + i);
        guid.fromSpatialHash(specialHash().get());
        EXPECT_EQ(recordOf(guid), expected) << tag;
    }
}

TEST(ExternalGUID, SpatialHashSetsTagAndNumbersOfADefaultRecord) {
    ExternalGUID guid;
    guid.fromSpatialHash(specialHash().get());
    EXPECT_EQ(guid.getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(std::memcmp(guid.getSpatialHash(), specialDoubles, sizeof specialDoubles), 0);
}

TEST(ExternalGUID, CopyIsDeepAndComplete) {
    for (std::uint32_t tag : tags) {
        ExternalGUID original = withTag(tag);
        const Record record = recordOf(original);
        const ExternalGUID copy = original;
        EXPECT_NE(blockOf(copy), blockOf(original));
        EXPECT_EQ(recordOf(copy), record);
        original.fromSpatialHash(specialHash().get());
        EXPECT_EQ(recordOf(copy), record);
    }
}

TEST(ExternalGUID, AssignmentCopiesIntoTheExistingBlock) {
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
        source.fromSpatialHash(specialHash().get());
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
    const auto payload = [](const ExternalGUID& guid) {
        return static_cast<const char*>(blockOf(guid)) + guidPayloadOffset;
    };
    EXPECT_EQ(static_cast<const void*>(hash.getSpatialHash()), payload(hash));
    EXPECT_EQ(static_cast<const void*>(ifc.getIFCGlobalID()), payload(ifc));
    EXPECT_EQ(static_cast<const void*>(&kx.getKXGUID()), payload(kx));
}

TEST(ExternalGUID, GetterReturnsNeutralValueForWrongType) {
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

TEST(ExternalGUID, GettersReadARecordFromAByteStream) {
    EXPECT_EQ(withTag(4).getCadmaticObi(), 0x4B4A4948);
    EXPECT_EQ(withTag(5).getDWGHandle(), 0x4F4E4D4C4B4A4948u);
    EXPECT_EQ(withTag(3).getKXGUID().bytes[0], 0x48);
    EXPECT_EQ(withTag(3).getKXGUID().bytes[15], 0x57);
    EXPECT_EQ(std::string(withTag(2).getIFCGlobalID(), 3), "HIJ");
    EXPECT_EQ(std::bit_cast<std::uint64_t>(withTag(1).getSpatialHash()[10]), 0x9F9E9D9C9B9A9998u);
}

TEST(ExternalGUID, OneObjectCanBeReadByManyThreads) {
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
