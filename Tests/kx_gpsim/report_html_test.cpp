// The page as text; how it behaves in a browser is tested in one.

#include "Tests/kx_gpsim/page_runs.h"
#include "Tools/kx_gpsim/report_html.h"
#include "Tools/kx_gpsim/report_page.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using namespace kx_test;
using Json = nlohmann::ordered_json;
using std::string;
using testing::HasSubstr;
using testing::Not;

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
    EXPECT_EQ(Json::diff(Json::parse(R"({
        "pass": [1, 1, 0, 0, 0, 0], "gpo": [3, 3, 1, 1, 0, 0],
        "name": ["Print labels", "Press for users", "Run the press faster", "Dairy settings", "Run the press", "Settings"],
        "id": ["{B}", "{A}", "{a}", "", "{A}", ""], "action": ["1", "1", "1", "10", "1", "10"],
        "order": [7, 9, 1000000007, 1000000009, 1000100007, 1000100009],
        "recorded": [0, 0, 1, 0, 0, 0], "standing": [0, 1, 2, 0, 2, 0], "groups": [0, 0, 1, 0, 0, 0]})"),
                         data["policies"])
                  .dump(2),
              "[]");
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
    run.passes[0].policies[0].name = "press \xC3( {{data}}";
    run.passes[0].policies[0].xml = "\xFF\n";
    EXPECT_EQ(DataOf(run)["policies"]["name"][4], "press \xEF\xBF\xBD( {{data}}");
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
    EXPECT_EQ(Json::diff(Json::parse(R"([
        {"kind": "call", "gpo": null, "at": 0, "took": 50, "logged": 0, "lines": [{"step": "call", "severity": "",
          "text": "23:59:59.900 1:.../kx_gpext/gp_xml.cpp(67): INFO: Flags = MACHINE"}]},
        {"kind": "gpo", "gpo": 1, "at": 50, "took": 200, "logged": 1, "lines": []},
        {"kind": "sending", "gpo": null, "at": 250, "took": 0, "logged": 0, "lines": [{"step": "sending", "severity": "",
          "text": "00:00:00.150 1:.../kx_gpext/gp_process.cpp(71): INFO: GP update sent to agent."}]}])"),
                         timeline[0])
                  .dump(2),
              "[]");
    EXPECT_EQ(timeline[1], Json::array());
}

} // namespace
