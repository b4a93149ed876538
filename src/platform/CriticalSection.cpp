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

// Frozen: the current guard is stored before the wait and cleared after every leave, so it may be a guard that waits, or
// null while an outer guard still holds the section.

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
