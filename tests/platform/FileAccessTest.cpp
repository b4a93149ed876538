// Whether the user may read the attributes of a file, and may write to the file.

#include <Velmor/Platform.h>

#include "PrivateFileOperations.h"
#include "Tools.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <fcntl.h>
    #include <grp.h>
    #include <sys/stat.h>
    #include <sys/wait.h>
    #include <unistd.h>
#endif

namespace {

using Velmor::FileOperations;
using Velmor::WideString;
using velmor_tests::narrow;
using velmor_tests::TemporaryFolder;
using velmor_tests::wide;
using velmor_tests::writeFile;

struct Access {
    bool read;
    bool write;

    bool operator==(const Access&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Access& access) {
    return out << (access.read ? "read" : "no read") << ", " << (access.write ? "write" : "no write");
}

constexpr Access none{false, false};
constexpr Access readOnly{true, false};
constexpr Access both{true, true};

Access accessOf(const WideString& path) {
    return {FileOperations::HasReadAccess(path), FileOperations::HasWriteAccess(path)};
}

Access accessOf(const std::filesystem::path& path) {
    return accessOf(wide(path));
}

TEST(FileOperationsAccess, OwnFilesAndFoldersAreReadableAndWritable) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "Gr\u00FC\u00DFe");
    const std::string base = narrow(folder.path());
    EXPECT_EQ(accessOf(folder.path()), both);
    EXPECT_EQ(accessOf(wide(base + "/file")), both);
    EXPECT_EQ(accessOf(wide(base + "\\file")), both);
    EXPECT_EQ(accessOf(wide(base + "/Gr\u00FC\u00DFe")), both);
    EXPECT_EQ(accessOf(wide(base + "\\Gr\u00FC\u00DFe\\")), both);
}

TEST(FileOperationsAccess, MissingFilesAreNeitherReadableNorWritable) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    for (const auto& path : {folder / "missing", folder / "missing" / "child", folder / "file" / "child"})
        EXPECT_EQ(accessOf(path), none) << path;
    EXPECT_EQ(accessOf(WideString()), none);
    EXPECT_EQ(accessOf(wide(narrow(folder.path()) + "/" + std::string(300, 'n'))), none);
    EXPECT_FALSE(std::filesystem::exists(folder / "missing")); // the query does not create the file
}

TEST(FileOperationsAccess, PrivateFunctionSetsBothResults) {
    const TemporaryFolder folder;
    const auto query = reach(velmor_tests::PrivateAccess());
    bool read = false;
    bool write = false;
    query(wide(folder.path()), &read, &write);
    EXPECT_EQ((Access{read, write}), both);
    query(wide(folder / "missing"), &read, &write); // sets both results on failure too
    EXPECT_EQ((Access{read, write}), none);
}

TEST(FileOperationsAccess, LeaksNoHandle) {
    const TemporaryFolder folder;
    accessOf(folder.path());
    accessOf(folder / "missing");
    const std::size_t before = velmor_tests::openHandles();
    for (int i = 0; i < 200; ++i) {
        accessOf(folder.path());
        accessOf(folder / "missing");
    }
    EXPECT_EQ(velmor_tests::openHandles(), before);
}

#if defined(_WIN32)

/// Grants these rights to everyone, and no other rights.
void allow(const std::filesystem::path& path, DWORD rights) {
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    PSID everyone = nullptr;
    ASSERT_TRUE(AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everyone));
    alignas(ACL) char buffer[256];
    ACL* list = reinterpret_cast<ACL*>(buffer);
    ASSERT_TRUE(InitializeAcl(list, sizeof buffer, ACL_REVISION));
    if (rights != 0) {
        ASSERT_TRUE(AddAccessAllowedAce(list, ACL_REVISION, rights, everyone));
    }
    SECURITY_DESCRIPTOR descriptor;
    ASSERT_TRUE(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
    ASSERT_TRUE(SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE));
    ASSERT_TRUE(SetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, &descriptor));
    FreeSid(everyone);
}

TEST(FileOperationsAccess, SecurityDescriptorDecides) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    std::filesystem::create_directory(folder / "folder");
    const std::pair<DWORD, Access> cases[]{
        {FILE_ALL_ACCESS, both},
        {FILE_GENERIC_READ, readOnly},
        {FILE_GENERIC_WRITE, {false, true}}, // has READ_CONTROL, but not FILE_READ_ATTRIBUTES
        {0, none},
        {FILE_GENERIC_READ | FILE_GENERIC_WRITE, both},
    };
    for (const char* name : {"file", "folder"}) {
        for (const auto& [rights, expected] : cases) {
            allow(folder / name, rights);
            EXPECT_EQ(accessOf(folder / name), expected) << name << " " << rights;
        }
        allow(folder / name, FILE_ALL_ACCESS);
    }
}

TEST(FileOperationsAccess, RevertsTheImpersonation) {
    const TemporaryFolder folder;
    accessOf(folder.path());
    HANDLE token = nullptr;
    EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_TOKEN));
}

#else

constexpr uid_t otherUser = 65534;

/// Makes the user of `asUser` the owner of a file, and sets its mode.
void setOwner(const std::filesystem::path& path, mode_t mode) {
    if (geteuid() == 0) {
        ASSERT_EQ(chown(path.c_str(), otherUser, otherUser), 0);
    }
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
}

/// Runs a function in a child process without superuser rights: as the user of the tests or, if that is root, as another
/// user.
/// @return the result of the function, or the failure of the child.
std::string asUser(const std::function<std::string()>& function) {
    int ends[2];
    if (pipe(ends) != 0)
        return "pipe failed";
    const pid_t child = fork();
    if (child == 0) {
        std::string result = "cannot become another user";
        if (geteuid() != 0 || (setgroups(0, nullptr) == 0 && setresgid(otherUser, otherUser, otherUser) == 0 &&
                               setresuid(otherUser, otherUser, otherUser) == 0))
            result = function();
        result.insert(result.begin(), '+');
        const bool written = write(ends[1], result.data(), result.size()) == static_cast<ssize_t>(result.size());
        _exit(written ? 0 : 1);
    }
    close(ends[1]);
    std::string result;
    char buffer[4096];
    for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
        result.append(buffer, static_cast<std::size_t>(count));
    close(ends[0]);
    int status = -1;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0 || result.empty())
        return "the child failed, status " + std::to_string(status);
    return result.substr(1);
}

struct Expectation {
    std::filesystem::path path;
    Access access;
};

/// The files whose access differs from the expected access, one per line.
std::string differences(const std::vector<Expectation>& expectations) {
    std::string out;
    for (const Expectation& expected : expectations) {
        const Access access = accessOf(expected.path);
        if (!(access == expected.access)) {
            out += expected.path.string() + (access.read ? ": read" : ": no read") +
                   (access.write ? ", write\n" : ", no write\n");
        }
    }
    return out;
}

TEST(FileOperationsAccess, OwnerHasTheAccessOfTheFileMode) {
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    std::vector<Expectation> expectations;
    // The attributes of a file are readable in every mode of the file.
    for (const auto& [mode, access] :
         std::vector<std::pair<mode_t, Access>>{{0600, both},
                                                {0400, readOnly},
                                                {0200, both},
                                                {0000, readOnly},
                                                {0444, readOnly},
                                                {0222, both},
                                                {0466, readOnly}, // the rights of others do not apply to the owner
                                                {0100, readOnly},
                                                {0700, both}}) {
        const auto path = folder / ("file" + std::to_string(mode)).c_str();
        writeFile(path, "x");
        setOwner(path, mode);
        expectations.push_back({path, access});
    }
    for (const auto& [mode, access] : std::vector<std::pair<mode_t, Access>>{{0700, both},
                                                                             {0755, both},
                                                                             {0555, readOnly},
                                                                             {0000, readOnly},
                                                                             {0200, readOnly},
                                                                             {0300, both},
                                                                             {0400, readOnly},
                                                                             {0600, readOnly}}) {
        const auto path = folder / ("folder" + std::to_string(mode)).c_str();
        std::filesystem::create_directory(path);
        setOwner(path, mode);
        expectations.push_back({path, access});
    }
    EXPECT_EQ(asUser([&] { return differences(expectations); }), "");
}

TEST(FileOperationsAccess, FileInAFolderThatIsNotSearchableIsNotAccessible) {
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    std::vector<Expectation> expectations;
    for (const auto& [mode, access] : std::vector<std::pair<mode_t, Access>>{
             {0700, both}, {0100, both}, {0300, both}, {0600, none}, {0400, none}, {0000, none}}) {
        const auto path = folder / std::to_string(mode).c_str();
        std::filesystem::create_directory(path);
        writeFile(path / "file", "x");
        std::filesystem::create_directory(path / "folder");
        setOwner(path / "file", 0600);
        setOwner(path / "folder", 0700);
        setOwner(path, mode);
        expectations.push_back({path / "file", access});
        expectations.push_back({path / "folder", access});
        expectations.push_back({path / "missing", none});
    }
    EXPECT_EQ(asUser([&] { return differences(expectations); }), "");
    // Makes the folders removable for the user of the tests.
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        EXPECT_EQ(chmod(entry.path().c_str(), 0700), 0);
}

TEST(FileOperationsAccess, WriteAccessAgreesWithOpeningTheFile) {
    const TemporaryFolder folder;
    for (const mode_t mode : {0600u, 0400u, 0200u, 0000u, 0444u, 0666u}) {
        writeFile(folder / "file", "x");
        ASSERT_EQ(chmod((folder / "file").c_str(), mode), 0);
        const int descriptor = open((folder / "file").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        EXPECT_EQ(accessOf(folder / "file"), (Access{true, descriptor >= 0})) << mode; // root can write to all of them
        if (descriptor >= 0)
            close(descriptor);
        std::filesystem::remove(folder / "file");
    }
}

TEST(FileOperationsAccess, SystemFilesHaveTheAccessOfTheirMode) {
    const std::vector<Expectation> expectations{
        {"/", readOnly}, {"/etc/passwd", readOnly}, {"/usr", readOnly}, {"/tmp", both}, {"/dev/null", both}};
    EXPECT_EQ(asUser([&] { return differences(expectations); }), "");
}

TEST(FileOperationsAccess, FilesOfOtherUsersHaveTheAccessOfTheirMode) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can create files of another user";
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    std::vector<Expectation> expectations{{folder.path(), readOnly}};
    for (const auto& [mode, access] : std::vector<std::pair<mode_t, Access>>{{0644, readOnly},
                                                                             {0666, both},
                                                                             {0600, readOnly},
                                                                             {0662, both},
                                                                             {0622, both},
                                                                             {0664, readOnly},
                                                                             {0000, readOnly}}) {
        const auto path = folder / std::to_string(mode).c_str();
        writeFile(path, "x");
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
        expectations.push_back({path, access});
    }
    std::filesystem::create_directory(folder / "closed");
    writeFile(folder / "closed" / "file", "x");
    ASSERT_EQ(chmod((folder / "closed" / "file").c_str(), 0666), 0);
    ASSERT_EQ(chmod((folder / "closed").c_str(), 0700), 0);
    expectations.push_back({folder / "closed", readOnly});
    expectations.push_back({folder / "closed" / "file", none});
    EXPECT_EQ(asUser([&] { return differences(expectations); }), "");
}

TEST(FileOperationsAccess, AccessIsThatOfTheEffectiveUser) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can change the effective user";
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    writeFile(folder / "file", "x");
    ASSERT_EQ(chmod((folder / "file").c_str(), 0644), 0);
    for (const bool effective : {true, false}) {
        const pid_t child = fork();
        if (child == 0) {
            const bool changed = effective ? setresuid(0, otherUser, 0) == 0 : setresuid(otherUser, 0, 0) == 0;
            _exit(!changed ? 2 : accessOf(folder / "file") == Access{true, !effective} ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << effective;
    }
}

#endif

} // namespace
