#include "Tools/kx_gpsim/report_page_data.h"

#include "Tools/kx_gpsim/gpo_places.h"
#include "Tools/kx_gpsim/report_json.h"
#include "Tools/kx_gpsim/secret_paths.h"
#include "Tools/kx_gpsim/trace_steps.h"

#include <map>

namespace kx {

namespace {

using Json = nlohmann::ordered_json;

// A browser ends a script element at "</script", whatever it holds.
std::string ForScript(const Json& json)
{
    const std::string text = json.dump(-1, ' ', false, Json::error_handler_t::replace);
    std::string safe;
    safe.reserve(text.size());
    for (const char unit : text)
        if (unit == '<')
            safe += "\\u003c";
        else
            safe += unit;
    return safe;
}

// What the page shows of the report besides the policies.
Report WithoutPolicies(const Report& report)
{
    Report rest;
    rest.passes = report.passes;
    rest.gpos = report.gpos;
    rest.repeatedIds = report.repeatedIds;
    rest.settings = report.settings;
    rest.totals = report.totals;
    for (ReportPass& pass : rest.passes) {
        pass.document.clear();
        pass.timeline.clear();
    }
    return rest;
}

// ---- policies -----------------------------------------------------------------------------------------

template <class Member>
Json Column(const Report& report, const Member& member)
{
    Json column = Json::array();
    for (const ReportPolicy& policy : report.policies)
        column.push_back(member(policy));
    return column;
}

// Many policies have the same groups.
void AddGroups(const Report& report, Json& data)
{
    std::map<std::vector<std::string>, std::size_t> places;
    Json lists = Json::array();
    Json& column = data["policies"]["groups"] = Json::array();
    for (const ReportPolicy& policy : report.policies) {
        const auto [place, isNew] = places.try_emplace(policy.groups, places.size());
        if (isNew)
            lists.push_back(policy.groups);
        column.push_back(place->second);
    }
    data["groupLists"] = std::move(lists);
}

void AddPolicies(const Report& report, Json& data)
{
    data["policies"] = {
        {"pass", Column(report, [](const ReportPolicy& policy) { return policy.pass; })},
        {"gpo", Column(report, [](const ReportPolicy& policy) { return policy.gpo; })},
        {"name", Column(report, [](const ReportPolicy& policy) { return policy.name; })},
        {"id", Column(report, [](const ReportPolicy& policy) { return policy.id; })},
        {"action", Column(report, [](const ReportPolicy& policy) { return policy.action; })},
        {"order", Column(report, [](const ReportPolicy& policy) { return policy.order; })},
        {"recorded", Column(report, [](const ReportPolicy& policy) { return policy.recorded ? 1 : 0; })},
        {"standing",
         Column(report, [](const ReportPolicy& policy) { return static_cast<int>(policy.standing); })}};
    AddGroups(report, data);
}

// ---- timeline -----------------------------------------------------------------------------------------

const char* KindOf(const TraceStep& step)
{
    if (step.gpo)
        return "gpo";
    if (step.step == Step::Logged)
        return "configuration";
    return step.step == Step::Sending ? "sending" : "call";
}

class TimelineMaker {
  public:
    TimelineMaker(const PassResult& pass, std::vector<std::size_t> gpoPlaces, const SecretPaths& secrets)
        : _m_pass(pass), _m_gpoPlaces(std::move(gpoPlaces)), _m_secrets(secrets)
    {
    }

    Json Make()
    {
        std::optional<std::int64_t> last;
        for (const TraceStep& step : ReadSteps(_m_pass)) {
            _Add(step);
            last = step.at;
        }
        _End(last);
        return std::move(_m_entries);
    }

  private:
    void _Add(const TraceStep& step)
    {
        const Json gpo = step.gpo ? Json(_m_gpoPlaces[*step.gpo]) : Json();
        const char* const kind = KindOf(step);
        if (_m_entries.empty() || step.isHeading || _m_entries.back()["kind"] != kind ||
            _m_entries.back()["gpo"] != gpo) {
            _End(step.at);
            _m_entries.push_back({{"kind", kind},
                                  {"gpo", gpo},
                                  {"at", step.at ? Json(*step.at) : Json()},
                                  {"took", nullptr},
                                  {"logged", 0},
                                  {"lines", Json::array()}});
        }
        Json& entry = _m_entries.back();
        if (step.step == Step::Logged && step.severity.empty() && !step.subject.empty())
            entry["logged"] = entry["logged"].get<std::size_t>() + 1;
        else if (!step.isHeading)
            entry["lines"].push_back({{"step", StepText(step.step)},
                                      {"severity", step.severity},
                                      {"text", _m_secrets.MaskLine(_m_pass.trace[step.line])}});
    }

    // What an entry stands for goes on until the next one begins.
    void _End(std::optional<std::int64_t> at)
    {
        if (!_m_entries.empty() && at && !_m_entries.back()["at"].is_null())
            _m_entries.back()["took"] = *at - _m_entries.back()["at"].get<std::int64_t>();
    }

    const PassResult& _m_pass;
    std::vector<std::size_t> _m_gpoPlaces;
    const SecretPaths& _m_secrets;
    Json _m_entries = Json::array();
};

Json Timelines(const RunResult& run, const Report& report)
{
    const SecretPaths secrets(run);
    Json timelines = Json::array();
    for (std::size_t pass = 0; pass < run.passes.size(); ++pass)
        timelines.push_back(TimelineMaker(run.passes[pass], GpoPlaces(run, pass, report), secrets).Make());
    return timelines;
}

} // namespace

std::string PageData(const RunResult& run, const Report& report)
{
    Json data = ReportJson(WithoutPolicies(report));
    AddPolicies(report, data);
    data["timeline"] = Timelines(run, report);
    return ForScript(data);
}

std::string PagePolicyXml(const Report& report)
{
    std::string lines;
    for (const ReportPolicy& policy : report.policies)
        lines.append(ForScript(policy.xml)).append(1, '\n');
    return lines;
}

} // namespace kx
