// Sets compared as the user does it: run on both sides, or with and without a GPO.

#include "Tests/kx_gpsim/command_fixture.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>

namespace {

using namespace kx_test;
using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr int kDifferent = 5;

class CommandDiff : public Command {
  protected:
    void WriteTo(const std::wstring& folder, const wchar_t* gpo, const wchar_t* scope,
                 const char* policies) const
    {
        (void)_m_folder.Write(folder + L'\\' + gpo + L'\\' + scope + L'\\' + kExtension + L"\\Policies.xml",
                              policies);
    }

    /// Two GPOs under `folder`, the second one for users too; both name a policy {9}.
    void WriteSet(const std::wstring& folder) const
    {
        WriteTo(folder, kGpoA, L"Machine",
                "<P version='5'><Policy name='a' gpid='{1}' action='1' order='1'/>"
                "<Policy name='both' gpid='{9}' action='1' order='9'/></P>");
        WriteTo(folder, kGpoB, L"Machine",
                "<P version='5'><Policy name='b' gpid='{2}' action='1' order='1'/>"
                "<Policy name='both' gpid='{9}' action='2' order='9'/></P>");
        WriteTo(folder, kGpoB, L"User",
                "<P version='5'><Policy name='u' gpid='{3}' action='1' order='1'/></P>");
    }

    /// Compares, and reads the differences.
    json Diff(std::vector<std::wstring> sides, int code)
    {
        sides.insert(sides.begin(), L"diff");
        sides.insert(sides.end(), {L"--json", L"-"});
        EXPECT_EQ(Run(sides), code) << _m_errors;
        return json::parse(_m_output);
    }
};

// "machine removed {2}" of each policy and GPO, and the parts of those that changed.
std::vector<std::string> Lines(const json& diff)
{
    std::vector<std::string> lines;
    for (const json& scope : diff["scopes"])
        for (const char* const what : {"document", "gpos", "policies"})
            for (const json& each : scope[what]) {
                std::string line = scope["scope"].get<std::string>() + ' ' + each["kind"].get<std::string>();
                for (const char* const name : {"id", "name", "path"})
                    if (each.contains(name))
                        line += ' ' + each[name].get<std::string>();
                if (each.value("moved", false))
                    line += " moved";
                std::set<std::string> changes; // in which order they are told means nothing
                for (const json& change : each.value("changes", json::array()))
                    changes.insert(change["path"].get<std::string>() + ' ' + change["before"].dump() + '>' +
                                   change["after"].dump());
                for (const std::string& change : changes)
                    line += ' ' + change;
                lines.push_back(line);
            }
    return lines;
}

TEST_F(CommandDiff, WithoutAGpoTakesAwayWhatItBrought)
{
    WriteSet(L"gpos");
    for (const std::wstring& name : {std::wstring(kGpoB), _m_folder / (std::wstring(L"gpos\\") + kGpoB)})
        EXPECT_THAT(
            Lines(Diff({L"gpos", L"--without", name}, kDifferent)),
            UnorderedElementsAre("machine removed {00000000-0000-0000-0000-00000000000B}",
                                 "machine removed {2}", "machine removed {9}", "user removed document",
                                 "user removed {00000000-0000-0000-0000-00000000000B}", "user removed {3}"))
            << "the other GPO's policies stay as they are, and it is not among the deleted ones";
}

TEST_F(CommandDiff, WithoutWhatMakesNoDifferenceOrIsNotThere)
{
    WriteSet(L"gpos");
    EXPECT_EQ(Run({L"diff", L"gpos", L"--without", L"Nobody"}), 2);
    EXPECT_THAT(_m_errors, HasSubstr("Nobody"));
    const json none = Diff({L"gpos", L"--without", kGpoA, L"--without", kGpoB}, kDifferent);
    EXPECT_THAT(Lines(none), testing::Contains("machine removed {1}")) << "none is left";
}

TEST_F(CommandDiff, ComparesSetsRunsAndDocuments)
{
    WriteSet(L"before");
    WriteSet(L"after");
    WriteTo(L"after", kGpoB, L"Machine",
            "<P version='5'><Policy name='both' gpid='{9}' action='2' order='1' mode='x'/>"
            "<Policy name='new' gpid='{4}' action='1' order='2'/></P>");
    EXPECT_THAT(Lines(Diff({L"before", L"after"}, kDifferent)),
                UnorderedElementsAre("machine removed {2}", "machine added {4}",
                                     "machine changed {9} @mode null>\"x\" @order \"9\">\"1\""));
    for (const wchar_t* const side : {L"before", L"run.json", L"doc.machine.xml"}) {
        EXPECT_EQ(Run({L"apply", L"before", L"--json", L"run.json", L"--out", L"doc.xml"}), 0) << _m_errors;
        EXPECT_THAT(Lines(Diff({side, side}, 0)), IsEmpty()) << "the set, a run of it, its document";
        EXPECT_THAT(Lines(Diff({L"before", side}, 0)), IsEmpty());
    }
    EXPECT_EQ(Run({L"diff", L"before", L"before"}), 0);
    EXPECT_THAT(_m_output, HasSubstr("no differences"));
}

} // namespace
