#include "os/posix/handles.h"
#include "os/posix/priority.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <new>
#include <utility>

namespace Velmor::os {

namespace {

class Thread : public posix::Object {
public:
    /// Called on the thread itself.
    void begun() {
        const std::lock_guard<std::mutex> lock(mutex_);
        id_ = static_cast<pid_t>(syscall(SYS_gettid));
        if (lowered_)
            lower();
    }

    /// Called on the thread itself.
    void ended(unsigned exitCode) {
        const std::lock_guard<std::mutex> lock(mutex_);
        id_ = 0;
        exitCode_ = exitCode;
    }

    /// Lowers the priority, as soon as the thread has begun.
    void lowerPriority() {
        const std::lock_guard<std::mutex> lock(mutex_);
        lowered_ = true;
        if (id_ != 0)
            lower();
    }

    unsigned exitCode() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return exitCode_;
    }

private:
    void lower() const {
        const int ofProcess = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
        setpriority(PRIO_PROCESS, static_cast<id_t>(id_), ofProcess + posix::belowNormalNice);
    }

    std::mutex mutex_;
    pid_t id_ =
        0; // 0 before it has begun and after it has ended; while it is set, the thread runs and the number is its own
    bool lowered_ = false;
    unsigned exitCode_ = stillActive;
};

/// What a new thread is told; the thread deletes it.
struct Start {
    std::shared_ptr<Thread> thread;
    unsigned (*function)(void*);
    void* argument;
};

/// Marks a thread as ended, also when its function leaves by pthread_exit.
class RunningThread {
public:
    explicit RunningThread(std::shared_ptr<Thread> thread) : thread_(std::move(thread)) { thread_->begun(); }
    ~RunningThread() { thread_->ended(exitCode); }
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
        auto order = std::make_unique<Start>(Start{thread, start, argument});
        const HANDLE handle = posix::addObject(thread);
        if (handle == nullptr)
            return nullptr;
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
        pthread_t id;
        const int error = pthread_create(&id, &attributes, &runThread, order.get());
        pthread_attr_destroy(&attributes);
        if (error != 0) {
            posix::setLastErrorFromErrno(error);
            closeHandle(handle);
            return nullptr;
        }
        static_cast<void>(order.release());
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
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

} // namespace Velmor::os
