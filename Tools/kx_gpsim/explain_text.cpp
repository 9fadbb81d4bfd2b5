#include "Tools/kx_gpsim/explain_text.h"

#include "Tools/kx_gpsim/pass_text.h"
#include "Tools/kx_gpsim/return_code_text.h"
#include "Tools/kx_gpsim/text_width.h"

namespace kx {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kVersion = 1;

Ink InkOf(Fate fate)
{
    switch (fate) {
    case Fate::Taken:
        return Ink::Good;
    case Fate::LetThrough:
    case Fate::Excluded:
        return Ink::Warning;
    case Fate::Stopped:
        return Ink::Bad;
    case Fate::Deleted:
        break;
    }
    return Ink::Dim;
}

std::string SubjectLine(const Report& report, const Explanation& explanation)
{
    const ReportPass& pass = report.passes[explanation.pass];
    std::string line = explanation.isGpo ? "GPO" : "policy of " + GpoLabel(report, explanation.gpo);
    if (!explanation.id.empty() && explanation.id != explanation.name)
        line += ", " + explanation.id;
    if (const std::string& link = report.gpos[explanation.gpo].somId; !link.empty())
        line += ", linked to " + link;
    return line + "; " + ScopeText(pass.scope) + ", " + pass.call;
}

std::string FateLine(const Explanation& explanation)
{
    std::string line(FateText(explanation.fate));
    if (explanation.fate != Fate::Taken && explanation.fate != Fate::Deleted)
        line.append(" at ").append(StepText(explanation.step));
    return line.append(explanation.why.empty() ? "" : ": ").append(explanation.why);
}

std::string PassedLine(const Explanation& explanation)
{
    std::string line;
    for (const Step step : explanation.passed)
        line.append(line.empty() ? "passed: " : ", ").append(StepText(step));
    return line;
}

std::string Indented(std::string_view text, std::size_t depth)
{
    return std::string(depth, ' ') + VisibleText(text) + "\n";
}

Json TextOrNull(const std::string& text)
{
    return text.empty() ? Json() : Json(text);
}

Json ExplanationJson(const Report& report, const Explanation& explanation)
{
    const ReportGpo& gpo = report.gpos[explanation.gpo];
    const ReportPass& pass = report.passes[explanation.pass];
    Json passed = Json::array();
    for (const Step step : explanation.passed)
        passed.push_back(StepText(step));
    return {{"kind", explanation.isGpo ? "gpo" : "policy"},
            {"scope", ScopeText(pass.scope)},
            {"call", pass.call},
            {"name", explanation.name},
            {"id", TextOrNull(explanation.id)},
            {"gpo", GpoLabel(report, explanation.gpo)},
            {"gpoName", gpo.gpo.name},
            {"link", TextOrNull(gpo.somId)},
            {"fate", FateText(explanation.fate)},
            {"step", StepText(explanation.step)},
            {"why", TextOrNull(explanation.why)},
            {"passed", passed},
            {"trace", explanation.trace}};
}

} // namespace

std::string FormatExplanations(const Report& report, const std::vector<Explanation>& explanations,
                               const TextStyle& style)
{
    std::string text;
    for (const Explanation& explanation : explanations) {
        text += text.empty() ? "" : "\n";
        text += style.paint(Ink::Heading, VisibleText(explanation.name)) + "\n";
        text += Indented(SubjectLine(report, explanation), 2);
        text += "  " + style.paint(InkOf(explanation.fate), VisibleText(FateLine(explanation))) + "\n";
        if (!explanation.passed.empty())
            text += Indented(PassedLine(explanation), 2);
        if (!explanation.trace.empty())
            text += "  the trace:\n";
        for (const std::string& line : explanation.trace)
            text += Indented(line, 4);
    }
    return text;
}

Json ExplanationsJson(const Report& report, const std::vector<Explanation>& explanations,
                      std::string_view name)
{
    Json matches = Json::array();
    for (const Explanation& explanation : explanations)
        matches.push_back(ExplanationJson(report, explanation));
    return {{"version", kVersion}, {"name", name}, {"matches", matches}};
}

} // namespace kx
