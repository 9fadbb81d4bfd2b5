// What the extension's trace tells about each GPO of a call.
#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// What an evaluation of item-level targeting came to.
enum class Targeted { Allowed, Excluded, LetThrough };

/// One evaluation, as seen at the border between the extension and the platform.
struct TargetingCheck {
    std::size_t offset = 0; ///< bytes of the trace when it began
    Targeted verdict = Targeted::LetThrough;
    std::string targeting;             ///< the ItemLevelTargeting element
    std::vector<std::string> findings; ///< what the stand-in reported about it
};

/// One evaluation, with what the trace says about it.
struct TargetingStep {
    Targeted verdict = Targeted::Allowed;
    bool ofGpo = false; ///< concerns the whole GPO; known for an exclusion only
    std::string policy; ///< known for an exclusion only
    std::string reason;
};

/// A GPO of the list, in the list's order.
struct GpoTrace {
    std::string name;
    std::string displayName;
    std::vector<TargetingStep> targeting; ///< in order
    std::vector<Complaint> complaints;
    bool migration = false;
};

struct TraceDigest {
    std::vector<GpoTrace> changed; ///< those that the call came to
    std::vector<Complaint> general;
};

/// Of a refresh or an appended update. `trace` is what the call added to the file. What concerns item-level
/// targeting is a step, not a complaint.
[[nodiscard]] TraceDigest DigestTrace(std::string_view trace, const std::vector<TargetingCheck>& checks);

/// Of a planning call, whose trace does not tell one GPO from the next: what it says is put down to the GPO
/// of `gpos` whose folder or name stands in the line, or in the last one that had any. All of `gpos` are in
/// the result.
[[nodiscard]] TraceDigest DigestPlanTrace(std::string_view trace, const std::vector<GpoInput>& gpos);

/// The trace as lines, without their ends.
[[nodiscard]] std::vector<std::string> SplitLines(std::string_view text);

} // namespace kx
