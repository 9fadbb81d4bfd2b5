#pragma once

#include "Tools/kx_gpsim/lint_findings.h"

#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// A rule that is not to be reported, for one GPO or for all.
struct LintSilence {
    const LintRule* rule = nullptr;
    std::string gpo; ///< "{GUID}" or display name; empty: all
};

/// How findings are judged.
struct LintSettings {
    std::vector<LintSilence> silence;
    LintSeverity failOn = LintSeverity::Warning; ///< from here on findings make the command fail
};

/// Reads "KX1204" or, for one GPO, "KX1204@GPO". Throws UsageError where there is no such rule.
[[nodiscard]] LintSilence ParseSilence(std::string_view text);

/// Reads "note", "warning" or "error". Throws UsageError for anything else.
[[nodiscard]] LintSeverity ParseSeverity(std::string_view text);

/// Reads what a file of settings says:
///
///     { "lint": { "silence": [ "KX1302", "KX1204@Fernhill baseline" ], "failOn": "error" } }
///
/// Throws UsageError naming the file and the place in it that is wrong.
[[nodiscard]] LintSettings ParseLintSettings(std::string_view text, const std::string& file);

/// Takes out what is to be silent, and counts it.
void Silence(const std::vector<LintSilence>& silence, LintReport& report);

} // namespace kx
