#pragma once

#include <string_view>

/// What the program tells the trace library. Every call leaves the thread's last-error value as it was and
/// throws nothing.

/// Sends trace output to the end of the file at `path` (UTF-8; may hold "<%PID>" and the time tokens).
/// False when it cannot be opened: the previous output stays.
bool D_ToFile(std::string_view path) noexcept;

/// While it lives, the calling thread opens, reads and renames no file for the trace library; writing to
/// the open trace file goes on. Prints nothing, and may be nested.
class D_NoFileOperations_c {
  public:
    D_NoFileOperations_c() noexcept;
    ~D_NoFileOperations_c();
    D_NoFileOperations_c(const D_NoFileOperations_c&) = delete;
    D_NoFileOperations_c& operator=(const D_NoFileOperations_c&) = delete;

  private:
    bool _m_before;
};

/// False when another thread holds the trace lock, so that a statement would wait for it: for a process
/// that is ending, where that thread is gone.
[[nodiscard]] bool D_CanTrace() noexcept;

/// The calling thread ends: frees what is kept for it. For the detach notification.
void D_ThreadEnds() noexcept;

/// The module is being unloaded while the process goes on: frees everything. Nothing may trace after it.
void D_ModuleUnloads() noexcept;
