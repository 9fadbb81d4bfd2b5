// What a look at policy files can find. Ids, once published, keep their meaning.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// How much a finding matters: a note is for information, a warning is probably meant otherwise, an error
/// costs policies or their place.
enum class LintSeverity : std::uint8_t { Note, Warning, Error };

/// "note", "warning" or "error".
[[nodiscard]] std::string_view SeverityText(LintSeverity severity);

/// One thing that can be wrong. The page on it in the docs is headed by its id.
struct LintRule {
    std::string_view id;
    LintSeverity severity;
    std::string_view title;
};

/// All rules, sorted by id.
[[nodiscard]] std::span<const LintRule> LintRules();

/// The rule of that id, in any case; null where there is none.
[[nodiscard]] const LintRule* FindLintRule(std::string_view id);

/// Where the docs tell more about a rule.
[[nodiscard]] std::string LintPage(const LintRule& rule);

/// One thing that is wrong, and where.
struct LintFinding {
    const LintRule* rule = nullptr;
    std::string gpo;   ///< its "{GUID}"
    std::string label; ///< its display name
    std::string scope; ///< "machine", "user" or ""
    std::string file;  ///< path of the file, or of the GPO's folder where it is about no file
    int line = 0;      ///< 0 where it is about no line
    int column = 0;
    std::string message;
};

/// What a look at a set of GPOs came to.
struct LintReport {
    std::vector<std::string> files;    ///< all that were looked at
    std::vector<LintFinding> findings; ///< by file in that order, then by place
    std::size_t silenced = 0;          ///< findings that were left out as asked
};

/// How many findings are of this severity.
[[nodiscard]] std::size_t CountOf(const LintReport& report, LintSeverity severity);

/// True when a finding is of this severity or a higher one.
[[nodiscard]] bool HasAtLeast(const LintReport& report, LintSeverity severity);

} // namespace kx
