// Which streams can have a file open at the same time, in one process and in several.

#include "FileStreams.h"

#include <atomic>
#include <thread>

#if !defined(_WIN32)
    #include <signal.h>
    #include <sys/wait.h>
    #include <unistd.h>
#endif

using namespace velmor_tests;
using Velmor::ProcessOperations;

TEST(FileStream, TwoReadersOpenTheSameFile) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "content");
    const Stream first = openFile(folder / "file");
    const Stream second = openFile(folder / "file");
    ASSERT_TRUE(holdsFile(first));
    ASSERT_TRUE(holdsFile(second));
    EXPECT_EQ(take(first, 3), "con");
    EXPECT_EQ(take(second, 7), "content");
}

TEST(FileStream, ReaderExcludesWriters) {
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

TEST(FileStream, WriterExcludesReadersAndWriters) {
    const TemporaryFolder folder;
    {
        const Stream writer = createFile(folder / "file");
        ASSERT_TRUE(put(writer, "con"));
        EXPECT_FALSE(holdsFile(openFile(folder / "file")));
        EXPECT_FALSE(holdsFile(createFile(folder / "file")));
        // The second factory call has not truncated the file.
        ASSERT_TRUE(put(writer, "tent"));
    }
    EXPECT_EQ(readFile(folder / "file"), "content");
    EXPECT_TRUE(holdsFile(openFile(folder / "file")));
    EXPECT_TRUE(holdsFile(createFile(folder / "file")));
}

#if defined(_WIN32)
TEST(FileStream, OpenFileCannotBeDeleted) {
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

TEST(FileStream, SharingModeAppliesBetweenProcesses) {
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

TEST(FileStream, TerminatedProcessReleasesItsFiles) {
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

TEST(FileStream, ChildDoesNotHoldTheFilesOfItsParent) {
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
TEST(FileStream, ClosedFileIsAvailableBetweenForkAndExec) {
    const TemporaryFolder folder;
    for (const bool writing : {true, false}) {
        writeFile(folder / "file", "");
        Stream stream = writing ? createFile(folder / "file") : openFile(folder / "file");
        ASSERT_TRUE(holdsFile(stream));
        const pid_t child = fork(); // a child before exec has a copy of every descriptor
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

TEST(FileStream, OnlyOneOfManyConcurrentWritersOpensTheFile) {
    const TemporaryFolder folder;
    const auto path = folder / "file";
    openFile(folder / "missing"); // the first failure of each kind sets a flag, which is not atomic
    createFile(folder / "missing" / "file");
    std::atomic<int> holders{0};
    std::atomic<int> wins{0};
    std::atomic<int> errors{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                const Stream writer = createFile(path);
                if (holdsFile(writer)) {
                    errors += holders++ != 0;
                    errors += !put(writer, "ten bytes.");
                    std::this_thread::yield();
                    std::error_code error;
                    errors += std::filesystem::file_size(path, error) != 10;
                    ++wins;
                    --holders;
                } else if (const Stream reader = openFile(path); holdsFile(reader)) {
                    errors += holders != 0;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(errors, 0);
    EXPECT_GT(wins, 0);
}
