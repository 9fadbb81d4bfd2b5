// Lines as the extension writes them, and what is made of them.

#include "Tools/kx_gpsim/gpo_outcomes.h"
#include "Tools/kx_gpsim/trace_digest.h"

#include <gtest/gtest.h>

namespace {

using kx::Targeted;

std::string Line(const char* source, const std::string& message)
{
    return std::string("32:.../engine/kx_gpext/") + source + ": " + message + "\n";
}

std::string Heading(const std::string& name)
{
    return Line("kx_gpo.cpp(96)", "INFO:    * Display Name: GPO " + name) +
           Line("kx_gpo.cpp(97)", "INFO:      Unique Name : {" + name + "}");
}

const std::string kStart = "D_Lib: output is switched to file C:\\x(1): ERROR: no line of the extension\n" +
                           Line("gp_xml.cpp(148)", "INFO:    DeletedGPOList:") + Heading("Gone") +
                           Line("gp_xml.cpp(160)", "INFO:    ChangedGPOList:");

// Complaints, or policies with what became of them, a line each.
std::string Shown(const std::vector<kx::Complaint>& complaints)
{
    std::string shown;
    for (const kx::Complaint& complaint : complaints) {
        shown += complaint.severity + " " + complaint.file;
        if (complaint.line > 0)
            shown += ":" + std::to_string(complaint.line) + ":" + std::to_string(complaint.column);
        shown += " " + complaint.reason + "\n";
    }
    return shown;
}

std::string Shown(const std::vector<kx::TargetedPolicy>& policies)
{
    std::string shown;
    for (const kx::TargetedPolicy& policy : policies)
        shown += "[" + policy.name + "] " + policy.reason + "\n";
    return shown;
}

TEST(TraceDigest, MakesComplaintsOfAGposLines)
{
    const auto load = [](const char* message) { return Line("gp_xml_load.cpp(63)", message); };
    const auto xml = [](const char* message) { return Line("gp_xml.cpp(206)", message); };
    const char* const noVersion = "Failed to get version attribute from root element <P>. Path=[C:\\T.xml]";
    const char* const noSet =
        "'setId' attribute is missing or empty in <AgentParameters> element in Migration.xml";
    const char* const noOrder = "Policy in GPO [GPO A] is missing 'order' attribute.";
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"a file that is no XML, with its place",
         Line("xml_document.cpp(9)", "ERROR: of a layer below").replace(3, 0, "/xml/") +
             load("ERROR: Failed to load XML from file [C:\\a]b\\Tokens.xml]") +
             load("ERROR: The file was not accepted: A (odd) tag (line 12, column 7)") +
             load("ERROR: Failed to load the policy files of GPO GPO A - {A}"),
         "error Tokens.xml:12:7 A (odd) tag\n"},
        {"a parser without a reason",
         load("ERROR: Failed to load XML from file [C:\\a\\GUI.xml]") +
             load("ERROR: The file was not accepted: error"),
         "error GUI.xml cannot be read\n"},
        {"two files of another version",
         Line("gp_xml_merge.cpp(33)",
              "ERROR: Unsupported version found in XML. Versions: 4, 5, 5, -6. GPO GPO A - {A}") +
             xml("ERROR: Failed to process polcies for GPO GPO A - {A}"),
         "error Policies.xml version 4 is not supported, only 5 is\n"
         "error GUI.xml version -6 is not supported, only 5 is\n"},
        {"no version", load((std::string("ERROR: ") + noVersion).c_str()),
         std::string("error T.xml ") + noVersion + "\n"},
        {"a bad migration command",
         Line("gp_xml_migration.cpp(18)", std::string("ERROR: ") + noSet + ". GPO GPO A - {A}") +
             xml("ERROR: Failed to process migration command for GPO GPO A - {A}"),
         std::string("error Migration.xml ") + noSet + "\n"},
        {"a consequence of nothing known", xml("ERROR: Failed to process polcies for GPO GPO A - {A}"),
         "error Policies.xml Failed to process polcies\n"},
        {"what is applied all the same",
         Line("gp_xml_merge.cpp(80)", std::string("ERROR: ") + noOrder) +
             Line("rsop_log.cpp(99)", "ERROR: No \"action\" element in policy. GPO GPO A - {A}"),
         std::string("warning Policies.xml ") + noOrder +
             "\nwarning Policies.xml No \"action\" element in policy\n"},
        {"information", xml("INFO: ERROR: is only quoted"), ""},
    };
    for (const auto& [why, lines, complaints] : rows) {
        const kx::TraceDigest digest = kx::DigestTrace(kStart + Heading("A") + lines + Heading("B"), {});
        ASSERT_EQ(digest.changed.size(), 2U) << why;
        EXPECT_EQ(digest.changed[0].name + digest.changed[0].displayName, "{A}GPO A") << why;
        EXPECT_EQ(Shown(digest.changed[0].complaints), complaints) << why;
        EXPECT_TRUE(digest.changed[1].complaints.empty() && digest.general.empty()) << why;
    }
}

TEST(TraceDigest, KnowsWhatConcernsTheWholeCall)
{
    const std::string lines =
        kStart + Heading("A") +
        Line("gp_xml_migration.cpp(70)",
             "INFO: Migration command found. SetId={S}, DispatcherURL=[d]. GPO A") +
        Line("rsop_log.cpp(199)", "ERROR: WbemSvc->PutInstance(/x) failed. hr=5. CfgPath=/x") +
        Line("gp_process.cpp(66)",
             "ERROR: Failed to send update to the agent. Update skipped till next time.");
    const kx::TraceDigest digest = kx::DigestTrace(lines, {});
    EXPECT_TRUE(digest.changed.at(0).migration);
    EXPECT_TRUE(digest.changed.at(0).complaints.empty());
    EXPECT_EQ(digest.general.size(), 2U);
}

// One GPO's evaluations, together with the policies that arrived: what each concerned.
TEST(GpoOutcomes, TellWhichPolicyAnEvaluationWasFor)
{
    const auto line = [](const char* message) { return Line("gp_xml_targeting.cpp(160)", message); };
    const std::string excluded = line("INFO: policy [out] not allowed by ILT: GPO A");
    const std::string noKey = line("ERROR: Failed to open reg key [K]. err=2");
    const std::string noFolder =
        line("ERROR: Failed to save basic ILT registry policy to C:\\tmp") +
        line("ERROR: The work folder of item-level targeting cannot be used. Error=5");
    const std::string stays = line("ERROR: Failed to remove reg value [ILTTest]. err=5");
    const std::string notAllowed = Line("gp_xml.cpp(198)", "INFO: GPO not allowed by ILT: GPO A - {A}");

    const std::string start = kStart + Heading("A");
    const auto check = [&](Targeted answer, std::size_t linesBefore, std::vector<std::string> said = {}) {
        return kx::TargetingCheck{start.size() + linesBefore, answer,
                                  "<ItemLevelTargeting><Filters><F/></Filters></ItemLevelTargeting>",
                                  std::move(said)};
    };
    const std::vector<std::string> unknown = {"ILTTest: let through: FilterX: not known"};
    const std::vector<kx::TargetingCheck> none = {};
    const std::vector<kx::TargetingCheck> oneExcluded = {check(Targeted::Excluded, 0)};
    const std::vector<kx::TargetingCheck> threeOfThree = {check(Targeted::Excluded, 0),
                                                          check(Targeted::Allowed, excluded.size()),
                                                          check(Targeted::Allowed, excluded.size(), unknown)};
    const std::vector<kx::TargetingCheck> secondAllowed = {check(Targeted::Allowed, noKey.size(), unknown)};
    const std::vector<kx::TargetingCheck> letThrough = {check(Targeted::LetThrough, 0)};

    const struct {
        const char* why;
        std::string lines;
        std::vector<kx::TargetingCheck> checks;
        std::string passed; ///< policies with targeting that arrived, by letters
        std::string excluded;
        std::string letThrough;
    } rows[] = {
        {"excluded, with its filters", excluded, oneExcluded, "p", "[out] does not match: <F/>\n", ""},
        {"nobody saw it but the trace", excluded, none, "", "[out] its targeting does not match\n", ""},
        {"without a name", "", oneExcluded, "", "[(a policy without a name)] does not match: <F/>\n", ""},
        {"the GPO itself", notAllowed, oneExcluded, "", "[] does not match: <F/>\n", ""},
        {"the second of three", excluded, threeOfThree, "fs", "[out] does not match: <F/>\n",
         "[s] FilterX: not known\n"},
        {"the GPO and one policy", noKey, secondAllowed, "p", "",
         "[] Failed to open reg key [K]. err=2\n[p] FilterX: not known\n"},
        {"a failure in two lines is one", noFolder + noKey, none, "ab", "",
         "[a] Failed to save basic ILT registry policy to C:\\tmp The work folder of item-level targeting "
         "cannot be used. Error=5\n[b] Failed to open reg key [K]. err=2\n"},
        {"the marker could not be removed", stays, letThrough, "p", "",
         "[p] Failed to remove reg value [ILTTest]. err=5\n"},
        {"no way to tell", noKey, none, "ab", "",
         "[(one of its policies)] Failed to open reg key [K]. err=2\n"},
    };

    for (const auto& row : rows) {
        std::vector<kx::SentPolicy> policies(1);
        policies[0].gpo = "{a}"; // in another case, and without targeting
        for (const char name : row.passed)
            policies.push_back(
                {"{A}", std::string(1, name), {}, {}, 0, "<Policy><ItemLevelTargeting/></Policy>", {}, {}});
        const kx::GpoInput gpo{"{A}", "GPO A", {}, {}, {}, 1, false, false};
        const auto outcomes =
            kx::GatherOutcomes({gpo, gpo}, {}, kx::DigestTrace(start + row.lines, row.checks), policies);
        EXPECT_EQ(outcomes.at(0).taken, policies.size()) << row.why;
        EXPECT_EQ(Shown(outcomes.at(0).excluded), row.excluded) << row.why;
        EXPECT_EQ(Shown(outcomes.at(0).letThrough), row.letThrough) << row.why;
        EXPECT_TRUE(outcomes.at(0).complaints.empty()) << row.why;
        EXPECT_EQ(outcomes.at(1).taken, 0U) << "listed again: " << row.why;
    }
}

TEST(TraceDigest, PutsAPlansLinesDownToTheirGpo)
{
    const std::vector<kx::GpoInput> gpos = {{"{A}", "A", "C:\\P\\{A}\\Machine", {}, {}, 1, false, false},
                                            {"{B}", "B", "C:\\P\\{B}\\Machine", {}, {}, 2, false, false}};
    const kx::TraceDigest digest = kx::DigestPlanTrace(
        Line("rsop_log.cpp(1)", "ERROR: Failed to register RSoP schema extension.") +
            Line("rsop_log_generate.cpp(15)",
                 "ERROR: Failed to load XML from c:\\p\\{b}\\machine\\{5}\\Policies.xml") +
            Line("rsop_log_generate.cpp(55)", "ERROR: <Policies> element not found") +
            Line("rsop_log.cpp(90)", "ERROR: No \"action\" element in policy. GPO A - {A}"),
        gpos);
    EXPECT_EQ(Shown(digest.changed.at(1).complaints),
              "error Policies.xml cannot be read\nwarning Policies.xml <Policies> element not found\n");
    EXPECT_EQ(Shown(digest.changed.at(0).complaints),
              "warning Policies.xml No \"action\" element in policy\n");
    EXPECT_EQ(digest.general.size(), 1U);
}

} // namespace
