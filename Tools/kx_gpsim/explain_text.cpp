#include "Tools/kx_gpsim/explain_text.h"

#include "Tools/kx_gpsim/pass_text.h"
#include "Tools/kx_gpsim/return_code_text.h"
#include "Tools/kx_gpsim/text_width.h"

#include <algorithm>

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

// "    31 ms  INFO: ...", or the line alone where the trace is without times.
std::string LineText(const ExplainedLine& line)
{
    constexpr std::size_t width = 6;
    if (!line.at)
        return line.text;
    const std::string number = std::to_string(*line.at);
    return std::string(width - std::min(width, number.size()), ' ') + number + " ms  " + line.text;
}

Json NumberOrNull(const std::optional<std::int64_t>& number)
{
    return number ? Json(*number) : Json();
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
    Json trace = Json::array();
    for (const ExplainedLine& line : explanation.trace)
        trace.push_back({{"at", NumberOrNull(line.at)}, {"text", line.text}});
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
            {"took", NumberOrNull(explanation.took)},
            {"trace", trace}};
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
        if (explanation.took)
            text += Indented("took " + std::to_string(*explanation.took) + " ms", 2);
        if (!explanation.trace.empty())
            text += "  the trace, from the call's beginning on:\n";
        for (const ExplainedLine& line : explanation.trace)
            text += Indented(LineText(line), 4);
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
