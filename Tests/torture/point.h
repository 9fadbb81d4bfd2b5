#pragma once

#include "Tests/torture/import_faults.h"
#include "Tests/torture/scenarios.h"

#include <optional>
#include <set>
#include <string>

/// What one thread of a run did.
struct ThreadResult {
    DWORD code = 0;
    const char* failedCall = nullptr;
    std::string document; ///< what was delivered, by meaning; empty for none
};

/// What one run of a scenario did.
struct PointResult : ThreadResult {
    std::optional<ThreadResult> other; ///< of the thread beside it, where the scenario has one
    unsigned calls = 0;                ///< fallible calls that were numbered
    std::vector<unsigned> objectCalls; ///< of them, those on COM objects
    std::string failedAt;              ///< where the failed call came from, as offsets in the module
    std::set<std::string> errors;      ///< what the error lines of its trace say
    std::string recorded;              ///< what the undisturbed run afterwards left in the store of RSoP
    std::size_t blocks = 0;            ///< memory still allocated after the module was unloaded
    unsigned statements = 0;           ///< trace statements whose last-error value was followed
    std::string complaint;             ///< what it must not have done; empty for nothing
};

/// Runs a scenario under faults on its stage: loads the module, runs, runs again undisturbed, unloads, and
/// judges what came of it. `undamaged` is the result of a run without faults; null for that run itself.
[[nodiscard]] PointResult RunPoint(Stage& stage, const Scenario& scenario, FaultPlan plan,
                                   const PointResult* undamaged);
