// Which open files a child process inherits.

#include "FileStreams.h"

#include <algorithm>

#if !defined(_WIN32)
    #include <fcntl.h>
    #include <unistd.h>
#endif

using namespace velmor_tests;

TEST(FileStream, OnlyTemporaryFilesAreInheritable) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    EXPECT_FALSE(isInheritable(openFile(folder / "file")->getHandle()));
    EXPECT_FALSE(isInheritable(createFile(folder / "file")->getHandle()));
    EXPECT_TRUE(isInheritable(createTemporary()->getHandle()));
}

TEST(FileStream, InheritedHandleSharesThePosition) {
    const Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "0123456789"));
    stream->seekToOffset(3);
    const std::string handle = number(stream->getHandle());
    Child child({"read " + handle + " 4", "write " + handle + " XY", "ready", "wait", "read " + handle + " 2"}, true);
    EXPECT_EQ(child.ready().value("read"), "3456");
    EXPECT_EQ(take(stream, 5), "9"); // continues after the bytes that the child read and wrote
    stream->seekToOffset(1);
    EXPECT_EQ(child.report().values("read"), (std::vector<std::string>{"3456", "12"}));
    stream->seekToBegin();
    EXPECT_EQ(take(stream, 100), "0123456XY9");
}

TEST(FileStream, ChildWithoutInheritanceHasNoTemporaryFile) {
    // A new child has few handles, so the high values of these are not in use there.
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
TEST(FileStream, ChildHasTheStandardStreamsAndInheritedFiles) {
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
        // The child also inherits what this process has inherited.
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

TEST(FileStream, ChildWithoutInheritanceHasNoOtherDescriptor) {
    const int inheritable = ::open("/dev/null", O_RDONLY); // close-on-exec is not set
    ASSERT_GE(inheritable, 0);
    const std::string handle = std::to_string(inheritable);
    EXPECT_EQ(Child({"is-file " + handle}, false).report().value("is-file"), "no");
    EXPECT_EQ(Child({"is-file " + handle}, true).report().value("is-file"), "yes");
    ::close(inheritable);
}
#endif
