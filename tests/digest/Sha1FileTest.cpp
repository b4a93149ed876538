#include <Velmor/Digest.h>
#include <Velmor/Platform.h>

#include "PlainSha1.h"
#include "Tools.h"
#include "support/Random.h"

#include <gtest/gtest.h>

#include <support/UnderDebugger.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

using namespace velmor_tests;
using Velmor::FileStream;
using Velmor::Sha1;

namespace {

constexpr std::size_t piece = 1 << 20;

const std::vector<unsigned char> twentyZeros(20, 0);

Sha1::Digest digestOf(const std::filesystem::path& path) {
    return Sha1::FromFile(wide(path));
}

void writeBytes(const std::filesystem::path& path, const Bytes& bytes) {
    writeFile(path, std::string(bytes.begin(), bytes.end()));
}

} // namespace

TEST(Sha1File, HasTheDigestOfItsContent) {
    const TemporaryFolder folder;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{3}, std::size_t{55}, std::size_t{56},
                                   std::size_t{63}, std::size_t{64}, std::size_t{65}, std::size_t{100000}, piece - 1, piece,
                                   piece + 1, piece + 63, 2 * piece - 1, 2 * piece, 2 * piece + 1, 5 * piece + 12345}) {
        const Bytes content = Random(size).bytes(size);
        writeBytes(folder / "file", content);
        const Sha1::Digest digest = digestOf(folder / "file");
        EXPECT_EQ(digest.asBytes(), plainSha1(content)) << size;
        EXPECT_EQ(digest, Sha1::FromData(content)) << size;
    }
}

TEST(Sha1File, HasTheDigestOfTheEmptyMessageIfEmpty) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    EXPECT_EQ(digestOf(folder / "file").asString(), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}

TEST(Sha1File, IsReadAsBinary) {
    const TemporaryFolder folder;
    const std::string content("\r\n\n\r\x1A after\0 and on\r\n", 21);
    writeFile(folder / "file", content);
    EXPECT_EQ(digestOf(folder / "file").asBytes(), plainSha1(bytesOf(content)));
}

TEST(Sha1File, MayHaveAnyCharacterInItsName) {
    const TemporaryFolder folder;
    const auto path = folder / "Gr\xC3\xBC\xC3\x9F"
                               "e \xE6\xB8\xAC\xE8\xA9\xA6 \xF0\x9F\x98\x80.ifc";
    writeFile(path, "abc");
    EXPECT_EQ(digestOf(path).asString(), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1File, HasTwentyZeroBytesIfItCannotBeOpened) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const std::unique_ptr<FileStream> holder(FileStream::createFileForWriting(wide(folder / "held")));
    ASSERT_NE(holder->getHandle(), noHandle());
    const std::filesystem::path refused[] = {
        "", folder / "missing", folder / "missing" / "file", folder / "file" / "below", folder.path(), folder / "held"};
    for (const auto& path : refused)
        EXPECT_EQ(digestOf(path).asBytes(), twentyZeros) << path;
}

TEST(Sha1File, IsReadWhileAnotherStreamReadsIt) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "abc");
    const std::unique_ptr<FileStream> reader(FileStream::openFileForReading(wide(folder / "file")));
    EXPECT_EQ(digestOf(folder / "file").asString(), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1File, IsClosedAfterReading) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "abc");
    digestOf(folder / "file");
    digestOf(folder / "missing");
    const std::size_t before = openHandles();
    for (int i = 0; i < 50; ++i) {
        digestOf(folder / "file");
        digestOf(folder / "missing");
    }
    EXPECT_EQ(openHandles(), before);
    const std::unique_ptr<FileStream> writer(FileStream::createFileForWriting(wide(folder / "file")));
    EXPECT_NE(writer->getHandle(), noHandle()) << "the file is still open for reading";
}

TEST(Sha1File, CanBeRemovedAfterReading) {
    const TemporaryFolder folder;
    for (int i = 0; i < 20; ++i) {
        writeFile(folder / "file", "abc");
        EXPECT_EQ(digestOf(folder / "file").asString(), "a9993e364706816aba3e25717850c26c9cd0d89d");
        std::error_code error;
        EXPECT_TRUE(std::filesystem::remove(folder / "file", error)) << error.message();
        EXPECT_EQ(digestOf(folder / "file").asBytes(), twentyZeros);
    }
}

TEST(Sha1File, IsNotChanged) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const auto time = std::filesystem::last_write_time(folder / "file");
    digestOf(folder / "file");
    EXPECT_EQ(readFile(folder / "file"), "content");
    EXPECT_EQ(std::filesystem::last_write_time(folder / "file"), time);
    EXPECT_EQ(entries(folder.path()), 1u);
}

#if defined(__linux__)
TEST(Sha1File, HasTheDigestOfTheEmptyMessageIfItCannotBeRead) {
    // This file opens, but reading fails: no memory is mapped at address 0.
    EXPECT_EQ(digestOf("/proc/self/mem").asString(), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}
#endif

VELMOR_SCENARIO(DigestsOfMissingFiles) {
    for (const char* path : {"no-such-folder/first.ifc", "no-such-folder/first.ifc", "no-such-folder/second.ifc"})
        if (digestOf(path).asBytes() != twentyZeros)
            std::_Exit(1);
}

VELMOR_SCENARIO(DigestsOfFiles) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    digestOf(folder / "file");
    Sha1::Digest::fromString("not a digest");
}

TEST(Sha1File, ReportsOnlyTheFailedOpen) {
    const ScenarioRun run = runUnderDebugger("DigestsOfMissingFiles");
    EXPECT_EQ(run.reports, std::vector<std::string>{"opening of file no-such-folder/first.ifc for reading failed."});
    EXPECT_EQ(run.breaks, 1);
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);

    const ScenarioRun silent = runUnderDebugger("DigestsOfFiles");
    EXPECT_EQ(silent.channel, "");
    EXPECT_EQ(silent.breaks, 0);
    EXPECT_EQ(silent.exitCode, 0u) << silent.error;
}

TEST(Sha1File, PrintsNothingWithoutADebugger) {
    for (const char* scenario : {"DigestsOfMissingFiles", "DigestsOfFiles"}) {
        const ScenarioRun run = runAlone(scenario);
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.error, "");
        EXPECT_EQ(run.exitCode, 0u);
    }
}
