// Keeps the thread's last-error value over a piece of work.
#pragma once

#include <windows.h>

/// Saves the thread's last-error value when made and puts it back when destroyed.
class CkxLastErrorKeeper {
  public:
    CkxLastErrorKeeper() noexcept : _m_error(::GetLastError()) {}

    ~CkxLastErrorKeeper() { ::SetLastError(_m_error); }

    CkxLastErrorKeeper(const CkxLastErrorKeeper&) = delete;
    CkxLastErrorKeeper& operator=(const CkxLastErrorKeeper&) = delete;

    /// The value saved.
    [[nodiscard]] DWORD Get() const noexcept { return _m_error; }

  private:
    const DWORD _m_error;
};
