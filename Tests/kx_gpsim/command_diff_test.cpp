// Sets compared as the user does it: run on both sides, or with and without a GPO.

#include "Tests/kx_gpsim/command_fixture.h"

#include <gmock/gmock.h>

namespace {

using namespace kx_test;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

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
};

TEST_F(CommandDiff, WithoutAGpoTakesAwayWhatItBrought)
{
    WriteSet(L"gpos");
    for (const std::wstring& name : {std::wstring(kGpoB), _m_folder / (std::wstring(L"gpos\\") + kGpoB)}) {
        EXPECT_EQ(Run({L"diff", L"gpos", L"--without", name}), kDifferent) << _m_errors;
        EXPECT_THAT(_m_output,
                    AllOf(HasSubstr("  - b {2}, "), HasSubstr("  - both {9}, "), HasSubstr("  - u {3}, "),
                          HasSubstr("policies: 0 added, 3 removed, 0 ")));
        EXPECT_THAT(_m_output, AllOf(Not(HasSubstr("  ~ GPO ")), Not(HasSubstr("deleted GPO"))));
    }
    EXPECT_EQ(Run({L"diff", L"gpos", L"--without", L"Nobody"}), 2);
    EXPECT_THAT(_m_errors, HasSubstr("Nobody"));
    EXPECT_EQ(Run({L"diff", L"gpos", L"--without", kGpoA, L"--without", kGpoB}), kDifferent) << _m_errors;
    EXPECT_THAT(_m_output, HasSubstr("5 removed")) << "none is left";
}

TEST_F(CommandDiff, ComparesSetsRunsAndDocuments)
{
    WriteSet(L"before");
    WriteSet(L"after");
    WriteTo(L"after", kGpoB, L"Machine",
            "<P version='5'><Policy name='both' gpid='{9}' action='2' order='1' mode='x'/>"
            "<Policy name='new' gpid='{4}' action='1' order='2'/></P>");
    EXPECT_EQ(Run({L"diff", L"before", L"after"}), kDifferent) << _m_errors;
    EXPECT_THAT(_m_output, AllOf(HasSubstr("  - b {2}, "), HasSubstr("  + new {4}, "),
                                 HasSubstr("    ~ @order: 9 \xE2\x86\x92 1\n"), HasSubstr("    + @mode: x\n"),
                                 HasSubstr("policies: 1 added, 1 removed, 1 changed, 0 moved\n")));

    EXPECT_EQ(Run({L"apply", L"before", L"--json", L"run.json", L"--out", L"doc.xml"}), 0) << _m_errors;
    for (const wchar_t* const same : {L"before", L"run.json", L"doc.machine.xml"}) {
        EXPECT_EQ(Run({L"diff", same, same, L"--json", L"-"}), 0) << _m_errors;
        EXPECT_THAT(_m_output, HasSubstr("\"equal\": true"));
        EXPECT_EQ(Run({L"diff", L"before", same}), 0) << "the set, a run of it, its document: " << _m_output;
        EXPECT_THAT(_m_output, HasSubstr("no differences"));
    }
}

} // namespace
