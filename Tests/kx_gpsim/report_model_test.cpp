// What the report makes of a run, and what it never gives away.

#include "Tests/kx_gpsim/sample_run.h"
#include "Tools/kx_gpsim/report_html.h"
#include "Tools/kx_gpsim/report_json.h"
#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/report_text.h"
#include "Tools/kx_gpsim/run_table.h"

#include <gmock/gmock.h>

#include <ctime>
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

TEST(ReportPolicies, StandInOneSequenceOfAllPasses)
{
    const kx::Report report = kx::MakeReport(SampleRun());
    EXPECT_THAT(NamesOf(report), ElementsAre("Print labels", "Press for users", "Run the press faster",
                                             "Dairy settings", "Run the press", "Settings"));
    const kx::ReportPolicy& faster = report.policies[2];
    EXPECT_EQ(report.gpos[faster.gpo].gpo.name, kDairy);
    EXPECT_TRUE(faster.recorded) << "an id is compared without regard to case";
    EXPECT_FALSE(report.policies[4].recorded) << "the same id with another precedence is another instance";
}

TEST(ReportPolicies, OrderIsSignedAsInTheDocument)
{
    kx::PassResult pass;
    pass.delivered = true;
    pass.policies = {Policy(kDairy, "low", "1", 0), Policy(kDairy, "wrapped around", "2", -2147483648),
                     Policy(kDairy, "equal, later", "3", 0)};
    EXPECT_THAT(NamesOf(ReportOf(pass)), ElementsAre("wrapped around", "low", "equal, later"));
}

TEST(ReportPolicies, RepeatedIdsNameTheLowestOrderFirst)
{
    kx::RunResult run = SampleRun();
    kx::Report report = kx::MakeReport(run);
    ASSERT_EQ(report.repeatedIds.size(), 1U);
    EXPECT_THAT(report.repeatedIds[0].policies, ElementsAre(1, 2, 4)) << "across GPOs and scopes";
    EXPECT_FALSE(report.repeatedIds[0].isTied);
    EXPECT_EQ(report.policies[1].standing, kx::Standing::First);
    EXPECT_EQ(report.policies[4].standing, kx::Standing::Later);
    EXPECT_EQ(report.policies[0].standing, kx::Standing::Only);
    EXPECT_EQ(report.policies[3].standing, kx::Standing::Only) << "policies without an id do not share one";

    run.passes[1].policies[1].order = 1000000007;
    report = kx::MakeReport(run);
    EXPECT_TRUE(report.repeatedIds[0].isTied);
}

TEST(ReportPolicies, ComeFromTheRecordsWhereThereIsNoDocument)
{
    kx::PassResult pass;
    pass.call = "plan";
    pass.gpos = {Gpo(kDairy, "Dairy", "", 1)};
    pass.recorded = {Recorded(true, "{A}", 4294967295U, kDairy, "<Policy/>")};
    const kx::Report report = ReportOf(pass);
    ASSERT_EQ(report.policies.size(), 1U);
    EXPECT_EQ(report.policies[0].name, "name of {A}");
    EXPECT_EQ(report.policies[0].order, -1);
    EXPECT_EQ(report.policies[0].xml, "<Policy/>");
    EXPECT_EQ(report.gpos[report.policies[0].gpo].gpo.displayName, "Dairy");

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

TEST(ReportGpos, KnowWhatWasRecordedOfThem)
{
    const kx::Report report = kx::MakeReport(SampleRun());
    ASSERT_EQ(report.gpos.size(), 4U);
    EXPECT_EQ(report.gpos[1].written, "2026-01-31T10:15:00Z");
    EXPECT_EQ(report.gpos[1].somId, "OU=Dairy,DC=fernhill,DC=example");
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

    pass.trace = {"32:gp_xml.cpp(18): INFO: 10:00:00.000 ", "10:00:00.000 x"};
    EXPECT_THAT(ReportOf(pass).passes[0].timeline, IsEmpty());
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

TEST(Report, OfNothing)
{
    const kx::Report report = kx::MakeReport({});
    EXPECT_THAT(kx::FormatReportText(report), HasSubstr("0 passes: 0 GPOs, 0 policies"));
    EXPECT_EQ(kx::FormatRunTable({}), "");
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
          "Dairy\u241B[31m\u240ANo errors", "Milkers", "wins", "loses"})
        EXPECT_THAT(text, HasSubstr(said));
    EXPECT_THAT(text, ContainsRegex("wins +green"));
    EXPECT_THAT(text, ContainsRegex("loses +red"));
}

TEST(ReturnCodes, HaveTheMeaningOfTheirCall)
{
    const struct {
        const char* call;
        std::uint32_t code;
        bool delivered;
        const char* said;
    } rows[] = {
        {"apply", 0, true, "the agent has the document"},
        {"apply", 0, false, "nothing was sent"},
        {"plan", 0, false, "recorded"},
        {"apply", 1465, false, "could not be built"},
        {"append", 1465, false, "a set"},
        {"append", 5, false, "LocalSystem"},
        {"plan", 0x80041003U, false, "WMI refused: 0x80041003"},
        {"apply", 2, false, "Windows"},
    };

    for (const auto& row : rows) {
        kx::PassResult pass;
        pass.call = row.call;
        pass.code = row.code;
        pass.delivered = row.delivered;
        EXPECT_THAT(ReportOf(pass).passes[0].meaning, HasSubstr(row.said)) << row.call << ' ' << row.code;
    }
}

TEST(Report, TakesTimeInProportion)
{
    constexpr std::int32_t count = 100000;
    kx::PassResult pass = MachinePass();
    for (std::int32_t at = 0; at < count; ++at) {
        const string id = std::to_string(at % 2 == 0 ? 0 : at); // half of them share one
        pass.policies.push_back(Configuration(kDairy, "policy", count - at, "/Configuration/" + id, "v"));
        pass.policies.back().id = id;
        pass.recorded.push_back(Recorded(true, id, static_cast<std::uint32_t>(count - at), kDairy));
    }
    const std::clock_t begin = std::clock(); // the processor's time, however busy the machine is
    const kx::Report report = kx::MakeReport({{pass}, ""});
    EXPECT_GT(kx::FormatReportText(report).size(), 100U * count);
    EXPECT_EQ(report.repeatedIds.front().policies.size(), count / 2U);
    // Generous for sanitizers: with a quadratic step it would take minutes.
    EXPECT_LT((std::clock() - begin) / CLOCKS_PER_SEC, 60);
}

} // namespace
