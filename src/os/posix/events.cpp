#include "os/posix/handles.h"

#include <condition_variable>
#include <mutex>
#include <new>

namespace Velmor::os {

namespace {

struct Event : posix::Object {
    std::mutex mutex;
    std::condition_variable changed;
    bool signaled = false;
};

} // namespace

HANDLE createEvent() {
    try {
        return posix::addObject(std::make_shared<Event>());
    } catch (const std::bad_alloc&) {
        posix::setLastError(posix::errorNotEnoughMemory);
        return nullptr;
    }
}

void setEvent(HANDLE event) {
    if (const auto target = posix::findObjectOf<Event>(event)) {
        const std::lock_guard<std::mutex> lock(target->mutex);
        target->signaled = true;
        target->changed.notify_all();
    }
}

void waitForEvent(HANDLE event) {
    if (const auto target = posix::findObjectOf<Event>(event)) {
        std::unique_lock<std::mutex> lock(target->mutex);
        target->changed.wait(lock, [&] { return target->signaled; });
    }
}

} // namespace Velmor::os
