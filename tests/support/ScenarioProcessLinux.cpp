// The debugger is a ptrace tracer. The debugger channel is a write() to descriptor -1: the call fails and has no effect, but
// a tracer of the system calls sees its text.

#include "support/ScenarioProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

extern char** environ;

namespace velmor_tests {
namespace {

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::abort();
}

/// Both ends are closed on exec.
class Pipe {
public:
    Pipe() {
        if (pipe2(ends_.data(), O_CLOEXEC) != 0)
            fail("pipe2");
    }
    ~Pipe() {
        close(0);
        close(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int reading() const { return ends_[0]; }
    int writing() const { return ends_[1]; }
    void closeWriting() { close(1); }

private:
    void close(std::size_t end) {
        if (ends_[end] >= 0)
            ::close(ends_[end]);
        ends_[end] = -1;
    }

    std::array<int, 2> ends_{-1, -1};
};

/// Kills the scenario's process group. After the process has been waited for, its id may belong to another process.
class Killer {
public:
    explicit Killer(pid_t group) : group_(group) {}

    bool kill() {
        const std::lock_guard guard(mutex_);
        if (!waitedFor_)
            ::kill(-group_, SIGKILL);
        return !waitedFor_;
    }

    void noteWaitedFor() {
        const std::lock_guard guard(mutex_);
        waitedFor_ = true;
    }

private:
    std::mutex mutex_;
    pid_t group_;
    bool waitedFor_ = false;
};

/// Collects both outputs until they close, or until the process has ended and they are empty. Kills the process at the
/// time limit.
void collect(int output, int error, int ended, Killer& killer, std::chrono::seconds limit, ScenarioRun& run) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    std::array<pollfd, 3> watched{pollfd{output, POLLIN, 0}, pollfd{error, POLLIN, 0}, pollfd{ended, POLLIN, 0}};
    const std::array<std::string*, 2> texts{&run.output, &run.error};
    bool hasEnded = false;
    bool killed = false;
    std::vector<char> block(1 << 16);
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        const int timeout = hasEnded ? 0 : killed ? -1 : static_cast<int>(std::max<long long>(left.count(), 0));
        const int ready = poll(watched.data(), watched.size(), timeout);
        if (ready < 0 && errno != EINTR)
            fail("poll");
        if (ready == 0) {
            if (hasEnded)
                break;
            killed = killer.kill();
        }
        for (std::size_t i = 0; ready > 0 && i < texts.size(); ++i) {
            if (watched[i].fd < 0 || watched[i].revents == 0)
                continue;
            const ssize_t got = read(watched[i].fd, block.data(), block.size());
            if (got > 0)
                texts[i]->append(block.data(), static_cast<std::size_t>(got));
            else if (got == 0)
                watched[i].fd = -1;
        }
        if (ready > 0 && watched[2].revents != 0) {
            hasEnded = true;
            watched[2].fd = -1;
        }
        if (hasEnded && watched[0].fd < 0 && watched[1].fd < 0)
            break;
    }
    if (killed)
        run.error += limitReached;
}

/// The environment of this process, with the given variables added or replaced.
std::vector<std::string> makeEnvironment(const std::vector<std::string>& variables, bool underDebugger) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string prefix = variablePrefix(*entry);
        const auto replaces = [&](const std::string& variable) { return variablePrefix(variable) == prefix; };
        if (std::none_of(variables.begin(), variables.end(), replaces))
            result.emplace_back(*entry);
    }
    result.insert(result.end(), variables.begin(), variables.end());
    if (underDebugger) {
        // The leak check traces its own process, which fails if another tracer is attached.
        const auto options = std::find_if(result.begin(), result.end(),
                                          [](const std::string& entry) { return entry.rfind("ASAN_OPTIONS=", 0) == 0; });
        if (options != result.end())
            *options += ":detect_leaks=0";
        else
            result.emplace_back("ASAN_OPTIONS=detect_leaks=0");
    }
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

/// Text in the memory of the tracee, as far as it is readable.
std::string readMemory(pid_t process, std::uint64_t address, std::uint64_t length) {
    std::string text(static_cast<std::size_t>(std::min<std::uint64_t>(length, 1 << 20)), '\0');
    const iovec local{text.data(), text.size()};
    const iovec remote{reinterpret_cast<void*>(static_cast<std::uintptr_t>(address)), text.size()};
    const ssize_t got = process_vm_readv(process, &local, 1, &remote, 1, 0);
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return text;
}

void recordSystemCall(pid_t thread, ScenarioRun& run) {
    __ptrace_syscall_info call{};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, thread, sizeof call, &call) <= 0)
        return;
    if (call.op == PTRACE_SYSCALL_INFO_ENTRY && call.entry.nr == SYS_write && static_cast<int>(call.entry.args[0]) == -1)
        run.reports.push_back(readMemory(thread, call.entry.args[1], call.entry.args[2]));
}

/// Handles a stop of a thread of the scenario and resumes the thread.
void resume(pid_t thread, int status, ScenarioRun& run) {
    const int signal = WSTOPSIG(status);
    const bool isEvent = status >> 16 != 0; // a new thread, or the interruption by PTRACE_INTERRUPT
    int delivered = 0;
    if (signal == (SIGTRAP | 0x80)) // PTRACE_O_TRACESYSGOOD
        recordSystemCall(thread, run);
    else if (!isEvent && signal == SIGTRAP)
        countBreak(run);
    else if (!isEvent)
        delivered = signal;
    ptrace(PTRACE_SYSCALL, thread, nullptr, reinterpret_cast<void*>(static_cast<std::intptr_t>(delivered)));
}

[[noreturn]] void becomeScenario(const char* program, char** arguments, char** environment, const Pipe& output,
                                 const Pipe& error, const Pipe& go) {
    setpgid(0, 0);
    char byte = 0;
    while (read(go.reading(), &byte, 1) < 0 && errno == EINTR) {
    }
    const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
    dup2(null, STDIN_FILENO);
    dup2(output.writing(), STDOUT_FILENO);
    dup2(error.writing(), STDERR_FILENO);
    execve(program, arguments, environment);
    _exit(127);
}

} // namespace

std::string programPath() {
    std::array<char, PATH_MAX> path{};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length < 0)
        fail("readlink");
    return std::string(path.data(), static_cast<std::size_t>(length));
}

ScenarioRun runScenarioProcess(const std::string& scenario, const std::vector<std::string>& environment, bool underDebugger,
                               std::chrono::seconds limit) {
    const std::string program = programPath();
    std::vector<std::string> argumentTexts{program, scenarioArgument + scenario};
    std::vector<std::string> environmentTexts = makeEnvironment(environment, underDebugger);
    std::vector<char*> arguments = pointers(argumentTexts);
    std::vector<char*> variables = pointers(environmentTexts);
    Pipe output;
    Pipe error;
    Pipe ended;
    Pipe go;

    const pid_t child = fork();
    if (child < 0)
        fail("fork");
    if (child == 0)
        becomeScenario(program.c_str(), arguments.data(), variables.data(), output, error, go);
    setpgid(child, child); // in both processes, because either may run first
    output.closeWriting();
    error.closeWriting();
    if (underDebugger) {
        // The tracer follows new threads, but no child processes.
        const long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_EXITKILL;
        if (ptrace(PTRACE_SEIZE, child, nullptr, reinterpret_cast<void*>(options)) != 0 ||
            ptrace(PTRACE_INTERRUPT, child, nullptr, nullptr) != 0)
            fail("ptrace");
    }
    // The scenario waits for a byte and not for the end of the pipe: a child of another thread may hold a copy of this end.
    if (write(go.writing(), "", 1) != 1)
        fail("write");

    Killer killer(child);
    ScenarioRun run;       // written by the tracer, this thread
    ScenarioRun collected; // the texts, written by the collector
    std::thread collector([&] { collect(output.reading(), error.reading(), ended.reading(), killer, limit, collected); });
    int status = 0;
    for (;;) {
        // Only processes of the scenario's group; the suite may have other children.
        const pid_t who = waitpid(-child, &status, __WALL);
        if (who < 0 && errno != EINTR)
            fail("waitpid");
        if (who > 0 && WIFSTOPPED(status))
            resume(who, status, run);
        else if (who == child)
            break;
    }
    killer.noteWaitedFor();
    ended.closeWriting();
    collector.join();

    run.output = std::move(collected.output);
    run.error = std::move(collected.error);
    run.exited = WIFEXITED(status);
    run.exitCode = static_cast<unsigned>(run.exited ? WEXITSTATUS(status) : WTERMSIG(status));
    return run;
}

} // namespace velmor_tests
