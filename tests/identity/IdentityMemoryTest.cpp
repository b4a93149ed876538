#include <Velmor/Identity.h>

#include "support/WithFailure.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

using namespace Velmor;
using namespace velmor_tests;

namespace {

/// Result of an insertion whose n-th allocation failed.
struct Insertion : Attempt {
    std::uint32_t id = 0;
};

Insertion insertWithFailure(ExternalGUIDDatabase& database, const ExternalGUID& guid, unsigned n) {
    Insertion insertion;
    static_cast<Attempt&>(insertion) = withFailure(n, false, [&] { insertion.id = database.insertGUID(guid); });
    return insertion;
}

ExternalGUID spatial(double value) {
    std::array<double, 11> hash;
    hash.fill(value);
    ExternalGUID guid;
    guid.fromSpatialHash(hash.data());
    return guid;
}

ExternalGUID keyed(std::uint32_t type, std::uint32_t number) {
    const std::string text = std::to_string(1000000000 + number);
    KXGUID_t guid{};
    switch (type) {
    case 2:
        return ExternalGUID::fromIFCGlobalID(("ABCDEFGHIJKL" + text).c_str());
    case 3:
        std::memcpy(guid.bytes, text.data(), text.size());
        return ExternalGUID::fromKX(guid);
    case 4:
        return ExternalGUID::fromCadmaticObi(static_cast<int>(number));
    default:
        return ExternalGUID::fromDWGHandle(number);
    }
}

} // namespace

TEST(ExternalGUIDMemory, FailedAllocationOfARecordThrows) {
    const ExternalGUID original = keyed(2, 1);
    const double vertex[3] = {1, 2, 3};
    EXPECT_TRUE(throwsBadAlloc(1, [] { ExternalGUID guid; }));
    EXPECT_TRUE(throwsBadAlloc(1, [&] { ExternalGUID guid(original); }));
    EXPECT_TRUE(throwsBadAlloc(1, [] { ExternalGUID::fromByteStream(4, "\2\0\0\0"); }));
    EXPECT_TRUE(throwsBadAlloc(1, [] { ExternalGUID::fromIFCGlobalID("0123456789ABCDEFGHIJ_$"); }));
    EXPECT_TRUE(throwsBadAlloc(1, [] { ExternalGUID::fromKX(KXGUID_t{}); }));
    EXPECT_TRUE(throwsBadAlloc(1, [] { ExternalGUID::fromCadmaticObi(1); }));
    EXPECT_TRUE(throwsBadAlloc(1, [] { ExternalGUID::fromDWGHandle(1); }));
    EXPECT_TRUE(throwsBadAlloc(1, [&] { ExternalGUID::spatialHashFromVertexes(1, vertex); }));
}

TEST(ExternalGUIDMemory, RecordIsOneAllocationOfNinetySixBytes) {
    std::size_t size = 0;
    try {
        const FailAllocation fail(1);
        try {
            ExternalGUID guid;
        } catch (...) {
            size = fail.failedSize();
            throw;
        }
    } catch (const std::bad_alloc&) {
    }
    EXPECT_EQ(size, 96u);
    const double vertices[6] = {};
    unsigned seen;
    {
        const FailAllocation fail(100);
        const ExternalGUID guid = ExternalGUID::spatialHashFromVertexes(2, vertices);
        seen = fail.seen();
    }
    EXPECT_EQ(seen, 1u);
}

TEST(ExternalGUIDMemory, AssignmentAndAccessAllocateNothing) {
    ExternalGUID target = keyed(2, 1);
    const ExternalGUID source = keyed(3, 1);
    const double hash[11] = {};
    unsigned seen;
    {
        const FailAllocation fail(1, true);
        target = source;
        target.getType();
        target.getIFCGlobalID();
        target.getKXGUID();
        target.getCadmaticObi();
        target.getDWGHandle();
        target.getSpatialHash();
        unsigned size = 0;
        target.getBytes(&size);
        target.fromSpatialHash(hash);
        seen = fail.seen();
    }
    EXPECT_EQ(seen, 0u);
    EXPECT_EQ(target.getType(), ExternalGUID::SpatialHash);
}

TEST(ExternalGUIDDatabaseMemory, FailedChunkReturnsZeroWithoutAMessage) {
    ExternalGUIDDatabase database;
    for (int i = 0; i < 1024; ++i)
        ASSERT_EQ(database.insertGUID(spatial(i)), static_cast<unsigned>(i));
    unsigned n = 1;
    for (;; ++n) {
        ASSERT_LT(n, 10u);
        const Insertion attempt = insertWithFailure(database, spatial(5000), n);
        EXPECT_EQ(attempt.error, "");
        if (!attempt.failed) {
            EXPECT_EQ(attempt.id, 1024u);
            break;
        }
        EXPECT_EQ(attempt.id, 0u);
        // The same for a stored key: the chunk is allocated before the search.
        const Insertion known = insertWithFailure(database, spatial(7), n);
        EXPECT_TRUE(known.failed);
        EXPECT_EQ(known.id, 0u);
        EXPECT_EQ(known.error, "");
        EXPECT_EQ(database.findGUID(static_cast<ExternalGUIDRuntimeID_e>(1024)).getType(), ExternalGUID::Invalid);
        EXPECT_EQ(database.findGUID(spatial(5000)), NoRuntimeID);
        EXPECT_EQ(database.findGUID(spatial(7)), 7u);
        EXPECT_EQ(database.findGUID(spatial(1023)), 1023u);
    }
    EXPECT_GT(n, 1u) << "no allocation failed";
    EXPECT_EQ(database.findGUID(spatial(5000)), 1024u);
    EXPECT_EQ(database.insertGUID(spatial(6000)), 1025u);
    EXPECT_EQ(database.findGUID(static_cast<ExternalGUIDRuntimeID_e>(2047)).getType(), ExternalGUID::SpatialHash);
    EXPECT_EQ(database.findGUID(static_cast<ExternalGUIDRuntimeID_e>(2048)).getType(), ExternalGUID::Invalid);
}

TEST(ExternalGUIDDatabaseMemory, RefusedInsertionUsesUpItsId) {
    struct Expected {
        std::string label;
        std::size_t size; // 0: any
    };
    const std::size_t slotSizes[] = {32, 24, 8, 16};
    for (std::uint32_t type = 2; type <= 5; ++type)
        for (const std::uint32_t rows : {2000u, 4000u}) {
            SCOPED_TRACE("type " + std::to_string(type) + ", rows " + std::to_string(rows));
            std::vector<Expected> expected = {
                {"bucket", 0}, {"bucket data", 2000 * slotSizes[type - 2]}, {"bucket free table", 252}};
            if (rows == 4000) // the third bucket enlarges the hash of both indexes
                for (int index = 0; index < 2; ++index) {
                    expected.push_back({"index entry array", 4 * 16384});
                    expected.push_back({"index link array", 12 * 16384});
                }
            ExternalGUIDDatabase database;
            for (std::uint32_t i = 0; i < rows; ++i)
                ASSERT_EQ(database.insertGUID(keyed(type, i)), 0xFFFFFFFEu - i);
            std::uint32_t next = 0xFFFFFFFEu - rows;
            for (unsigned n = 1; n <= expected.size(); ++n, --next) {
                const Insertion attempt = insertWithFailure(database, keyed(type, rows), n);
                ASSERT_TRUE(attempt.failed);
                EXPECT_EQ(attempt.id, 0xFFFFFFFFu);
                if (expected[n - 1].size != 0) {
                    EXPECT_EQ(attempt.size, expected[n - 1].size);
                }
                EXPECT_EQ(attempt.error, message(attempt.size, expected[n - 1].label));
                EXPECT_EQ(database.findGUID(keyed(type, rows)), NoRuntimeID);
                EXPECT_EQ(database.findGUID(static_cast<ExternalGUIDRuntimeID_e>(next)).getType(), ExternalGUID::Invalid);
                EXPECT_EQ(database.insertGUID(keyed(type, 0)), 0xFFFFFFFEu);
                EXPECT_EQ(database.findGUID(keyed(type, rows - 1)), 0xFFFFFFFEu - (rows - 1));
            }
            EXPECT_EQ(database.insertGUID(keyed(type, rows)), next);
            EXPECT_EQ(database.findGUID(keyed(type, rows)), next);
            EXPECT_EQ(database.insertGUID(keyed(type == 5 ? 2 : type + 1, 1)), next - 1) << "one counter for all types";
            for (std::uint32_t i = 0; i < rows; ++i)
                ASSERT_EQ(database.findGUID(keyed(type, i)), 0xFFFFFFFEu - i);
        }
}

TEST(ExternalGUIDDatabaseMemory, IdsAfterAUsedUpIdReturnTheirIdentities) {
    for (std::uint32_t type = 2; type <= 5; ++type) {
        SCOPED_TRACE("type " + std::to_string(type));
        ExternalGUIDDatabase database;
        for (std::uint32_t i = 0; i < 2000; ++i)
            ASSERT_EQ(database.insertGUID(keyed(type, i)), 0xFFFFFFFEu - i);
        const Insertion refused = insertWithFailure(database, keyed(type, 2000), 1);
        ASSERT_TRUE(refused.failed);
        ASSERT_EQ(refused.id, 0xFFFFFFFFu);
        // From here on the position of a row and the distance of its id differ by one.
        for (std::uint32_t i = 2001; i < 2100; ++i)
            ASSERT_EQ(database.insertGUID(keyed(type, i)), 0xFFFFFFFEu - i);
        for (std::uint32_t i = 0; i < 2100; ++i) {
            const ExternalGUID found = database.findGUID(static_cast<ExternalGUIDRuntimeID_e>(0xFFFFFFFEu - i));
            const ExternalGUID expected = i == 2000 ? ExternalGUID::fromByteStream(0, nullptr) : keyed(type, i);
            unsigned size = 0;
            const std::string bytes(found.getBytes(&size), 96);
            ASSERT_EQ(bytes, std::string(expected.getBytes(&size), 96)) << i;
        }
    }
}

TEST(ExternalGUIDDatabaseMemory, SearchesAllocateNothing) {
    ExternalGUIDDatabase database;
    ExternalGUID guids[] = {spatial(1),  keyed(2, 1), keyed(3, 1), keyed(4, 1),
                            keyed(5, 1), spatial(2),  keyed(2, 2), ExternalGUID()};
    for (int i = 0; i < 5; ++i)
        database.insertGUID(guids[i]);
    unsigned seen;
    {
        const FailAllocation fail(1, true);
        for (const ExternalGUID& guid : guids)
            database.findGUID(guid);
        for (int i = 0; i < 5; ++i)
            database.insertGUID(guids[i]);
        seen = fail.seen();
    }
    EXPECT_EQ(seen, 0u);
}

namespace {

/// Inserts and finds ten identities of each keyed type, two times. A type either accepts all of them or none.
/// @return the number of types that accept none.
int countRefusedTypes(ExternalGUIDDatabase& database) {
    int accepted[6] = {};
    for (int round = 0; round < 2; ++round)
        for (std::uint32_t type = 2; type <= 5; ++type)
            for (std::uint32_t i = 0; i < 10; ++i) {
                const std::uint32_t number = database.insertGUID(keyed(type, i));
                accepted[type] += number != NoRuntimeID ? 1 : 0;
                EXPECT_EQ(database.findGUID(keyed(type, i)), number);
                EXPECT_EQ(database.findGUID(static_cast<ExternalGUIDRuntimeID_e>(number)).getType(),
                          number == NoRuntimeID ? 0u : type);
            }
    int refused = 0;
    for (std::uint32_t type = 2; type <= 5; ++type) {
        EXPECT_TRUE(accepted[type] == 0 || accepted[type] == 20) << "type " << type << ": " << accepted[type];
        refused += accepted[type] == 0 ? 1 : 0;
    }
    return refused;
}

/// Uses a database after a failed allocation of its constructor.
/// @param tableFailed whether the failed allocation was one of a table, which refuses the identities of one type.
void useDatabase(ExternalGUIDDatabase& database, bool tableFailed) {
    EXPECT_EQ(countRefusedTypes(database), tableFailed ? 1 : 0);
    if (!tableFailed) {
        for (std::uint32_t type = 2; type <= 5; ++type)
            EXPECT_EQ(database.insertGUID(keyed(type, 0)), 0xFFFFFFFEu - 10 * (type - 2));
    }
    EXPECT_EQ(database.findGUID(spatial(1)), NoRuntimeID);
    EXPECT_EQ(database.insertGUID(spatial(1)), 0u);
    EXPECT_EQ(database.insertGUID(spatial(2)), 1u);
    EXPECT_EQ(database.findGUID(spatial(2)), 1u);
}

} // namespace

TEST(ExternalGUIDDatabaseMemory, DatabaseIsUsableAfterAFailedAllocationInItsConstructor) {
    bool anyFailed = true;
    for (unsigned n = 1; anyFailed; ++n) {
        ASSERT_LT(n, 200u);
        SCOPED_TRACE(n);
        std::unique_ptr<ExternalGUIDDatabase> database;
        const std::string error = errorOf([&] {
            // The object itself is allocated by operator new, which does not fail here.
            const FailAllocation fail(n);
            try {
                database = std::make_unique<ExternalGUIDDatabase>();
            } catch (const std::bad_alloc&) {
            }
            anyFailed = fail.happened();
        });
        if (!anyFailed) {
            ASSERT_NE(database, nullptr);
            EXPECT_EQ(error, "");
        }
        if (!database) {
            EXPECT_EQ(n, 1u) << "the constructor throws only if the state cannot be allocated";
            EXPECT_EQ(error, "");
            continue;
        }
        EXPECT_EQ(errorOf([&] { useDatabase(*database, !error.empty()); }), "");
    }
}
