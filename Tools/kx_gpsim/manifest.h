#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// A GPO that a run names. What is empty is found out from its folder.
struct GpoRequest {
    std::string path; ///< of the GPO or of its scope's folder; may be empty for a deleted one with a name
    std::string name; ///< "{GUID}"
    std::string displayName;
    std::string link;
    std::string linkKind;
    bool forced = false;
};

/// A whole run, as a JSON file describes it:
///
///     {
///       "scope": "both",                  // machine, user or both; also absent
///       "flags": ["FORCED_REFRESH"],      // engine flags besides the scope's; also absent
///       "gpos": [                         // in the engine's order: the last one wins
///         { "path": "baseline/{GUID}",    // relative to the manifest's folder
///           "displayName": "...", "name": "{GUID}", "link": "LDAP://...", "linkKind": "ou",
///           "order": 1, "forced": false } // all but the path may be absent
///       ],
///       "deleted": [ { "name": "{GUID}", "displayName": "..." } ],
///       "deleteAll": false                // of an appended update
///     }
///
/// Where one GPO has an "order" all have, and the list is sorted by it. Comments are allowed.
struct Manifest {
    std::optional<std::string> scope;
    std::vector<std::string> flags;
    std::vector<GpoRequest> gpos;
    std::vector<GpoRequest> deleted;
    bool deleteAll = false;
};

/// Throws UsageError naming the file and the place in the JSON that is wrong.
[[nodiscard]] Manifest ParseManifest(std::string_view text, const std::string& file);

} // namespace kx
