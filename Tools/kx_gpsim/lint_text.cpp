#include "Tools/kx_gpsim/lint_text.h"

#include "Tools/kx_gpsim/text_width.h"

namespace kx {

namespace {

Ink InkOf(LintSeverity severity)
{
    switch (severity) {
    case LintSeverity::Error:
        return Ink::Bad;
    case LintSeverity::Warning:
        return Ink::Warning;
    case LintSeverity::Note:
        break;
    }
    return Ink::Dim;
}

std::string Counted(std::size_t count, std::string_view one)
{
    return std::to_string(count).append(" ").append(one).append(count == 1 ? "" : "s");
}

std::string PlaceOf(const LintFinding& finding)
{
    std::string place = VisibleText(finding.file);
    if (finding.line > 0)
        place += ':' + std::to_string(finding.line);
    if (finding.line > 0 && finding.column > 0)
        place += ':' + std::to_string(finding.column);
    return place;
}

std::string FindingLine(const LintFinding& finding, const TextStyle& style)
{
    const std::string severity(SeverityText(finding.rule->severity));
    return PlaceOf(finding) + ": " + style.paint(InkOf(finding.rule->severity), severity + ":") + ' ' +
           VisibleText(finding.message) + ' ' +
           style.paint(Ink::Dim, "[" + std::string(finding.rule->id) + "]") + '\n';
}

} // namespace

std::string LintSummary(const LintReport& report)
{
    std::string summary = Counted(CountOf(report, LintSeverity::Error), "error") + ", " +
                          Counted(CountOf(report, LintSeverity::Warning), "warning") + ", " +
                          Counted(CountOf(report, LintSeverity::Note), "note") + " in " +
                          Counted(report.files.size(), "file");
    if (report.silenced > 0)
        summary += ", " + std::to_string(report.silenced) + " silenced";
    return summary;
}

std::string FormatLintText(const LintReport& report, const TextStyle& style)
{
    std::string text;
    for (const LintFinding& finding : report.findings)
        text += FindingLine(finding, style);
    const Ink ink = report.findings.empty() ? Ink::Good : Ink::Heading;
    return text + style.paint(ink, LintSummary(report)) + '\n';
}

} // namespace kx
