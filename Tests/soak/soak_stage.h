#pragma once

#include "Tests/support/temp_folder.h"
#include "Tools/host/agent_listener.h"
#include "Tools/host/engine_lists.h"
#include "Tools/host/extension_module.h"

#include <optional>
#include <string>

/// The shipped module in a folder of its own, GPOs to refresh from, and an agent that listens. Its calls may
/// come from several threads. REQUIRES: nothing else on the machine plays the agent.
class SoakStage {
  public:
    /// Throws when it cannot be set up.
    SoakStage();

    void Load();

    void Unload() { _m_extension = {}; }

    /// The engine's call, for the machine or a user. REQUIRES: loaded; COM on this thread.
    [[nodiscard]] DWORD Refresh(bool machine) const;

    /// The document of the next message; nullopt when none comes in time, or not whole.
    [[nodiscard]] std::optional<std::u16string> Document();

    /// Replaces the trace configuration in one step. False when somebody was reading it.
    [[nodiscard]] bool Configure(char letter) const;

    /// The text of the trace file, or of a rotated one.
    [[nodiscard]] std::string Trace(int rotated) const;

    static constexpr int c_rotatedFiles = 200;

  private:
    [[nodiscard]] CkxListedGpo _WriteGpo(const std::wstring& name) const;

    TempFolder _m_folder;
    CkxAgentListener _m_agent;
    CkxHandle _m_token;
    CkxExtensionModule _m_extension;
    CkxListedGpo _m_gpos[2];
};
