#pragma once

#include "Tools/host/extension_module.h"
#include "Tools/kx_gpsim/agent_role.h"
#include "Tools/kx_gpsim/run_folder.h"
#include "Tools/kx_gpsim/run_options.h"
#include "Tools/kx_gpsim/targeting_watch.h"

#include <functional>
#include <vector>

/// One call of the extension, with everything that it is given.
struct CkxPassRequest {
    kx::Call call = kx::Call::Apply;
    kx::Scope scope = kx::Scope::Machine;
    DWORD flags = 0; ///< without the scope's
    std::vector<kx::GpoInput> changed;
    std::vector<kx::GpoInput> deleted;
    bool deleteAll = false;
    bool asLocalSystem = false;
};

/// Plays the engine, the agent and WMI around the extension, a call at a time. REQUIRES: COM on the thread;
/// the folder is the one that the extension was loaded from, and nothing else calls it.
class CkxPassRunner {
  public:
    /// Called now and then with the number of policies that are recorded so far.
    using Progress = std::function<void(std::size_t)>;

    /// `agent` is null where only planning is done.
    CkxPassRunner(const CkxRunFolder& folder, const CkxExtensionModule& extension, CkxAgentRole* agent,
                  Progress progress);

    /// Makes the call and gathers what it brought about; secrets are still in it. Throws EnvironmentError
    /// where the call cannot be made.
    [[nodiscard]] kx::PassResult Run(const CkxPassRequest& request);

  private:
    [[nodiscard]] DWORD _Call(const CkxPassRequest& request, IWbemServices* services) const;
    [[nodiscard]] DWORD _Apply(const CkxPassRequest& request, IWbemServices* services) const;
    [[nodiscard]] DWORD _Plan(const CkxPassRequest& request, IWbemServices* services) const;
    [[nodiscard]] DWORD _Append(const CkxPassRequest& request) const;
    void _Receive(kx::PassResult& pass) const;
    void _ReadDump(kx::PassResult& pass) const;
    void _ReadTrace(const CkxPassRequest& request, std::uint64_t start, kx::PassResult& pass);

    const CkxRunFolder& _m_folder;
    const CkxExtensionModule& _m_extension;
    CkxAgentRole* _m_agent;
    Progress _m_progress;
    CkxTargetingWatch _m_watch;
    CkxHandle _m_token; ///< the user's
};
