// Starting processes: the program, its command line and its environment.

#include "Processes.h"

#include <type_traits>
#include <vector>

#if defined(_WIN32)
    #include <windows.h>
#else
    #include <sys/resource.h>
#endif

using namespace velmor_tests;
using Velmor::ProcessOperations;
using Velmor::WideString;

namespace {

static_assert(std::is_empty_v<ProcessOperations>);
static_assert(std::is_copy_assignable_v<ProcessOperations> && std::is_move_assignable_v<ProcessOperations>);

/// Command lines, and the arguments that a program receives for them.
const struct {
    const char* line;
    std::vector<std::string> arguments;
} commandLines[] = {
    {"c", {"c"}},
    {"c a b", {"c", "a", "b"}},
    {"c  a\t b ", {"c", "a", "b"}},
    {"c \n x", {"c", "\n", "x"}}, // a line feed is not a separator
    // Quotes.
    {"c \"a b\"", {"c", "a b"}},
    {"c \"\"", {"c", ""}},
    {"c \"\" x", {"c", "", "x"}},
    {"c a\"b c\"d", {"c", "ab cd"}},
    {"c a\"\"b", {"c", "ab"}},
    {"c \"unclosed  arg", {"c", "unclosed  arg"}},
    {"c \"\"a b\"\"", {"c", "a", "b"}},
    // Two quotes inside quotes are one quote, and end the quoted part.
    {"c \"a\"\"b\"", {"c", "a\"b"}},
    {"c \"a\"\"b\" d", {"c", "a\"b d"}},
    {"c \"a\"\"\"b c", {"c", "a\"b c"}},
    {"c \"\"\"", {"c", "\""}},
    {"c \"\"\"\"", {"c", "\""}},
    // Backslashes are special only before a quote.
    {"c a\\\\\\b", {"c", "a\\\\\\b"}},
    {"c C:\\folder\\ x", {"c", "C:\\folder\\", "x"}},
    {"c a\\\"b", {"c", "a\"b"}},
    {"c \\\"a b\\\"", {"c", "\"a", "b\""}},
    {"c a\\\\\"b c\"", {"c", "a\\b c"}},
    {"c \"a\\\\\" d", {"c", "a\\", "d"}},
    {"c \"a\\\" d", {"c", "a\" d"}},
    {"c \"a\\\\\\\" d", {"c", "a\\\" d"}},
    {"c \\\\\"x y\\\\\" z", {"c", "\\x y\\", "z"}},
    // The name of the program has no escapes and ends at its closing quote.
    {"\"a b\" c", {"a b", "c"}},
    {"\"a b\"c d", {"a b", "c", "d"}},
    {"\"c\"a b", {"c", "a", "b"}},
    {"a\\\"b c", {"a\\\"b", "c"}},
    {"\"a\\\" b", {"a\\", "b"}},
    {"\"\" x", {"", "x"}},
    {" a", {"", "a"}},
    // Shell syntax has no effect.
    {"c '*' $HOME `x` ; > y | z & %PATH% ~ \\n",
     {"c", "'*'", "$HOME", "`x`", ";", ">", "y", "|", "z", "&", "%PATH%", "~", "\\n"}},
    {"c --option=\"a b\" -x", {"c", "--option=a b", "-x"}},
};
} // namespace

TEST(ProcessOperations, InvalidHandleHasAllBitsSet) {
    EXPECT_EQ(ProcessOperations::InvalidHandle(), noHandle());
}

TEST(ProcessOperations, StartsAProgram) {
    Child child({"describe"});
    const Report report = child.report();
    EXPECT_EQ(report.values("argument"), std::vector<std::string>{"child"});
    EXPECT_EQ(child.join(), 0u);
}

TEST(ProcessOperations, ReturnsNoHandleIfTheProgramCannotRun) {
    const TemporaryFolder folder;
    writeFile(folder / "notes.txt", "plain text\n");
    writeFile(folder / "empty.exe", "");
    writeFile(folder / "script.exe", "echo plain text\n");
    writeFile(folder / "broken.exe", std::string("\x7F"
                                                 "ELF MZ\0\0 broken",
                                                 16));
    std::filesystem::permissions(folder / "script.exe", std::filesystem::perms::owner_all);
    std::filesystem::permissions(folder / "empty.exe", std::filesystem::perms::owner_all);
    std::filesystem::permissions(folder / "broken.exe", std::filesystem::perms::owner_all);
    const std::filesystem::path invalid[] = {"",
                                             folder / "missing.exe",
                                             folder / "missing" / "child.exe",
                                             folder.path(),
                                             folder / "notes.txt",
                                             folder / "notes.txt" / "child.exe",
                                             folder / "empty.exe",
                                             folder / "script.exe",
                                             folder / "broken.exe"};
    const auto round = [&] {
        for (const auto& program : invalid) {
            EXPECT_EQ(ProcessOperations::createProcess(wide(program), wide("child 0"), false), noHandle()) << program;
            EXPECT_EQ(ProcessOperations::createProcess(wide(program), WideString(), true), noHandle()) << program;
        }
    };
    round();
    const std::size_t before = openHandles();
    for (int i = 0; i < 10; ++i)
        round();
    EXPECT_EQ(openHandles(), before);
#if !defined(_WIN32)
    EXPECT_FALSE(hasChildren());
#endif
}

TEST(ProcessOperations, ProgramNameMayHaveAnyCharacter) {
    const TemporaryFolder folder;
    const auto program = folder / ("Gr\xC3\xBC\xC3\x9F"
                                   "e \xE6\xB8\xAC\xE8\xA9\xA6 \xF0\x9F\x98\x80" +
                                   std::string(programEnding))
                                      .c_str();
    std::filesystem::copy_file(childProgram(), program);
    for (const auto& entry : std::filesystem::directory_iterator(programFolder()))
        if (entry.path().extension() == ".dll") // the libraries of the program
            std::filesystem::copy_file(entry.path(), folder.path() / entry.path().filename());
    Child child({"describe"}, false, wide("caf\xC3\xA9 \xE6\xB8\xAC\xE8\xA9\xA6 \xF0\x9F\x98\x80"), program);
    EXPECT_EQ(child.report().values("argument"),
              (std::vector<std::string>{"caf\xC3\xA9", "\xE6\xB8\xAC\xE8\xA9\xA6", "\xF0\x9F\x98\x80"}));
    child.join();
}

TEST(ProcessOperations, ProgramIsNotSearchedInThePath) {
    const std::string name = narrow(childProgram().filename());
    const VariableSetting path("PATH", narrow(programFolder()));
    const auto here = std::filesystem::current_path();
    const TemporaryFolder folder;
    std::filesystem::current_path(folder.path());
    EXPECT_EQ(ProcessOperations::createProcess(wide(name), wide("child 7"), false), noHandle());
    std::filesystem::current_path(programFolder());
    const HANDLE process = startProcess(name, wide("child 7"), false);
    std::filesystem::current_path(here);
    ASSERT_NE(process, noHandle());
    EXPECT_EQ(join(process), 7u);
    ProcessOperations::closeProcess(process);
}

TEST(ProcessOperations, ChildRunsInTheCallersFolder) {
    const auto here = std::filesystem::current_path();
    const TemporaryFolder folder;
    std::filesystem::current_path(folder.path());
    const std::string seen = Child({"describe"}).report().value("folder");
    std::filesystem::current_path(here);
    EXPECT_TRUE(std::filesystem::equivalent(pathOf(seen), folder.path())) << seen;
}

TEST(ProcessOperations, CommandLineIsSplitByTheRulesOfWindows) {
    for (const auto& c : commandLines) {
        const Report report = Child({"describe"}, false, wide(c.line)).report();
        EXPECT_GT(report.lines.size(), c.arguments.size()) << c.line;
        // A line feed in an argument is also a line end in the report.
        std::string expected;
        for (const std::string& argument : c.arguments)
            expected += "argument=" + argument + "\n";
        std::string seen;
        for (const std::string& line : report.lines) {
            if (line.starts_with("folder="))
                break;
            seen += line + "\n";
        }
        EXPECT_EQ(seen, expected) << c.line;
    }
}

TEST(ProcessOperations, EmptyCommandLineNamesTheProgram) {
    const auto arguments = Child({"describe"}, false, WideString()).report().values("argument");
    ASSERT_EQ(arguments.size(), 1u);
    EXPECT_TRUE(std::filesystem::equivalent(pathOf(arguments.front()), childProgram())) << arguments.front();
}

TEST(ProcessOperations, PassesLongCommandLines) {
    const std::string argument(30000, 'x');
    EXPECT_EQ(Child({"describe"}, false, wide("child " + argument)).report().values("argument"),
              (std::vector<std::string>{"child", argument}));
}

TEST(ProcessOperations, DoesNotChangeTheCommandLineOfTheCaller) {
    const WideString line = wide("child \"a b\" 5");
    const WideString copy(line.data(), line.size());
    const HANDLE process = startProcess(childProgram(), line, false);
    EXPECT_EQ(join(process), 5u);
    EXPECT_EQ(line, copy);
    ProcessOperations::closeProcess(process);
}

TEST(ProcessOperations, ChildIsDetachedAndHasLowerPriority) {
    Child child({"describe", "ready", "wait"});
    const Report report = child.ready();
#if defined(_WIN32)
    EXPECT_EQ(report.value("console"), "no");
    // The expected priority class is that of a process started directly, because not every system applies it.
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    std::wstring line = L"child 0";
    ASSERT_TRUE(CreateProcessW(wide(childProgram()).c_str(), line.data(), nullptr, nullptr, FALSE,
                               DETACHED_PROCESS | BELOW_NORMAL_PRIORITY_CLASS | CREATE_SUSPENDED, nullptr, nullptr, &startup,
                               &process));
    EXPECT_EQ(GetPriorityClass(child.handle()), GetPriorityClass(process.hProcess));
    EXPECT_EQ(report.value("class"), std::to_string(GetPriorityClass(process.hProcess)));
    ResumeThread(process.hThread);
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
#else
    EXPECT_EQ(report.value("session"), report.value("process"));
    EXPECT_GT(std::stoi(report.value("nice")), getpriority(PRIO_PROCESS, 0));
#endif
}
