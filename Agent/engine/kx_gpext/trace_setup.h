#pragma once

/// Directs trace output into the "Trace" folder beside this module, which is created when missing. Called
/// once, under the loader lock: starts nothing, waits for nothing, loads nothing. Failures leave the trace
/// library's defaults in force.
void SetUpTrace() noexcept;
