// Opening, ownership of the handle, reading, writing and seeking.

#include "FileStreams.h"

#include <limits>
#include <numeric>
#include <stdexcept>
#include <type_traits>

using namespace velmor_tests;
using Velmor::FileStream;

namespace {

/// Makes the protected constructor public.
struct AnyStream : FileStream {
    AnyStream(HANDLE handle, bool owns) : FileStream(handle, owns) {}
};

static_assert(sizeof(FileStream) == 16);
static_assert(!std::is_polymorphic_v<FileStream>);

} // namespace

TEST(FileStream, DefaultStreamHasNoHandle) {
    const FileStream stream;
    EXPECT_EQ(stream.getHandle(), noHandle());
    EXPECT_TRUE(stream.isValid());
}

TEST(FileStream, OpensAnExistingFile) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const Stream stream = openFile(folder / "file");
    ASSERT_TRUE(holdsFile(stream));
    EXPECT_TRUE(isOpenFile(stream->getHandle()));
    EXPECT_EQ(take(stream, 7), "content");
}

TEST(FileStream, CreatesAFile) {
    const TemporaryFolder folder;
    {
        const Stream stream = createFile(folder / "file");
        ASSERT_TRUE(holdsFile(stream));
        EXPECT_TRUE(put(stream, "content"));
    }
    EXPECT_EQ(readFile(folder / "file"), "content");
}

TEST(FileStream, CreatingTruncatesAnExistingFile) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "a longer content");
    createFile(folder / "file");
    EXPECT_EQ(readFile(folder / "file"), "");
}

TEST(FileStream, FileNamesMayHaveAnyCharacter) {
    const TemporaryFolder folder;
    const auto path = folder / "Gr\xC3\xBC\xC3\x9F"
                               "e \xE6\xB8\xAC\xE8\xA9\xA6 \xF0\x9F\x98\x80.txt";
    ASSERT_TRUE(put(createFile(path), "content"));
    EXPECT_EQ(readFile(path), "content");
    EXPECT_EQ(take(openFile(path), 100), "content");
}

TEST(FileStream, FactoriesReturnAStreamWithoutHandleForInvalidPaths) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const std::filesystem::path invalid[] = {
        "",
        folder.path(),
        folder / "missing" / "file",
        folder / "file" / "child",
    };
    for (const auto& path : invalid) {
        SCOPED_TRACE(path);
        const Stream reader = openFile(path);
        ASSERT_NE(reader, nullptr);
        EXPECT_EQ(reader->getHandle(), noHandle());
        const Stream writer = createFile(path);
        ASSERT_NE(writer, nullptr);
        EXPECT_EQ(writer->getHandle(), noHandle());
    }
    EXPECT_EQ(openFile(folder / "missing")->getHandle(), noHandle());
    EXPECT_EQ(entries(folder.path()), 1u);
    EXPECT_EQ(readFile(folder / "file"), "content");
}

TEST(FileStream, OperationsWithoutHandleFail) {
    const TemporaryFolder folder;
    const Stream streams[] = {Stream(new FileStream), openFile(folder / "missing"), createFile(folder / "missing" / "file"),
                              Stream(FileStream::createFromHandle(noHandle()))};
    for (const Stream& stream : streams) {
        std::vector<char> block{'o', 'l', 'd'};
        EXPECT_FALSE(stream->read(10, block));
        EXPECT_TRUE(block.empty());
        block = {'o', 'l', 'd'};
        EXPECT_FALSE(stream->read(0, block));
        EXPECT_TRUE(block.empty());
        EXPECT_FALSE(put(stream, "text"));
        stream->seekToBegin();
        stream->seekToOffset(1);
        EXPECT_EQ(stream->getHandle(), noHandle());
        EXPECT_TRUE(stream->isValid());
    }
}

TEST(FileStream, IsValidIsInverted) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    const Stream reader = openFile(folder / "file");
    EXPECT_FALSE(reader->isValid());
    EXPECT_FALSE(createFile(folder / "other")->isValid());
    EXPECT_FALSE(createTemporary()->isValid());
    EXPECT_TRUE(openFile(folder / "missing")->isValid());

    const HANDLE handle = openHandle(folder / "file");
    const Stream borrowed(FileStream::createFromHandle(handle));
    EXPECT_FALSE(borrowed->isValid());
    closeHandle(handle);
    EXPECT_TRUE(borrowed->isValid());
}

TEST(FileStream, FactoriesOwnTheirHandle) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    Stream streams[] = {openFile(folder / "file"), createFile(folder / "other"), createTemporary()};
    for (Stream& stream : streams) {
        const HANDLE handle = stream->getHandle();
        EXPECT_TRUE(isOpenFile(handle));
        stream.reset();
        EXPECT_FALSE(isOpenFile(handle));
    }
}

TEST(FileStream, StreamFromHandleDoesNotCloseIt) {
    const Stream owner = createTemporary();
    ASSERT_TRUE(put(owner, "content"));
    const HANDLE handle = owner->getHandle();
    {
        const Stream borrowed(FileStream::createFromHandle(handle));
        EXPECT_EQ(borrowed->getHandle(), handle);
        borrowed->seekToBegin();
        EXPECT_EQ(take(borrowed, 3), "con");
    }
    EXPECT_TRUE(isOpenFile(handle));
    EXPECT_EQ(take(owner, 10), "tent");
}

TEST(FileStream, ProtectedConstructorStoresHandleAndOwnership) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const HANDLE handle = openHandle(folder / "file");
    {
        const AnyStream borrowed(handle, false);
        EXPECT_EQ(borrowed.getHandle(), handle);
    }
    EXPECT_TRUE(isOpenFile(handle));
    { const AnyStream owned(handle, true); }
    EXPECT_FALSE(isOpenFile(handle));
    { const AnyStream none(noHandle(), true); }
}

TEST(FileStream, LeaksNoHandle) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    const auto round = [&] {
        openFile(folder / "file");
        createFile(folder / "other");
        createTemporary();
        openFile(folder / "missing");
        createFile(folder / "missing" / "file");
        const Stream holder = createFile(folder / "other");
        openFile(folder / "other");
        createFile(folder / "other");
    };
    round();
    const std::size_t before = openHandles();
    for (int i = 0; i < 200; ++i)
        round();
    EXPECT_EQ(openHandles(), before);
}

TEST(FileStream, ReadAtTheEndIsShort) {
    const TemporaryFolder folder;
    const std::string content = "a file of thirty bytes, really";
    ASSERT_EQ(content.size(), 30u);
    writeFile(folder / "file", content);
    const Stream stream = openFile(folder / "file");
    std::vector<char> block(1000, 'x');
    EXPECT_TRUE(stream->read(100, block));
    EXPECT_EQ(std::string(block.begin(), block.end()), content);
    // Each read at the end of the file succeeds and returns nothing.
    EXPECT_EQ(take(stream, 100), "");
    EXPECT_EQ(take(stream, 1), "");
}

TEST(FileStream, ReadAdvancesThePosition) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "0123456789");
    const Stream stream = openFile(folder / "file");
    EXPECT_EQ(take(stream, 3), "012");
    EXPECT_EQ(take(stream, 0), "");
    EXPECT_EQ(take(stream, 4), "3456");
    EXPECT_EQ(take(stream, 4), "789");
}

TEST(FileStream, WritesAndReadsBytesUnchanged) {
    const TemporaryFolder folder;
    std::string bytes(256, '\0');
    std::iota(bytes.begin(), bytes.end(), static_cast<char>(0));
    bytes += "\r\n\n\r\x1A end";
    ASSERT_TRUE(put(createFile(folder / "file"), bytes));
    EXPECT_EQ(readFile(folder / "file"), bytes);
    EXPECT_EQ(take(openFile(folder / "file"), 1000), bytes);
}

TEST(FileStream, WritesAndReadsLargeBlocks) {
    const TemporaryFolder folder;
    std::string bytes(8u << 20, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 2654435761u >> 13);
    ASSERT_TRUE(put(createFile(folder / "file"), bytes));
    EXPECT_TRUE(take(openFile(folder / "file"), bytes.size()) == bytes);
}

TEST(FileStream, WriteAdvancesThePosition) {
    const TemporaryFolder folder;
    {
        const Stream stream = createFile(folder / "file");
        EXPECT_TRUE(put(stream, "one "));
        EXPECT_TRUE(stream->write(0, "nothing"));
        EXPECT_TRUE(stream->write(0, nullptr));
        EXPECT_TRUE(put(stream, "two"));
    }
    EXPECT_EQ(readFile(folder / "file"), "one two");
}

TEST(FileStream, WriteUsesOnlyTheLow32BitsOfTheSize) {
    const TemporaryFolder folder;
    EXPECT_TRUE(createFile(folder / "file")->write((std::uint64_t{1} << 32) + 5, "bytes"));
    EXPECT_EQ(readFile(folder / "file"), "bytes");
    EXPECT_TRUE(createFile(folder / "file")->write(std::uint64_t{7} << 32, "bytes"));
    EXPECT_EQ(readFile(folder / "file"), "");
}

TEST(FileStream, WriteFailsOnAStreamForReading) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const Stream stream = openFile(folder / "file");
    EXPECT_FALSE(put(stream, "text"));
    EXPECT_FALSE(stream->write(0, "text"));
    EXPECT_EQ(take(stream, 100), "content");
    EXPECT_EQ(readFile(folder / "file"), "content");
}

TEST(FileStream, ReadFailsOnAStreamForWriting) {
    const TemporaryFolder folder;
    const Stream stream = createFile(folder / "file");
    ASSERT_TRUE(put(stream, "content"));
    stream->seekToBegin();
    std::vector<char> block{'o', 'l', 'd'};
    EXPECT_FALSE(stream->read(3, block));
    EXPECT_TRUE(block.empty());
    block = {'o', 'l', 'd'};
    EXPECT_FALSE(stream->read(0, block));
    EXPECT_TRUE(block.empty());
}

TEST(FileStream, ReadOfTheMaximumSizeThrowsLengthError) {
    const Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "content"));
    stream->seekToBegin();
    std::vector<char> block;
    EXPECT_THROW(stream->read(std::numeric_limits<std::uint64_t>::max(), block), std::length_error);
    EXPECT_EQ(take(stream, 7), "content");
}

TEST(FileStream, SeeksToAnOffsetAndToTheBegin) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "0123456789");
    const Stream stream = openFile(folder / "file");
    stream->seekToOffset(7);
    EXPECT_EQ(take(stream, 2), "78");
    stream->seekToOffset(2);
    EXPECT_EQ(take(stream, 2), "23");
    stream->seekToBegin();
    EXPECT_EQ(take(stream, 2), "01");
    stream->seekToOffset(10);
    EXPECT_EQ(take(stream, 2), "");
    stream->seekToOffset(1000);
    EXPECT_EQ(take(stream, 2), "");
    stream->seekToOffset(0);
    EXPECT_EQ(take(stream, 2), "01");
}

TEST(FileStream, WritingAfterTheEndFillsTheGapWithZeros) {
    const TemporaryFolder folder;
    {
        const Stream stream = createFile(folder / "file");
        ASSERT_TRUE(put(stream, "abc"));
        stream->seekToOffset(6);
        ASSERT_TRUE(put(stream, "xyz"));
        stream->seekToOffset(1);
        ASSERT_TRUE(put(stream, "B"));
    }
    EXPECT_EQ(readFile(folder / "file"), std::string("aBc\0\0\0xyz", 9));
}

TEST(FileStream, SeekReachesOnlyOffsetsBelowTwoGibibytes) {
    // The low 32 bits of the offset are a signed distance from the beginning.
    const Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "0123456789"));
    for (const std::uint64_t offset : {std::uint64_t{0x80000000}, std::uint64_t{0x80000001}, std::uint64_t{0xFFFFFFFF},
                                       std::uint64_t{0x180000000}, std::numeric_limits<std::uint64_t>::max()}) {
        stream->seekToOffset(3);
        stream->seekToOffset(offset); // a negative distance: the position does not change
        EXPECT_EQ(take(stream, 2), "34") << offset;
    }
    for (const std::uint64_t offset : {std::uint64_t{0x100000005}, std::uint64_t{0xFFFFFFFF00000005}}) {
        stream->seekToOffset(offset);
        EXPECT_EQ(take(stream, 2), "56") << offset;
    }
    stream->seekToOffset(0x7FFFFFFF);
    ASSERT_TRUE(put(stream, "end")); // leaves a hole of 2 GiB
    stream->seekToOffset(0x7FFFFFFE);
    EXPECT_EQ(take(stream, 100), std::string("\0end", 4));
    stream->seekToOffset(0x80000000);
    EXPECT_EQ(take(stream, 2), "");
    stream->seekToBegin();
    EXPECT_EQ(take(stream, 12), std::string("0123456789\0\0", 12));
}
