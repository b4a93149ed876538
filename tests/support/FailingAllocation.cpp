// The linker redirects every malloc, calloc, realloc and free in the suite's code to this file (--wrap). `operator new` and
// `operator delete` are replaced, except their forms with an alignment.

#include "support/FailingAllocation.h"

#include <atomic>
#include <cstdlib>
#include <new>

#if defined(_WIN32)
    #include <windows.h>
#endif

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
void __wrap_free(void* block);
}

namespace velmor_tests {
namespace {

// The FailAllocation of the calling thread. Reading it must not allocate; thread_local of mingw does.
#if defined(_WIN32)
DWORD slot = TLS_OUT_OF_INDEXES; // TlsGetValue returns null for it

FailAllocation* armed() {
    const DWORD error = GetLastError(); // TlsGetValue resets it
    void* const value = TlsGetValue(slot);
    SetLastError(error);
    return static_cast<FailAllocation*>(value);
}

void arm(FailAllocation* failure) {
    if (slot == TLS_OUT_OF_INDEXES)
        slot = TlsAlloc();
    TlsSetValue(slot, failure);
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

bool shouldFail(std::size_t size, Allocations kind) {
    FailAllocation* const failure = armed();
    return failure != nullptr && failure->shouldFail(size, kind);
}

std::atomic<long> live{0};

void* counted(void* block) {
    if (block != nullptr)
        live.fetch_add(1, std::memory_order_relaxed);
    return block;
}

WatchFree* watch = nullptr;

void release(void* block) {
    if (watch != nullptr)
        watch->noteFree(block);
    if (block != nullptr)
        live.fetch_sub(1, std::memory_order_relaxed);
    __real_free(block);
}

void* allocateForNew(std::size_t size) noexcept {
    return shouldFail(size, Allocations::All) ? nullptr : counted(__real_malloc(size != 0 ? size : 1));
}

void* orThrow(void* block) {
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

} // namespace

FailAllocation::FailAllocation(unsigned n, bool andAllLater, Allocations which)
    : first_(n), andAllLater_(andAllLater), which_(which) {
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

bool FailAllocation::shouldFail(std::size_t size, Allocations kind) {
    if (kind == Allocations::All && which_ == Allocations::CHeap)
        return false;
    ++seen_;
    totalSize_ += size;
    const bool result = seen_ == first_ || (andAllLater_ && seen_ > first_);
    if (result && !happened_) {
        happened_ = true;
        failedSize_ = size;
    }
    return result;
}

std::size_t FailAllocation::totalSize() const {
    return totalSize_;
}

WatchFree::WatchFree(const void* block) : block_(block) {
    watch = this;
}

WatchFree::~WatchFree() {
    watch = nullptr;
}

unsigned WatchFree::times() const {
    return times_;
}

unsigned WatchFree::seenBefore() const {
    return seenBefore_;
}

void WatchFree::noteFree(const void* block) {
    if (block != block_)
        return;
    if (times_++ == 0 && armed() != nullptr)
        seenBefore_ = armed()->seen();
}

long liveAllocations() {
    return live.load(std::memory_order_relaxed);
}

} // namespace velmor_tests

using velmor_tests::Allocations;

void* __wrap_malloc(std::size_t size) {
    return velmor_tests::shouldFail(size, Allocations::CHeap) ? nullptr : velmor_tests::counted(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    return velmor_tests::shouldFail(count * size, Allocations::CHeap) ? nullptr
                                                                      : velmor_tests::counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
    if (velmor_tests::shouldFail(size, Allocations::CHeap))
        return nullptr;
    void* const result = __real_realloc(block, size);
    if (block == nullptr)
        return velmor_tests::counted(result);
    if (result == nullptr && size == 0) // realloc has freed the block
        velmor_tests::live.fetch_sub(1, std::memory_order_relaxed);
    return result;
}

void __wrap_free(void* block) {
    velmor_tests::release(block);
}

// The nothrow forms are replaced too: those of a sanitizer's runtime do not call the throwing forms.

void* operator new(std::size_t size) {
    return velmor_tests::orThrow(velmor_tests::allocateForNew(size));
}

void* operator new[](std::size_t size) {
    return velmor_tests::orThrow(velmor_tests::allocateForNew(size));
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return velmor_tests::allocateForNew(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return velmor_tests::allocateForNew(size);
}

void operator delete(void* block) noexcept {
    velmor_tests::release(block);
}

void operator delete[](void* block) noexcept {
    velmor_tests::release(block);
}

void operator delete(void* block, std::size_t) noexcept {
    velmor_tests::release(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    velmor_tests::release(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
    velmor_tests::release(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
    velmor_tests::release(block);
}
