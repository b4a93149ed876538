#include <Velmor/Platform.h>

#include "os/os.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace Velmor {

namespace {

/// The arguments of a new thread. `createThread` owns them and frees them after the signal was raised.
struct StartBlock {
    unsigned (*function)(void* data, std::uint64_t size);
    const void* data;
    std::uint64_t size;
    Signal* started;
};

unsigned runThread(void* argument) {
    const StartBlock block = *static_cast<StartBlock*>(argument);
    void* const copy = std::malloc(block.size);
    if (copy != nullptr && block.size != 0)
        std::memcpy(copy, block.data, block.size);
    block.started->raise();
    const unsigned exitCode = block.function(copy, block.size);
    std::free(copy);
    return exitCode;
}

} // namespace

unsigned* ThreadOperations::createThread(unsigned (*function)(void* data, std::uint64_t size), const void* data,
                                         std::uint64_t size, bool lowerPriority) {
    StartBlock* const block = static_cast<StartBlock*>(std::malloc(sizeof(StartBlock)));
    if (block == nullptr)
        return nullptr;
    Signal* const started = new (std::nothrow) Signal;
    if (started == nullptr) {
        std::free(block);
        return nullptr;
    }
    *block = {function, data, size, started};

    const HANDLE thread = os::createThread(&runThread, block);
    if (lowerPriority)
        os::lowerThreadPriority(thread);
    started->wait(); // Frozen: never returns if the system could not start the thread.
    delete started;
    std::free(block);
    return static_cast<unsigned*>(thread);
}

bool ThreadOperations::hasEnded(unsigned* thread, unsigned* exitCode) {
    unsigned code = 0;
    const bool known = os::getExitCodeThread(thread, &code);
    *exitCode = code;
    return !known || code != os::stillActive; // Frozen: an invalid handle is reported as ended.
}

void ThreadOperations::terminateThread(unsigned* /*thread*/, unsigned /*exitCode*/) {
    // Frozen: does nothing. A terminated thread would leave its locks held and its memory allocated.
}

void ThreadOperations::closeThread(unsigned* thread) {
    os::closeHandle(thread);
}

void ThreadOperations::usleep(int milliseconds) {
    // Frozen: the argument is in milliseconds, in spite of the name.
    os::sleep(static_cast<unsigned>(milliseconds));
}

} // namespace Velmor
