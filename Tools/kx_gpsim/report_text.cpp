#include "Tools/kx_gpsim/report_text.h"

#include "Tools/kx_gpsim/pass_text.h"
#include "Tools/kx_gpsim/return_code_text.h"
#include "Tools/kx_gpsim/text_table.h"
#include "Tools/kx_gpsim/text_width.h"

#include <utility>
#include <vector>

namespace kx {

namespace {

using Rows = std::vector<std::vector<std::string>>;

std::string Counted(std::size_t count, std::string_view one, std::string_view many)
{
    return std::to_string(count).append(" ").append(count == 1 ? one : many);
}

std::string Overview(const Report& report)
{
    const ReportTotals& totals = report.totals;
    const std::pair<std::size_t, std::string> parts[] = {
        {1, Counted(totals.gpos, "GPO", "GPOs")},
        {totals.deletedGpos, std::to_string(totals.deletedGpos) + " deleted"},
        {1, Counted(totals.policies, "policy", "policies")},
        {totals.excludedGpos, Counted(totals.excludedGpos, "GPO excluded", "GPOs excluded")},
        {totals.excludedPolicies, Counted(totals.excludedPolicies, "policy excluded", "policies excluded")},
        {totals.letThrough, std::to_string(totals.letThrough) + " let through"},
        {totals.migrations, Counted(totals.migrations, "migration command", "migration commands")},
        {totals.repeatedIds, Counted(totals.repeatedIds, "repeated id", "repeated ids")},
        {totals.settings, Counted(totals.settings, "configuration value", "configuration values")},
        {totals.errors, Counted(totals.errors, "error", "errors")},
        {totals.warnings, Counted(totals.warnings, "warning", "warnings")}};
    std::string line = Counted(report.passes.size(), "pass", "passes") + ": ";
    bool isFirst = true;
    for (const auto& [count, text] : parts)
        if (count != 0) {
            line.append(isFirst ? "" : ", ").append(text);
            isFirst = false;
        }
    return line + "\n";
}

std::string PassScope(const Report& report, std::size_t pass)
{
    return ScopeText(report.passes[pass].scope);
}

// With a blank between day and time, where a narrow column can be broken.
std::string TimeText(std::string time)
{
    if (const std::size_t at = time.find('T'); at != std::string::npos)
        time[at] = ' ';
    return time;
}

std::string GposSection(const Report& report, const TextStyle& style)
{
    Rows rows;
    for (const ReportGpo& gpo : report.gpos)
        rows.push_back({PassScope(report, gpo.pass), gpo.gpo.displayName, gpo.gpo.name, gpo.somId,
                        gpo.gpo.linkKind, TimeText(gpo.written)});
    const std::vector<TableColumn> columns = {{"For"},  {"Display name"}, {"Name"},
                                              {"Link"}, {"Kind"},         {"Written"}};
    return FormatSection("GPOs", columns, rows, style);
}

std::string StandingText(Standing standing)
{
    return standing == Standing::Only ? std::string() : StandingName(standing);
}

std::string Joined(const std::vector<std::string>& texts)
{
    std::string joined;
    for (const std::string& text : texts)
        joined.append(joined.empty() ? "" : ", ").append(text);
    return joined;
}

std::string PoliciesSection(const Report& report, const TextStyle& style)
{
    const std::vector<TableColumn> columns = {{"Order", true}, {"For"},  {"Policy"}, {"Action", true},
                                              {"GPO"},         {"Link"}, {"Groups"}, {"Written"},
                                              {"RSoP"},        {"By id"}};
    Rows rows;
    for (const ReportPolicy& policy : report.policies) {
        const ReportGpo& gpo = report.gpos[policy.gpo];
        rows.push_back({std::to_string(policy.order), PassScope(report, policy.pass), policy.name,
                        policy.action, GpoLabel(report, policy.gpo), gpo.somId, Joined(policy.groups),
                        TimeText(gpo.written), policy.recorded ? "yes" : "no",
                        StandingText(policy.standing)});
    }
    return FormatSection("Policies in the agent's order", columns, rows, style);
}

std::string RepeatedStanding(const RepeatedId& group, std::size_t at)
{
    if (at > 1 || !group.isTied)
        return at == 0 ? "first" : "later";
    return at == 0 ? "first, with the same order as the next" : "same order as the first";
}

std::string RepeatedIdsSection(const Report& report, const TextStyle& style)
{
    const std::vector<TableColumn> columns = {{"Id"},  {"Standing"}, {"Policy"}, {"Order", true},
                                              {"For"}, {"GPO"},      {"Link"}};
    Rows rows;
    for (const RepeatedId& group : report.repeatedIds)
        for (std::size_t at = 0; at < group.policies.size(); ++at) {
            const ReportPolicy& policy = report.policies[group.policies[at]];
            rows.push_back({at == 0 ? group.id : std::string(), RepeatedStanding(group, at), policy.name,
                            std::to_string(policy.order), PassScope(report, policy.pass),
                            GpoLabel(report, policy.gpo), report.gpos[policy.gpo].somId});
        }
    return FormatSection("Ids that several policies have", columns, rows, style);
}

void AddSource(Rows& rows, const Report& report, const SettingSource& source, std::string path,
               std::string_view standing)
{
    const bool isInDocument = source.policy != kNoIndex;
    rows.push_back({std::move(path), std::string(standing), source.value, std::to_string(source.precedence),
                    GpoLabel(report, source.gpo), report.gpos[source.gpo].somId,
                    isInDocument ? report.policies[source.policy].name : std::string()});
}

std::string SettingsSection(const Report& report, const TextStyle& style)
{
    const std::vector<TableColumn> columns = {{"Path"}, {"Standing"}, {"Value"}, {"Precedence", true},
                                              {"GPO"},  {"Link"},     {"Policy"}};
    Rows rows;
    for (const ReportSetting& setting : report.settings) {
        if (setting.winner)
            AddSource(rows, report, *setting.winner, setting.path, "wins");
        bool isFirst = !setting.winner;
        for (const SettingSource& other : setting.others) {
            AddSource(rows, report, other, isFirst ? setting.path : std::string(),
                      setting.winner ? "loses" : "not recorded");
            isFirst = false;
        }
    }
    return FormatSection("Configuration", columns, rows, style);
}

std::string TimelineSection(const Report& report, const TextStyle& style)
{
    std::string lines;
    for (std::size_t pass = 0; pass < report.passes.size(); ++pass) {
        const std::vector<TimelineEntry>& timeline = report.passes[pass].timeline;
        if (!timeline.empty())
            lines += "The trace of the " + PassScope(report, pass) +
                     " pass: " + Counted(timeline.size(), "line", "lines") + " in " +
                     std::to_string(timeline.back().milliseconds) + " ms.\n";
    }
    return lines.empty() ? std::string() : HeadingLine("Time", style) + lines;
}

std::string Legend(const TextStyle& style)
{
    constexpr std::string_view text =
        "Order: the place in the one sequence of all GPOs and both scopes; lower numbers come first.\n"
        "First, later: of several policies with one id, the one with the lowest order is named first: it "
        "wins\n"
        "by order. The document does not say what the agent does with the later ones.\n"
        "Wins: the value that was recorded in RSoP for the path. Loses: what the document holds besides.\n"
        "Not recorded: no value was recorded for the path, as for users or where there was no RSoP data.\n"
        "RSoP: whether the policy has an instance of its own; policies with action 10 are recorded by path.\n"
        "Written: when the GPO's Policies.xml was last written, in UTC.\n";
    std::string legend = HeadingLine("What the words mean", style);
    return legend.append(text);
}

} // namespace

std::string FormatReportText(const Report& report, const TextStyle& style)
{
    std::string text = style.paint(Ink::Heading, "Resultant set of policy") + "\n" + Overview(report);
    for (std::size_t pass = 0; pass < report.passes.size(); ++pass)
        text += FormatPass(report, pass, style);
    text += GposSection(report, style);
    text += PoliciesSection(report, style);
    text += RepeatedIdsSection(report, style);
    text += SettingsSection(report, style);
    text += TimelineSection(report, style);
    return text + Legend(style);
}

} // namespace kx
