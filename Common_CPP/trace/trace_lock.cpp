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
            // No spin count: with more threads than processors, those that spin take the time that the owner
            // needs for its write; measured, spinning costs a line a fifth and more.
            (void)::InitializeCriticalSectionAndSpinCount(&g_lock, 0); // cannot fail since Vista
            g_lockState.store(kReady, std::memory_order_release);
        } else if (expected == kBeingMade) {
            ::SwitchToThread();
        }
    }
    return &g_lock;
}

} // namespace

D_LockTurn_c::D_LockTurn_c() noexcept : _m_owned(true)
{
    ::EnterCriticalSection(TheLock());
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
