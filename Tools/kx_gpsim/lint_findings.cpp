#include "Tools/kx_gpsim/lint_findings.h"

#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>
#include <iterator>

namespace kx {

namespace {

using enum LintSeverity;

constexpr LintRule kRules[] = {
    {"KX1001", Error, "the file is no XML that the extension takes"},
    {"KX1002", Error, "the file cannot be read"},
    {"KX1003", Error, "the root has no version"},
    {"KX1004", Error, "the version is no number"},
    {"KX1005", Error, "the version is not 5"},
    {"KX1006", Warning, "GPT.INI says that this half of the GPO is empty"},
    {"KX1007", Note, "the GPO holds nothing for this extension"},
    {"KX1008", Warning, "the GPO is listed twice"},
    {"KX1101", Warning, "a policy has no order"},
    {"KX1102", Error, "an order is no number"},
    {"KX1103", Warning, "an order leaves the band of its GPO"},
    {"KX1104", Warning, "an order does not fit into 32 bits"},
    {"KX1105", Warning, "two policies of a file have the same order"},
    {"KX1106", Note, "policies of two GPOs get the same place"},
    {"KX1201", Warning, "a policy has no gpid"},
    {"KX1202", Warning, "a policy has no name"},
    {"KX1203", Warning, "two policies of a file have the same gpid"},
    {"KX1204", Note, "policies of two GPOs have the same gpid"},
    {"KX1301", Warning, "a policy names a group that its GPO does not have"},
    {"KX1302", Warning, "no policy of the GPO uses a group"},
    {"KX1303", Warning, "a group has no id"},
    {"KX1304", Warning, "two groups of a file have the same id"},
    {"KX1305", Note, "a group has no name"},
    {"KX1401", Warning, "a policy has no action"},
    {"KX1402", Error, "an action is no number"},
    {"KX1501", Warning, "Migration.xml hides the other files of its folder"},
    {"KX1502", Warning, "a migration command takes the place of all policies"},
    {"KX1503", Error, "a migration command is not complete"},
    {"KX1601", Warning, "a targeting filter is not known"},
    {"KX1602", Warning, "only the first ItemLevelTargeting counts"},
    {"KX1701", Warning, "two names in a file differ only in case"},
    {"KX1702", Note, "names in two files differ only in case"},
    {"KX1703", Warning, "a name is not seen because of its case"},
};

} // namespace

std::string_view SeverityText(LintSeverity severity)
{
    constexpr std::string_view texts[] = {"note", "warning", "error"};
    return texts[static_cast<std::size_t>(severity)];
}

std::span<const LintRule> LintRules()
{
    return kRules;
}

const LintRule* FindLintRule(std::string_view id)
{
    const auto* const found = std::find_if(std::begin(kRules), std::end(kRules),
                                           [&](const LintRule& rule) { return EqualNoCase(rule.id, id); });
    return found == std::end(kRules) ? nullptr : found;
}

std::string LintPage(const LintRule& rule)
{
    return "Docs/lint.md#" + LowerAscii(rule.id);
}

std::size_t CountOf(const LintReport& report, LintSeverity severity)
{
    return static_cast<std::size_t>(
        std::count_if(report.findings.begin(), report.findings.end(),
                      [&](const LintFinding& finding) { return finding.rule->severity == severity; }));
}

bool HasAtLeast(const LintReport& report, LintSeverity severity)
{
    return std::any_of(report.findings.begin(), report.findings.end(),
                       [&](const LintFinding& finding) { return finding.rule->severity >= severity; });
}

} // namespace kx
