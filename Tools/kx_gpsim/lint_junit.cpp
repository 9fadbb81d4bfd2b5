#include "Tools/kx_gpsim/lint_junit.h"

#include "Tools/kx_gpsim/text_width.h"

#include <algorithm>
#include <set>

namespace kx {

namespace {

// Text that may stand anywhere in XML. VisibleText has made pictures of characters that XML does not take.
std::string Escaped(std::string_view text)
{
    std::string escaped;
    for (const char unit : VisibleText(text)) {
        switch (unit) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += unit;
        }
    }
    return escaped;
}

std::string Attribute(std::string_view name, std::string_view value)
{
    return ' ' + std::string(name) + "=\"" + Escaped(value) + '"';
}

std::string Number(std::string_view name, std::size_t value)
{
    return Attribute(name, std::to_string(value));
}

bool IsFailure(const LintFinding& finding, LintSeverity failOn)
{
    return finding.rule->severity >= failOn;
}

std::string PlaceOf(const LintFinding& finding)
{
    if (finding.line == 0)
        return finding.file;
    return finding.file + ':' + std::to_string(finding.line) + ':' + std::to_string(finding.column);
}

std::string FindingCase(const LintFinding& finding, LintSeverity failOn)
{
    const std::string place = PlaceOf(finding);
    const std::string name = std::string(finding.rule->id) + ' ' + place;
    const std::string text = std::string(SeverityText(finding.rule->severity)) + ": " + finding.message;
    std::string entry = "    <testcase" + Attribute("classname", finding.file) + Attribute("name", name) +
                        Attribute("time", "0") + ">\n";
    if (IsFailure(finding, failOn))
        entry += "      <failure" + Attribute("message", finding.message) +
                 Attribute("type", finding.rule->id) + ">" + Escaped(place + ": " + text) + "\n" +
                 Escaped(LintPage(*finding.rule)) + "</failure>\n";
    else
        entry += "      <system-out>" + Escaped(place + ": " + text) + "</system-out>\n";
    return entry + "    </testcase>\n";
}

std::string CleanCase(const std::string& file)
{
    return "    <testcase" + Attribute("classname", file) + Attribute("name", "no findings") +
           Attribute("time", "0") + "/>\n";
}

} // namespace

std::string FormatLintJUnit(const LintReport& report, LintSeverity failOn)
{
    std::string cases;
    std::set<std::string_view> faulty;
    for (const LintFinding& finding : report.findings) {
        faulty.insert(finding.file);
        cases += FindingCase(finding, failOn);
    }
    std::size_t count = report.findings.size();
    for (const std::string& file : report.files) {
        if (faulty.contains(file))
            continue;
        ++count;
        cases += CleanCase(file);
    }
    const auto failures = static_cast<std::size_t>(
        std::count_if(report.findings.begin(), report.findings.end(),
                      [&](const LintFinding& finding) { return IsFailure(finding, failOn); }));
    const std::string sums = Attribute("name", "kx_gpsim lint") + Number("tests", count) +
                             Number("failures", failures) + Number("errors", 0);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + sums + ">\n  <testsuite" + sums +
           Number("skipped", 0) + Attribute("time", "0") + ">\n" + cases + "  </testsuite>\n</testsuites>\n";
}

} // namespace kx
