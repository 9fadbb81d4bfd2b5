#pragma once

#include "Tools/kx_gpsim/manifest.h"
#include "Tools/kx_gpsim/run_options.h"

#include <string>
#include <vector>

namespace kx {

/// What a run is to do, from the command line and the manifest together.
struct RunRequest {
    std::vector<Scope> scopes;
    bool bothScopes = false;      ///< whether both were meant, so that one without any GPO may be left out
    std::uint32_t flags = 0;      ///< the engine's, without the scope's
    std::vector<GpoRequest> gpos; ///< in the engine's order
    std::vector<GpoRequest> deleted;
    bool deleteAll = false;
};

/// Throws UsageError for what does not fit together. `manifest` is null where there is none.
[[nodiscard]] RunRequest MakeRequest(const RunOptions& options, const Manifest* manifest);

/// The bits of engine flags given by name, in any case, or as a number. Throws UsageError for what is
/// neither, and for MACHINE, which the scope decides.
[[nodiscard]] std::uint32_t FlagBits(const std::vector<std::string>& names);

/// The names that FlagBits takes.
[[nodiscard]] std::vector<std::string> FlagNames();

} // namespace kx
