#include <Velmor/Platform.h>

#include "os/os.h"

#include <cstdlib>

namespace Velmor {

CriticalSection::CriticalSection() : section_(std::malloc(os::lockSize())), currentLock_(nullptr) {
    if (section_ != nullptr)
        os::initializeLock(section_);
}

CriticalSection::~CriticalSection() {
    if (section_ != nullptr) {
        os::deleteLock(section_);
        std::free(section_);
    }
}

// The current guard is written before the section is entered and cleared after it is left, both on purpose: whoever waits is
// seen in a debugger, and an inner guard's end clears it although an outer one still holds the section.

void CriticalSection::Enter(Lock* lock) {
    currentLock_.store(lock, std::memory_order_relaxed);
    os::enterLock(section_);
}

void CriticalSection::Leave(Lock* /*lock*/) {
    os::leaveLock(section_);
    currentLock_.store(nullptr, std::memory_order_relaxed);
}

CriticalSection::Lock::Lock(CriticalSection* section) : section_(section) {
    if (section_ != nullptr)
        section_->Enter(this);
}

CriticalSection::Lock::~Lock() {
    if (section_ != nullptr)
        section_->Leave(this);
}

} // namespace Velmor
