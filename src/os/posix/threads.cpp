#include "os/posix/descriptors.h"
#include "os/posix/handles.h"
#include "os/posix/priority.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <new>
#include <utility>

// Threads are detached; the table of handles and the running thread share the ownership of a `Thread` object, which records
// the exit code. Linux has a nice value per thread, so the priority is set by the thread id of the kernel, which only the
// new thread knows.

namespace Velmor::os {

namespace {

class Thread : public posix::Object {
public:
    /// Called on the new thread.
    void setStarted() {
        const std::lock_guard<std::mutex> lock(mutex_);
        id_ = static_cast<pid_t>(syscall(SYS_gettid));
        if (isLowered_)
            applyLowerPriority();
    }

    /// Called on the new thread.
    void setEnded(unsigned exitCode) {
        const std::lock_guard<std::mutex> lock(mutex_);
        id_ = 0;
        exitCode_ = exitCode;
    }

    /// Lowers the priority, now or when the thread starts.
    void lowerPriority() {
        const std::lock_guard<std::mutex> lock(mutex_);
        isLowered_ = true;
        if (id_ != 0)
            applyLowerPriority();
    }

    unsigned exitCode() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return exitCode_;
    }

private:
    void applyLowerPriority() const {
        const int processNice = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
        setpriority(PRIO_PROCESS, static_cast<id_t>(id_), processNice + posix::belowNormalNice);
    }

    std::mutex mutex_;
    /// The id in the kernel while the thread runs, otherwise 0: the kernel may reuse the id of a thread that has ended.
    pid_t id_ = 0;
    bool isLowered_ = false;
    unsigned exitCode_ = stillActive;
};

/// The arguments of a new thread, which owns them.
struct Start {
    std::shared_ptr<Thread> thread;
    unsigned (*function)(void*);
    void* argument;
};

/// Records the start and end of the thread function, also if it calls pthread_exit.
class RunningThread {
public:
    explicit RunningThread(std::shared_ptr<Thread> thread) : thread_(std::move(thread)) { thread_->setStarted(); }
    ~RunningThread() { thread_->setEnded(exitCode); }
    RunningThread(const RunningThread&) = delete;
    RunningThread& operator=(const RunningThread&) = delete;

    unsigned exitCode = 0;

private:
    std::shared_ptr<Thread> thread_;
};

void* runThread(void* argument) {
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    RunningThread running(start->thread);
    running.exitCode = start->function(start->argument);
    return nullptr;
}

} // namespace

HANDLE createThread(unsigned (*start)(void*), void* argument) {
    try {
        const auto thread = std::make_shared<Thread>();
        auto startArguments = std::make_unique<Start>(Start{thread, start, argument});
        const HANDLE handle = posix::addObject(thread);
        if (handle == nullptr)
            return nullptr;
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
        pthread_t id;
        const int error = pthread_create(&id, &attributes, &runThread, startArguments.get());
        pthread_attr_destroy(&attributes);
        if (error != 0) {
            posix::setLastErrorFromErrno(error);
            closeHandle(handle);
            return nullptr;
        }
        static_cast<void>(startArguments.release()); // owned by the thread
        return handle;
    } catch (const std::bad_alloc&) {
        posix::setLastError(posix::errorNotEnoughMemory);
        return nullptr;
    }
}

bool lowerThreadPriority(HANDLE thread) {
    const auto target = posix::findObjectOf<Thread>(thread);
    if (target == nullptr)
        return false;
    target->lowerPriority();
    return true;
}

bool getExitCodeThread(HANDLE thread, unsigned* exitCode) {
    const auto target = posix::findObjectOf<Thread>(thread);
    if (target == nullptr)
        return false;
    *exitCode = target->exitCode();
    return true;
}

void sleep(unsigned milliseconds) {
    constexpr unsigned infinite = 0xFFFFFFFF;
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    if (milliseconds == infinite)
        for (;;)
            pause();
    timespec remaining = {static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000};
    posix::retryInterrupted([&] { return nanosleep(&remaining, &remaining); });
}

} // namespace Velmor::os
