#include "Tools/kx_gpsim/lint_settings.h"

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/json_reader.h"
#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>

namespace kx {

namespace {

LintSettings Read(const nlohmann::json& json)
{
    const JsonReader root("the file of settings", json);
    root.AllowOnly({"lint"});
    const JsonReader lint = root.Object("lint");
    lint.AllowOnly({"silence", "failOn"});
    LintSettings settings;
    if (lint.Has("silence"))
        for (const std::string& text : lint.Texts("silence"))
            settings.silence.push_back(ParseSilence(text));
    if (lint.Has("failOn"))
        settings.failOn = ParseSeverity(lint.Text("failOn"));
    return settings;
}

bool Covers(const LintSilence& silence, const LintFinding& finding)
{
    return silence.rule == finding.rule && (silence.gpo.empty() || EqualNoCase(silence.gpo, finding.gpo) ||
                                            EqualNoCase(silence.gpo, finding.label));
}

} // namespace

LintSilence ParseSilence(std::string_view text)
{
    const std::size_t at = std::min(text.find('@'), text.size());
    LintSilence silence;
    silence.rule = FindLintRule(text.substr(0, at));
    if (!silence.rule)
        throw UsageError(std::string(text.substr(0, at)) + " is no finding's id");
    if (at != text.size())
        silence.gpo = text.substr(at + 1);
    return silence;
}

LintSeverity ParseSeverity(std::string_view text)
{
    for (const LintSeverity severity : {LintSeverity::Note, LintSeverity::Warning, LintSeverity::Error})
        if (text == SeverityText(severity))
            return severity;
    throw UsageError(std::string(text) + " is none of note, warning, error");
}

LintSettings ParseLintSettings(std::string_view text, const std::string& file)
{
    const nlohmann::json json = ParseJson(text, file);
    try {
        return Read(json);
    } catch (const UsageError& error) {
        throw UsageError(file + ": " + error.what());
    }
}

void Silence(const std::vector<LintSilence>& silence, LintReport& report)
{
    report.silenced += std::erase_if(report.findings, [&](const LintFinding& finding) {
        return std::any_of(silence.begin(), silence.end(),
                           [&](const LintSilence& each) { return Covers(each, finding); });
    });
}

} // namespace kx
