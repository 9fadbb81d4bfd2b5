#pragma once

#include "Tools/host/patched_import.h"
#include "Tools/kx_gpsim/run_folder.h"
#include "Tools/kx_gpsim/trace_digest.h"

#include <cstdint>
#include <string>
#include <vector>

/// Looks on while the extension evaluates item-level targeting: each evaluation removes a marker before it
/// asks the platform and after it, and what comes of that is the answer. Nothing is changed by it. One at a
/// time, on the thread that calls the extension. REQUIRES: the module stays loaded, and the folder is its
/// own.
class CkxTargetingWatch {
  public:
    CkxTargetingWatch(HMODULE extension, const CkxRunFolder& folder);
    ~CkxTargetingWatch();
    CkxTargetingWatch(const CkxTargetingWatch&) = delete;
    CkxTargetingWatch& operator=(const CkxTargetingWatch&) = delete;

    /// The evaluations since the last call, in order. `traceStart` is where the trace began then.
    [[nodiscard]] std::vector<kx::TargetingCheck> Take(std::uint64_t traceStart);

  private:
    static LSTATUS WINAPI _OnRemove(HKEY key, const wchar_t* name);
    void _Begin();
    void _End(LSTATUS removal);
    [[nodiscard]] std::vector<std::string> _NewFindings();

    const CkxRunFolder& _m_folder;
    std::vector<kx::TargetingCheck> _m_checks;
    bool _m_running = false;       ///< the marker has been removed once
    std::uint64_t _m_reported = 0; ///< bytes of the stand-in's report that are known
    PatchedImport _m_patch;
};
