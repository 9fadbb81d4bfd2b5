// The report for programs: its keys are a promise.

#include "Tests/kx_gpsim/sample_run.h"
#include "Tools/kx_gpsim/report_json.h"

#include <gtest/gtest.h>

namespace {

using Json = nlohmann::ordered_json;

// A difference as a patch, which names the place.
void ExpectSame(const Json& actual, const char* expected)
{
    EXPECT_EQ(Json::diff(Json::parse(expected), actual).dump(2), "[]");
}

Json SampleReport()
{
    return kx::ReportJson(kx::MakeReport(kx_test::SampleRun()));
}

TEST(ReportJson, OfAGpo)
{
    ExpectSame(SampleReport()["gpos"][1], R"({
        "pass": 0, "name": "{22222222-0000-0000-0000-00000000ABCD}", "displayName": "Dairy", "folder": null,
        "link": "LDAP://OU=Dairy,DC=fernhill,DC=example", "linkKind": "ou", "order": 2, "forced": false,
        "deleted": false,
        "gpoId": "CN={22222222-0000-0000-0000-00000000abcd},CN=Policies,CN=System,DC=fernhill,DC=example",
        "somId": "OU=Dairy,DC=fernhill,DC=example", "written": "2026-01-31T10:15:00Z", "taken": 2,
        "migration": false, "excluded": [],
        "letThrough": [{"name": "Run the press", "reason": "the registry extension is not registered"}],
        "complaints": [
            {"severity": "error", "file": "GUI.xml", "line": 12, "column": 4,
             "reason": "A string literal was expected"},
            {"severity": "warning", "file": null, "line": null, "column": null, "reason": "no order"}]})");
}

TEST(ReportJson, OfPoliciesAndTheirIds)
{
    const Json report = SampleReport();
    ExpectSame(report["policies"][2], R"({
        "pass": 0, "gpo": 1, "name": "Run the press faster", "id": "{a}", "action": "1", "order": 1000000007,
        "groups": ["Milkers"], "recorded": true, "standing": "later",
        "xml": "<Policy name=\"Run the press faster\"/>"})");
    ExpectSame(report["repeatedIds"], R"([{"id": "{A}", "tied": false, "first": 1, "later": [2, 4]}])");
}

TEST(ReportJson, OfPassesSettingsAndTotals)
{
    const Json report = SampleReport();
    EXPECT_EQ(report["version"], 1);
    ExpectSame(report["passes"][1], R"({
        "scope": "user", "call": "apply", "code": 1252, "delivered": false,
        "meaning":
          "the agent was not reached or does not run; the engine calls again even if nothing changes",
        "documentRoot": null, "document": null, "recorded": 0, "complaints": [], "notes": [], "timeline": []})");
    ExpectSame(report["settings"], R"([{
        "pass": 0, "path": "/Configuration/Ui/Colour",
        "winner": {"value": "green", "precedence": 1000000009, "gpo": 1, "policy": 3},
        "losers": [{"value": "red", "precedence": 1000100009, "gpo": 0, "policy": 5}]}])");
    ExpectSame(report["totals"], R"({
        "gpos": 3, "deletedGpos": 1, "policies": 6, "excludedPolicies": 1, "excludedGpos": 0,
        "letThrough": 1, "errors": 1, "warnings": 1, "migrations": 0, "repeatedIds": 1, "settings": 1,
        "contestedSettings": 1, "failedCalls": 1})");
}

TEST(ReportJson, IsJsonWhateverTheBytes)
{
    kx::RunResult run = kx_test::SampleRun();
    run.passes[0].policies[0].name = "press \xC3( \x1b";
    const Json report = Json::parse(kx::FormatReportJson(kx::MakeReport(run)));
    EXPECT_EQ(report["policies"][4]["name"], "press \xEF\xBF\xBD( \x1b");
}

} // namespace
