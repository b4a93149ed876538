// Names, life time and access of temporary files.

#include "FileStreams.h"

#include <algorithm>
#include <cctype>
#include <set>

#if !defined(_WIN32)
    #include <signal.h>
#endif

using namespace velmor_tests;
using Velmor::FileStream;
using Velmor::ProcessOperations;

namespace {

/// Makes a new folder the user's temporary folder.
struct OwnTemporaryFolder {
    TemporaryFolder folder;
    VariableSetting setting{temporaryFolderVariable, narrow(folder.path())};

    /// Names of the files in the folder. It may also have folders of child programs.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            if (!entry.is_directory())
                found.push_back(narrow(entry.path().filename()));
        return found;
    }
};

/// Path of the only temporary file in a folder. On Linux the file has no entry in the folder; /proc has its path.
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

} // namespace

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

TEST(FileStream, TemporaryFileIsInTheUsersTemporaryFolder) {
    const OwnTemporaryFolder temporaries;
    const Stream stream = createTemporary();
    const auto path = pathOfTemporary(temporaries, stream);
    EXPECT_TRUE(std::filesystem::equivalent(path.parent_path(), temporaries.folder.path())) << path;
    EXPECT_TRUE(isNameOfTemporary(narrow(path.filename()))) << path;
}

#if !defined(_WIN32)
TEST(FileStream, TemporaryFolderIsTmpByDefault) {
    for (const auto& value : {std::optional<std::string>(), std::optional<std::string>("")}) {
        OwnTemporaryFolder temporaries;
        setVariable(temporaryFolderVariable, value);
        const Stream stream = createTemporary();
        const auto path = pathOfTemporary(temporaries, stream);
        EXPECT_EQ(path.parent_path(), "/tmp");
        EXPECT_TRUE(isNameOfTemporary(narrow(path.filename()))) << path;
    }
}

TEST(FileStream, TemporaryFolderHasAMaximumLength) {
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
    // The path does not fit the buffer; there is no fallback to another folder.
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

TEST(FileStream, TemporaryFileCannotBeOpenedByName) {
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
    createFile(path); // creates another file of the same name
#endif
    stream->seekToBegin();
    EXPECT_EQ(take(stream, 100), "content");
}

TEST(FileStream, TemporaryFileIsDeletedWithItsStream) {
    const OwnTemporaryFolder temporaries;
    Stream stream = createTemporary();
    ASSERT_TRUE(put(stream, "content"));
    stream.reset();
    EXPECT_TRUE(temporaries.names().empty());
}

TEST(FileStream, TemporaryFileExistsUntilTheLastHandleInAnyProcessCloses) {
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

TEST(FileStream, TemporaryFileIsDeletedWhenItsProcessIsTerminated) {
    const OwnTemporaryFolder temporaries;
    Child child({"temporary", "temporary", "ready", "wait"});
    EXPECT_EQ(child.ready().values("temporary"), (std::vector<std::string>{"done", "done"}));
    ProcessOperations::terminateProcess(child.handle(), 9);
    EXPECT_EQ(child.join(), 9u);
    EXPECT_TRUE(eventually([&] { return temporaries.names().empty(); }));
}

TEST(FileStream, TemporaryFileIsDeletedWhenAllItsProcessesEnd) {
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
