#pragma once

/// @file
/// Locks and events.

#include <Velmor/Export.h>
#include <Velmor/Handle.h>

#include <atomic>

namespace Velmor {

/// A recursive lock (a critical section). `Lock` objects enter and leave it.
///
/// Failure: the constructor does not report that it could not allocate memory. Destroying such an object is safe; locking it
/// is undefined behavior.
///
/// Threads: threads of one process may share an object. The thread that holds the lock may enter it again; it must leave it
/// once for each time that it entered.
class VELMOR_API CriticalSection {
public:
    /// Scope guard: holds a critical section from its construction to its destruction.
    class VELMOR_API Lock {
    public:
        /// Enters a critical section. Waits while another thread holds it.
        /// @param section not owned; must outlive the guard. With null the guard does nothing.
        explicit Lock(CriticalSection* section);

        /// Leaves the critical section.
        ~Lock();

        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        CriticalSection* section_;
    };

    /// Creates a critical section that no thread holds.
    CriticalSection();

    /// Destroys the critical section. No thread may hold it.
    ~CriticalSection();

    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

protected:
    /// Stores the guard as the current one, then enters the critical section.
    void Enter(Lock* lock);

    /// Leaves the critical section, then clears the current guard. Ignores its argument.
    void Leave(Lock* lock);

private:
    /// The lock of the operating system, allocated with malloc; null if the allocation failed.
    void* section_;
    /// For inspection in a debugger: the class never reads it, and the lock does not protect it.
    std::atomic<Lock*> currentLock_;
};

static_assert(sizeof(CriticalSection) == 2 * sizeof(void*), "the layout of a critical section is fixed");
static_assert(sizeof(CriticalSection::Lock) == sizeof(void*), "the layout of a guard is fixed");

/// A manual-reset event that cannot be reset: a signal that was raised stays raised.
///
/// Failure: the constructor does not report that it could not create the event. `raise` and `wait` then do nothing.
///
/// Ownership: the object owns the handle of the event. Assignment copies the handle: both objects then refer to the same
/// event and both close it. The previous handle of the target is not closed.
///
/// Threads: any thread may raise the signal, and any number of threads may wait for it.
class VELMOR_API Signal {
public:
    /// Creates a signal that is not raised.
    Signal();

    /// Closes the handle of the event.
    ~Signal();

    Signal(const Signal&) = delete;

    /// Copies the handle of the other object; see the class for the ownership.
    Signal& operator=(const Signal& other);

    /// Raises the signal permanently.
    void raise();

    /// Waits until the signal is raised. Returns at once if it already is.
    void wait();

private:
    HANDLE event_;
};

static_assert(sizeof(Signal) == sizeof(void*), "a signal is one handle");

} // namespace Velmor
