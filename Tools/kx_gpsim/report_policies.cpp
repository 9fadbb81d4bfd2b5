#include "Tools/kx_gpsim/report_policies.h"

#include "Tools/kx_gpsim/recorded_values.h"
#include "Tools/kx_gpsim/secrets.h"
#include "Tools/kx_gpsim/text_case.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>
#include <unordered_set>

namespace kx {

namespace {

// Id and precedence are the key of an instance; WMI compares it without regard to case.
std::string RecordKey(std::string_view id, std::uint32_t precedence)
{
    return std::to_string(precedence) + '/' + LowerAscii(id);
}

std::unordered_set<std::string> RecordedKeys(const PassResult& pass)
{
    std::unordered_set<std::string> keys;
    for (const RecordedInstance& instance : pass.recorded)
        if (IsPolicySetting(instance))
            keys.insert(RecordKey(TextOf(instance, "id"), PrecedenceOf(instance)));
    return keys;
}

ReportPolicy FromDocument(const SentPolicy& sent)
{
    ReportPolicy policy;
    policy.name = sent.name;
    policy.id = sent.id;
    policy.action = sent.action;
    policy.order = sent.order;
    policy.groups = sent.groups;
    policy.xml = MaskXml(sent.xml);
    return policy;
}

ReportPolicy FromRecord(const RecordedInstance& instance)
{
    ReportPolicy policy;
    policy.name = TextOf(instance, "name");
    policy.id = TextOf(instance, "id");
    policy.order = static_cast<std::int32_t>(PrecedenceOf(instance));
    policy.xml = MaskXml(TextOf(instance, "policyXml"));
    policy.recorded = true;
    return policy;
}

void AddSent(std::size_t pass, const PassResult& result, ReportGpos& gpos, Report& report)
{
    const std::unordered_set<std::string> recorded = RecordedKeys(result);
    for (const SentPolicy& sent : result.policies) {
        ReportPolicy policy = FromDocument(sent);
        policy.pass = pass;
        policy.gpo = gpos.Find(pass, sent.gpo);
        policy.recorded = recorded.contains(RecordKey(sent.id, static_cast<std::uint32_t>(sent.order)));
        report.policies.push_back(std::move(policy));
    }
}

void AddRecorded(std::size_t pass, const PassResult& result, ReportGpos& gpos, Report& report)
{
    for (const RecordedInstance& instance : result.recorded)
        if (IsPolicySetting(instance)) {
            ReportPolicy policy = FromRecord(instance);
            policy.pass = pass;
            policy.gpo = gpos.FindRecorded(pass, TextOf(instance, "GPOID"));
            report.policies.push_back(std::move(policy));
        }
}

// Sorts the policies; returns for each place before that the one after it.
std::vector<std::size_t> SortByOrder(std::vector<ReportPolicy>& policies)
{
    std::vector<std::size_t> former(policies.size());
    std::iota(former.begin(), former.end(), std::size_t{0});
    std::stable_sort(former.begin(), former.end(), [&](std::size_t left, std::size_t right) {
        return policies[left].order < policies[right].order;
    });
    std::vector<ReportPolicy> sorted;
    sorted.reserve(policies.size());
    std::vector<std::size_t> places(policies.size());
    for (const std::size_t place : former) {
        places[place] = sorted.size();
        sorted.push_back(std::move(policies[place]));
    }
    policies = std::move(sorted);
    return places;
}

// Expects the policies in ascending order, and so gets those of an id in it.
void FindRepeatedIds(Report& report)
{
    std::unordered_map<std::string, std::size_t> groups; // folded id to place in `all`
    std::vector<RepeatedId> all;
    for (std::size_t place = 0; place < report.policies.size(); ++place) {
        const std::string& id = report.policies[place].id;
        if (id.empty())
            continue;
        const auto [group, isNew] = groups.try_emplace(LowerAscii(id), all.size());
        if (isNew)
            all.push_back({id, {}, false});
        all[group->second].policies.push_back(place);
    }
    for (RepeatedId& group : all)
        if (group.policies.size() > 1)
            report.repeatedIds.push_back(std::move(group));
}

void MarkStandings(Report& report)
{
    for (RepeatedId& group : report.repeatedIds) {
        for (const std::size_t place : group.policies)
            report.policies[place].standing = Standing::Later;
        ReportPolicy& first = report.policies[group.policies[0]];
        first.standing = Standing::First;
        group.isTied = first.order == report.policies[group.policies[1]].order;
    }
}

} // namespace

PolicyPlaces AddPolicies(const RunResult& run, ReportGpos& gpos, Report& report)
{
    PolicyPlaces places(run.passes.size());
    for (std::size_t pass = 0; pass < run.passes.size(); ++pass) {
        const PassResult& result = run.passes[pass];
        const std::size_t begin = report.policies.size();
        if (result.policies.empty() && !result.delivered) {
            AddRecorded(pass, result, gpos, report);
            continue;
        }
        AddSent(pass, result, gpos, report);
        places[pass].resize(result.policies.size());
        std::iota(places[pass].begin(), places[pass].end(), begin);
    }
    const std::vector<std::size_t> sorted = SortByOrder(report.policies);
    for (std::vector<std::size_t>& ofPass : places)
        for (std::size_t& place : ofPass)
            place = sorted[place];
    FindRepeatedIds(report);
    MarkStandings(report);
    return places;
}

} // namespace kx
