// What became of one policy or GPO, and which lines of the trace say so.
#pragma once

#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/run_result.h"
#include "Tools/kx_gpsim/trace_steps.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// A policy as its file has it. A run does not know the ids of excluded policies, nor any of the policies of
/// a GPO that was left out whole.
struct FiledPolicy {
    std::size_t pass = 0;
    std::size_t gpo = 0; ///< in PassResult::gpos
    std::string name;
    std::string id;
};

/// What became of it.
enum class Fate {
    Taken,
    LetThrough, ///< taken, though its targeting could not be evaluated
    Excluded,   ///< by targeting
    Stopped,    ///< an error, or a migration command, ended its way
    Deleted     ///< a GPO of the list of deleted ones
};

/// "let through" and the like.
[[nodiscard]] std::string_view FateText(Fate fate);

/// A line of the trace, secrets masked.
struct ExplainedLine {
    std::string text;               ///< without its time
    std::optional<std::int64_t> at; ///< milliseconds since the call began, where the trace carries times
};

/// One policy or GPO in one pass.
struct Explanation {
    std::size_t pass = 0;
    std::size_t gpo = kNoIndex; ///< in Report::gpos
    bool isGpo = false;
    std::string name; ///< the policy's, or what people call the GPO
    std::string id;   ///< the policy's, empty where not known; the GPO's GUID
    Fate fate = Fate::Taken;
    Step step = Step::Sending;        ///< that decided it
    std::string why;                  ///< empty where there is nothing to say
    std::vector<Step> passed;         ///< the steps before that one
    std::optional<std::int64_t> took; ///< of a GPO: milliseconds until the next one, where they are known
    std::vector<ExplainedLine> trace;
};

/// All policies and GPOs of the run that are called so: by the policy's name or gpid, the GPO's GUID or
/// display name; case of ASCII letters makes no difference. `report` is the run's. Pass by pass, GPOs first.
[[nodiscard]] std::vector<Explanation> Explain(const RunResult& run, const Report& report,
                                               const std::vector<FiledPolicy>& filed, std::string_view name);

/// Up to five names in the run that have `part` in them.
[[nodiscard]] std::vector<std::string>
SimilarNames(const Report& report, const std::vector<FiledPolicy>& filed, std::string_view part);

} // namespace kx
