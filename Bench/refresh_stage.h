#pragma once

#include "Bench/bench_report.h"
#include "Tests/support/temp_folder.h"
#include "Tools/host/agent_listener.h"
#include "Tools/host/engine_lists.h"
#include "Tools/host/extension_module.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

/// Where benchmarks refresh: the shipped extension, loaded from a folder of its own and tracing there at its
/// default, and an agent that takes what everybody sends. Ends the program where it cannot be set up.
/// REQUIRES: nothing else on the machine plays the agent.
class CkxRefreshStage {
  public:
    CkxRefreshStage();
    ~CkxRefreshStage();
    CkxRefreshStage(const CkxRefreshStage&) = delete;
    CkxRefreshStage& operator=(const CkxRefreshStage&) = delete;

    static constexpr double c_failed = -1;

    /// Microseconds that the extension takes for a machine refresh of these GPOs, nothing deleted; c_failed
    /// where it failed or nothing whole arrived. It logs into `services`, if any.
    [[nodiscard]] double TimeOfExtension(std::span<const CkxListedGpo> gpos,
                                         IWbemServices* services = nullptr);

    /// Microseconds that another way takes to make and send a document; `refresh` answers whether it has.
    template <class Refresh>
    [[nodiscard]] double TimeOf(const Refresh& refresh)
    {
        bool done = false;
        const double time = kx::NanosecondsACall(1, [&] { done = refresh(); }) / 1000;
        return _TakeMessage() && done ? time : c_failed;
    }

    /// The document that arrived last.
    [[nodiscard]] std::wstring LastDocument() const;

    /// A file or folder beside the extension.
    [[nodiscard]] std::wstring operator/(const std::wstring& name) const { return _m_folder / name; }

    /// The user's token that the extension gets.
    [[nodiscard]] HANDLE Token() const noexcept { return _m_token.Get(); }

    /// The flags that it gets.
    static constexpr DWORD c_flags = GPO_INFO_FLAG_MACHINE;

  private:
    [[nodiscard]] bool _TakeMessage();

    TempFolder _m_folder;
    CkxExtensionModule _m_extension;
    CkxAgentListener _m_agent;
    CkxHandle _m_token;
    std::vector<std::byte> _m_message;
};

/// True when one of the samples is CkxRefreshStage::c_failed.
[[nodiscard]] bool HasFailed(const std::vector<kx::Samples>& sides);

/// The samples, each times `factor`.
[[nodiscard]] kx::Samples Scaled(kx::Samples samples, double factor);
