#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace kx {
class PrefixTemplate;
}

/// What the decisions of all call sites hang on. Read without the lock by every statement.
struct D_Decisions_c {
    /// Grows with everything that may change a decision; decisions of an older generation are stale.
    std::atomic<std::uint64_t> generation{1};
    /// The tick, in milliseconds, from which a statement must look for changes first.
    std::atomic<std::uint64_t> dueTick{0};
};

extern constinit D_Decisions_c g_decisions;

/// Where a trace statement stands in the source, how much it matters, and what was last decided for it.
/// Usually a constant-initialised static of the statement.
struct D_CallSite_c {
    const char* file; ///< compile-time path
    int line;
    const char* className; ///< null for free functions
    std::uint32_t level;
    /// The generation in which the statement was found suppressed; 0: none.
    std::atomic<std::uint64_t> suppressedIn{0};
    /// Under the trace lock: the generation in which it was found to print, and its prefix then.
    std::uint64_t printsIn = 0;
    const kx::PrefixTemplate* prefix = nullptr;

    /// True when the statement prints nothing and nothing is due: two reads and a look at the tick, no lock,
    /// nothing shared is written, the last error stays.
    [[nodiscard]] bool IsKnownSuppressed() const noexcept
    {
        return suppressedIn.load(std::memory_order_relaxed) ==
                   g_decisions.generation.load(std::memory_order_relaxed) &&
               ::GetTickCount64() < g_decisions.dueTick.load(std::memory_order_relaxed);
    }
};
