#pragma once

#include <cstddef>
#include <cstdint>

/// The names of the scopes that a thread is in, innermost last. The texts are not owned: scope names are
/// literals of the calling source files. Deep recursion costs memory only; where that ends, names are
/// counted instead of kept, so that entering and leaving still pair.
class D_ScopeStack_c {
  public:
    D_ScopeStack_c() noexcept = default;
    ~D_ScopeStack_c();
    D_ScopeStack_c(const D_ScopeStack_c&) = delete;
    D_ScopeStack_c& operator=(const D_ScopeStack_c&) = delete;

    void Push(const char* name) noexcept;

    /// Drops the innermost `name` and what lies above it; false when the stack does not hold it.
    bool Pop(const char* name) noexcept;

    /// The innermost name, or null.
    [[nodiscard]] const char* Top() const noexcept { return _m_count ? _m_names[_m_count - 1] : nullptr; }

    [[nodiscard]] const char* const* Names() const noexcept { return _m_names; }

    [[nodiscard]] std::size_t Count() const noexcept { return _m_count; }

  private:
    [[nodiscard]] bool _Grow() noexcept;

    static constexpr std::size_t kInline = 24;
    const char* _m_inline[kInline] = {};
    const char** _m_names = _m_inline;
    std::size_t _m_count = 0;
    std::size_t _m_capacity = kInline;
    std::size_t _m_uncounted = 0;
};

/// What the library keeps for one thread.
struct D_ThreadState_c {
    D_ScopeStack_c stack;
    char name[33] = {};               ///< display name for "<%TNAME>"; empty until set
    std::uint32_t depth = 0;          ///< nesting of traced methods, for "<%INDENT>"
    std::uint32_t reentry = 0;        ///< trace statements that this thread is inside of
    bool noFileOperations = false;    ///< never reads the configuration, switches outputs or rotates
    bool shared = false;              ///< the fallback record: touch it under the trace lock only
    D_ThreadState_c* next = nullptr;  ///< list of all records, for the module's unloading
    D_ThreadState_c** link = nullptr; ///< what points at this record in that list
};

/// The calling thread's record, made on first use; the shared fallback record when thread-local storage
/// is not to be had. Changes the thread's last-error value. Never null.
[[nodiscard]] D_ThreadState_c& D_ThreadState() noexcept;

/// Frees the calling thread's record, if it has one: for the thread's detach notification.
void D_FreeThreadState() noexcept;

/// Frees all records and the slot; only when no thread can trace any more (module unload).
void D_FreeAllThreadStates() noexcept;
