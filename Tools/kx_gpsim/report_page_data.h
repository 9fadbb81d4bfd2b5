// What the page of the report shows, in a form that a browser reads fast.
//
// The data are those of the report as JSON, without the documents, whose policies stand beside it, and with
// the policies as columns: an object with an array for each key. `groups` are places in `groupLists`,
// `standing` is 0 for "only", 1 for "first", 2 for "later". Besides there is
//
//   timeline[]    a list for each pass, of
//                   kind     "call", "gpo", "configuration" or "sending"
//                   gpo      place in gpos; null for the others
//                   at       milliseconds since the pass's first line; null where the trace has no times
//                   took     milliseconds until the next entry, the last one's until its last line; or null
//                   logged   instances that were recorded meanwhile
//                   lines[]  of step, severity and text: what the trace says but for those instances
//
// The policies' XML follows as a text of its own, since it is looked at rarely: the page takes it apart only
// then.
#pragma once

#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/run_result.h"

#include <string>

namespace kx {

/// The data as JSON text that may stand in a script element: it has no "<".
[[nodiscard]] std::string PageData(const RunResult& run, const Report& report);

/// A line a policy, in the report's order: its XML as a JSON string, without "<" too.
[[nodiscard]] std::string PagePolicyXml(const Report& report);

} // namespace kx
