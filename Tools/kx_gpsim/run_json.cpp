#include "Tools/kx_gpsim/run_json.h"

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/json_reader.h"

namespace kx {

using nlohmann::json;

namespace {

constexpr int kFormat = 1;

json Optional(const std::string& text, bool isNull)
{
    return isNull ? json() : json(text);
}

template <class Item, class Convert>
json List(const std::vector<Item>& items, const Convert& convert)
{
    json list = json::array();
    for (const Item& item : items)
        list.push_back(convert(item));
    return list;
}

// ---- to JSON ------------------------------------------------------------------------------------------

json GpoJson(const GpoInput& gpo)
{
    return {{"name", gpo.name},     {"displayName", gpo.displayName}, {"folder", gpo.folder},
            {"link", gpo.link},     {"linkKind", gpo.linkKind},       {"order", gpo.order},
            {"forced", gpo.forced}, {"deleted", gpo.deleted}};
}

json ComplaintJson(const Complaint& complaint)
{
    return {{"severity", complaint.severity},
            {"file", complaint.file},
            {"line", complaint.line},
            {"column", complaint.column},
            {"reason", complaint.reason}};
}

json TargetedJson(const TargetedPolicy& policy)
{
    return {{"name", policy.name}, {"reason", policy.reason}};
}

json OutcomeJson(const GpoOutcome& outcome)
{
    return {{"gpo", GpoJson(outcome.gpo)},
            {"taken", outcome.taken},
            {"excluded", List(outcome.excluded, TargetedJson)},
            {"letThrough", List(outcome.letThrough, TargetedJson)},
            {"complaints", List(outcome.complaints, ComplaintJson)},
            {"migration", outcome.migration}};
}

json RecordedJson(const RecordedInstance& instance)
{
    const auto property = [](const RecordedProperty& each) {
        return json{{"name", each.name}, {"value", Optional(each.value, each.isNull)}};
    };
    return {{"class", instance.className}, {"properties", List(instance.properties, property)}};
}

json PolicyJson(const SentPolicy& policy)
{
    const auto setting = [](const std::pair<std::string, std::string>& each) {
        return json{{"path", each.first}, {"value", each.second}};
    };
    return {{"gpo", policy.gpo},       {"name", policy.name},
            {"id", policy.id},         {"action", policy.action},
            {"order", policy.order},   {"xml", policy.xml},
            {"groups", policy.groups}, {"configuration", List(policy.configuration, setting)}};
}

json PassJson(const PassResult& pass)
{
    return {{"scope", pass.scope == Scope::Machine ? "machine" : "user"},
            {"call", pass.call},
            {"called", pass.called},
            {"code", pass.code},
            {"delivered", pass.delivered},
            {"document", pass.document},
            {"documentRoot", pass.documentRoot},
            {"gpos", List(pass.gpos, OutcomeJson)},
            {"policies", List(pass.policies, PolicyJson)},
            {"recorded", List(pass.recorded, RecordedJson)},
            {"complaints", List(pass.complaints, ComplaintJson)},
            {"notes", pass.notes},
            {"trace", pass.trace}};
}

// ---- and back -----------------------------------------------------------------------------------------

GpoInput ReadGpo(const JsonReader& from)
{
    return {from.Text("name"),     from.Text("displayName"), from.Text("folder"), from.Text("link"),
            from.Text("linkKind"), from.Int("order"),        from.Flag("forced"), from.Flag("deleted")};
}

Complaint ReadComplaint(const JsonReader& from)
{
    return {from.Text("severity"), from.Text("file"), from.Int("line"), from.Int("column"),
            from.Text("reason")};
}

TargetedPolicy ReadTargeted(const JsonReader& from)
{
    return {from.Text("name"), from.Text("reason")};
}

GpoOutcome ReadOutcome(const JsonReader& from)
{
    GpoOutcome outcome;
    outcome.gpo = ReadGpo(from.Object("gpo"));
    outcome.taken = from.Number<std::size_t>("taken");
    outcome.excluded = from.List("excluded", ReadTargeted);
    outcome.letThrough = from.List("letThrough", ReadTargeted);
    outcome.complaints = from.List("complaints", ReadComplaint);
    outcome.migration = from.Flag("migration");
    return outcome;
}

RecordedInstance ReadRecorded(const JsonReader& from)
{
    const auto property = [](const JsonReader& each) {
        const bool isNull = each.IsNull("value");
        return RecordedProperty{each.Text("name"), isNull ? std::string() : each.Text("value"), isNull};
    };
    return {from.Text("class"), from.List("properties", property)};
}

SentPolicy ReadPolicy(const JsonReader& from)
{
    const auto setting = [](const JsonReader& each) {
        return std::pair{each.Text("path"), each.Text("value")};
    };
    return {from.Text("gpo"),  from.Text("name"), from.Text("id"),      from.Text("action"),
            from.Int("order"), from.Text("xml"),  from.Texts("groups"), from.List("configuration", setting)};
}

PassResult ReadPass(const JsonReader& from)
{
    PassResult pass;
    pass.scope = from.Choice("scope", {"machine", "user"}) == 0 ? Scope::Machine : Scope::User;
    pass.call = from.Text("call");
    pass.called = from.FlagOr("called", true);
    pass.code = from.Number<std::uint32_t>("code");
    pass.delivered = from.Flag("delivered");
    pass.document = from.Text("document");
    pass.documentRoot = from.Text("documentRoot");
    pass.gpos = from.List("gpos", ReadOutcome);
    pass.policies = from.List("policies", ReadPolicy);
    pass.recorded = from.List("recorded", ReadRecorded);
    pass.complaints = from.List("complaints", ReadComplaint);
    pass.notes = from.Texts("notes");
    pass.trace = from.Texts("trace");
    return pass;
}

} // namespace

json ToJson(const RunResult& run)
{
    return {{"format", kFormat}, {"workFolder", run.workFolder}, {"passes", List(run.passes, PassJson)}};
}

RunResult FromJson(const json& value)
{
    const JsonReader from("the run", value);
    if (from.Int("format") != kFormat)
        from.Fail("format", "was written by another version of this program");
    return {from.List("passes", ReadPass), from.Text("workFolder")};
}

RunResult ParseRun(std::string_view text, const std::string& file)
{
    try {
        return FromJson(ParseJson(text, file));
    } catch (const UsageError& error) {
        throw UsageError(file + ": " + error.what());
    }
}

std::string RunText(const RunResult& run)
{
    return ToJson(run).dump(2, ' ', false, json::error_handler_t::replace) + '\n';
}

} // namespace kx
