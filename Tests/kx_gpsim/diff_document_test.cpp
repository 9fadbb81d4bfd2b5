// Documents compared by meaning.

#include "Tools/kx_gpsim/diff_json.h"
#include "Tools/kx_gpsim/diff_text.h"
#include "Tools/kx_gpsim/document_diff.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/saved_side.h"
#include "Tools/kx_gpsim/sequence_diff.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <numeric>
#include <random>
#include <set>

namespace {

using kx::DiffSide;
using kx::DocumentDiff;
using std::string;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

struct Policy {
    string id;
    int order = 1;
    string rest = R"(name="P" action="1"/>)";
};

struct Gpo {
    string name;
    std::vector<Policy> policies;
    string files; ///< what stands behind the policies
};

// The machine's document that the extension makes of these GPOs.
string DocumentOf(const std::vector<Gpo>& gpos)
{
    string xml = R"(<GPUpdate userScope="false" forced="false" version="2"><ChangedGPOs>)";
    for (std::size_t i = 0; i < gpos.size(); ++i) {
        xml += "<GPO name=\"" + gpos[i].name + "\" displayName=\"" + gpos[i].name + "\" precedence=\"" +
               std::to_string(i + 1) + "\"><Policies version=\"5\">";
        for (const Policy& policy : gpos[i].policies)
            xml +=
                "<Policy gpid=\"" + policy.id + "\" order=\"" +
                std::to_string(policy.order + 1000000000 + static_cast<int>(gpos.size() - i - 1) * 100000) +
                "\" " + policy.rest;
        xml += gpos[i].files + "</Policies></GPO>";
    }
    return xml + "</ChangedGPOs><DeletedGPOs/></GPUpdate>";
}

DiffSide Side(const string& xml, const string& label = "side")
{
    return {label, {{kx::Scope::Machine, xml}}, {}};
}

DiffSide Side(const std::vector<Gpo>& gpos)
{
    return Side(DocumentOf(gpos));
}

string Shown(const std::vector<kx::ElementChange>& changes)
{
    std::multiset<string> sorted; // in which order they are told means nothing
    for (const kx::ElementChange& change : changes)
        sorted.insert("; " + string(kx::ChangeText(change.kind)) + ' ' + change.path + " [" + change.before +
                      "] [" + change.after + ']');
    return std::accumulate(sorted.begin(), sorted.end(), string());
}

// Everything that differs, a line each.
std::vector<string> Lines(const DocumentDiff& diff)
{
    std::vector<string> lines;
    for (const kx::ScopeDiff& scope : diff.scopes) {
        if (!scope.document.empty())
            lines.push_back("document" + Shown(scope.document));
        for (const kx::GpoDiff& gpo : scope.gpos)
            lines.push_back(string(kx::ChangeText(gpo.kind)) + " GPO " + gpo.name + Shown(gpo.changes));
        for (const kx::PolicyDiff& policy : scope.policies)
            lines.push_back(policy.id + ' ' + (policy.before ? policy.before->gpo : "") + '>' +
                            (policy.after ? policy.after->gpo : "") + (policy.moved ? " moved" : "") +
                            Shown(policy.changes));
    }
    return lines;
}

std::vector<Gpo> TwoGpos()
{
    return {{"A",
             {{"{1}", 1}, {"{2}", 2}},
             "<ApplicationGroups><ApplicationGroup id=\"{G}\"/></ApplicationGroups>"},
            {"B", {{"{1}", 1}, {"{3}", 5}}, ""}};
}

TEST(CompareSides, TellsWhatChanged)
{
    using Gpos = std::vector<Gpo>;

    const struct {
        const char* why;
        void (*edit)(Gpos&);
        const char* lines;
    } rows[] = {
        {"attributes in another order, quotes and white space",
         [](auto& gpos) { gpos[0].policies[1].rest = "action='1'\n name='P'>\n </Policy>"; }, ""},
        {"an attribute", [](auto& gpos) { gpos[0].policies[1].rest = R"(name="P" action="2"/>)"; },
         "{2} A>A; changed @action [1] [2]\n"},
        {"an attribute more, one less",
         [](auto& gpos) { gpos[0].policies[1].rest = R"(action="1" mode="x"/>)"; },
         "{2} A>A; added @mode [] [x]; removed @name [P] []\n"},
        {"another order that does", [](auto& gpos) { gpos[1].policies[1].order = 0; },
         "{3} B>B moved; changed @order [5] [0]\n"},
        {"one of two with the same id less: the other one is what it was",
         [](auto& gpos) { gpos[0].policies.erase(gpos[0].policies.begin()); }, "{1} A>\n"},
        {"a policy that goes to another GPO",
         [](auto& gpos) {
             gpos[1].policies.push_back({"{2}", 9});
             gpos[0].policies.pop_back();
         },
         "{2} A>B moved; changed @order [2] [9]; changed GPO [A] [B]\n"},
        {"a whole GPO less: the rest keeps its order, though all numbers change",
         [](auto& gpos) { gpos.pop_back(); }, "removed GPO B\n{1} B>\n{3} B>\n"},
        {"a GPO in front",
         [](auto& gpos) {
             gpos.insert(gpos.begin(), Gpo{"C", {{"{9}", 1}}, ""});
         },
         "added GPO C\n{9} >C\n"},
        {"another of a GPO's files",
         [](auto& gpos) {
             gpos[0].files =
                 "<ApplicationGroups><ApplicationGroup id=\"{G}\" name=\"N\"/></ApplicationGroups>";
         },
         "changed GPO A; added Policies/ApplicationGroups/ApplicationGroup[{G}]/@name [] [N]\n"},
    };

    for (const auto& row : rows) {
        Gpos after = TwoGpos();
        row.edit(after);
        string lines;
        for (const string& line : Lines(kx::CompareSides(Side(TwoGpos()), Side(after))))
            lines += line + '\n';
        EXPECT_EQ(lines, row.lines) << row.why;
        EXPECT_THAT(Lines(kx::CompareSides(Side(after), Side(after))), IsEmpty()) << row.why;
        EXPECT_THAT(Lines(kx::CompareSides(Side(after), Side(TwoGpos()))),
                    SizeIs(std::count(lines.begin(), lines.end(), '\n')))
            << "from the other side: " << row.why;
    }
}

TEST(CompareSides, GposInAnotherOrderMoveTheirPolicies)
{
    std::vector<Gpo> after = TwoGpos();
    std::swap(after[0], after[1]);
    const std::vector<string> lines = Lines(kx::CompareSides(Side(TwoGpos()), Side(after)));
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], testing::MatchesRegex("moved GPO [AB]"));
    EXPECT_THAT(lines[1] + lines[2], testing::Not(HasSubstr(";"))) << "moved, and otherwise the same";
}

TEST(CompareSides, OrderOfChildrenCounts)
{
    const auto with = [](const char* children) {
        return Side({{"A", {{"{1}", 1, string("name=\"P\"><F>") + children + "</F></Policy>"}}, ""}});
    };
    const char* const ab = "<X id=\"a\"/><X id=\"b\"/>";
    const DocumentDiff diff = kx::CompareSides(with(ab), with("<X id=\"b\"/><X id=\"a\"/>"));
    ASSERT_EQ(Lines(diff).size(), 1U);
    EXPECT_THAT(Lines(diff)[0], testing::MatchesRegex("\\{1\\} A>A; moved F/X.[ab]. .*"));
    EXPECT_THAT(Lines(kx::CompareSides(with("<X/><X/><Y/>"), with("<X/><Y/>"))),
                ElementsAre("{1} A>A; removed F/X [<X/>] []"));
}

TEST(CompareSides, KindsOfDocument)
{
    const string command = R"(<AgentParameters dispatcherUrl="https://d/" setId="{S}"/>)";
    const DiffSide nothing{"nothing", {}, {}};
    EXPECT_THAT(Lines(kx::CompareSides(Side(TwoGpos()), Side(command)))[0],
                HasSubstr("document; changed document [<GPUpdate "));
    EXPECT_THAT(Lines(kx::CompareSides(nothing, Side(command))),
                ElementsAre("document; added document [] [" + command + ']'));
    EXPECT_EQ(Lines(kx::CompareSides(Side(TwoGpos()), nothing)).size(), 7U) << "document, GPOs and policies";
    EXPECT_TRUE(kx::CompareSides(nothing, nothing).IsEmpty());
    EXPECT_THROW((void)kx::CompareSides(Side("no XML"), Side(TwoGpos())), kx::UsageError);
}

TEST(SavedSide, KnowsWhatAFileIs)
{
    EXPECT_EQ(kx::KindOfSideFile("\xEF\xBB\xBF <GPUpdate/>", "f"), kx::SideFile::Document);
    EXPECT_EQ(kx::KindOfSideFile("// a comment\n{\"gpos\": []}", "f"), kx::SideFile::Manifest);
    for (const char* const wrong : {"", "text", "[]", "{"})
        EXPECT_THROW((void)kx::KindOfSideFile(wrong, "f"), kx::UsageError) << wrong;
}

TEST(SavedSide, MasksSecretsAndRefusesWhatIsNoXml)
{
    const auto side = [](const char* xml) {
        return kx::SideOfDocument(xml, "f", kx::Scope::User).documents.at(0);
    };
    EXPECT_THAT(side(R"(<AgentParameters proxyPassword="churn"/>)").xml, testing::Not(HasSubstr("churn")));
    EXPECT_EQ(side("<AgentParameters/>").scope, kx::Scope::User);
    EXPECT_EQ(side(R"(<GPUpdate userScope="false"/>)").scope, kx::Scope::Machine) << "it knows better";
    try {
        (void)side("<a>\n</b>");
        FAIL();
    } catch (const kx::UsageError& error) {
        EXPECT_THAT(error.what(), HasSubstr("f:2:1: "));
    }
}

TEST(SavedSide, ARunWithoutADocumentCannotBeCompared)
{
    kx::PassResult pass;
    pass.call = "apply";
    pass.code = 1252;
    EXPECT_THROW((void)kx::SideOfRun({{pass}, ""}, "run"), kx::UsageError);
    pass.document = "<GPUpdate/>";
    pass.gpos.resize(2);
    pass.gpos[1].complaints = {{"error", "", 0, 0, "why"}};
    const DiffSide side = kx::SideOfRun({{pass}, ""}, "run");
    EXPECT_EQ(side.documents.size(), 1U);
    EXPECT_THAT(side.notes, ElementsAre(HasSubstr("1 GPO has errors")));
}

TEST(DiffOutput, SaysTheSameInTextAndJson)
{
    std::vector<Gpo> after = TwoGpos();
    after[0].policies[1].rest = "name=\"P\x1B\" action=\"2\"/>";
    after[1].policies.pop_back();
    const DocumentDiff diff = kx::CompareSides(Side(TwoGpos()), Side(after));
    const string text = kx::FormatDiffText(diff, Side("", "old"), Side("", "new"));
    for (const char* const part : {"- old\n+ new\n", "machine\n", "    ~ @action: 1 \xE2\x86\x92 2\n",
                                   "policies: 0 added, 1 removed, 1 changed, 0 moved\n"})
        EXPECT_THAT(text, HasSubstr(part));
    EXPECT_EQ(text.find('\x1B'), string::npos) << "what is in a document must not reach the terminal";

    const auto json = nlohmann::json::parse(kx::FormatDiffJson(diff, Side("", "old"), Side("", "new")));
    EXPECT_EQ(json["equal"], false);
    const auto& policies = json["scopes"][0]["policies"];
    ASSERT_EQ(policies.size(), 2U);
    EXPECT_EQ(policies[0]["kind"], "removed");
    EXPECT_TRUE(policies[0]["after"].is_null());
    EXPECT_EQ(policies[1]["changes"].size(), 2U);
    EXPECT_EQ(nlohmann::json::parse(kx::FormatDiffJson({}, Side(""), Side("")))["equal"], true);
}

string MovedOf(const string& before, const string& after)
{
    std::vector<kx::SequenceItem> items;
    for (const char each : before)
        items.push_back({after.find(each), string(1, each)});
    string moved;
    for (const std::size_t index : kx::FindMoved(items))
        moved += before[index];
    std::sort(moved.begin(), moved.end());
    return moved;
}

// How many can stay: the longest row of them that is in order on both sides.
std::size_t MostThatStay(const string& before, const string& after)
{
    std::vector<std::size_t> longest(before.size(), 1); // that ends there
    for (std::size_t i = 0; i < before.size(); ++i)
        for (std::size_t k = 0; k < i; ++k)
            if (after.find(before[k]) < after.find(before[i]))
                longest[i] = std::max(longest[i], longest[k] + 1);
    return *std::max_element(longest.begin(), longest.end());
}

TEST(FindMoved, IsLeastAndTheSameFromBothSides)
{
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        string before = "abcdefghijkl";
        before.resize(1 + random() % 12);
        string after = before;
        std::shuffle(after.begin(), after.end(), random);
        const string moved = MovedOf(before, after);
        EXPECT_EQ(before.size() - moved.size(), MostThatStay(before, after)) << before << ' ' << after;
        EXPECT_EQ(moved, MovedOf(after, before)) << before << ' ' << after;
    }
}

} // namespace
