// Whether the user may see a file and may write to it.

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

TEST(FileOperationsAccess, OwnFilesAndFoldersMayBeReadAndWritten) {
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

TEST(FileOperationsAccess, WhatIsMissingMayBeNeitherReadNorWritten) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "x");
    for (const auto& path : {folder / "missing", folder / "missing" / "below", folder / "file" / "below"})
        EXPECT_EQ(accessOf(path), none) << path;
    EXPECT_EQ(accessOf(WideString()), none);
    EXPECT_EQ(accessOf(wide(narrow(folder.path()) + "/" + std::string(300, 'n'))), none);
    EXPECT_FALSE(std::filesystem::exists(folder / "missing")); // asking creates nothing
}

TEST(FileOperationsAccess, BothAnswersComeFromOneQuestion) {
    const TemporaryFolder folder;
    const auto ask = reach(velmor_tests::PrivateAccess());
    bool read = false;
    bool write = false;
    ask(wide(folder.path()), &read, &write);
    EXPECT_EQ((Access{read, write}), both);
    ask(wide(folder / "missing"), &read, &write); // both are set in any case
    EXPECT_EQ((Access{read, write}), none);
}

TEST(FileOperationsAccess, LeavesNoHandleBehind) {
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

/// Allows everybody these rights to a file, and nobody any other.
void allow(const std::filesystem::path& path, DWORD rights) {
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    PSID everybody = nullptr;
    ASSERT_TRUE(AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everybody));
    alignas(ACL) char buffer[256];
    ACL* list = reinterpret_cast<ACL*>(buffer);
    ASSERT_TRUE(InitializeAcl(list, sizeof buffer, ACL_REVISION));
    if (rights != 0)
        ASSERT_TRUE(AddAccessAllowedAce(list, ACL_REVISION, rights, everybody));
    SECURITY_DESCRIPTOR descriptor;
    ASSERT_TRUE(InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
    ASSERT_TRUE(SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE));
    ASSERT_TRUE(SetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, &descriptor));
    FreeSid(everybody);
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

TEST(FileOperationsAccess, ThreadIsItselfAgain) {
    const TemporaryFolder folder;
    accessOf(folder.path());
    HANDLE token = nullptr;
    EXPECT_FALSE(OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_TOKEN));
}

#else

constexpr uid_t stranger = 65534;

/// Gives a file to the user that `asUser` becomes, with that mode.
void give(const std::filesystem::path& path, mode_t mode) {
    if (geteuid() == 0)
        ASSERT_EQ(chown(path.c_str(), stranger, stranger), 0);
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
}

/// Runs something in a child process that is no superuser: as the user of the tests or, when that is root, as a stranger. It
/// tells what went wrong by its answer, which is empty when all is well.
std::string asUser(const std::function<std::string()>& function) {
    int ends[2];
    if (pipe(ends) != 0)
        return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        std::string answer = "cannot become another user";
        if (geteuid() != 0 || (setgroups(0, nullptr) == 0 && setresgid(stranger, stranger, stranger) == 0 &&
                               setresuid(stranger, stranger, stranger) == 0))
            answer = function();
        answer.insert(answer.begin(), '+');
        const bool told = write(ends[1], answer.data(), answer.size()) == static_cast<ssize_t>(answer.size());
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    std::string answer;
    char buffer[4096];
    for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
        answer.append(buffer, static_cast<std::size_t>(count));
    close(ends[0]);
    int status = -1;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0 || answer.empty())
        return "the child failed, status " + std::to_string(status);
    return answer.substr(1);
}

struct Expectation {
    std::filesystem::path path;
    Access access;
};

/// What is not as expected, a line each.
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

TEST(FileOperationsAccess, ModeDecidesForTheOwner) {
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    std::vector<Expectation> expectations;
    // To see a file's attributes nothing is needed of the file itself.
    for (const auto& [mode, access] : std::vector<std::pair<mode_t, Access>>{{0600, both},
                                                                             {0400, readOnly},
                                                                             {0200, both},
                                                                             {0000, readOnly},
                                                                             {0444, readOnly},
                                                                             {0222, both},
                                                                             {0466, readOnly}, // what others may is nothing
                                                                             {0100, readOnly},
                                                                             {0700, both}}) {
        const auto path = folder / ("file" + std::to_string(mode)).c_str();
        writeFile(path, "x");
        give(path, mode);
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
        give(path, mode);
        expectations.push_back({path, access});
    }
    EXPECT_EQ(asUser([&] { return differences(expectations); }), "");
}

TEST(FileOperationsAccess, FolderMustBeSearchable) {
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    std::vector<Expectation> expectations;
    for (const auto& [mode, access] : std::vector<std::pair<mode_t, Access>>{
             {0700, both}, {0100, both}, {0300, both}, {0600, none}, {0400, none}, {0000, none}}) {
        const auto path = folder / std::to_string(mode).c_str();
        std::filesystem::create_directory(path);
        writeFile(path / "file", "x");
        std::filesystem::create_directory(path / "below");
        give(path / "file", 0600);
        give(path / "below", 0700);
        give(path, mode);
        expectations.push_back({path / "file", access});
        expectations.push_back({path / "below", access});
        expectations.push_back({path / "missing", none});
    }
    EXPECT_EQ(asUser([&] { return differences(expectations); }), "");
    // The tests' user must be able to remove them.
    for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        EXPECT_EQ(chmod(entry.path().c_str(), 0700), 0);
}

TEST(FileOperationsAccess, AnswerIsWhatOpeningForWritingFinds) {
    const TemporaryFolder folder;
    for (const mode_t mode : {0600u, 0400u, 0200u, 0000u, 0444u, 0666u}) {
        writeFile(folder / "file", "x");
        ASSERT_EQ(chmod((folder / "file").c_str(), mode), 0);
        const int descriptor = open((folder / "file").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
        EXPECT_EQ(accessOf(folder / "file"), (Access{true, descriptor >= 0})) << mode; // root may write to all of them
        if (descriptor >= 0)
            close(descriptor);
        std::filesystem::remove(folder / "file");
    }
}

TEST(FileOperationsAccess, FilesOfTheSystemMayBeWrittenAsTheySay) {
    const std::vector<Expectation> expectations{
        {"/", readOnly}, {"/etc/passwd", readOnly}, {"/usr", readOnly}, {"/tmp", both}, {"/dev/null", both}};
    EXPECT_EQ(asUser([&] { return differences(expectations); }), "");
}

TEST(FileOperationsAccess, FilesOfOthersMayBeWrittenAsTheySay) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make files of another user";
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

TEST(FileOperationsAccess, EffectiveUserCounts) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be one user and act as another";
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.path().c_str(), 0755), 0);
    writeFile(folder / "file", "x");
    ASSERT_EQ(chmod((folder / "file").c_str(), 0644), 0);
    for (const bool acting : {true, false}) {
        const pid_t child = fork();
        if (child == 0) {
            const bool changed = acting ? setresuid(0, stranger, 0) == 0 : setresuid(stranger, 0, 0) == 0;
            _exit(!changed ? 2 : accessOf(folder / "file") == Access{true, !acting} ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << acting;
    }
}

#endif

} // namespace
