#pragma once

#include "Tools/host/agent_listener.h"

#include <optional>
#include <string>

/// Who takes the updates of a run: this program, playing the agent, or the machine's real agent.
class CkxAgentRole {
  public:
    /// Plays the agent, and refuses where one is there; with `deliver` it is the other way round. Throws
    /// EnvironmentError.
    explicit CkxAgentRole(bool deliver);

    [[nodiscard]] bool IsPlayed() const { return !_m_delivers; }

    /// The next document that arrived whole; nullopt when none comes within the time, or the real agent has
    /// it. A message that is not whole is given up with its bytes counted in `broken`.
    [[nodiscard]] std::optional<std::wstring> Receive(DWORD milliseconds, std::size_t& broken);

  private:
    bool _m_delivers;
    CkxAgentListener _m_listener;
};
