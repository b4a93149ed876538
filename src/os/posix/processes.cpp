#include "os/posix/environment.h"
#include "os/posix/handles.h"
#include "os/posix/names.h"
#include "os/posix/priority.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <string>
#include <vector>

namespace Velmor::os {

namespace {

/// The exit code of a process that somebody else has waited for: a host that ignores SIGCHLD or waits for all its children.
constexpr unsigned exitCodeTakenAway = 0xFFFFFFFF;

/// Children that are still to be waited for, because no thread could be had for it. They are asked for whenever a process is
/// started or its handle closed.
class Orphans {
public:
    void add(pid_t pid) {
        const std::lock_guard<std::mutex> lock(mutex_);
        try {
            pids_.push_back(pid);
        } catch (const std::bad_alloc&) {
            // It stays behind as a zombie.
        }
    }

    /// Lets go of those that have ended.
    void sweep() {
        const std::lock_guard<std::mutex> lock(mutex_);
        pids_.erase(
            std::remove_if(pids_.begin(), pids_.end(), [](pid_t pid) { return waitpid(pid, nullptr, WNOHANG) != 0; }),
            pids_.end());
    }

private:
    std::mutex mutex_;
    std::vector<pid_t> pids_;
};

Orphans& orphans() {
    static Orphans* const instance = new Orphans; // never destroyed: threads may outlive main()
    return *instance;
}

/// Waits for a child that nobody else knows any more.
void* reap(void* child) {
    const pid_t pid = static_cast<pid_t>(reinterpret_cast<std::intptr_t>(child));
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    return nullptr;
}

/// Has a child waited for by a small thread of its own, which takes no signals of the host's. It is the one thread that the
/// library starts for itself: without it, a running child whose handle is closed would be left as a zombie.
void reapInBackground(pid_t pid) {
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, std::max<std::size_t>(static_cast<std::size_t>(PTHREAD_STACK_MIN), 64 * 1024));
    pthread_sigmask(SIG_SETMASK, &all, &former);
    pthread_t thread;
    if (pthread_create(&thread, &attributes, &reap, reinterpret_cast<void*>(static_cast<std::intptr_t>(pid))) != 0)
        orphans().add(pid);
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    pthread_attr_destroy(&attributes);
}

/// A child process. Its number stays its own until it is waited for, which only this object does.
class Process : public posix::Object {
public:
    Process() = default;

    ~Process() override {
        orphans().sweep();
        update();
        if (waitable_)
            reapInBackground(pid_);
    }

    void started(pid_t pid) {
        const std::lock_guard<std::mutex> lock(mutex_);
        pid_ = pid;
        waitable_ = true;
    }

    unsigned exitCode() {
        const std::lock_guard<std::mutex> lock(mutex_);
        update();
        return exitCode_;
    }

    /// Ends the process if it still runs.
    bool terminate(unsigned exitCode) {
        const std::lock_guard<std::mutex> lock(mutex_);
        update();
        if (!waitable_ || terminated_ || kill(pid_, SIGKILL) != 0)
            return false;
        terminated_ = true;
        terminationCode_ = exitCode;
        // As on Windows the exit code can be asked for at once. A process that the kernel does not let go soon is not waited
        // for any longer.
        for (int attempt = 0; attempt < 100 && waitable_; ++attempt) {
            if (attempt != 0)
                os::sleep(1);
            update();
        }
        return true;
    }

private:
    /// Takes over the exit code, the first time that there is one.
    void update() {
        int status = 0;
        const pid_t answer = waitable_ ? waitpid(pid_, &status, WNOHANG) : 0;
        if (answer == 0)
            return;
        waitable_ = false;
        if (answer < 0)
            exitCode_ = exitCodeTakenAway;
        else if (WIFEXITED(status))
            exitCode_ = static_cast<unsigned>(WEXITSTATUS(status));
        else if (terminated_ && WTERMSIG(status) == SIGKILL)
            exitCode_ = terminationCode_;
        else
            exitCode_ = 128 + static_cast<unsigned>(WTERMSIG(status));
    }

    std::mutex mutex_;
    pid_t pid_ = 0;
    bool waitable_ = false; // a child that runs, or whose end nobody has asked for
    bool terminated_ = false;
    unsigned terminationCode_ = 0;
    unsigned exitCode_ = stillActive;
};

bool isBlank(WideChar unit) {
    return unit == ' ' || unit == '\t';
}

/// Reads the program's name, the first argument: up to the next quote or, unquoted, the next blank, no matter what.
WideString takeProgramName(const WideChar*& position) {
    const bool quoted = *position == '"';
    if (quoted)
        ++position;
    const WideChar* const begin = position;
    while (*position != 0 && (quoted ? *position != '"' : !isBlank(*position)))
        ++position;
    WideString name(begin, position);
    if (quoted && *position != 0)
        ++position;
    return name;
}

/// Reads one further argument. 2n backslashes before a quote stand for n, and the quote counts; 2n + 1 stand for n and a
/// quote in the text. Of three quotes in a row, the one that opens a quotation included, the third stands in the text and
/// ends the quotation; two in a row end it.
WideString takeArgument(const WideChar*& position) {
    WideString argument;
    unsigned quotes = 0; // 0 outside a quotation
    while (*position != 0 && !(quotes == 0 && isBlank(*position))) {
        std::size_t backslashes = 0;
        for (; *position == '\\'; ++position)
            ++backslashes;
        if (*position != '"') {
            argument.append(backslashes, VELMOR_WIDE('\\'));
            if (*position != 0 && !(quotes == 0 && isBlank(*position)))
                argument.push_back(*position++);
            continue;
        }
        argument.append(backslashes / 2, VELMOR_WIDE('\\'));
        ++position;
        if (backslashes % 2 != 0)
            argument.push_back(VELMOR_WIDE('"'));
        else
            ++quotes;
        for (; *position == '"'; ++position) {
            if (++quotes == 3) {
                argument.push_back(VELMOR_WIDE('"'));
                quotes = 0;
            }
        }
        if (quotes == 2)
            quotes = 0;
    }
    return argument;
}

/// Splits a command line as CommandLineToArgvW does. An empty one stands for the application's name.
std::vector<std::string> splitCommandLine(const WideChar* commandLine, const std::string& application) {
    if (*commandLine == 0)
        return {application};
    const WideChar* position = commandLine;
    std::vector<std::string> arguments = {posix::narrowName(takeProgramName(position).c_str())};
    for (;;) {
        while (isBlank(*position))
            ++position;
        if (*position == 0)
            return arguments;
        arguments.push_back(posix::narrowName(takeArgument(position).c_str()));
    }
}

/// The form in which execve takes texts; they must outlive it.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// What the child needs, made before the fork: behind it only calls that are safe in a signal handler are allowed.
struct Launch {
    const char* application;
    char* const* arguments;
    char* const* environment;
    bool inheritHandles;
    int nice;
    rlim_t descriptorLimit; ///< The hard one: descriptors may be open from before the soft one was lowered.
    int failurePipe;        ///< Takes the errno of a failure; closed by a successful exec.
};

/// Lets exec close everything but the standard streams.
void closeAllOnExec(const Launch& launch) {
#if defined(SYS_close_range)
    constexpr unsigned closeOnExec = 4; // CLOSE_RANGE_CLOEXEC
    if (syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, closeOnExec) == 0)
        return;
#endif
    constexpr rlim_t usualMaximum = 1 << 20; // of the system, unless it was told otherwise
    const int limit = static_cast<int>(std::min(launch.descriptorLimit, usualMaximum));
    for (int descriptor = STDERR_FILENO + 1; descriptor < limit; ++descriptor)
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

/// The child's side of the fork. All signals are blocked.
[[noreturn]] void runChild(const Launch& launch) {
    setsid();
    setpriority(PRIO_PROCESS, 0, launch.nice);
    if (!launch.inheritHandles)
        closeAllOnExec(launch);

    struct sigaction defaultAction = {};
    defaultAction.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        sigaction(signal, &defaultAction, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);

    execve(launch.application, launch.arguments, launch.environment);
    const int error = errno;
    while (write(launch.failurePipe, &error, sizeof error) < 0 && errno == EINTR) {
    }
    _exit(127);
}

/// Starts the child and waits until its program runs.
/// @return its number; -1, with errno, if the program could not be started.
pid_t launchChild(Launch& launch) {
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0)
        return -1;
    launch.failurePipe = pipeEnds[1];

    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former); // no handler of the host's runs in the child
    const pid_t pid = fork();
    if (pid == 0)
        runChild(launch);
    int error = errno;
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    close(pipeEnds[1]);

    bool failed = pid < 0;
    if (!failed) {
        ssize_t count = 0;
        int childError = 0;
        while ((count = read(pipeEnds[0], &childError, sizeof childError)) < 0 && errno == EINTR) {
        }
        if (count == static_cast<ssize_t>(sizeof childError)) {
            failed = true;
            error = childError;
            while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
    }
    close(pipeEnds[0]);
    errno = error;
    return failed ? -1 : pid;
}

} // namespace

HANDLE createProcess(const WideChar* application, WideChar* commandLine, bool inheritHandles) {
    try {
        orphans().sweep();
        const std::string program = posix::narrowName(application);
        std::vector<std::string> arguments = splitCommandLine(commandLine, program);
        std::vector<std::string> environment = posix::environmentEntries();
        const std::vector<char*> argumentPointers = pointersTo(arguments);
        const std::vector<char*> environmentPointers = pointersTo(environment);
        rlimit descriptors = {};
        getrlimit(RLIMIT_NOFILE, &descriptors);
        Launch launch = {program.c_str(),
                         argumentPointers.data(),
                         environmentPointers.data(),
                         inheritHandles,
                         std::max(getpriority(PRIO_PROCESS, 0), posix::belowNormalNice), // not relative to this process
                         descriptors.rlim_max,
                         -1};

        // The handle comes first: behind the fork nothing may fail any more.
        const auto process = std::make_shared<Process>();
        const HANDLE handle = posix::addObject(process);
        if (handle == nullptr)
            return nullptr;
        const pid_t pid = launchChild(launch);
        if (pid < 0) {
            posix::setLastErrorFromErrno(errno);
            closeHandle(handle);
            return nullptr;
        }
        process->started(pid);
        return handle;
    } catch (const std::bad_alloc&) {
        posix::setLastError(posix::errorNotEnoughMemory);
        return nullptr;
    }
}

bool getExitCodeProcess(HANDLE process, unsigned* exitCode) {
    const auto target = posix::findObjectOf<Process>(process);
    if (target == nullptr)
        return false;
    *exitCode = target->exitCode();
    return true;
}

bool terminateProcess(HANDLE process, unsigned exitCode) {
    const auto target = posix::findObjectOf<Process>(process);
    if (target == nullptr)
        return false;
    if (target->terminate(exitCode))
        return true;
    posix::setLastError(posix::errorAccessDenied);
    return false;
}

} // namespace Velmor::os
