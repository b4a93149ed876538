#include "os/posix/commandline.h"
#include "os/posix/descriptors.h"
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

// Start: the parent prepares everything that the child needs, because after fork in a process with threads the child may
// only call async-signal-safe functions. The child calls execve. A pipe that execve closes reports the result to the parent:
// it delivers the errno of a failure, or the end of the file after a success.
//
// End: a child that has ended remains a zombie until its parent calls waitpid, and keeps its process id until then. A
// `Process` object calls waitpid without waiting in each query of the exit code. If the handle of a running child is
// closed, a thread waits for the child; if no thread can be started, the child is added to a list that is checked at each
// start and close of a process.

namespace Velmor::os {

namespace {

/// The exit code of a process if the program itself has called waitpid for it, or ignores SIGCHLD.
constexpr unsigned unavailableExitCode = 0xFFFFFFFF;

/// Children whose handles are closed and for which no thread waits.
class UnreapedChildren {
public:
    void add(pid_t pid) {
        const std::lock_guard<std::mutex> lock(mutex_);
        try {
            pids_.push_back(pid);
        } catch (const std::bad_alloc&) {
            // The child remains a zombie after its end.
        }
    }

    /// Reaps and removes the children that have ended.
    void reap() {
        const std::lock_guard<std::mutex> lock(mutex_);
        pids_.erase(
            std::remove_if(pids_.begin(), pids_.end(), [](pid_t pid) { return waitpid(pid, nullptr, WNOHANG) != 0; }),
            pids_.end());
    }

private:
    std::mutex mutex_;
    std::vector<pid_t> pids_;
};

UnreapedChildren& unreapedChildren() {
    static UnreapedChildren* const instance = new UnreapedChildren; // never destroyed: threads may run after main
    return *instance;
}

/// Waits until a child has ended, and discards its exit status.
void waitForChild(pid_t pid) {
    posix::retryInterrupted([pid] { return waitpid(pid, nullptr, 0); });
}

/// The function of a thread that waits for a child.
void* runReaper(void* child) {
    waitForChild(static_cast<pid_t>(reinterpret_cast<std::intptr_t>(child)));
    return nullptr;
}

/// Starts a thread with a small stack and all signals blocked that waits for a child. This is the only thread that the
/// library starts for itself.
void reapInBackground(pid_t pid) {
    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_attr_setstacksize(&attributes, std::max<std::size_t>(static_cast<std::size_t>(PTHREAD_STACK_MIN), 64 * 1024));
    pthread_sigmask(SIG_SETMASK, &all, &previous);
    pthread_t thread;
    void* const argument = reinterpret_cast<void*>(static_cast<std::intptr_t>(pid));
    if (pthread_create(&thread, &attributes, &runReaper, argument) != 0)
        unreapedChildren().add(pid);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    pthread_attr_destroy(&attributes);
}

/// A child process. Only this object calls waitpid for it, so its process id stays valid until then.
class Process : public posix::Object {
public:
    Process() = default;

    ~Process() override {
        unreapedChildren().reap();
        update();
        if (isWaitable_)
            reapInBackground(pid_);
    }

    void setStarted(pid_t pid) {
        const std::lock_guard<std::mutex> lock(mutex_);
        pid_ = pid;
        isWaitable_ = true;
    }

    unsigned exitCode() {
        const std::lock_guard<std::mutex> lock(mutex_);
        update();
        return exitCode_;
    }

    /// Ends the process.
    /// @return false if it has already ended.
    bool terminate(unsigned exitCode) {
        const std::lock_guard<std::mutex> lock(mutex_);
        update();
        if (!isWaitable_ || isTerminated_ || kill(pid_, SIGKILL) != 0)
            return false;
        isTerminated_ = true;
        terminationCode_ = exitCode;
        // Waits up to 0.1 s, so that the exit code is available after the call, as on Windows.
        for (int attempt = 0; attempt < 100 && isWaitable_; ++attempt) {
            if (attempt != 0)
                os::sleep(1);
            update();
        }
        return true;
    }

private:
    /// Stores the exit code if the process has ended since the last call.
    void update() {
        int status = 0;
        const pid_t result = isWaitable_ ? waitpid(pid_, &status, WNOHANG) : 0;
        if (result == 0)
            return;
        isWaitable_ = false;
        if (result < 0)
            exitCode_ = unavailableExitCode;
        else if (WIFEXITED(status))
            exitCode_ = static_cast<unsigned>(WEXITSTATUS(status));
        else if (isTerminated_ && WTERMSIG(status) == SIGKILL)
            exitCode_ = terminationCode_;
        else
            exitCode_ = 128 + static_cast<unsigned>(WTERMSIG(status));
    }

    std::mutex mutex_;
    pid_t pid_ = 0;
    bool isWaitable_ = false; // started, and not yet reaped
    bool isTerminated_ = false;
    unsigned terminationCode_ = 0;
    unsigned exitCode_ = stillActive;
};

/// Returns an array for execve, which ends with null. The texts must outlive it.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// The data that the child needs after fork.
struct Launch {
    const char* application;
    char* const* arguments;
    char* const* environment;
    bool inheritHandles;
    int nice;
    rlim_t descriptorLimit; ///< The hard limit: descriptors above a lowered soft limit may be open.
    int failurePipe;        ///< Receives the errno of a failure; execve closes it.
};

/// Marks all descriptors except the standard streams as close-on-exec.
void closeAllOnExec(const Launch& launch) {
#if defined(SYS_close_range)
    constexpr unsigned closeOnExec = 4; // CLOSE_RANGE_CLOEXEC
    if (syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, closeOnExec) == 0)
        return;
#endif
    constexpr rlim_t defaultMaximum = 1 << 20; // the default of /proc/sys/fs/nr_open
    const int limit = static_cast<int>(std::min(launch.descriptorLimit, defaultMaximum));
    for (int descriptor = STDERR_FILENO + 1; descriptor < limit; ++descriptor)
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

/// The code of the child after fork. All signals are blocked on entry.
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
    posix::retryInterrupted([&] { return write(launch.failurePipe, &error, sizeof error); });
    _exit(127);
}

/// Starts the child and waits until execve has succeeded or failed.
/// @return the process id; on failure -1, with errno set.
pid_t launchChild(Launch& launch) {
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0)
        return -1;
    const posix::Descriptor readEnd(pipeEnds[0]);
    posix::Descriptor writeEnd(pipeEnds[1]);
    launch.failurePipe = writeEnd.number();

    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous); // no signal handler of the program may run in the child
    const pid_t pid = fork();
    if (pid == 0)
        runChild(launch);
    const int forkError = errno;
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    if (pid < 0) {
        errno = forkError;
        return -1;
    }

    writeEnd.close();
    int childError = 0;
    const ssize_t count = posix::retryInterrupted([&] { return read(readEnd.number(), &childError, sizeof childError); });
    if (count != static_cast<ssize_t>(sizeof childError))
        return pid;
    waitForChild(pid);
    errno = childError;
    return -1;
}

} // namespace

HANDLE createProcess(const WideChar* application, WideChar* commandLine, bool inheritHandles) {
    try {
        unreapedChildren().reap();
        const std::string program = posix::narrowName(application);
        std::vector<std::string> arguments = posix::splitCommandLine(commandLine, program);
        std::vector<std::string> environment = posix::environmentEntries();
        const std::vector<char*> argumentPointers = pointersTo(arguments);
        const std::vector<char*> environmentPointers = pointersTo(environment);
        rlimit descriptors = {};
        getrlimit(RLIMIT_NOFILE, &descriptors);
        Launch launch = {program.c_str(),
                         argumentPointers.data(),
                         environmentPointers.data(),
                         inheritHandles,
                         std::max(getpriority(PRIO_PROCESS, 0), posix::belowNormalNice), // absolute, like a priority class
                         descriptors.rlim_max,
                         -1};

        // The handle is created first, because nothing may fail after the child has started.
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
        process->setStarted(pid);
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
