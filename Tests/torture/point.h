#pragma once

#include "Tests/torture/import_faults.h"
#include "Tests/torture/scenarios.h"

#include <set>
#include <string>

/// What one run of a scenario did.
struct PointResult {
    DWORD code = 0;
    unsigned calls = 0; ///< fallible calls that were numbered
    const char* failedCall = nullptr;
    std::string failedAt;         ///< where that call came from, as offsets in the module, innermost first
    std::string document;         ///< what was delivered, by meaning; empty for none
    std::set<std::string> errors; ///< what the error lines of its trace say
    std::size_t blocks = 0;       ///< memory still allocated after the module was unloaded
    std::string complaint;        ///< what it must not have done; empty for nothing
};

/// Runs a scenario under faults on its stage: loads the module, runs, runs again undisturbed, unloads, and
/// judges what came of it. `undamaged` is the result of a run without faults; null for that run itself.
[[nodiscard]] PointResult RunPoint(Stage& stage, const Scenario& scenario, FaultPlan plan,
                                   const PointResult* undamaged);
