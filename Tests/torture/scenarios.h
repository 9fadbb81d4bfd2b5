#pragma once

#include "Tests/torture/stage.h"

#include <span>
#include <vector>

/// An export of the module.
struct Entry {
    /// The calls of the module; gives their code. Runs twice on a stage: the second time `again`.
    DWORD (*run)(Stage& stage, bool again);
    /// Every code that is documented for it, beside failing HRESULTs where it reports them.
    std::span<const DWORD> codes;
    bool reportsHresults = false;
    /// What it delivers may lack parts where an error was traced.
    bool deliversParts = false;
};

/// Where faults strike.
enum class Strikes {
    Run,
    LoadAndUnload,
    RunBesideAnother, ///< while another thread refreshes, undisturbed, for the other one of machine and user
    BothThreads,      ///< in both of them, each with numbers of its own
};

/// One way to use the module, in which every fallible call is failed in turn.
struct Scenario {
    const char* name;
    /// Prepares a new stage.
    void (*setUp)(Stage& stage);
    /// What the run calls.
    const Entry& entry;
    /// What an undisturbed run gives.
    DWORD code = ERROR_SUCCESS;
    Strikes strikes = Strikes::Run;
};

/// All scenarios, in the order in which they run.
[[nodiscard]] std::vector<Scenario> AllScenarios();

// ---- the groups of scenarios

[[nodiscard]] std::span<const Scenario> RefreshScenarios();
[[nodiscard]] std::span<const Scenario> AgentScenarios();
[[nodiscard]] std::span<const Scenario> AppendedScenarios();
[[nodiscard]] std::span<const Scenario> RsopScenarios();
[[nodiscard]] std::span<const Scenario> TargetingScenarios();
[[nodiscard]] std::span<const Scenario> TraceScenarios();
[[nodiscard]] std::span<const Scenario> ConcurrentScenarios();

// ---- what their runs call

extern const Entry kRefresh;
extern const Entry kMigration; ///< rewrites the migration command before it refreshes; see WriteMigration
extern const Entry kReload;    ///< changes the configuration before it refreshes; see c_reloaded
extern const Entry kAppended;
extern const Entry kPlanning;

/// What kReload changes the configuration to.
extern const std::string_view c_reloaded;
