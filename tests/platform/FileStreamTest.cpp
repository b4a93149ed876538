#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <support/UnderDebugger.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#if !defined(_WIN32)
    #include <fcntl.h>
    #include <signal.h>
    #include <sys/wait.h>
    #include <unistd.h>
#endif

using namespace velmor_tests;
using Velmor::EnvironmentVariables;
using Velmor::FileStream;
using Velmor::ProcessOperations;

namespace {

using Stream = std::unique_ptr<FileStream>;

Stream openFile(const std::filesystem::path& path) {
    return Stream(FileStream::openFileForReading(wide(path)));
}

Stream createFile(const std::filesystem::path& path) {
    return Stream(FileStream::createFileForWriting(wide(path)));
}

Stream createTemporary() {
    return Stream(FileStream::createTemporaryFile());
}

bool holdsFile(const Stream& stream) {
    return stream->getHandle() != noHandle();
}

/// Reads a block that must be readable.
std::string take(const Stream& stream, std::uint64_t size) {
    std::vector<char> block{'o', 'l', 'd'};
    EXPECT_TRUE(stream->read(size, block));
    return std::string(block.begin(), block.end());
}

bool put(const Stream& stream, const std::string& text) {
    return stream->write(text.size(), text.data());
}

/// Lets temporary files be created in a folder of the test's own.
struct OwnTemporaryFolder {
    TemporaryFolder folder;
    VariableSetting setting{temporaryFolderVariable, narrow(folder.path())};

    /// Names of the temporary files that the folder shows; the folders of the suite's children may be there, too.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            if (!entry.is_directory())
                found.push_back(narrow(entry.path().filename()));
        return found;
    }
};

/// Path of the only temporary file in a folder: on Windows the folder shows it, on Linux the handle names it.
std::filesystem::path pathOfTemporary([[maybe_unused]] const OwnTemporaryFolder& temporaries,
                                      [[maybe_unused]] const Stream& stream) {
#if defined(_WIN32)
    const auto names = temporaries.names();
    return names.size() == 1 ? temporaries.folder.path() / pathOf(names.front()) : std::filesystem::path();
#else
    std::string target = std::filesystem::read_symlink("/proc/self/fd/" + number(stream->getHandle())).string();
    const std::string deleted = " (deleted)";
    if (target.ends_with(deleted))
        target.resize(target.size() - deleted.size());
    return target;
#endif
}

bool isNameOfTemporary(const std::string& name) {
    const std::size_t digits = name.size() - std::min<std::size_t>(name.size(), 7);
    return digits >= 1 && digits <= 4 && name.starts_with("KXF") && name.ends_with(".tmp") &&
           std::all_of(name.begin() + 3, name.end() - 4,
                       [](char c) { return std::isxdigit(static_cast<unsigned char>(c)); });
}

/// For each break, how many reports came before it.
using Order = std::vector<std::size_t>;

/// Makes the protected constructor callable.
struct AnyStream : FileStream {
    AnyStream(HANDLE handle, bool owns) : FileStream(handle, owns) {}
};

static_assert(sizeof(FileStream) == 16);
static_assert(!std::is_polymorphic_v<FileStream>);

} // namespace

// Opening
// ---------------------------------------------------------------------------------------------------------------------

TEST(FileStream, DefaultStreamHoldsNoHandle) {
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

TEST(FileStream, CreatingEmptiesAnExistingFile) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "a longer content");
    createFile(folder / "file");
    EXPECT_EQ(readFile(folder / "file"), "");
}

TEST(FileStream, NamesMayHoldAnyCharacter) {
    const TemporaryFolder folder;
    const auto path = folder / "Gr\xC3\xBC\xC3\x9F"
                               "e \xE6\xB8\xAC\xE8\xA9\xA6 \xF0\x9F\x98\x80.txt";
    ASSERT_TRUE(put(createFile(path), "content"));
    EXPECT_EQ(readFile(path), "content");
    EXPECT_EQ(take(openFile(path), 100), "content");
}

TEST(FileStream, RefusedPathsGiveAStreamOnNoHandle) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const std::filesystem::path refused[] = {
        "",
        folder.path(),
        folder / "missing" / "file",
        folder / "file" / "below",
    };
    for (const auto& path : refused) {
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

TEST(FileStream, OperationsOnNoHandleFailWithoutHarm) {
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

TEST(FileStream, IsValidTellsTheOpposite) {
    // The inverted sense is meant.
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

// Ownership
// -------------------------------------------------------------------------------------------------------------------

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

TEST(FileStream, BorrowedHandleStaysOpen) {
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
        const AnyStream lent(handle, false);
        EXPECT_EQ(lent.getHandle(), handle);
    }
    EXPECT_TRUE(isOpenFile(handle));
    { const AnyStream owned(handle, true); }
    EXPECT_FALSE(isOpenFile(handle));
    { const AnyStream none(noHandle(), true); }
}

TEST(FileStream, LeavesNoHandleBehind) {
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

// Reading and writing
// ---------------------------------------------------------------------------------------------------------

TEST(FileStream, ReadingMoreThanThereIsGivesWhatThereIs) {
    const TemporaryFolder folder;
    const std::string content = "a file of thirty bytes, really";
    ASSERT_EQ(content.size(), 30u);
    writeFile(folder / "file", content);
    const Stream stream = openFile(folder / "file");
    std::vector<char> block(1000, 'x');
    EXPECT_TRUE(stream->read(100, block));
    EXPECT_EQ(std::string(block.begin(), block.end()), content);
    // At the end: a success with nothing, again and again.
    EXPECT_EQ(take(stream, 100), "");
    EXPECT_EQ(take(stream, 1), "");
}

TEST(FileStream, ReadsFollowOneAnother) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "0123456789");
    const Stream stream = openFile(folder / "file");
    EXPECT_EQ(take(stream, 3), "012");
    EXPECT_EQ(take(stream, 0), "");
    EXPECT_EQ(take(stream, 4), "3456");
    EXPECT_EQ(take(stream, 4), "789");
}

TEST(FileStream, BytesPassUnchanged) {
    const TemporaryFolder folder;
    std::string bytes(256, '\0');
    std::iota(bytes.begin(), bytes.end(), static_cast<char>(0));
    bytes += "\r\n\n\r\x1A end";
    ASSERT_TRUE(put(createFile(folder / "file"), bytes));
    EXPECT_EQ(readFile(folder / "file"), bytes);
    EXPECT_EQ(take(openFile(folder / "file"), 1000), bytes);
}

TEST(FileStream, LargeBlocksPassAtOnce) {
    const TemporaryFolder folder;
    std::string bytes(8u << 20, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 2654435761u >> 13);
    ASSERT_TRUE(put(createFile(folder / "file"), bytes));
    EXPECT_TRUE(take(openFile(folder / "file"), bytes.size()) == bytes);
}

TEST(FileStream, WritesFollowOneAnother) {
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

TEST(FileStream, OnlyTheLow32BitsOfAWriteCount) {
    const TemporaryFolder folder;
    EXPECT_TRUE(createFile(folder / "file")->write((std::uint64_t{1} << 32) + 5, "bytes"));
    EXPECT_EQ(readFile(folder / "file"), "bytes");
    EXPECT_TRUE(createFile(folder / "file")->write(std::uint64_t{7} << 32, "bytes"));
    EXPECT_EQ(readFile(folder / "file"), "");
}

TEST(FileStream, ReadingStreamRefusesToWrite) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const Stream stream = openFile(folder / "file");
    EXPECT_FALSE(put(stream, "text"));
    EXPECT_FALSE(stream->write(0, "text"));
    EXPECT_EQ(take(stream, 100), "content");
    EXPECT_EQ(readFile(folder / "file"), "content");
}

TEST(FileStream, WritingStreamRefusesToRead) {
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

TEST(FileStream, BlockBeyondAllMemoryIsRefusedByTheContainer) {
    const Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "content"));
    stream->seekToBegin();
    std::vector<char> block;
    EXPECT_THROW(stream->read(std::numeric_limits<std::uint64_t>::max(), block), std::length_error);
    EXPECT_EQ(take(stream, 7), "content");
}

// The file position
// -----------------------------------------------------------------------------------------------------------

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

TEST(FileStream, WritingBehindTheEndLeavesZeros) {
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

TEST(FileStream, SeeksReachTheirPlaceBelowTwoGigabytesOnly) {
    // The limit is meant: the low 32 bits of an offset are a signed distance from the beginning.
    const Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "0123456789"));
    for (const std::uint64_t offset : {std::uint64_t{0x80000000}, std::uint64_t{0x80000001}, std::uint64_t{0xFFFFFFFF},
                                       std::uint64_t{0x180000000}, std::numeric_limits<std::uint64_t>::max()}) {
        stream->seekToOffset(3);
        stream->seekToOffset(offset); // a negative distance: the position stays
        EXPECT_EQ(take(stream, 2), "34") << offset;
    }
    for (const std::uint64_t offset : {std::uint64_t{0x100000005}, std::uint64_t{0xFFFFFFFF00000005}}) {
        stream->seekToOffset(offset);
        EXPECT_EQ(take(stream, 2), "56") << offset;
    }
    stream->seekToOffset(0x7FFFFFFF);
    ASSERT_TRUE(put(stream, "end")); // a hole of 2 GiB before it
    stream->seekToOffset(0x7FFFFFFE);
    EXPECT_EQ(take(stream, 100), std::string("\0end", 4));
    stream->seekToOffset(0x80000000);
    EXPECT_EQ(take(stream, 2), "");
    stream->seekToBegin();
    EXPECT_EQ(take(stream, 12), std::string("0123456789\0\0", 12));
}

// Sharing between users of the library
// ----------------------------------------------------------------------------------------

TEST(FileStream, ReadersShareAFile) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const Stream first = openFile(folder / "file");
    const Stream second = openFile(folder / "file");
    ASSERT_TRUE(holdsFile(first));
    ASSERT_TRUE(holdsFile(second));
    EXPECT_EQ(take(first, 3), "con");
    EXPECT_EQ(take(second, 7), "content");
}

TEST(FileStream, ReaderKeepsWritersOut) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    Stream first = openFile(folder / "file");
    Stream second = openFile(folder / "file");
    EXPECT_FALSE(holdsFile(createFile(folder / "file")));
    EXPECT_EQ(readFile(folder / "file"), "content");
    first.reset();
    EXPECT_FALSE(holdsFile(createFile(folder / "file")));
    EXPECT_EQ(take(second, 10), "content");
    second.reset();
    EXPECT_TRUE(holdsFile(createFile(folder / "file")));
    EXPECT_EQ(readFile(folder / "file"), "");
}

TEST(FileStream, WriterKeepsEverybodyOut) {
    const TemporaryFolder folder;
    {
        const Stream writer = createFile(folder / "file");
        ASSERT_TRUE(put(writer, "con"));
        EXPECT_FALSE(holdsFile(openFile(folder / "file")));
        EXPECT_FALSE(holdsFile(createFile(folder / "file")));
        // The refused one has not emptied the file.
        ASSERT_TRUE(put(writer, "tent"));
    }
    EXPECT_EQ(readFile(folder / "file"), "content");
    EXPECT_TRUE(holdsFile(openFile(folder / "file")));
    EXPECT_TRUE(holdsFile(createFile(folder / "file")));
}

#if defined(_WIN32)
TEST(FileStream, OpenFilesAreNotDeleted) {
    const TemporaryFolder folder;
    writeFile(folder / "read", "");
    const Stream reader = openFile(folder / "read");
    const Stream writer = createFile(folder / "written");
    for (const char* name : {"read", "written"}) {
        std::error_code error;
        EXPECT_FALSE(std::filesystem::remove(folder / name, error));
        EXPECT_TRUE(error);
    }
    EXPECT_EQ(entries(folder.path()), 2u);
}
#endif

TEST(FileStream, SharingRulesHoldBetweenProcesses) {
    const TemporaryFolder folder;
    const auto path = folder / "file";
    writeFile(path, "content");
    const std::string name = narrow(path);
    {
        Child reader({"open " + name, "ready", "wait"});
        EXPECT_EQ(reader.ready().value("open"), "done");
        EXPECT_EQ(take(openFile(path), 10), "content");
        EXPECT_FALSE(holdsFile(createFile(path)));
        EXPECT_EQ(readFile(path), "content");
    }
    {
        const Stream reader = openFile(path);
        Child other({"open " + name, "create " + name});
        const Report report = other.report();
        EXPECT_EQ(report.value("open"), "done");
        EXPECT_EQ(report.value("create"), "refused");
        EXPECT_EQ(take(reader, 10), "content");
    }
    {
        const Stream writer = createFile(path);
        ASSERT_TRUE(put(writer, "written"));
        Child other({"open " + name, "create " + name});
        const Report report = other.report();
        EXPECT_EQ(report.value("open"), "refused");
        EXPECT_EQ(report.value("create"), "refused");
    }
    EXPECT_EQ(readFile(path), "written");
    {
        Child writer({"create " + name, "ready", "wait"});
        EXPECT_EQ(writer.ready().value("create"), "done");
        EXPECT_FALSE(holdsFile(openFile(path)));
        EXPECT_FALSE(holdsFile(createFile(path)));
    }
    EXPECT_TRUE(holdsFile(openFile(path)));
    EXPECT_TRUE(holdsFile(createFile(path)));
}

TEST(FileStream, ClaimOnAFileEndsWithTheProcess) {
    const TemporaryFolder folder;
    const auto path = folder / "file";
    Child writer({"create " + narrow(path), "ready", "wait"});
    EXPECT_EQ(writer.ready().value("create"), "done");
    EXPECT_FALSE(holdsFile(openFile(path)));
    ProcessOperations::terminateProcess(writer.handle(), 1);
    writer.join();
    EXPECT_TRUE(eventually([&] { return holdsFile(openFile(path)); }));
    EXPECT_TRUE(holdsFile(createFile(path)));
}

TEST(FileStream, ClaimOnAFileDoesNotPassToAChild) {
    const TemporaryFolder folder;
    const auto path = folder / "file";
    Stream writer = createFile(path);
    for (const bool inherit : {false, true}) {
        Child child({"ready", "wait"}, inherit);
        child.ready();
        writer.reset();
        EXPECT_TRUE(holdsFile(openFile(path)));
        writer = createFile(path);
        EXPECT_TRUE(holdsFile(writer));
    }
}

#if !defined(_WIN32)
TEST(FileStream, ClosedFileIsFreeWhileAChildIsBeingStarted) {
    const TemporaryFolder folder;
    for (const bool writing : {true, false}) {
        writeFile(folder / "file", "");
        Stream stream = writing ? createFile(folder / "file") : openFile(folder / "file");
        ASSERT_TRUE(holdsFile(stream));
        const pid_t child = fork(); // as it is for a moment, before its program runs: with a copy of every descriptor
        if (child == 0)
            for (;;)
                pause();
        ASSERT_GT(child, 0);
        stream.reset();
        EXPECT_TRUE(holdsFile(createFile(folder / "file"))) << writing;
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
}
#endif

TEST(FileStream, OneOfManyCompetingWritersHoldsTheFile) {
    const TemporaryFolder folder;
    const auto path = folder / "file";
    openFile(folder / "missing"); // the first failure of each kind happens here, and not on two threads at once
    createFile(folder / "missing" / "file");
    std::atomic<int> holders{0};
    std::atomic<int> wins{0};
    std::atomic<int> faults{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                const Stream writer = createFile(path);
                if (holdsFile(writer)) {
                    faults += holders++ != 0;
                    faults += !put(writer, "ten bytes.");
                    std::this_thread::yield();
                    std::error_code error;
                    faults += std::filesystem::file_size(path, error) != 10;
                    ++wins;
                    --holders;
                } else if (const Stream reader = openFile(path); holdsFile(reader)) {
                    faults += holders != 0;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(faults, 0);
    EXPECT_GT(wins, 0);
}

// Temporary files
// -------------------------------------------------------------------------------------------------------------

TEST(FileStream, TemporaryFileIsEmptyReadableAndWritable) {
    const Stream stream = createTemporary();
    ASSERT_TRUE(holdsFile(stream));
    EXPECT_EQ(take(stream, 10), "");
    ASSERT_TRUE(put(stream, "0123456789"));
    stream->seekToOffset(4);
    EXPECT_EQ(take(stream, 3), "456");
    ASSERT_TRUE(put(stream, "x"));
    stream->seekToBegin();
    EXPECT_EQ(take(stream, 100), "0123456x89");
}

TEST(FileStream, TemporaryFileHasItsNameInTheUsersFolder) {
    const OwnTemporaryFolder temporaries;
    const Stream stream = createTemporary();
    const auto path = pathOfTemporary(temporaries, stream);
    EXPECT_TRUE(std::filesystem::equivalent(path.parent_path(), temporaries.folder.path())) << path;
    EXPECT_TRUE(isNameOfTemporary(narrow(path.filename()))) << path;
}

#if !defined(_WIN32)
TEST(FileStream, TemporaryFolderIsTmpUnlessTheUserSaysOtherwise) {
    for (const auto& value : {std::optional<std::string>(), std::optional<std::string>("")}) {
        OwnTemporaryFolder temporaries;
        setVariable(temporaryFolderVariable, value);
        const Stream stream = createTemporary();
        const auto path = pathOfTemporary(temporaries, stream);
        EXPECT_EQ(path.parent_path(), "/tmp");
        EXPECT_TRUE(isNameOfTemporary(narrow(path.filename()))) << path;
    }
}

TEST(FileStream, TemporaryFolderMustLeaveRoomForAName) {
    const TemporaryFolder folder;
    std::string path = narrow(folder.path());
    while (path.size() < 248 - 100)
        path += "/" + std::string(50, 'd');
    path += "/" + std::string(245 - path.size(), 'e');
    for (const std::string& fits : {path, path + "e"}) {
        std::filesystem::create_directories(fits);
        const VariableSetting setting(temporaryFolderVariable, fits);
        EXPECT_TRUE(holdsFile(createTemporary())) << fits.size();
    }
    path += "ee";
    std::filesystem::create_directories(path);
    const VariableSetting setting(temporaryFolderVariable, path);
    EXPECT_FALSE(holdsFile(createTemporary()));
    // Not even its name can be had, and no other folder takes its place.
    setVariable(temporaryFolderVariable, std::string(5000, '/'));
    EXPECT_FALSE(holdsFile(createTemporary()));
}
#endif

TEST(FileStream, TemporaryFilesAreDifferentFiles) {
    const OwnTemporaryFolder temporaries;
    std::vector<Stream> streams;
    for (int i = 0; i < 50; ++i) {
        streams.push_back(createTemporary());
        ASSERT_TRUE(holdsFile(streams.back()));
        ASSERT_TRUE(put(streams.back(), std::to_string(i)));
    }
    std::set<HANDLE> handles;
    for (int i = 0; i < 50; ++i) {
        const Stream& stream = streams[static_cast<std::size_t>(i)];
        stream->seekToBegin();
        EXPECT_EQ(take(stream, 10), std::to_string(i));
        handles.insert(stream->getHandle());
    }
    EXPECT_EQ(handles.size(), 50u);
    for (const std::string& name : temporaries.names())
        EXPECT_TRUE(isNameOfTemporary(name)) << name;
    streams.clear();
    EXPECT_TRUE(temporaries.names().empty());
}

TEST(FileStream, TemporaryFileIsReachedThroughItsHandleOnly) {
    const OwnTemporaryFolder temporaries;
    const Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "content"));
    const auto path = pathOfTemporary(temporaries, stream);
    EXPECT_FALSE(holdsFile(openFile(path)));
    EXPECT_EQ(Child({"open " + narrow(path)}).report().value("open"), "refused");
#if defined(_WIN32)
    EXPECT_FALSE(holdsFile(createFile(path)));
    EXPECT_EQ(Child({"create " + narrow(path)}).report().value("create"), "refused");
#else
    createFile(path); // may make another file of that name, but does not touch this one
#endif
    stream->seekToBegin();
    EXPECT_EQ(take(stream, 100), "content");
}

TEST(FileStream, TemporaryFileVanishesWhenItsStreamIsDeleted) {
    const OwnTemporaryFolder temporaries;
    Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "content"));
    stream.reset();
    EXPECT_TRUE(temporaries.names().empty());
}

TEST(FileStream, TemporaryFileLivesUntilTheLastHandleInAnyProcessCloses) {
    const OwnTemporaryFolder temporaries;
    Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "content"));
    stream->seekToBegin();
    Child child({"ready", "wait", "read " + number(stream->getHandle()) + " 100"}, true);
    child.ready();
    stream.reset();
    EXPECT_EQ(child.report().value("read"), "content");
    child.join();
    EXPECT_TRUE(eventually([&] { return temporaries.names().empty(); }));
}

TEST(FileStream, TemporaryFileVanishesWhenItsProcessIsTerminated) {
    const OwnTemporaryFolder temporaries;
    Child child({"temporary", "temporary", "ready", "wait"});
    EXPECT_EQ(child.ready().values("temporary"), (std::vector<std::string>{"done", "done"}));
    ProcessOperations::terminateProcess(child.handle(), 9);
    EXPECT_EQ(child.join(), 9u);
    EXPECT_TRUE(eventually([&] { return temporaries.names().empty(); }));
}

TEST(FileStream, TemporaryFileVanishesWhenAllItsProcessesAreKilled) {
    const OwnTemporaryFolder temporaries;
    Stream stream = createTemporary();
    Child child({"describe", "ready", "wait"}, true);
    [[maybe_unused]] const Report report = child.ready();
    stream.reset();
#if defined(_WIN32)
    ProcessOperations::terminateProcess(child.handle(), 9);
#else
    kill(std::stoi(report.value("process")), SIGKILL);
#endif
    child.join();
    EXPECT_TRUE(eventually([&] { return temporaries.names().empty(); }));
}

// Inheritance
// -----------------------------------------------------------------------------------------------------------------

TEST(FileStream, OnlyTemporaryFilesAreInheritable) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    EXPECT_FALSE(isInheritable(openFile(folder / "file")->getHandle()));
    EXPECT_FALSE(isInheritable(createFile(folder / "file")->getHandle()));
    EXPECT_TRUE(isInheritable(createTemporary()->getHandle()));
}

TEST(FileStream, InheritingChildSharesHandleAndPosition) {
    const Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "0123456789"));
    stream->seekToOffset(3);
    const std::string handle = number(stream->getHandle());
    Child child({"read " + handle + " 4", "write " + handle + " XY", "ready", "wait", "read " + handle + " 2"}, true);
    EXPECT_EQ(child.ready().value("read"), "3456");
    EXPECT_EQ(take(stream, 5), "9"); // goes on behind what the child read and wrote
    stream->seekToOffset(1);
    EXPECT_EQ(child.report().values("read"), (std::vector<std::string>{"3456", "12"}));
    stream->seekToBegin();
    EXPECT_EQ(take(stream, 100), "0123456XY9");
}

TEST(FileStream, ChildWithoutInheritanceGetsNoFile) {
    // Handles of high values, which a child that is just starting has not given to anything of its own.
    std::vector<Stream> streams;
    for (int i = 0; i < 200; ++i)
        streams.push_back(createTemporary());
    const std::string handle = number(streams.back()->getHandle());
    Child child({"is-file " + handle}, false);
    EXPECT_EQ(child.report().value("is-file"), "no");
}

TEST(FileStream, OpenedAndCreatedFilesAreNeverInherited) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    std::vector<Stream> streams;
    for (int i = 0; i < 200; ++i)
        streams.push_back(createTemporary());
    const Stream reader = openFile(folder / "file");
    const Stream writer = createFile(folder / "other");
    const Stream temporary = createTemporary();
    Child child({"is-file " + number(reader->getHandle()), "is-file " + number(writer->getHandle()),
                 "is-file " + number(temporary->getHandle())},
                true);
    EXPECT_EQ(child.report().values("is-file"), (std::vector<std::string>{"no", "no", "yes"}));
}

#if !defined(_WIN32)
TEST(FileStream, ChildHasExactlyTheDescriptorsThatItShouldHave) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    const Stream reader = openFile(folder / "file");
    const Stream writer = createFile(folder / "other");
    const Stream temporary = createTemporary();
    std::vector<std::string> standard;
    for (const char* name : {"0", "1", "2"}) {
        standard.push_back(std::string(name) + " " +
                           std::filesystem::read_symlink(std::string("/proc/self/fd/") + name).string());
    }
    {
        const Report report = Child({"descriptors"}, false).report();
        EXPECT_EQ(report.values("handle"), std::vector<std::string>());
        auto found = report.values("standard");
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, standard);
    }
    {
        // What this process itself inherited may pass on, too.
        const auto handles = Child({"descriptors"}, true).report().values("handle");
        const auto holds = [&](const Stream& stream) {
            return std::any_of(handles.begin(), handles.end(), [&](const std::string& handle) {
                return handle.starts_with(number(stream->getHandle()) + " ");
            });
        };
        EXPECT_TRUE(holds(temporary));
        EXPECT_FALSE(holds(reader));
        EXPECT_FALSE(holds(writer));
    }
}

TEST(FileStream, ChildWithoutInheritanceGetsNoForeignDescriptorEither) {
    const int inheritable = ::open("/dev/null", O_RDONLY); // close-on-exec is not set
    ASSERT_GE(inheritable, 0);
    const std::string handle = std::to_string(inheritable);
    EXPECT_EQ(Child({"is-file " + handle}, false).report().value("is-file"), "no");
    EXPECT_EQ(Child({"is-file " + handle}, true).report().value("is-file"), "yes");
    ::close(inheritable);
}
#endif

// Reports
// ---------------------------------------------------------------------------------------------------------------------

VELMOR_SCENARIO(OpenMissingFiles) {
    openFile("no-such-folder/first.bin");
    openFile("no-such-folder/second.bin");
}

VELMOR_SCENARIO(CreateInMissingFolder) {
    createFile("no-such-folder/first.bin");
    createFile("no-such-folder/second.bin");
}

VELMOR_SCENARIO(OpenAndCreateMissingFiles) {
    createFile("no-such-folder/first.bin");
    openFile("no-such-folder/second.bin");
    createFile("no-such-folder/third.bin");
    openFile("no-such-folder/fourth.bin");
}

VELMOR_SCENARIO(CreateTemporaryInMissingFolder) {
    for (int i = 0; i < 3; ++i) {
        const Stream stream = createTemporary();
        if (stream == nullptr || holdsFile(stream))
            std::_Exit(1);
    }
}

VELMOR_SCENARIO(WriteToNoHandle) {
    for (int i = 0; i < 2; ++i)
        put(Stream(new FileStream), "text");
}

VELMOR_SCENARIO(WriteToAReader) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const Stream stream = openFile(folder / "file");
    put(stream, "text");
    put(stream, "text");
    put(Stream(new FileStream), "text");
}

VELMOR_SCENARIO(FailWithoutReport) {
    // Reading, seeking and asking tell nobody.
    FileStream stream;
    std::vector<char> block;
    stream.read(10, block);
    stream.seekToBegin();
    stream.seekToOffset(5);
    stream.isValid();
}

VELMOR_SCENARIO(SucceedWithFiles) {
    const TemporaryFolder folder;
    put(createFile(folder / "file"), "content");
    take(openFile(folder / "file"), 10);
    put(createTemporary(), "content");
}

VELMOR_SCENARIO(OpenMissingFileOfOneCharacter) {
    openFile("?");
    openFile("?");
}

VELMOR_SCENARIO(OpenMissingFileOfOneCharacterLater) {
    openFile("no-such-folder/first.bin");
    openFile("?");
}

TEST(FileStream, OpeningIsReportedOnce) {
    const ScenarioRun run = runUnderDebugger("OpenMissingFiles");
    EXPECT_EQ(run.channel, "opening of file no-such-folder/first.bin for reading failed.");
    EXPECT_EQ(run.output, "opening of file no-such-folder/first.bin for reading failed.");
    EXPECT_EQ(run.reportsBeforeBreak, Order{1});
    EXPECT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 0u);
}

TEST(FileStream, CreatingIsReportedOnceWithTheWordsOfReading) {
    // The reading message is meant.
    const ScenarioRun run = runUnderDebugger("CreateInMissingFolder");
    EXPECT_EQ(run.channel, "opening of file no-such-folder/first.bin for reading failed.");
    EXPECT_EQ(run.reportsBeforeBreak, Order{1});
}

TEST(FileStream, OpeningAndCreatingHaveTheirOwnReports) {
    const ScenarioRun run = runUnderDebugger("OpenAndCreateMissingFiles");
    EXPECT_EQ(run.reports, (std::vector<std::string>{"opening of file no-such-folder/first.bin for reading failed.",
                                                     "opening of file no-such-folder/second.bin for reading failed."}));
    EXPECT_EQ(run.reportsBeforeBreak, (Order{1, 2}));
}

TEST(FileStream, FailedTemporaryFileIsReportedOnce) {
    const TemporaryFolder folder;
    const std::string missing = std::string(temporaryFolderVariable) + "=" + narrow(folder / "missing");
    const ScenarioRun run = runUnderDebugger("CreateTemporaryInMissingFolder", {missing});
    EXPECT_EQ(run.channel, "creation of temporary file failed.");
    EXPECT_EQ(run.output, "creation of temporary file failed.");
    EXPECT_EQ(run.reportsBeforeBreak, Order{1});
    EXPECT_EQ(run.exitCode, 0u);
    const ScenarioRun alone = runAlone("CreateTemporaryInMissingFolder", {missing});
    EXPECT_EQ(alone.output, "");
    EXPECT_TRUE(alone.exited);
    EXPECT_EQ(alone.exitCode, 0u);
}

TEST(FileStream, FailedWriteIsReportedOnceWithTheSystemsCode) {
    const ScenarioRun invalid = runUnderDebugger("WriteToNoHandle");
    EXPECT_EQ(invalid.channel, "Error writing to file, 6\n"); // ERROR_INVALID_HANDLE
    EXPECT_EQ(invalid.reportsBeforeBreak, Order{1});
    const ScenarioRun denied = runUnderDebugger("WriteToAReader");
    EXPECT_EQ(denied.channel, "Error writing to file, 5\n"); // ERROR_ACCESS_DENIED
    EXPECT_EQ(denied.output, "Error writing to file, 5\n");
    EXPECT_EQ(denied.reportsBeforeBreak, Order{1});
}

#if !defined(_WIN32)
VELMOR_SCENARIO(WriteToAFullDisk) {
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    const Stream stream(FileStream::createFromHandle(reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(full))));
    if (full < 0 || put(stream, "text"))
        std::_Exit(1);
}

TEST(FileStream, FullDiskIsReportedAsSuch) {
    const ScenarioRun run = runUnderDebugger("WriteToAFullDisk");
    EXPECT_EQ(run.channel, "Error writing to file, 112\n"); // ERROR_DISK_FULL
    EXPECT_EQ(run.exitCode, 0u);
}

VELMOR_SCENARIO(OpenMissingFileWithUmlaut) {
    openFile(pathOf("no-such-folder/Gr\xC3\xBC\xC3\x9F"
                    "e.bin"));
}

TEST(FileStream, ReportedPathIsInTheCodePageOfTheLocale) {
    EXPECT_EQ(runUnderDebugger("OpenMissingFileWithUmlaut", {"LC_ALL=C.UTF-8"}).channel,
              "opening of file no-such-folder/Gr\xC3\xBC\xC3\x9F"
              "e.bin for reading failed.");
}
#endif

TEST(FileStream, PathThatDoesNotConvertIsReportedEmpty) {
    // A text of one character has no narrow form; that is told as well.
    const ScenarioRun run = runUnderDebugger("OpenMissingFileOfOneCharacter");
    EXPECT_EQ(run.reports, (std::vector<std::string>{"StringOperations::ConvertToCurrentLocale, Invalid Conversion.",
                                                     "opening of file  for reading failed."}));
    EXPECT_EQ(run.reportsBeforeBreak, (Order{1, 2}));
}

TEST(FileStream, PathIsConvertedOnlyForAReport) {
    const ScenarioRun run = runUnderDebugger("OpenMissingFileOfOneCharacterLater");
    EXPECT_EQ(run.channel, "opening of file no-such-folder/first.bin for reading failed.");
    EXPECT_EQ(run.breaks, 1);
}

TEST(FileStream, OtherFailuresAndSuccessesAreSilent) {
    for (const char* scenario : {"FailWithoutReport", "SucceedWithFiles"}) {
        const ScenarioRun run = runUnderDebugger(scenario);
        EXPECT_EQ(run.channel, "") << scenario;
        EXPECT_EQ(run.output, "") << scenario;
        EXPECT_EQ(run.breaks, 0) << scenario;
    }
}

TEST(FileStream, NothingIsReportedWithoutADebugger) {
    for (const char* scenario : {"OpenAndCreateMissingFiles", "WriteToNoHandle", "WriteToAReader"}) {
        const ScenarioRun run = runAlone(scenario);
        EXPECT_TRUE(run.exited) << scenario;
        EXPECT_EQ(run.exitCode, 0u) << scenario;
        EXPECT_EQ(run.output, "") << scenario;
        EXPECT_EQ(run.error, "") << scenario;
    }
}
