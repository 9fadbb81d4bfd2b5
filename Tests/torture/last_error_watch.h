#pragma once

#include <windows.h>

/// Follows one thread of the module and tells whether its trace statements keep the last-error value: what
/// it was when a statement began is what it must be after the statement.
///
/// A statement shows itself by the lock of the trace library. The value that it keeps is one of the last two
/// that were read since it was last set, for the library reads it once more where a thread is new; without
/// any, the value when the lock was taken. The next call that the module makes after the lock tells what has
/// become of it.
class LastErrorWatch {
  public:
    /// The module has read the value.
    void Read(DWORD error) noexcept;

    /// The module sets the value.
    void Set(DWORD error) noexcept;

    /// The module takes the trace lock, or gives it back; `error` is the value at that time.
    void Enter(DWORD error) noexcept;
    void Leave() noexcept;

    /// The module makes another call, one that may change the value.
    void Next(DWORD error) noexcept;

    /// How many statements were followed, and how many of them have changed the value.
    [[nodiscard]] unsigned Kept() const noexcept { return _m_kept; }

    [[nodiscard]] unsigned Broken() const noexcept { return _m_broken; }

  private:
    void _Compare(DWORD error) noexcept;

    unsigned _m_reads = 0;  ///< since the value was last set
    DWORD _m_read[2]{};     ///< the last one and the one before
    DWORD _m_promised[2]{}; ///< one of these must it be after the statement
    unsigned _m_depth = 0;
    bool _m_due = false; ///< a statement has ended, and its outcome is not known yet
    unsigned _m_kept = 0;
    unsigned _m_broken = 0;
};

/// Names the lock by which statements show themselves.
void SetTraceLock(const CRITICAL_SECTION* lock) noexcept;
[[nodiscard]] bool IsTraceLock(const CRITICAL_SECTION* lock) noexcept;
