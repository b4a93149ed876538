// Digests when reading the file or allocating memory fails, and the memory that the digest of a file needs.
//
// The linker redirects the library's calls of os::readFile to this file (--wrap).

#include <Velmor/Digest.h>

#include "PlainSha1.h"
#include "Tools.h"
#include "support/Random.h"
#include "support/WithFailure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

using namespace velmor_tests;
using Velmor::Sha1;

// bool Velmor::os::readFile(HANDLE, void*, std::uint32_t, std::uint32_t*)
extern "C" {
bool __real__ZN6Velmor2os8readFileEPvS1_jPj(void* file, void* buffer, std::uint32_t size, std::uint32_t* count);
bool __wrap__ZN6Velmor2os8readFileEPvS1_jPj(void* file, void* buffer, std::uint32_t size, std::uint32_t* count);
}

namespace {

constexpr std::uint32_t piece = 1 << 20;

/// What one read does: it reads at most `limit` bytes and then succeeds or fails.
struct Read {
    std::uint32_t limit = piece;
    bool succeeds = true;
};

/// While this object exists, the reads follow a plan. Reads after the end of the plan are normal reads.
class PlannedReads {
public:
    explicit PlannedReads(std::vector<Read> plan) : plan_(std::move(plan)) { current = this; }
    ~PlannedReads() { current = nullptr; }
    PlannedReads(const PlannedReads&) = delete;
    PlannedReads& operator=(const PlannedReads&) = delete;

    /// The size that each read requested.
    std::vector<std::uint32_t> requested;

    bool read(void* file, void* buffer, std::uint32_t size, std::uint32_t* count) {
        const Read planned = requested.size() < plan_.size() ? plan_[requested.size()] : Read{size};
        requested.push_back(size);
        *count = 0;
        const std::uint32_t limit = std::min(size, planned.limit);
        const bool succeeded = limit == 0 || __real__ZN6Velmor2os8readFileEPvS1_jPj(file, buffer, limit, count);
        return succeeded && planned.succeeds;
    }

    static PlannedReads* current;

private:
    std::vector<Read> plan_;
};

PlannedReads* PlannedReads::current = nullptr;

/// A file of random bytes, and its digest when the reads follow a plan.
class PlannedFile {
public:
    explicit PlannedFile(std::size_t size) : content_(Random(size).bytes(size)) {
        writeFile(path(), std::string(content_.begin(), content_.end()));
    }

    std::filesystem::path path() const { return folder_ / "file"; }
    Bytes head(std::size_t size) const {
        return Bytes(content_.begin(), content_.begin() + static_cast<std::ptrdiff_t>(size));
    }

    std::vector<unsigned char> digest(std::vector<Read> plan, std::vector<std::uint32_t> expectedReads) const {
        PlannedReads reads(std::move(plan));
        const Sha1::Digest digest = Sha1::FromFile(wide(path()));
        EXPECT_EQ(reads.requested, expectedReads);
        return digest.asBytes();
    }

private:
    TemporaryFolder folder_;
    Bytes content_;
};

} // namespace

bool __wrap__ZN6Velmor2os8readFileEPvS1_jPj(void* file, void* buffer, std::uint32_t size, std::uint32_t* count) {
    return PlannedReads::current != nullptr ? PlannedReads::current->read(file, buffer, size, count)
                                            : __real__ZN6Velmor2os8readFileEPvS1_jPj(file, buffer, size, count);
}

// Reading -------------------------------------------------------------------------------------------------------------

TEST(Sha1FailingFile, ReadsPiecesOfOneMebibyteUntilAReadIsEmpty) {
    const PlannedFile file(2 * piece + 5);
    EXPECT_EQ(file.digest({}, {piece, piece, piece, piece}), plainSha1(file.head(2 * piece + 5)));
}

TEST(Sha1FailingFile, EndsTheMessageAtAReadError) {
    const PlannedFile file(3 * piece);
    EXPECT_EQ(file.digest({{0, false}}, {piece}), plainSha1({}));
    EXPECT_EQ(file.digest({{piece}, {0, false}}, {piece, piece}), plainSha1(file.head(piece)));
    EXPECT_EQ(file.digest({{piece}, {piece}, {0, false}}, {piece, piece, piece}), plainSha1(file.head(2 * piece)));
}

TEST(Sha1FailingFile, IsClosedAfterAReadError) {
    const PlannedFile file(2 * piece);
    file.digest({{0, false}}, {piece});
    const std::size_t handles = openHandles();
    for (int i = 0; i < 5; ++i) {
        file.digest({{0, false}}, {piece});
        file.digest({{piece}, {0, false}}, {piece, piece});
    }
    EXPECT_EQ(openHandles(), handles);
}

TEST(Sha1FailingFile, IgnoresTheBytesOfAFailedRead) {
    const PlannedFile file(2 * piece);
    EXPECT_EQ(file.digest({{100, false}}, {piece}), plainSha1({}));
    EXPECT_EQ(file.digest({{piece}, {100, false}}, {piece, piece}), plainSha1(file.head(piece)));
}

TEST(Sha1FailingFile, EndsAtAnEmptyRead) {
    const PlannedFile file(2 * piece);
    EXPECT_EQ(file.digest({{0}}, {piece}), plainSha1({}));
    EXPECT_EQ(file.digest({{piece}, {0}}, {piece, piece}), plainSha1(file.head(piece)));
}

TEST(Sha1FailingFile, ContinuesAfterAShortRead) {
    const PlannedFile file(1000);
    EXPECT_EQ(file.digest({{1}, {63}, {64}, {65}, {500}}, {piece, piece, piece, piece, piece, piece, piece}),
              plainSha1(file.head(1000)));
}

// Memory --------------------------------------------------------------------------------------------------------------

TEST(Sha1Memory, IsOnePieceForALargeFile) {
    const TemporaryFolder folder;
    const auto path = folder / "file";
    writeFile(path, "a large file: zeros after this text");
    std::filesystem::resize_file(path, 64 << 20);
    Bytes content = bytesOf("a large file: zeros after this text");
    content.resize(64 << 20);
    const auto expected = plainSha1(content);
    const Velmor::WideString name = wide(path);

    std::optional<Sha1::Digest> digest;
    std::size_t allocated = 0;
    {
        const FailAllocation count(0, false, Allocations::All);
        digest = Sha1::FromFile(name);
        allocated = count.totalSize();
    }
    EXPECT_EQ(digest->asBytes(), expected);
    EXPECT_GE(allocated, piece) << "the allocation of the buffer was not counted";
    EXPECT_LE(allocated, piece + (64u << 10)); // the sum of all allocations: one buffer
}

TEST(Sha1Memory, IsNotAllocatedByAHasher) {
    const Bytes bytes = Random(1).bytes(1000);
    const FailAllocation count(0, false, Allocations::All);
    Sha1 hasher;
    hasher.appendData(bytes);
    Sha1 copy(hasher);
    Sha1 moved(std::move(copy));
    copy = hasher;
    moved = std::move(copy);
    moved.appendData(bytes);
    EXPECT_EQ(count.seen(), 0u);
}

TEST(Sha1Memory, ExhaustionThrowsWithoutALeak) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const Velmor::WideString path = wide(folder / "file");
    const Velmor::WideString missing = wide(folder / "missing");
    const Bytes bytes(100, 'x');
    const Sha1::Digest digest = Sha1::FromData(bytes);
    const std::string text = digest.asString();
    // The first calls allocate more: the shared invalid digest, and the one report of a failed open.
    Sha1::Digest::fromString("");
    Sha1::FromFile(missing);

    const auto throwsAtEachAllocation = [](const char* what, const auto& operation) {
        SCOPED_TRACE(what);
        for (unsigned n = 1;; ++n) {
            ASSERT_LT(n, 50u);
            const Outcome outcome = outcomeOf(n, false, operation);
            EXPECT_EQ(outcome.threw, outcome.failed) << "allocation " << n;
            EXPECT_EQ(outcome.leaked, 0) << "allocation " << n;
            if (!outcome.failed) {
                EXPECT_GT(n, 1u) << "no allocation failed";
                return;
            }
        }
    };
    std::size_t handles = 0;
    for (int round = 0; round < 2; ++round) {
        handles = openHandles(); // the first exception of a process may open handles that stay open
        throwsAtEachAllocation("FromFile", [&] { Sha1::FromFile(path); });
        throwsAtEachAllocation("FromFile of a missing file", [&] { Sha1::FromFile(missing); });
    }
    EXPECT_EQ(openHandles(), handles);
    throwsAtEachAllocation("FromData", [&] { Sha1::FromData(bytes); });
    throwsAtEachAllocation("calculateDigest", [] { Sha1().calculateDigest(); });
    throwsAtEachAllocation("a copy", [&] { const Sha1::Digest copy(digest); });
    throwsAtEachAllocation("fromString", [&] { Sha1::Digest::fromString(text); });
    throwsAtEachAllocation("fromString of an invalid text", [] { Sha1::Digest::fromString(""); });
    throwsAtEachAllocation("asWString", [&] { digest.asWString(); });
    throwsAtEachAllocation("asBase64WString", [&] { digest.asBase64WString(); });
}

TEST(Sha1Memory, AFailedAssignmentLeavesTheDigestUnchanged) {
    const Sha1::Digest source(std::vector<unsigned char>(100, 1));
    Sha1::Digest target(std::vector<unsigned char>(20, 2));
    EXPECT_TRUE(outcomeOf(1, false, [&] { target = source; }).threw);
    EXPECT_EQ(target.asBytes(), std::vector<unsigned char>(20, 2));
}
