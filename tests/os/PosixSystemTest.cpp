// The POSIX implementation of os.h: behavior that the suites for both systems do not test.

#include <Velmor/Platform.h>

#include "ChildProgram.h"
#include "Tools.h"
#include "os/os.h"
#include "os/posix/names.h"
#include "support/Random.h"
#include "support/UnderDebugger.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace velmor_tests;
using Velmor::DynamicLibrary;
using Velmor::EnvironmentVariables;
using Velmor::FileStream;
using Velmor::ProcessOperations;
using Velmor::WideString;
namespace os = Velmor::os;
using os::posix::narrowName;
using os::posix::wideName;

namespace {

using Stream = std::unique_ptr<FileStream>;
using Library = std::unique_ptr<DynamicLibrary>;

void expectRoundTrip(const std::string& bytes) {
    ASSERT_EQ(narrowName(wideName(bytes).c_str()), bytes) << ::testing::PrintToString(bytes);
}

HANDLE handleOf(int descriptor) {
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(descriptor));
}

/// Runs a shell command as a child and returns its exit code.
unsigned runShell(const std::string& line) {
    const HANDLE process = ProcessOperations::createProcess(wide("/bin/sh"), wide("sh -c \"" + line + "\""), false);
    const unsigned code = join(process);
    ProcessOperations::closeProcess(process);
    return code;
}

/// The signals that are pending for the calling thread.
std::vector<int> pendingSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigpending(&set);
    std::vector<int> signals;
    for (int signal = 1; signal < NSIG; ++signal)
        if (sigismember(&set, signal) == 1)
            signals.push_back(signal);
    return signals;
}

} // namespace

// ---- Names ----

TEST(PosixNames, ConversionToUtf16AndBackKeepsEveryName) {
    for (unsigned first = 1; first < 0x100; ++first) {
        expectRoundTrip({static_cast<char>(first)});
        for (unsigned second = 1; second < 0x100; ++second)
            expectRoundTrip({static_cast<char>(first), static_cast<char>(second)});
    }
    Random random;
    // Bytes that begin or continue characters of every length, and bytes near those.
    const std::string interesting = "A/\x80\x90\xA0\xBF\xC0\xC2\xC3\xDF\xE0\xE2\xED\xEF\xF0\xF4\xF5\xFF";
    for (int round = 0; round < 200000; ++round) {
        std::string bytes;
        for (unsigned length = random.below(9u); length > 0; --length)
            bytes.push_back(interesting[random.below(interesting.size())]);
        expectRoundTrip(bytes);
        if (HasFatalFailure())
            return;
    }
}

TEST(PosixNames, ConvertsValidUtf8) {
    const struct {
        const char* bytes;
        WideString text;
    } cases[] = {
        {"", u""},
        {"\x7F", u"\u007F"},
        {"\xC2\x80", u"\u0080"},
        {"\xDF\xBF", u"\u07FF"},
        {"\xE0\xA0\x80", u"\u0800"},
        {"\xED\x9F\xBF", u"\uD7FF"},
        {"\xEE\x80\x80", u"\uE000"},
        {"\xEF\xBF\xBF", u"\uFFFF"},
        {"\xF0\x90\x80\x80", u"\U00010000"},
        {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
        {"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z", u"a\u00E9\u20AC\U0001F600z"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(wideName(c.bytes), c.text) << c.bytes;
        EXPECT_EQ(narrowName(c.text.c_str()), c.bytes) << c.bytes;
    }
}

TEST(PosixNames, ConvertsInvalidBytesToLowSurrogates) {
    const struct {
        const char* bytes;
        std::vector<char16_t> text;
    } cases[] = {
        {"\x80", {0xDC80}},
        {"\xFF", {0xDCFF}},
        {"a\xFFz", {'a', 0xDCFF, 'z'}},
        {"\xC0\x80", {0xDCC0, 0xDC80}},                         // overlong
        {"\xE0\x9F\xBF", {0xDCE0, 0xDC9F, 0xDCBF}},             // overlong
        {"\xED\xA0\x80", {0xDCED, 0xDCA0, 0xDC80}},             // a surrogate
        {"\xF4\x90\x80\x80", {0xDCF4, 0xDC90, 0xDC80, 0xDC80}}, // above U+10FFFF
        {"\xE2\x82", {0xDCE2, 0xDC82}},                         // truncated
        {"\xE2\x82z", {0xDCE2, 0xDC82, 'z'}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(wideName(c.bytes), WideString(c.text.begin(), c.text.end())) << ::testing::PrintToString(c.bytes);
}

TEST(PosixNames, DoesNotConvertTheLowSurrogateOfAPairToAByte) {
    const char16_t pair[] = {0xD83D, 0xDC80, 0};
    EXPECT_EQ(narrowName(pair), "\xF0\x9F\x92\x80");
}

TEST(PosixNames, EncodesOtherLoneSurrogates) {
    const char16_t high[] = {0xD800, 'a', 0};
    EXPECT_EQ(narrowName(high), "\xED\xA0\x80"
                                "a");
    const char16_t low[] = {0xDD00, 0};
    EXPECT_EQ(narrowName(low), "\xED\xB4\x80");
}

TEST(PosixNames, FilesAndVariablesMayHaveInvalidUtf8) {
    const TemporaryFolder folder;
    const std::string bytes = folder.path().string() + "/\xFF\xC3.bin";
    ASSERT_TRUE(Stream(FileStream::createFileForWriting(wideName(bytes)))->write(4, "text"));
    EXPECT_EQ(readFile(bytes), "text");

    const VariableSetting setting("VELMOR_BYTES", "\xFE\xC3\xA9");
    const WideString value = EnvironmentVariables::GetString(u"VELMOR_BYTES");
    EXPECT_EQ(value, (WideString{0xDCFE, 0x00E9}));
    EnvironmentVariables::SetString(u"VELMOR_BYTES", value + u"!");
    EXPECT_EQ(variable("VELMOR_BYTES"), "\xFE\xC3\xA9!");
}

// ---- Files ----

VELMOR_SCENARIO(OpenWithoutStandardStreams) {
    for (int descriptor = 0; descriptor <= STDERR_FILENO; ++descriptor)
        close(descriptor);
    const Stream reader(FileStream::openFileForReading(u"/dev/null"));
    const Stream temporary(FileStream::createTemporaryFile());
    const auto number = [](const Stream& stream) {
        return static_cast<int>(reinterpret_cast<std::intptr_t>(stream->getHandle()));
    };
    const bool apart = number(reader) > STDERR_FILENO && number(temporary) > STDERR_FILENO;
    const bool flags =
        (fcntl(number(reader), F_GETFD) & FD_CLOEXEC) != 0 && (fcntl(number(temporary), F_GETFD) & FD_CLOEXEC) == 0;
    const bool leftFree = fcntl(0, F_GETFD) < 0 && fcntl(1, F_GETFD) < 0 && fcntl(2, F_GETFD) < 0;
    std::_Exit(apart && flags && leftFree ? 42 : 1);
}

TEST(PosixFiles, OpenedFilesDoNotUseTheNumbersOfStandardStreams) {
    EXPECT_EQ(runAlone("OpenWithoutStandardStreams").exitCode, 42u);
}

TEST(PosixFiles, NullHandleIsInvalid) {
    const Stream stream(FileStream::createFromHandle(nullptr));
    std::vector<char> block;
    EXPECT_FALSE(stream->read(1, block));
    EXPECT_EQ(os::lastError(), 6u);
    EXPECT_FALSE(stream->write(1, "x"));
    EXPECT_EQ(os::lastError(), 6u);
    EXPECT_TRUE(stream->isValid());
    EXPECT_FALSE(os::closeHandle(nullptr));
    EXPECT_GE(fcntl(0, F_GETFD), 0);
}

TEST(PosixFiles, FailuresHaveTheErrorCodesOfWin32) {
    const TemporaryFolder folder;
    writeFile(folder / "file", "");
    const Stream holder(FileStream::createFileForWriting(wide(folder / "file")));
    const struct {
        std::filesystem::path path;
        unsigned reading;
        unsigned writing;
    } cases[] = {
        {folder / "file", 32, 32},
        {folder.path(), 5, 5},
        {folder / "file" / "child", 3, 3},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Stream(FileStream::openFileForReading(wide(c.path)))->getHandle(), noHandle());
        EXPECT_EQ(os::lastError(), c.reading) << c.path;
        EXPECT_EQ(Stream(FileStream::createFileForWriting(wide(c.path)))->getHandle(), noHandle());
        EXPECT_EQ(os::lastError(), c.writing) << c.path;
    }
    EXPECT_EQ(Stream(FileStream::openFileForReading(wide(folder / "missing")))->getHandle(), noHandle());
    EXPECT_EQ(os::lastError(), 2u);
}

TEST(PosixFiles, WriteToAPipeWithoutReaderFails) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    EXPECT_FALSE(Stream(FileStream::createFromHandle(handleOf(ends[1])))->write(4, "text"));
    EXPECT_EQ(os::lastError(), 109u); // ERROR_BROKEN_PIPE
    EXPECT_EQ(pendingSignals(), std::vector<int>());
    close(ends[1]);
}

TEST(PosixFiles, WriteOverTheFileSizeLimitFails) {
    const Stream stream(FileStream::createTemporaryFile());
    const std::vector<char> block(4000);
    rlimit former = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
    const rlimit limit = {5000, former.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const bool first = stream->write(block.size(), block.data());
    const bool second = stream->write(block.size(), block.data());
    const unsigned code = os::lastError();
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &former), 0);
    EXPECT_TRUE(first);
    EXPECT_FALSE(second);
    EXPECT_EQ(code, 112u); // ERROR_DISK_FULL
    EXPECT_EQ(pendingSignals(), std::vector<int>());
}

TEST(PosixFiles, ReadFromAPipeReturnsTheAvailableBytes) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(write(ends[1], "text", 4), 4);
    const Stream stream(FileStream::createFromHandle(handleOf(ends[0])));
    std::vector<char> block;
    EXPECT_TRUE(stream->read(100, block)); // does not wait for more bytes
    EXPECT_EQ(std::string(block.begin(), block.end()), "text");
    close(ends[1]);
    EXPECT_TRUE(stream->read(100, block));
    EXPECT_TRUE(block.empty());
    close(ends[0]);
}

TEST(PosixFiles, PartialReadReportsAFailureAtTheNextRead) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const TemporaryFolder folder;
    writeFile(folder / "file", std::string(2 * page, 'x'));
    const Stream stream(FileStream::openFileForReading(wide(folder / "file")));
    // The second half of the memory is not writable.
    void* const memory = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(memory, MAP_FAILED);
    char* const second = static_cast<char*>(memory) + page;
    ASSERT_EQ(mprotect(second, page, PROT_NONE), 0);
    std::uint32_t count = 0;
    EXPECT_TRUE(os::readFile(stream->getHandle(), memory, static_cast<std::uint32_t>(2 * page), &count));
    EXPECT_EQ(count, page);
    EXPECT_FALSE(os::readFile(stream->getHandle(), second, static_cast<std::uint32_t>(page), &count));
    EXPECT_EQ(count, 0u);
    munmap(memory, 2 * page);
}

// ---- Processes ----

TEST(PosixProcesses, ChildHasDefaultActionsAndAnEmptySignalMask) {
    const TemporaryFolder folder;
    sigset_t blocked;
    sigset_t former;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &blocked, &former);
    const auto formerAction = std::signal(SIGUSR2, SIG_IGN);
    runShell("grep -E '^Sig(Blk|Ign)' /proc/self/status > " + narrow(folder / "status"));
    std::signal(SIGUSR2, formerAction);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    EXPECT_EQ(readFile(folder / "status"), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST(PosixProcesses, KilledProcessHasExitCode128PlusItsSignal) {
    EXPECT_EQ(runShell("kill -TERM $$"), 128u + SIGTERM);
    EXPECT_EQ(runShell("kill -KILL $$"), 128u + SIGKILL);
}

TEST(PosixProcesses, ExitCodesHaveEightBits) {
    for (const unsigned code : {255u, 256u, 300u}) {
        const HANDLE process = startProcess(childProgram(), wide("child " + std::to_string(code)), false);
        EXPECT_EQ(join(process), code % 256);
        ProcessOperations::closeProcess(process);
    }
}

namespace {

/// Whether a child has ended and has not been waited for.
/// @param wait waits until a child has ended.
bool hasZombie(bool wait) {
    siginfo_t info = {};
    return waitid(P_ALL, 0, &info, WEXITED | WNOWAIT | (wait ? 0 : WNOHANG)) == 0 && info.si_pid != 0;
}

} // namespace

VELMOR_SCENARIO(CloseARunningChildWithoutAThread) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0 || dup2(ends[0], STDIN_FILENO) != STDIN_FILENO)
        std::_Exit(1);
    const HANDLE child = ProcessOperations::createProcess(u"/bin/cat", u"cat", false);
    // The limit does not apply to root.
    if (geteuid() == 0 && setuid(65534) != 0)
        std::_Exit(2);
    rlimit former = {};
    getrlimit(RLIMIT_NPROC, &former);
    const rlimit none = {0, former.rlim_max};
    if (setrlimit(RLIMIT_NPROC, &none) != 0)
        std::_Exit(3);
    ProcessOperations::closeProcess(child);
    setrlimit(RLIMIT_NPROC, &former);
    close(ends[1]); // the input of the child ends, so the child ends
    if (!hasZombie(true))
        std::_Exit(4);
    const HANDLE next = ProcessOperations::createProcess(u"/bin/true", u"true", false);
    if (next == noHandle())
        std::_Exit(5);
    unsigned exitCode = 0;
    while (!ProcessOperations::hasEnded(next, &exitCode))
        os::sleep(1);
    std::_Exit(hasZombie(false) ? 6 : 42);
}

TEST(PosixProcesses, ClosedChildIsWaitedForIfNoThreadCanBeStarted) {
    EXPECT_EQ(runAlone("CloseARunningChildWithoutAThread").exitCode, 42u);
}

TEST(PosixProcesses, ExitCodeIsUnknownIfTheHostIgnoresItsChildren) {
    const auto former = std::signal(SIGCHLD, SIG_IGN);
    const unsigned code = runShell("exit 7");
    std::signal(SIGCHLD, former);
    EXPECT_EQ(code, 0xFFFFFFFFu);
}

TEST(PosixProcesses, ProgramThatCannotRunHasTheErrorCodeOfWin32) {
    const TemporaryFolder folder;
    writeFile(folder / "text", "plain text");
    std::filesystem::permissions(folder / "text", std::filesystem::perms::owner_all);
    const struct {
        std::filesystem::path program;
        unsigned code;
    } cases[] = {{folder / "missing", 2}, {folder.path(), 5}, {folder / "text", 193}};
    for (const auto& c : cases) {
        EXPECT_EQ(ProcessOperations::createProcess(wide(c.program), u"program", false), noHandle());
        EXPECT_EQ(os::lastError(), c.code) << c.program;
    }
}

// ---- Modules ----

namespace {

std::filesystem::path testModule() {
    return programFolder() / "modules" / "first" / "velmor_module.so";
}

} // namespace

TEST(PosixModules, TruncatedModuleIsNotLoaded) {
    const std::string whole = readFile(testModule());
    // The loader needs the file up to the end of the last segment. Only other tools use the section table after it.
    ElfW(Ehdr) header;
    ASSERT_GE(whole.size(), sizeof header);
    std::memcpy(&header, whole.data(), sizeof header);
    std::size_t end = 0;
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) segment;
        std::memcpy(&segment, whole.data() + header.e_phoff + i * sizeof segment, sizeof segment);
        if (segment.p_type == PT_LOAD || segment.p_type == PT_DYNAMIC)
            end = std::max<std::size_t>(end, segment.p_offset + segment.p_filesz);
    }
    ASSERT_GT(end, sizeof header);
    ASSERT_LT(end, whole.size());
    const TemporaryFolder folder;
    const auto loads = [&](std::size_t size) {
        writeFile(folder / "cut.so", whole.substr(0, size));
        return Library(DynamicLibrary::loadDynamicLibrary(u"cut", wide(folder.path())))->isValid();
    };
    for (std::size_t part = 0; part < 100; ++part) {
        EXPECT_FALSE(loads(end * part / 100)) << part;
        EXPECT_EQ(os::lastError(), 193u) << part; // ERROR_BAD_EXE_FORMAT
    }
    EXPECT_FALSE(loads(end - 1));
    EXPECT_TRUE(loads(end));
}

TEST(PosixModules, DoesNotChangeATooLongSearchPath) {
    const std::string old(40000, 'p');
    const VariableSetting path("PATH", old);
    const Library library(DynamicLibrary::loadDynamicLibrary(wide(testModule()), u"/nowhere"));
    EXPECT_FALSE(library->isValid());
    EXPECT_TRUE(variable("PATH") == old);
}

TEST(PosixModules, AddsTheExtensionToANameWithoutOne) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "dotted.folder");
    for (const char* name : {"plain", "with.so", "version-3.91", "dotted.folder/inner.so"})
        std::filesystem::copy_file(testModule(), folder / name);
    const auto loads = [&](const std::string& name) {
        return Library(DynamicLibrary::loadDynamicLibrary(wide(name), wide(folder.path())))->isValid();
    };
    EXPECT_TRUE(loads("with"));
    EXPECT_TRUE(loads("with.so"));
    EXPECT_TRUE(loads("plain."));
    EXPECT_FALSE(loads("plain"));
    EXPECT_TRUE(loads("version-3.91"));
    EXPECT_TRUE(loads(narrow(folder / "with")));
    EXPECT_TRUE(loads(narrow(folder / "dotted.folder/inner")));
    EXPECT_FALSE(loads(""));
    EXPECT_FALSE(loads("."));
    EXPECT_FALSE(loads(narrow(folder.path())));
}

TEST(PosixModules, FindsModulesOfTheSystemByName) {
    const Library library(DynamicLibrary::loadDynamicLibrary(u"libm.so.6", u"/nowhere"));
    EXPECT_TRUE(library->isValid());
    EXPECT_NE(library->getSymbolAddress("cos"), nullptr);
}
