#pragma once

#include "Tests/hostile/hostile_case.h"
#include "Tests/support/scripted_targeting.h"
#include "Tests/support/temp_folder.h"
#include "Tools/host/agent_listener.h"
#include "Tools/host/engine_lists.h"
#include "Tools/host/extension_module.h"
#include "Tools/rsop_store/rsop_store.h"

#include <optional>
#include <string>
#include <vector>

/// The shipped extension in a folder of its own, an agent that listens, and files outside of every GPO.
/// REQUIRES: COM; nothing else on the machine plays the agent.
class HostileStage {
  public:
    /// Throws when it cannot be set up.
    HostileStage();

    /// How to get out of a GPO's folder.
    [[nodiscard]] const OutsidePlaces& Places() const { return _m_places; }

    /// Puts the case's files where the engine's list will say.
    void Write(const HostileCase& made) const;

    /// The engine's planning call.
    [[nodiscard]] DWORD Plan(const HostileCase& made);

    /// The engine's call.
    [[nodiscard]] DWORD Refresh(const HostileCase& made);

    /// The next message; nullopt when there is none in time.
    [[nodiscard]] std::optional<std::vector<std::byte>> Message(DWORD milliseconds)
    {
        return _m_agent.WaitForMessage(milliseconds);
    }

    /// The files that the extension writes by itself: the trace and the targeting's settings.
    [[nodiscard]] std::string WrittenByTheExtension() const;

  private:
    [[nodiscard]] CkxEngineList _List(const HostileCase& made) const;

    TempFolder _m_folder;
    OutsidePlaces _m_places;
    ScriptedTargeting _m_targeting;
    CkxRsopStore _m_store;
    CkxExtensionModule _m_extension;
    CkxAgentListener _m_agent;
    CkxHandle _m_token;
};
