// The report for programs.
//
// "version" is 1 and rises when a key changes its meaning or goes; keys may be added without that. Places are
// numbers from 0 into the arrays of the same object; null stands for what is not known or not there.
//
//   version       1
//   totals        gpos, deletedGpos, policies, excludedPolicies, excludedGpos, letThrough, errors, warnings,
//                 migrations, repeatedIds, settings, contestedSettings, failedCalls
//   passes[]      scope ("machine", "user"), call ("apply", "plan", "append"), code, meaning, delivered,
//                 documentRoot, document, recorded, complaints[], notes[] (texts), timeline[] of
//                 milliseconds and text
//   gpos[]        pass, name, displayName, folder, link, linkKind, order, forced, deleted, gpoId, somId,
//                 written, taken, migration, excluded[] and letThrough[] of name (null: the whole GPO) and
//                 reason, complaints[]
//   complaints[]  severity, file, line, column, reason
//   policies[]    pass, gpo, name, id, action, order, groups[], recorded, xml,
//                 standing ("only", "first", "later"); in ascending order, as the agent compares it
//   repeatedIds[] id, tied, first (into policies), later[] (into policies, ascending)
//   settings[]    pass, path, winner and losers[] of value, precedence, gpo, policy; winner is null, and
//                 losers are all policies that set the path, where none was recorded
#pragma once

#include "Tools/kx_gpsim/report_model.h"

#include <nlohmann/json.hpp>

#include <string>

namespace kx {

/// The report as JSON, its keys in the order above.
[[nodiscard]] nlohmann::ordered_json ReportJson(const Report& report);

/// That as text: indented, ends in a line end. Bytes that are no UTF-8 are replaced.
[[nodiscard]] std::string FormatReportJson(const Report& report);

} // namespace kx
