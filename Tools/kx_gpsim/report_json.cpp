#include "Tools/kx_gpsim/report_json.h"

#include "Tools/kx_gpsim/return_code_text.h"

namespace kx {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kVersion = 1;

template <class Item, class Function>
Json ListOf(const std::vector<Item>& items, const Function& convert)
{
    Json list = Json::array();
    for (const Item& item : items)
        list.push_back(convert(item));
    return list;
}

Json TextOrNull(const std::string& text)
{
    return text.empty() ? Json() : Json(text);
}

Json NumberOrNull(int number)
{
    return number > 0 ? Json(number) : Json();
}

Json PlaceOrNull(std::size_t place)
{
    return place == kNoIndex ? Json() : Json(place);
}

Json ComplaintJson(const Complaint& complaint)
{
    return {{"severity", complaint.severity},
            {"file", TextOrNull(complaint.file)},
            {"line", NumberOrNull(complaint.line)},
            {"column", NumberOrNull(complaint.column)},
            {"reason", complaint.reason}};
}

Json TargetedJson(const TargetedPolicy& policy)
{
    return {{"name", TextOrNull(policy.name)}, {"reason", policy.reason}};
}

Json TimelineJson(const TimelineEntry& entry)
{
    return {{"milliseconds", entry.milliseconds}, {"text", entry.text}};
}

Json PassJson(const ReportPass& pass)
{
    return {{"scope", ScopeText(pass.scope)},
            {"call", pass.call},
            {"code", pass.code},
            {"meaning", pass.meaning},
            {"delivered", pass.delivered},
            {"documentRoot", TextOrNull(pass.documentRoot)},
            {"document", TextOrNull(pass.document)},
            {"recorded", pass.recorded},
            {"complaints", ListOf(pass.complaints, ComplaintJson)},
            {"notes", pass.notes},
            {"timeline", ListOf(pass.timeline, TimelineJson)}};
}

Json GpoJson(const ReportGpo& gpo)
{
    return {{"pass", gpo.pass},
            {"name", gpo.gpo.name},
            {"displayName", TextOrNull(gpo.gpo.displayName)},
            {"folder", TextOrNull(gpo.gpo.folder)},
            {"link", TextOrNull(gpo.gpo.link)},
            {"linkKind", TextOrNull(gpo.gpo.linkKind)},
            {"order", NumberOrNull(gpo.gpo.order)},
            {"forced", gpo.gpo.forced},
            {"deleted", gpo.gpo.deleted},
            {"gpoId", TextOrNull(gpo.gpoId)},
            {"somId", TextOrNull(gpo.somId)},
            {"written", TextOrNull(gpo.written)},
            {"taken", gpo.taken},
            {"migration", gpo.migration},
            {"excluded", ListOf(gpo.excluded, TargetedJson)},
            {"letThrough", ListOf(gpo.letThrough, TargetedJson)},
            {"complaints", ListOf(gpo.complaints, ComplaintJson)}};
}

Json PolicyJson(const ReportPolicy& policy)
{
    return {{"pass", policy.pass},
            {"gpo", policy.gpo},
            {"name", policy.name},
            {"id", TextOrNull(policy.id)},
            {"action", TextOrNull(policy.action)},
            {"order", policy.order},
            {"groups", policy.groups},
            {"recorded", policy.recorded},
            {"standing", StandingName(policy.standing)},
            {"xml", TextOrNull(policy.xml)}};
}

Json RepeatedIdJson(const RepeatedId& group)
{
    Json later = Json::array();
    for (std::size_t at = 1; at < group.policies.size(); ++at)
        later.push_back(group.policies[at]);
    return {{"id", group.id}, {"tied", group.isTied}, {"first", group.policies.front()}, {"later", later}};
}

Json SourceJson(const SettingSource& source)
{
    return {{"value", source.value},
            {"precedence", source.precedence},
            {"gpo", PlaceOrNull(source.gpo)},
            {"policy", PlaceOrNull(source.policy)}};
}

Json SettingJson(const ReportSetting& setting)
{
    return {{"pass", setting.pass},
            {"path", setting.path},
            {"winner", setting.winner ? SourceJson(*setting.winner) : Json()},
            {"losers", ListOf(setting.others, SourceJson)}};
}

Json TotalsJson(const ReportTotals& totals)
{
    return {{"gpos", totals.gpos},
            {"deletedGpos", totals.deletedGpos},
            {"policies", totals.policies},
            {"excludedPolicies", totals.excludedPolicies},
            {"excludedGpos", totals.excludedGpos},
            {"letThrough", totals.letThrough},
            {"errors", totals.errors},
            {"warnings", totals.warnings},
            {"migrations", totals.migrations},
            {"repeatedIds", totals.repeatedIds},
            {"settings", totals.settings},
            {"contestedSettings", totals.contestedSettings},
            {"failedCalls", totals.failedCalls}};
}

} // namespace

nlohmann::ordered_json ReportJson(const Report& report)
{
    return {{"version", kVersion},
            {"totals", TotalsJson(report.totals)},
            {"passes", ListOf(report.passes, PassJson)},
            {"gpos", ListOf(report.gpos, GpoJson)},
            {"policies", ListOf(report.policies, PolicyJson)},
            {"repeatedIds", ListOf(report.repeatedIds, RepeatedIdJson)},
            {"settings", ListOf(report.settings, SettingJson)}};
}

std::string FormatReportJson(const Report& report)
{
    constexpr int indent = 2;
    return ReportJson(report).dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace kx
