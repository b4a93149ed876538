#include <Velmor/Platform.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <optional>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using Velmor::CriticalSection;
using Lock = CriticalSection::Lock;

static_assert(sizeof(CriticalSection) == 16 && sizeof(Lock) == 8);
static_assert(!std::is_polymorphic_v<CriticalSection> && !std::is_polymorphic_v<Lock>);

/// Makes the protected members public.
class OpenSection : public CriticalSection {
public:
    using CriticalSection::Enter;
    using CriticalSection::Leave;
};

static_assert(sizeof(OpenSection) == sizeof(CriticalSection));

template <std::size_t index>
void* word(const void* object) {
    void* value = nullptr;
    std::memcpy(&value, static_cast<const char*>(object) + index * sizeof value, sizeof value);
    return value;
}

void* ownedSection(const CriticalSection& section) {
    return word<0>(&section);
}

/// The current lock of the section. Other threads may write it at the same time.
void* currentLock(CriticalSection& section) {
    char* const place = reinterpret_cast<char*>(&section) + sizeof(void*);
    return std::atomic_ref<Lock*>(*reinterpret_cast<Lock**>(place)).load();
}

/// An address for a guard. It is never dereferenced.
Lock* someLock(int number) {
    static std::array<void*, 8> places{};
    return reinterpret_cast<Lock*>(&places[static_cast<std::size_t>(number)]);
}

TEST(CriticalSection, HasASystemLockAndNoCurrentLockInitially) {
    CriticalSection section;
    EXPECT_NE(ownedSection(section), nullptr);
    EXPECT_EQ(currentLock(section), nullptr);
}

TEST(CriticalSection, EachSectionHasItsOwnSystemLock) {
    const CriticalSection first;
    const CriticalSection second;
    EXPECT_NE(ownedSection(first), ownedSection(second));
}

TEST(CriticalSection, GuardStoresTheAddressOfItsSection) {
    CriticalSection section;
    const Lock lock(&section);
    EXPECT_EQ(word<0>(&lock), &section);
}

TEST(CriticalSection, GuardIsTheCurrentLockInItsScope) {
    CriticalSection section;
    {
        const Lock lock(&section);
        EXPECT_EQ(currentLock(section), &lock);
    }
    EXPECT_EQ(currentLock(section), nullptr);
    {
        const Lock lock(&section);
        EXPECT_EQ(currentLock(section), &lock);
    }
    EXPECT_EQ(currentLock(section), nullptr);
}

TEST(CriticalSection, IsRecursive) {
    CriticalSection section;
    const Lock outer(&section);
    {
        const Lock inner(&section);
        EXPECT_EQ(currentLock(section), &inner);
        const Lock innermost(&section);
        EXPECT_EQ(currentLock(section), &innermost);
    }
    EXPECT_EQ(currentLock(section), nullptr); // the outer guard is not restored
}

TEST(CriticalSection, IsHeldUntilTheLastGuardIsDestroyed) {
    CriticalSection section;
    std::atomic<bool> entered{false};
    std::optional<Lock> outer(std::in_place, &section);
    std::optional<Lock> inner(std::in_place, &section);
    std::thread other([&] {
        const Lock lock(&section);
        entered = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_FALSE(entered);
    inner.reset();
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_FALSE(entered);
    outer.reset();
    other.join();
    EXPECT_TRUE(entered);
}

TEST(CriticalSection, WaitingGuardIsTheCurrentLock) {
    CriticalSection section;
    std::optional<Lock> holder(std::in_place, &section);
    std::atomic<void*> waiting{nullptr};
    std::atomic<bool> entered{false};
    std::thread other([&] {
        alignas(Lock) std::array<char, sizeof(Lock)> place{};
        waiting = place.data();
        Lock* const lock = new (place.data()) Lock(&section);
        entered = true;
        lock->~Lock();
    });
    while (currentLock(section) == &*holder)
        std::this_thread::yield();
    EXPECT_EQ(currentLock(section), waiting.load());
    EXPECT_FALSE(entered);
    holder.reset();
    other.join();
    EXPECT_TRUE(entered);
    EXPECT_EQ(currentLock(section), nullptr);
}

TEST(CriticalSection, GuardWithoutSectionHasNoEffect) {
    CriticalSection section;
    const Lock lock(&section);
    {
        const Lock none(nullptr);
        EXPECT_EQ(word<0>(&none), nullptr);
        EXPECT_EQ(currentLock(section), &lock);
    }
    EXPECT_EQ(currentLock(section), &lock);
}

TEST(CriticalSection, EnterStoresTheGuard) {
    OpenSection section;
    section.Enter(someLock(0));
    EXPECT_EQ(currentLock(section), someLock(0));
    section.Enter(someLock(1));
    EXPECT_EQ(currentLock(section), someLock(1));
    section.Enter(nullptr);
    EXPECT_EQ(currentLock(section), nullptr);
    section.Leave(nullptr);
    section.Leave(nullptr);
    section.Leave(nullptr);
}

TEST(CriticalSection, LeaveIgnoresItsArgument) {
    OpenSection section;
    for (Lock* const argument : {someLock(0), someLock(1), static_cast<Lock*>(nullptr)}) {
        section.Enter(someLock(0));
        section.Leave(argument);
        EXPECT_EQ(currentLock(section), nullptr);
    }
    std::thread([&] { const Lock lock(&section); }).join();
}

TEST(CriticalSection, EnterAndLeaveExcludeOtherThreads) {
    OpenSection section;
    std::atomic<bool> entered{false};
    section.Enter(someLock(2));
    std::thread other([&] {
        section.Enter(someLock(3));
        entered = true;
        section.Leave(someLock(3));
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_FALSE(entered);
    section.Leave(someLock(2));
    other.join();
    EXPECT_TRUE(entered);
}

TEST(CriticalSection, SectionsAreIndependent) {
    CriticalSection first;
    CriticalSection second;
    const Lock lock(&first);
    std::thread([&] { const Lock other(&second); }).join();
    EXPECT_EQ(currentLock(first), &lock);
    EXPECT_EQ(currentLock(second), nullptr);
}

TEST(CriticalSection, ExcludesManyThreads) {
    constexpr int threadCount = 8;
    constexpr int rounds = 5000;
    CriticalSection section;
    long sum = 0; // not atomic: the section protects it
    int inside = 0;
    bool exclusive = true;
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < rounds; ++j) {
                const Lock lock(&section);
                exclusive = exclusive && ++inside == 1;
                {
                    const Lock inner(&section);
                    ++sum;
                }
                --inside;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(sum, long{threadCount} * rounds);
    EXPECT_TRUE(exclusive);
    EXPECT_EQ(currentLock(section), nullptr);
}

TEST(CriticalSection, ManySectionsMayExist) {
    std::vector<std::unique_ptr<CriticalSection>> sections;
    std::vector<std::unique_ptr<Lock>> locks;
    for (int i = 0; i < 1000; ++i)
        sections.push_back(std::make_unique<CriticalSection>());
    for (std::size_t i = 0; i < 50; ++i)
        locks.push_back(std::make_unique<Lock>(sections[20 * i].get()));
    for (std::size_t i = 0; i < sections.size(); ++i)
        EXPECT_EQ(currentLock(*sections[i]), i % 20 == 0 ? locks[i / 20].get() : nullptr);
}

} // namespace
