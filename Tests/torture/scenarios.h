#pragma once

#include "Tests/torture/stage.h"

#include <span>

/// An export of the module.
struct Entry {
    /// The calls of the module; gives their code. Runs twice on a stage: the second time `again`.
    DWORD (*run)(Stage& stage, bool again);
    /// Every code that is documented for it.
    std::span<const DWORD> codes;
    /// What it delivers may lack parts where an error was traced.
    bool deliversParts;
};

/// One way to use the module, in which every fallible call is failed in turn.
struct Scenario {
    const char* name;
    /// Prepares a new stage.
    void (*setUp)(Stage& stage);
    /// What the run calls.
    const Entry& entry;
    /// What an undisturbed run gives.
    DWORD code;
    /// Faults strike while the module is loaded and unloaded, instead of during the run.
    bool inStartUp = false;
};

[[nodiscard]] std::span<const Scenario> AllScenarios();
