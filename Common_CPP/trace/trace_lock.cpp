#include "Common_CPP/trace/trace_lock.h"

#include <windows.h>

#include <atomic>

namespace {

enum LockState : int { kAbsent = 0, kBeingMade = 1, kReady = 2 };

std::atomic<int> g_lockState{kAbsent};
CRITICAL_SECTION g_lock;

CRITICAL_SECTION* TheLock() noexcept
{
    while (g_lockState.load(std::memory_order_acquire) != kReady) {
        int expected = kAbsent;
        if (g_lockState.compare_exchange_strong(expected, kBeingMade)) {
            // No spin count: Enter gives the owner its processor instead.
            (void)::InitializeCriticalSectionAndSpinCount(&g_lock, 0); // cannot fail since Vista
            g_lockState.store(kReady, std::memory_order_release);
        } else if (expected == kBeingMade) {
            ::SwitchToThread();
        }
    }
    return &g_lock;
}

// A critical section that has waiters is handed on from one to the next, so that from the first meeting of
// two threads on each line costs a switch of threads. A line takes about as long as a few of these turns:
// whoever finds the lock taken leaves its processor to the owner for as long as many lines take before it
// waits.
void Enter(CRITICAL_SECTION* lock) noexcept
{
    constexpr int kTries = 256;
    for (int i = 0; i < kTries; ++i) {
        if (::TryEnterCriticalSection(lock))
            return;
        ::SwitchToThread();
    }
    ::EnterCriticalSection(lock);
}

} // namespace

D_LockTurn_c::D_LockTurn_c() noexcept : _m_owned(true)
{
    Enter(TheLock());
}

D_LockTurn_c::D_LockTurn_c(TryOnly /*tag*/) noexcept : _m_owned(::TryEnterCriticalSection(TheLock()) != FALSE)
{
}

D_LockTurn_c::~D_LockTurn_c()
{
    if (_m_owned)
        ::LeaveCriticalSection(&g_lock);
}

void D_DestroyLock() noexcept
{
    int expected = kReady;
    if (g_lockState.compare_exchange_strong(expected, kAbsent))
        ::DeleteCriticalSection(&g_lock);
}
