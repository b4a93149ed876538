// The linker leads every malloc, calloc and realloc of the suite's own code here (--wrap).

#include "support/FailingAllocation.h"

#include <cstdint>
#include <cstdlib>
#include <new>

#if defined(_WIN32)
    #include <windows.h>
#endif

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
}

namespace velmor_tests {
namespace {

// What is armed on the calling thread. To ask for it may not allocate, which rules out thread_local in mingw's programs.
#if defined(_WIN32)
DWORD slot = TLS_OUT_OF_INDEXES;

FailAllocation* armed() {
    if (slot == TLS_OUT_OF_INDEXES)
        return nullptr;
    const DWORD error = GetLastError(); // TlsGetValue resets it
    void* const value = TlsGetValue(slot);
    SetLastError(error);
    return static_cast<FailAllocation*>(value);
}

void arm(FailAllocation* failure) {
    static const DWORD made = slot = TlsAlloc();
    TlsSetValue(made, failure);
}
#else
thread_local FailAllocation* current = nullptr;

FailAllocation* armed() {
    return current;
}

void arm(FailAllocation* failure) {
    current = failure;
}
#endif

bool refused(std::size_t size) {
    FailAllocation* const failure = armed();
    return failure != nullptr && failure->refuses(size);
}

} // namespace

FailAllocation::FailAllocation(unsigned n, bool andAllLater) : first_(n), andAllLater_(andAllLater) {
    arm(this);
}

FailAllocation::~FailAllocation() {
    arm(nullptr);
}

unsigned FailAllocation::seen() const {
    return seen_;
}

bool FailAllocation::happened() const {
    return happened_;
}

std::size_t FailAllocation::failedSize() const {
    return failedSize_;
}

bool FailAllocation::refuses(std::size_t size) {
    ++seen_;
    const bool result = seen_ == first_ || (andAllLater_ && seen_ > first_);
    if (result && !happened_) {
        happened_ = true;
        failedSize_ = size;
    }
    return result;
}

} // namespace velmor_tests

void* __wrap_malloc(std::size_t size) {
    return velmor_tests::refused(size) ? nullptr : __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return velmor_tests::refused(count * size) ? nullptr : __real_calloc(count, size);
}

void* __wrap_realloc(void* block, std::size_t size) {
    return velmor_tests::refused(size) ? nullptr : __real_realloc(block, size);
}

#if defined(_WIN32)
// The C++ runtime is linked into a Windows suite; its blocks shall not count there either.
void* operator new(std::size_t size) {
    for (;;) {
        void* const block = __real_malloc(size != 0 ? size : 1);
        if (block != nullptr)
            return block;
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr)
            throw std::bad_alloc();
        handler();
    }
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
#endif
