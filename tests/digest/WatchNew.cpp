// The linker leads every `operator new` and `operator delete` of the suite's own code here (--wrap).

#include "WatchNew.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#if defined(_WIN32)
    #define VELMOR_NEW(prefix) prefix##_Znwy
    #define VELMOR_SIZED_DELETE(prefix) prefix##_ZdlPvy
#else
    #define VELMOR_NEW(prefix) prefix##_Znwm
    #define VELMOR_SIZED_DELETE(prefix) prefix##_ZdlPvm
#endif

extern "C" {
void* VELMOR_NEW(__real_)(std::size_t size);
void* VELMOR_NEW(__wrap_)(std::size_t size);
void __real__ZdlPv(void* block);
void __wrap__ZdlPv(void* block);
void VELMOR_SIZED_DELETE(__real_)(void* block, std::size_t size);
void VELMOR_SIZED_DELETE(__wrap_)(void* block, std::size_t size);
}

namespace velmor_tests {
namespace {

WatchNew* current = nullptr;

} // namespace

WatchNew::WatchNew(unsigned failing) : failing_(failing) {
    current = this;
}

WatchNew::~WatchNew() {
    stop();
}

void WatchNew::stop() {
    current = nullptr;
}

bool WatchNew::refuses() {
    if (++seen_ != failing_)
        return false;
    happened_ = true;
    return true;
}

void WatchNew::taken(const void* block, std::size_t size) {
    const auto place = std::find_if(blocks_.begin(), blocks_.end(), [](const Block& b) { return b.address == nullptr; });
    if (place == blocks_.end()) {
        std::fputs("too many blocks to watch\n", stderr);
        std::abort();
    }
    *place = {block, size};
    live_ += size;
    peak_ = std::max(peak_, live_);
}

void WatchNew::given(const void* block) {
    const auto place = std::find_if(blocks_.begin(), blocks_.end(), [&](const Block& b) { return b.address == block; });
    if (block == nullptr || place == blocks_.end())
        return; // was taken before
    live_ -= place->size;
    *place = {};
}

} // namespace velmor_tests

using velmor_tests::current;

void* VELMOR_NEW(__wrap_)(std::size_t size) {
    if (current != nullptr && current->refuses())
        throw std::bad_alloc();
    void* const block = VELMOR_NEW(__real_)(size);
    if (current != nullptr)
        current->taken(block, size);
    return block;
}

void __wrap__ZdlPv(void* block) {
    if (current != nullptr)
        current->given(block);
    __real__ZdlPv(block);
}

void VELMOR_SIZED_DELETE(__wrap_)(void* block, std::size_t size) {
    if (current != nullptr)
        current->given(block);
    VELMOR_SIZED_DELETE(__real_)(block, size);
}
