#include "Tools/kx_gpsim/pass_text.h"

#include "Tools/kx_gpsim/return_code_text.h"
#include "Tools/kx_gpsim/text_table.h"
#include "Tools/kx_gpsim/text_width.h"

#include <algorithm>
#include <vector>

namespace kx {

namespace {

using Row = std::vector<std::string>;
using Rows = std::vector<Row>;
using Gpos = std::vector<const ReportGpo*>;

Gpos GposOf(const Report& report, std::size_t pass)
{
    Gpos gpos;
    for (const ReportGpo& gpo : report.gpos)
        if (gpo.pass == pass)
            gpos.push_back(&gpo);
    return gpos;
}

std::string LabelOf(const ReportGpo& gpo)
{
    return gpo.gpo.displayName.empty() ? gpo.gpo.name : gpo.gpo.displayName;
}

bool IsExcludedWhole(const ReportGpo& gpo)
{
    return std::any_of(gpo.excluded.begin(), gpo.excluded.end(),
                       [](const TargetedPolicy& policy) { return policy.name.empty(); });
}

std::string NoteOf(const ReportGpo& gpo)
{
    if (gpo.gpo.deleted)
        return "deleted";
    if (gpo.migration)
        return "migration command taken";
    if (IsExcludedWhole(gpo))
        return "excluded whole";
    return gpo.gpo.forced ? "forced" : "";
}

std::size_t CountOf(const ReportGpo& gpo, std::string_view severity)
{
    return static_cast<std::size_t>(
        std::count_if(gpo.complaints.begin(), gpo.complaints.end(),
                      [&](const Complaint& complaint) { return complaint.severity == severity; }));
}

// Nothing for 0, so that what happened stands out.
std::string Count(std::size_t count)
{
    return count == 0 ? std::string() : std::to_string(count);
}

std::string GpoTable(const Gpos& gpos, const TextStyle& style)
{
    const std::vector<TableColumn> columns = {{"#", true},
                                              {"GPO"},
                                              {"Link"},
                                              {"Policies", true},
                                              {"Excluded", true},
                                              {"Let through", true},
                                              {"Errors", true},
                                              {"Warnings", true},
                                              {"Note"}};
    Rows rows;
    for (const ReportGpo* const gpo : gpos)
        rows.push_back({gpo->gpo.order > 0 ? std::to_string(gpo->gpo.order) : std::string(), LabelOf(*gpo),
                        gpo->somId, gpo->gpo.deleted ? std::string() : std::to_string(gpo->taken),
                        Count(gpo->excluded.size()), Count(gpo->letThrough.size()),
                        Count(CountOf(*gpo, "error")), Count(CountOf(*gpo, "warning")), NoteOf(*gpo)});
    return FormatTable(columns, rows, style.width);
}

std::string TargetingSection(std::string_view heading, const Gpos& gpos,
                             std::vector<TargetedPolicy> ReportGpo::*policies, const TextStyle& style)
{
    Rows rows;
    for (const ReportGpo* const gpo : gpos)
        for (const TargetedPolicy& policy : gpo->*policies)
            rows.push_back(
                {LabelOf(*gpo), policy.name.empty() ? "(the whole GPO)" : policy.name, policy.reason});
    const std::vector<TableColumn> columns = {{"GPO"}, {"Policy"}, {"Why"}};
    return FormatSection(heading, columns, rows, style);
}

std::string PlaceText(const Complaint& complaint)
{
    if (complaint.line <= 0)
        return {};
    const std::string line = std::to_string(complaint.line);
    return complaint.column > 0 ? line + ":" + std::to_string(complaint.column) : line;
}

void AddComplaints(Rows& rows, const std::string& label, const std::vector<Complaint>& complaints)
{
    for (const Complaint& complaint : complaints)
        rows.push_back({complaint.severity, label, complaint.file, PlaceText(complaint), complaint.reason});
}

std::string ComplaintSection(const ReportPass& pass, const Gpos& gpos, const TextStyle& style)
{
    Rows rows;
    AddComplaints(rows, "", pass.complaints);
    for (const ReportGpo* const gpo : gpos)
        AddComplaints(rows, LabelOf(*gpo), gpo->complaints);
    const std::vector<TableColumn> columns = {{"Kind"}, {"GPO"}, {"File"}, {"Line", true}, {"Reason"}};
    return FormatSection("Errors and warnings", columns, rows, style);
}

std::string NoteLines(const ReportPass& pass, const TextStyle& style)
{
    std::string lines;
    for (const std::string& note : pass.notes)
        lines += "\n" + style.paint(Ink::Warning, "Note: " + VisibleText(note)) + "\n";
    return lines;
}

std::string ReturnLine(const ReportPass& pass, const TextStyle& style)
{
    const Ink ink = pass.code != 0                          ? Ink::Bad
                    : pass.delivered || pass.call == "plan" ? Ink::Good
                                                            : Ink::Warning;
    return "\n" + style.paint(ink, "Returned " + std::to_string(pass.code) + ": " + pass.meaning) + "\n";
}

} // namespace

std::string HeadingLine(std::string_view text, const TextStyle& style)
{
    return "\n" + style.paint(Ink::Heading, text) + "\n";
}

std::string FormatSection(std::string_view heading, std::span<const TableColumn> columns,
                          const std::vector<std::vector<std::string>>& rows, const TextStyle& style)
{
    return rows.empty() ? std::string()
                        : HeadingLine(heading, style) + FormatTable(columns, rows, style.width);
}

std::string GpoLabel(const Report& report, std::size_t gpo)
{
    return gpo < report.gpos.size() ? LabelOf(report.gpos[gpo]) : std::string();
}

std::string FormatPass(const Report& report, std::size_t pass, const TextStyle& style)
{
    const ReportPass& facts = report.passes[pass];
    const Gpos gpos = GposOf(report, pass);
    return HeadingLine(VisibleText("For the " + ScopeText(facts.scope) + ": " + facts.call), style) +
           GpoTable(gpos, style) +
           TargetingSection("Excluded by targeting", gpos, &ReportGpo::excluded, style) +
           TargetingSection("Let through, since targeting could not be evaluated", gpos,
                            &ReportGpo::letThrough, style) +
           ComplaintSection(facts, gpos, style) + NoteLines(facts, style) + ReturnLine(facts, style);
}

} // namespace kx
