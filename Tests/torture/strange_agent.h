#pragma once

#include "Common_CPP/util/unique_handle.h"

#include <windows.h>

#include <atomic>
#include <thread>

/// Answers to the agent's names, but not as the agent does: takes a few bytes of each sender and closes.
/// One at a time on a machine.
class StrangeAgent {
  public:
    /// `owner`: whom the pipe belongs to, as a security descriptor's text; null for this process's user.
    /// `takes`: how many bytes it takes before it closes, at most 16. Throws where the names are taken.
    StrangeAgent(const wchar_t* owner, DWORD takes);
    ~StrangeAgent();
    StrangeAgent(const StrangeAgent&) = delete;
    StrangeAgent& operator=(const StrangeAgent&) = delete;

  private:
    [[nodiscard]] CkxFileHandle _MakeInstance();
    void _Serve();

    CkxLocalMemory<void> _m_descriptor; ///< null for the usual one
    DWORD _m_takes;
    CkxHandle _m_event;
    CkxFileHandle _m_next;
    std::atomic<bool> _m_stops{false};
    std::thread _m_server;
};

/// A mutex of this name that belongs to somebody else; `owner` as above. Throws where it cannot be made.
[[nodiscard]] CkxHandle MakeMutexOf(const wchar_t* owner, const wchar_t* name);
