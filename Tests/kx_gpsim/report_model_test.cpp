// What the report makes of a run, and what it never gives away.

#include "Tests/kx_gpsim/sample_run.h"
#include "Tools/kx_gpsim/report_html.h"
#include "Tools/kx_gpsim/report_json.h"
#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/report_text.h"
#include "Tools/kx_gpsim/run_table.h"

#include <gmock/gmock.h>

#include <sstream>

namespace {

using namespace kx_test;
using std::string;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

kx::Report ReportOf(const kx::PassResult& pass)
{
    return kx::MakeReport({{pass}, ""});
}

std::vector<string> NamesOf(const kx::Report& report)
{
    std::vector<string> names;
    for (const kx::ReportPolicy& policy : report.policies)
        names.push_back(policy.name);
    return names;
}

TEST(ReportPolicies, OrderIsSignedAsInTheDocument)
{
    kx::PassResult pass;
    pass.delivered = true;
    pass.policies = {Policy(kDairy, "low", "1", 0), Policy(kDairy, "wrapped around", "2", -2147483648),
                     Policy(kDairy, "equal, later", "3", 0)};
    EXPECT_THAT(NamesOf(ReportOf(pass)), ElementsAre("wrapped around", "low", "equal, later"));
}

TEST(ReportPolicies, RepeatedIdsMayBeTied)
{
    kx::RunResult run = SampleRun();
    EXPECT_FALSE(kx::MakeReport(run).repeatedIds.at(0).isTied);
    run.passes[1].policies[1].order = 1000000007;
    EXPECT_TRUE(kx::MakeReport(run).repeatedIds.at(0).isTied);
}

TEST(ReportPolicies, ComeFromTheRecordsWhereThereIsNoDocument)
{
    kx::PassResult pass;
    pass.call = "plan";
    pass.gpos = {Gpo(kDairy, "Dairy", "", 1)};
    pass.recorded = {Recorded(true, "{A}", 4294967295U, kDairy, "<Policy/>")};
    const kx::Report report = ReportOf(pass);
    EXPECT_THAT(NamesOf(report), ElementsAre("name of {A}"));
    EXPECT_EQ(report.policies[0].order, -1);
    EXPECT_EQ(report.policies[0].xml, "<Policy/>");

    pass.delivered = true;
    EXPECT_THAT(ReportOf(pass).policies, IsEmpty()) << "a document without policies has none";
}

// Policies and records of one setting, each "GPO name order value" or "GPO order value".
kx::PassResult SettingPass(const string& policies, const string& records, const string& path)
{
    kx::PassResult pass;
    pass.delivered = true;
    string gpo;
    string name;
    string value;
    std::int64_t order = 0;
    for (std::istringstream text(policies); text >> gpo >> name >> order >> value;)
        pass.policies.push_back(Configuration(gpo, name, static_cast<std::int32_t>(order), path, value));
    for (std::istringstream text(records); text >> gpo >> order >> value;)
        pass.recorded.push_back(Recorded(false, "/P", static_cast<std::uint32_t>(order), gpo, value));
    return pass;
}

TEST(ReportSettings, TakeTheWinnerFromTheRecords)
{
    const struct {
        const char* why;
        const char* policies;
        const char* records;
        string winner; ///< name of the policy, "?" where none is known, "" without a winner
        string others;
        const char* path = "/P";
    } rows[] = {
        {"by precedence: the records decide, not the tool", "G low 1 x G high 9 y", "G 9 y", "high", "low "},
        {"of two with one precedence the one of the recorded GPO", "G g 5 x H h 5 x", "G 5 x", "g", "h "},
        {"of two of one GPO the one with the recorded value", "G a 5 x G b 5 y", "G 5 x", "a", "b "},
        {"of two alike the later", "G a 5 x G b 5 x", "G 5 x", "b", "a "},
        {"precedence is unsigned: the wrapped one comes last", "G a -5 x G b 7 y G c 3 z", "G 3 z", "c",
         "b a "},
        {"nothing recorded: nobody wins", "G b 7 y G a 5 x", "", "", "a b "},
        {"recorded for an element that holds others", "G a 3 z G b 4 z", "G 3 z", "a", "", "/P/Q"},
        {"recorded, and nothing in the document", "", "G 3 z", "?", ""},
    };

    for (const auto& row : rows) {
        const kx::Report report = ReportOf(SettingPass(row.policies, row.records, row.path));
        ASSERT_FALSE(report.settings.empty()) << row.why;
        const kx::ReportSetting& setting = report.settings[0]; // "/P" comes first
        const auto nameOf = [&](const kx::SettingSource& source) {
            return source.policy == kx::kNoIndex ? "?" : report.policies[source.policy].name;
        };
        EXPECT_EQ(setting.winner ? nameOf(*setting.winner) : "", row.winner) << row.why;
        string others;
        for (const kx::SettingSource& other : setting.others)
            others += nameOf(other) + ' ';
        EXPECT_EQ(others, row.others) << row.why;
    }
}

TEST(ReportGpos, BorrowAPlaceFromARecordedOne)
{
    const kx::Report report = kx::MakeReport(SampleRun());
    EXPECT_EQ(report.gpos[0].written, "") << "nothing of it was recorded";
    EXPECT_EQ(report.gpos[0].somId, "DC=fernhill,DC=example") << "looks like a recorded one";
}

TEST(ReportGpos, ChangedOneOwnsThePoliciesOfANameThatIsDeletedToo)
{
    kx::PassResult pass = MachinePass();
    pass.gpos[2].gpo.name = kDairy;
    std::swap(pass.gpos[1], pass.gpos[2]);
    const kx::Report report = ReportOf(pass);
    EXPECT_FALSE(report.gpos[report.policies[0].gpo].gpo.deleted);
}

TEST(ReportTimeline, NeedsTimesInTheTrace)
{
    kx::PassResult pass;
    pass.trace = {"23:59:59.900 12 KXT_INFO begin", "32:gp_xml.cpp(18): no time", "00:00:00.150 end"};
    const std::vector<kx::TimelineEntry> timeline = ReportOf(pass).passes[0].timeline;
    ASSERT_EQ(timeline.size(), 2U);
    EXPECT_EQ(timeline[0].text, "12 KXT_INFO begin");
    EXPECT_EQ(timeline[1].milliseconds, 250) << "past midnight";
}

// Everything that a run can hold a secret in.
kx::RunResult SecretRun()
{
    const string secret = "hunter2";
    const string attribute = "<AgentParameters proxyPassword=\"" + secret + "\"/>";
    kx::PassResult pass = MachinePass();
    pass.document = attribute;
    pass.policies[0].xml = "<Policy><proxyPassword>" + secret + "</proxyPassword></Policy>";
    pass.policies[1].configuration = {{"/Configuration/Proxy", "host " + secret},
                                      {"/Configuration/Proxy/ProxyPassword", secret},
                                      {"/Configuration/Ui", "blue"}};
    pass.recorded.push_back(Recorded(false, "/Configuration/Proxy", 1000100009, kBaseline, "host " + secret));
    pass.recorded.push_back(
        Recorded(false, "/Configuration/Proxy/ProxyPassword", 1000100009, kBaseline, secret));
    pass.gpos[0].complaints = {{"error", "Migration.xml", 1, 1, "near " + attribute}};
    pass.gpos[0].letThrough = {{"", attribute}};
    pass.complaints = {{"error", "", 0, 0, attribute}};
    const string config = "1:.../kx_gpext/rsop_log.cpp(205): ";
    pass.trace = {"10:00:00.000 " + config +
                      "INFO: RSOP_KxTesmorConfig created. Path=[/Configuration/Proxy], Value=[host " +
                      secret + "]",
                  "10:00:00.001 " + config + "ERROR: objectInstance.Put(Value, \"host " + secret +
                      "\") failed. hr=-1. CfgPath=/Configuration/Proxy",
                  "10:00:00.002 1:.../kx_gpext/gp_xml.cpp(1): INFO: " + attribute};
    return {{pass}, ""};
}

TEST(Report, ShowsASecretAsDots)
{
    const kx::RunResult run = SecretRun();
    const kx::Report report = kx::MakeReport(run);
    for (const string& text : {kx::FormatReportText(report), kx::FormatReportJson(report),
                               kx::FormatRunTable(run), kx::FormatReportHtml(run, report)}) {
        EXPECT_THAT(text, Not(HasSubstr("hunter2")));
        EXPECT_THAT(text, HasSubstr("..."));
    }
    EXPECT_THAT(kx::FormatReportText(report), HasSubstr("blue")) << "a value beside the secret stays";
    EXPECT_THAT(report.passes[0].timeline[1].text, HasSubstr("CfgPath=/Configuration/Proxy"));
}

TEST(ReportText, SaysWhatHappenedAndKeepsATerminalSafe)
{
    kx::RunResult run = SampleRun();
    run.passes[0].gpos[1].gpo.displayName = "Dairy\x1b[31m\nNo errors";
    const string text = kx::FormatReportText(kx::MakeReport(run));
    EXPECT_THAT(text, Not(HasSubstr("\x1b")));
    for (const char* const said :
         {"3 GPOs, 1 deleted", "the user is in no such group", "12:4",
          "the registry extension is not registered", "Returned 1252: the agent was not reached",
          "Dairy\u241B.31m\u240ANo errors", "Milkers", "wins +green", "loses +red"})
        EXPECT_THAT(text, ContainsRegex(said));
}

TEST(ReturnCodes, HaveTheMeaningOfTheirCall)
{
    const std::tuple<const char*, std::uint32_t, bool, const char*> rows[] = {
        {"apply", 0, true, "the agent has the document"},
        {"apply", 0, false, "nothing was sent"},
        {"plan", 0, false, "recorded"},
        {"apply", 1465, false, "could not be built"},
        {"append", 1465, false, "a set"},
        {"append", 5, false, "LocalSystem"},
        {"plan", 0x80041003U, false, "WMI refused: 0x80041003"},
        {"apply", 2, false, "Windows"},
    };
    for (const auto& [call, code, delivered, said] : rows) {
        kx::PassResult pass;
        pass.call = call;
        pass.code = code;
        pass.delivered = delivered;
        EXPECT_THAT(ReportOf(pass).passes[0].meaning, HasSubstr(said)) << call << ' ' << code;
    }
}

} // namespace
