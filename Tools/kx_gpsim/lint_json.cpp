#include "Tools/kx_gpsim/lint_json.h"

#include <nlohmann/json.hpp>

namespace kx {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kFormat = 1;

Json NumberOrNull(int number)
{
    return number > 0 ? Json(number) : Json();
}

Json FindingJson(const LintFinding& finding)
{
    return {{"id", finding.rule->id},
            {"severity", SeverityText(finding.rule->severity)},
            {"title", finding.rule->title},
            {"message", finding.message},
            {"file", finding.file},
            {"line", NumberOrNull(finding.line)},
            {"column", NumberOrNull(finding.column)},
            {"gpo", finding.gpo},
            {"displayName", finding.label},
            {"scope", finding.scope.empty() ? Json() : Json(finding.scope)},
            {"page", LintPage(*finding.rule)}};
}

} // namespace

std::string FormatLintJson(const LintReport& report)
{
    Json findings = Json::array();
    for (const LintFinding& finding : report.findings)
        findings.push_back(FindingJson(finding));
    const Json json = {{"format", kFormat},
                       {"totals",
                        {{"errors", CountOf(report, LintSeverity::Error)},
                         {"warnings", CountOf(report, LintSeverity::Warning)},
                         {"notes", CountOf(report, LintSeverity::Note)},
                         {"silenced", report.silenced},
                         {"files", report.files.size()}}},
                       {"findings", std::move(findings)},
                       {"files", report.files}};
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace kx
