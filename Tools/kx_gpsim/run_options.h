#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kx {

/// Which call of the extension a run makes.
enum class Call { Apply, Plan, Append };

/// What one run is asked to do, as it was given: nothing is looked up on the disk yet. Texts are UTF-8.
struct RunOptions {
    Call call = Call::Apply;
    std::string
        scope; ///< "machine", "user" or "both"; empty: the manifest's, else both, or machine to append

    std::vector<std::string> gpos;    ///< paths of GPOs, in the engine's order: the last one wins
    std::vector<std::string> deleted; ///< paths or "{GUID}" names
    std::vector<std::string> links;   ///< "TARGET" for all GPOs or "N=TARGET" for the Nth
    std::vector<int> forced;          ///< places of GPOs whose link is enforced
    std::vector<int> order;           ///< the list's order as places of `gpos`; empty: as given
    std::string manifest;             ///< JSON that describes the run; empty: none
    std::string state;                ///< JSON of the last run, read and written; empty: none
    std::vector<std::string> flags;   ///< names of engine flags, or numbers
    bool deleteAll = false;           ///< append: the agent shall drop all appended sets first

    std::string facts; ///< JSON that states what targeting is to believe; empty: this machine is asked

    std::string work;                  ///< the run's folder; empty: a new temporary one
    bool keep = false;                 ///< a temporary run folder stays
    bool deliver = false;              ///< the machine's real agent is meant
    bool asLocalSystemForTest = false; ///< append: answer the caller's check as LocalSystem
    std::string extension;             ///< the kx_gpext.dll to run; empty: the one beside the program
};

/// Whether the options say what is to be run, which goes without a run that was saved.
[[nodiscard]] inline bool NamesRun(const RunOptions& options)
{
    return !options.gpos.empty() || !options.manifest.empty() || !options.facts.empty();
}

/// Runs the extension as asked and gathers what came of it; throws ToolError where there is no result. What
/// went wrong in the GPOs is in the result. The run folder is removed at the end unless it was named, or is
/// to be kept; the result then has no workFolder.
[[nodiscard]] RunResult RunFrom(const RunOptions& options);

/// True when any GPO has an error, a call failed, or nothing arrived that should have.
[[nodiscard]] bool HasErrors(const RunResult& run);

} // namespace kx
