// The report for programs, whose keys are a promise, and the page as text; how that behaves in a browser is
// tested in one.

#include "Tests/kx_gpsim/page_runs.h"
#include "Tools/kx_gpsim/report_html.h"
#include "Tools/kx_gpsim/report_json.h"
#include "Tools/kx_gpsim/report_page.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using namespace kx_test;
using Json = nlohmann::ordered_json;
using std::string;
using testing::HasSubstr;
using testing::Not;

// A difference as a patch, which names the place.
void ExpectSame(const Json& actual, const char* expected)
{
    EXPECT_EQ(Json::diff(Json::parse(expected), actual).dump(2), "[]");
}

Json SampleJson()
{
    return kx::ReportJson(kx::MakeReport(SampleRun()));
}

TEST(ReportJson, OfAGpo)
{
    ExpectSame(SampleJson()["gpos"][1], R"({
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
    const Json report = SampleJson();
    ExpectSame(report["policies"][2], R"({
        "pass": 0, "gpo": 1, "name": "Run the press faster", "id": "{a}", "action": "1", "order": 1000000007,
        "groups": ["Milkers"], "recorded": true, "standing": "later",
        "xml": "<Policy name=\"Run the press faster\"/>"})");
    ExpectSame(report["repeatedIds"], R"([{"id": "{A}", "tied": false, "first": 1, "later": [2, 4]}])");
}

TEST(ReportJson, OfPassesSettingsAndTotals)
{
    const Json report = SampleJson();
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

string PageOf(const kx::RunResult& run)
{
    return kx::FormatReportHtml(run, kx::MakeReport(run));
}

// What stands in the script element of that id.
string Block(const string& page, const string& id)
{
    const std::size_t start = page.find("id=\"" + id + "\">");
    const std::size_t begin = page.find('>', start) + 1;
    return start == string::npos ? string() : page.substr(begin, page.find("</script", begin) - begin);
}

Json DataOf(const kx::RunResult& run)
{
    return Json::parse(Block(PageOf(run), "data"));
}

std::size_t Count(const string& text, const string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(ReportPage, HoldsTheReport)
{
    const Json data = DataOf(SampleRun());
    ExpectSame(data["policies"], R"({
        "pass": [1, 1, 0, 0, 0, 0], "gpo": [3, 3, 1, 1, 0, 0],
        "name": ["Print labels", "Press for users", "Run the press faster", "Dairy settings", "Run the press", "Settings"],
        "id": ["{B}", "{A}", "{a}", "", "{A}", ""], "action": ["1", "1", "1", "10", "1", "10"],
        "order": [7, 9, 1000000007, 1000000009, 1000100007, 1000100009],
        "recorded": [0, 0, 1, 0, 0, 0], "standing": [0, 1, 2, 0, 2, 0], "groups": [0, 0, 1, 0, 0, 0]})");
    EXPECT_EQ(data["groupLists"], Json::parse(R"([[], ["Milkers"]])"));
    EXPECT_EQ(data["repeatedIds"][0]["first"], 1);
    EXPECT_EQ(data["settings"][0]["winner"]["value"], "green");
    EXPECT_EQ(data["gpos"][0]["excluded"][0]["reason"], "the user is in no such group");
    EXPECT_TRUE(data["passes"][0]["document"].is_null()) << "its policies stand beside it";
    const string xml = Block(PageOf(SampleRun()), "policy-xml");
    EXPECT_EQ(Count(xml, "\n"), 6U) << "a line for each policy";
    EXPECT_EQ(Json::parse(xml.substr(0, xml.find('\n'))), "<Policy name=\"Print labels\"/>");
}

TEST(ReportPage, CannotBeBrokenOutOf)
{
    const string page = PageOf(HostileRun());
    EXPECT_EQ(Count(page, "</script"), 3U) << "the ends of data, XML and the page's own script";
    EXPECT_EQ(Count(page, "<script"), 3U);
    EXPECT_EQ(Count(page, "<!--"), 0U);
    EXPECT_THAT(Block(page, "data") + Block(page, "policy-xml"), Not(HasSubstr("<")));
    EXPECT_EQ(DataOf(HostileRun())["policies"]["name"][4], kHostileName) << "and nothing of it is lost";
}

TEST(ReportPage, AsksNobodyForAnything)
{
    const string page = PageOf(SampleRun());
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    EXPECT_THAT(page, HasSubstr("script-src '" + string(kx::PageScriptHash()) + "'"));
    EXPECT_THAT(page, Not(HasSubstr("unsafe")));
    EXPECT_THAT(page, Not(HasSubstr("{{"))) << "every mark is filled in";
    for (const std::string_view part : {kx::PageSkeleton(), kx::PageStyle(), kx::PageScript()})
        for (const char* const way :
             {"http:", "https:", "//cdn", "@import", "url(", "fetch(", "XMLHttpRequest", "innerHTML",
              "insertAdjacentHTML", "document.write", "eval("})
            EXPECT_EQ(part.find(way), std::string_view::npos) << way;
}

TEST(ReportPage, IsReadableWhateverTheBytes)
{
    kx::RunResult run = SampleRun();
    run.passes[0].policies[0].name = "press \xC3( \x1b {{data}}";
    run.passes[0].policies[0].xml = "\xFF\n";
    const char* const readable = "press \xEF\xBF\xBD( \x1b {{data}}";
    EXPECT_EQ(DataOf(run)["policies"]["name"][4], readable);
    EXPECT_EQ(Json::parse(kx::FormatReportJson(kx::MakeReport(run)))["policies"][4]["name"], readable);
    EXPECT_EQ(Count(Block(PageOf(run), "policy-xml"), "\n"), 6U) << "a line end within is escaped";
    EXPECT_EQ(DataOf({})["policies"]["name"], Json::array());
}

TEST(ReportPage, TimelineFollowsTheTrace)
{
    const string name = string("     Unique Name : ") + kDairy;
    kx::RunResult run = SampleRun();
    run.passes[0].trace = {
        "23:59:59.900 1:.../kx_gpext/gp_xml.cpp(67): INFO: Flags = MACHINE",
        "23:59:59.950 1:.../kx_gpext/kx_gpo.cpp(100): INFO:    * Display Name: Dairy",
        "23:59:59.950 1:.../kx_gpext/kx_gpo.cpp(101): INFO: " + name,
        "23:59:59.990 1:.../kx_gpext/rsop_log.cpp(147): INFO: RSOP_KxTesmorPolicySetting created. "
        "Name=[Run the press faster], ID={a}",
        "00:00:00.100 1:Common_CPP/kxwbem/kxwbem_services.cpp(1): ERROR: of a layer below",
        "00:00:00.150 1:.../kx_gpext/gp_process.cpp(71): INFO: GP update sent to agent."};
    const Json timeline = DataOf(run)["timeline"];
    ExpectSame(timeline[0], R"([
        {"kind": "call", "gpo": null, "at": 0, "took": 50, "logged": 0, "lines": [{"step": "call", "severity": "",
          "text": "23:59:59.900 1:.../kx_gpext/gp_xml.cpp(67): INFO: Flags = MACHINE"}]},
        {"kind": "gpo", "gpo": 1, "at": 50, "took": 200, "logged": 1, "lines": []},
        {"kind": "sending", "gpo": null, "at": 250, "took": 0, "logged": 0, "lines": [{"step": "sending", "severity": "",
          "text": "00:00:00.150 1:.../kx_gpext/gp_process.cpp(71): INFO: GP update sent to agent."}]}])");
    EXPECT_EQ(timeline[1], Json::array());
}

} // namespace
