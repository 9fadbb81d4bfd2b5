#pragma once

#include "Common_CPP/util/unique_handle.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

/// Plays the agent: owns its event and its pipe under their real names, takes each message whole and keeps
/// it. One at a time on a machine; it refuses to start where an agent is listening already.
class CkxAgentListener {
  public:
    CkxAgentListener() = default;
    ~CkxAgentListener();
    CkxAgentListener(const CkxAgentListener&) = delete;
    CkxAgentListener& operator=(const CkxAgentListener&) = delete;

    /// Returns a Windows error; ERROR_ALREADY_EXISTS when an agent's event is there already.
    [[nodiscard]] DWORD Start();

    /// Stops listening. Messages that were taken stay.
    void Stop();

    /// The bytes of the oldest message not yet handed out; nullopt when none comes within the time.
    [[nodiscard]] std::optional<std::vector<std::byte>> WaitForMessage(DWORD milliseconds);

    /// True when a sender has announced an update since the last call.
    [[nodiscard]] bool TakeAnnouncement();

  private:
    void _Serve();
    [[nodiscard]] bool _WaitForClient(HANDLE pipe) const;
    [[nodiscard]] std::vector<std::byte> _ReadToEnd(HANDLE pipe) const;

    CkxHandle _m_announced;
    CkxHandle _m_stop;
    CkxFileHandle _m_next; ///< the instance that the next sender gets
    std::thread _m_server;
    std::mutex _m_lock;
    std::condition_variable _m_arrived;
    std::deque<std::vector<std::byte>> _m_messages; ///< guarded by _m_lock
};
