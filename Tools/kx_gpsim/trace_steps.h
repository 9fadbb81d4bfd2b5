// The trace of a call, as the steps that the extension went through.
#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// The steps of a call, in the order in which the extension takes them for each GPO.
enum class Step { Call, Load, GpoTargeting, Migration, Version, PolicyTargeting, Order, Logged, Sending };

/// "GPO targeting" and the like.
[[nodiscard]] std::string_view StepText(Step step);

/// A line of the trace that belongs to a step.
struct TraceStep {
    Step step = Step::Call;
    std::size_t line = 0;           ///< in PassResult::trace
    std::optional<std::size_t> gpo; ///< in PassResult::gpos; none where it is about the whole call
    bool isHeading = false;         ///< the GPO's steps begin here
    std::string subject;            ///< the policy, or configuration path, that the line names
    std::string id;                 ///< of the policy, where the line names it
    std::string_view severity;      ///< "error", "warning" or ""
    std::optional<std::int64_t> at; ///< milliseconds since the call began, where the trace carries times
};

/// The lines of the pass's trace that tell of a step; those of the layers below are left out. What names no
/// GPO belongs to the one before it. The steps are valid without `pass`.
[[nodiscard]] std::vector<TraceStep> ReadSteps(const PassResult& pass);

} // namespace kx
