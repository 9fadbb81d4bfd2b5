// What a run came to, put together so that every rendering shows the same. Nothing is worked out that the
// extension decides: each statement comes from the document, the RSoP data, the trace or the return code.
#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kx {

/// Where an index says "none".
inline constexpr std::size_t kNoIndex = static_cast<std::size_t>(-1);

/// A moment of a pass, where the trace carries times.
struct TimelineEntry {
    std::int64_t milliseconds = 0; ///< since the pass's first line
    std::string text;              ///< the line behind its time
};

/// One call of the extension.
struct ReportPass {
    Scope scope = Scope::Machine;
    std::string call; ///< "apply", "plan" or "append"
    std::uint32_t code = 0;
    std::string meaning; ///< of the code, in words
    bool delivered = false;
    std::string documentRoot;
    std::string document;
    std::size_t recorded = 0;            ///< instances in RSoP
    std::vector<Complaint> complaints;   ///< that concern no single GPO
    std::vector<std::string> notes;      ///< what the tool has to say about it
    std::vector<TimelineEntry> timeline; ///< empty where the trace carries no times
};

/// A GPO in one pass.
struct ReportGpo {
    std::size_t pass = 0;
    GpoInput gpo;
    std::string gpoId;   ///< as recorded; empty where nothing of it was
    std::string somId;   ///< what it is linked to, as recorded, else from the list of GPOs
    std::string written; ///< when its Policies.xml was last written, in UTC; empty where not known
    std::size_t taken = 0;
    std::vector<TargetedPolicy> excluded;
    std::vector<TargetedPolicy> letThrough;
    std::vector<Complaint> complaints;
    bool migration = false;
};

/// How a policy stands among those with its id.
enum class Standing {
    Only,  ///< no other policy has it, or it has none
    First, ///< has the lowest order
    Later
};

/// "only", "first", "later".
[[nodiscard]] const char* StandingName(Standing standing);

/// A policy that the agent got, or in planning would get.
struct ReportPolicy {
    std::size_t pass = 0;
    std::size_t gpo = kNoIndex; ///< in Report::gpos
    std::string name;
    std::string id;
    std::string action; ///< empty where only the RSoP data tells of the policy
    std::int32_t order = 0;
    std::vector<std::string> groups;
    std::string xml;
    bool recorded = false; ///< there is an instance of its own in RSoP
    Standing standing = Standing::Only;
};

/// Several policies with one id. The document leaves it to the agent what becomes of the later ones.
struct RepeatedId {
    std::string id;
    std::vector<std::size_t> policies; ///< in Report::policies, ascending order: the first wins by order
    bool isTied = false;               ///< the next one has the same order as the first
};

/// One policy's value for a configuration path.
struct SettingSource {
    std::size_t gpo = kNoIndex;    ///< in Report::gpos
    std::size_t policy = kNoIndex; ///< in Report::policies
    std::string value;
    std::uint32_t precedence = 0;
};

/// A configuration path of one pass.
struct ReportSetting {
    std::size_t pass = 0;
    std::string path;
    std::optional<SettingSource> winner; ///< as recorded in RSoP; none where nothing was
    std::vector<SettingSource> others;   ///< from the document, ascending precedence
};

/// Counts over all passes.
struct ReportTotals {
    std::size_t gpos = 0; ///< in the lists of changed GPOs
    std::size_t deletedGpos = 0;
    std::size_t policies = 0;
    std::size_t excludedPolicies = 0;
    std::size_t excludedGpos = 0;
    std::size_t letThrough = 0;
    std::size_t errors = 0;
    std::size_t warnings = 0;
    std::size_t migrations = 0;
    std::size_t repeatedIds = 0;
    std::size_t settings = 0;
    std::size_t contestedSettings = 0; ///< set by more than one policy
    std::size_t failedCalls = 0;
};

/// The whole of a run. Texts are UTF-8, secrets are masked in all of them.
struct Report {
    std::vector<ReportPass> passes;
    std::vector<ReportGpo> gpos;         ///< pass by pass, the changed ones first, as listed
    std::vector<ReportPolicy> policies;  ///< ascending order, as the agent compares it
    std::vector<RepeatedId> repeatedIds; ///< by the place of their first policies
    std::vector<ReportSetting> settings; ///< pass by pass, by path
    ReportTotals totals;
};

/// Puts the report together. Takes time in proportion to the run, but for sorting.
[[nodiscard]] Report MakeReport(const RunResult& run);

} // namespace kx
