// The program as its users start it: a process with arguments over small GPOs, judged by its exit code and by
// the run that it saves.

#include "Tests/kx_gpsim/command_fixture.h"
#include "Tests/support/com_scope.h"
#include "Tests/support/xml_meaning.h"
#include "Tools/host/agent_listener.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

using namespace kx_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const wchar_t* kTargetingKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
    L"{B087BE9D-ED37-454f-AF9C-04291E351182}";

constexpr const char* kPolicies =
    "<P version='5'><Policy name='one' gpid='{1}' action='1' order='1'/>"
    "<Policy name='away' gpid='{2}' action='1' order='2'><ItemLevelTargeting>"
    "<FilterVariable variableName='KX_NO_SUCH' value='x'/></ItemLevelTargeting></Policy>"
    "<Policy name='odd' gpid='{3}' action='1' order='3'><ItemLevelTargeting><FilterMoon phase='full'/>"
    "</ItemLevelTargeting></Policy></P>";

TEST_F(Command, ApplyTellsWhatBecameOfEachPolicy)
{
    const std::wstring gpoA = Write(kGpoA, L"Machine", L"Policies.xml", kPolicies);
    const std::wstring gpoB = Write(kGpoB, L"Machine", L"Policies.xml", "<P version='5'>\n  <Policy>\n</P>");
    Write(kGpoB, L"User", L"Policies.xml", "<P version='5'/>");
    EXPECT_EQ(
        Run({L"apply", gpoA, gpoB, L"--json", L"run.json", L"--link", L"1=OU=X,DC=d", L"--deleted", kGpoA}),
        1)
        << _m_errors;
    EXPECT_THAT(_m_output, HasSubstr("away"));
    EXPECT_THAT(_m_errors, IsEmpty()) << "no progress where there is no terminal";
    const kx::RunResult run = Saved();
    ASSERT_EQ(run.passes.size(), 2U);
    const kx::PassResult& machine = run.passes[0];
    EXPECT_TRUE(machine.scope == kx::Scope::Machine && machine.delivered && machine.code == 0);
    ASSERT_EQ(machine.gpos.size(), 3U);
    const kx::GpoOutcome& a = machine.gpos[0];
    EXPECT_EQ(a.taken, 2U);
    ASSERT_TRUE(a.excluded.size() == 1 && a.letThrough.size() == 1);
    EXPECT_THAT(a.excluded[0].name + ": " + a.excluded[0].reason,
                StartsWith("away: does not match: <FilterVariable "));
    EXPECT_EQ(a.letThrough[0].name + ": " + a.letThrough[0].reason,
              "odd: FilterMoon: a filter that is not known");
    EXPECT_EQ(a.gpo.linkKind, "ou");
    ASSERT_EQ(machine.gpos[1].complaints.size(), 1U);
    EXPECT_EQ(machine.gpos[1].complaints[0].file, "Policies.xml");
    EXPECT_EQ(machine.gpos[1].complaints[0].line, 3);
    EXPECT_TRUE(machine.gpos[2].gpo.deleted);
    ASSERT_EQ(machine.policies.size(), 2U);
    EXPECT_EQ(machine.policies[1].order, 1000100003) << "as the extension numbers them";
    EXPECT_EQ(machine.recorded.size(), 2U);
    EXPECT_EQ(run.passes[1].gpos.size(), 2U) << "the user's list: the second GPO and the deleted one";
    EXPECT_EQ(run.workFolder, "") << "it is gone";
}

TEST_F(Command, TheDocumentIsWrittenMasked)
{
    const std::wstring gpo = Write(
        kGpoA, L"Machine", L"Migration.xml",
        "<AgentParameters version='5' setId='s' dispatcherUrl='d' proxyUser='u' proxyPassword='sesame'/>");
    EXPECT_EQ(Run({L"apply", gpo + L"\\Machine", L"--out", L"doc.xml", L"--json", L"run.json", L"--keep"}), 0)
        << _m_errors;
    const ComScope com;
    const std::string document = ReadBytes(_m_folder / L"doc.xml");
    EXPECT_EQ(
        XmlMeaning(std::wstring(document.begin(), document.end())),
        XmlMeaning(L"<AgentParameters setId='s' dispatcherUrl='d' proxyUser='u' proxyPassword='...'/>"));
    EXPECT_TRUE(Saved().passes.at(0).gpos.at(0).migration);
    EXPECT_THAT(_m_output + ReadBytes(_m_folder / L"run.json"), Not(HasSubstr("sesame")));
    const std::string work = Saved().workFolder;
    EXPECT_THAT(_m_errors, HasSubstr(work)) << "the folder that stays is named";
    EXPECT_TRUE(ReadBytes(kx::Wide(work) + L"\\kx_gpext.dll") == ReadBytes(KX_STAGE L"\\kx_gpext.dll"))
        << "the extension as it ships";
    std::filesystem::remove_all(kx::Wide(work));
}

TEST_F(Command, ShowsNoSecretOfTheConfiguration)
{
    const std::wstring gpo =
        Write(kGpoA, L"Machine", L"Policies.xml",
              "<P version='5'><Policy name='c' gpid='{1}' action='10' order='1'><Configuration><Proxy>"
              "<ProxyPassword>sesame</ProxyPassword></Proxy></Configuration></Policy></P>");
    EXPECT_EQ(Run({L"apply", gpo, L"--json", L"run.json", L"--out", L"doc.xml"}), 0) << _m_errors;
    EXPECT_THAT(ReadBytes(_m_folder / L"doc.xml"), HasSubstr("<ProxyPassword>...</ProxyPassword>"));
    const std::string saved = ReadBytes(_m_folder / L"run.json");
    EXPECT_THAT(saved, HasSubstr("/Configuration/Proxy/ProxyPassword"));
    EXPECT_THAT(saved + _m_output, Not(HasSubstr("sesame")));
}

TEST_F(Command, LeavesNothingBehind)
{
    namespace fs = std::filesystem;
    const std::wstring gpo = Write(kGpoA, L"Machine", L"Policies.xml", kPolicies);
    const auto traces = [&] {
        std::vector<std::wstring> found;
        for (const auto& entry : fs::recursive_directory_iterator(gpo))
            found.push_back(entry.path().wstring());
        for (const auto& entry : fs::directory_iterator(fs::temp_directory_path()))
            if (entry.path().filename().wstring().starts_with(L"kx_gpsim_"))
                found.push_back(entry.path().wstring());
        HKEY key = nullptr;
        if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kTargetingKey, 0, KEY_QUERY_VALUE, &key) == ERROR_SUCCESS)
            found.emplace_back(L"the registration of targeting");
        const CkxRegKeyHandle owner(key);
        return found;
    };
    const auto before = traces();
    EXPECT_EQ(Run({L"apply", gpo, gpo + L"\\Machine"}), 1) << "a policy was let through";
    EXPECT_EQ(Run({L"apply", gpo, L"--extension", L"none.dll"}), 3);
    EXPECT_EQ(Run({L"apply", gpo, L"--work", L"run"}), 1);
    EXPECT_EQ(traces(), before);
    EXPECT_TRUE(fs::exists(_m_folder / L"run\\Trace\\kx_gpext.trace")) << "what was named stays";
}

TEST_F(Command, TheTraceSaysWhenUnlessItIsConfigured)
{
    const std::wstring gpo = WritePolicy(kGpoA, L"Machine");
    const auto lines = [&] {
        EXPECT_EQ(Run({L"apply", gpo, L"--work", L"run", L"--json", L"run.json"}), 0) << _m_errors;
        EXPECT_EQ(Saved().passes.at(0).gpos.at(0).taken, 1U) << "even if its lines cannot be read";
        return Saved().passes.at(0).trace;
    };
    constexpr const char* time = "\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d \\d+:.*";
    for (const char* const why : {"made", "found again"})
        EXPECT_THAT(lines(), testing::Each(testing::MatchesRegex(time))) << why;
    _m_folder.Write(L"run\\kx_gpext.cfg", "prefix@file@@all@mine\n");
    EXPECT_THAT(lines(), testing::Contains(StartsWith("mine ")));
}

TEST_F(Command, ManyGposArriveInOrder)
{
    constexpr int count = 999;
    for (int i = 1; i <= count; ++i) {
        wchar_t name[64];
        ::swprintf_s(name, L"{%08X-0000-0000-0000-000000000000}", i);
        WritePolicy(name, L"Machine");
    }
    EXPECT_EQ(Run({L"apply", L"gpos", L"--json", L"run.json"}), 0) << _m_errors;
    const kx::PassResult pass = Saved().passes.at(0);
    ASSERT_EQ(pass.gpos.size(), 999U);
    ASSERT_EQ(pass.policies.size(), 999U);
    EXPECT_EQ(pass.recorded.size(), 999U);
    for (std::size_t i = 0; i < pass.policies.size(); ++i) {
        ASSERT_EQ(pass.gpos[i].taken, 1U) << i;
        ASSERT_EQ(pass.policies[i].gpo, pass.gpos[i].gpo.name) << i;
        ASSERT_EQ(pass.policies[i].order, 1000000009 + (998 - static_cast<int>(i)) * 100000) << i;
    }
}

TEST_F(Command, StateTellsWhatTheEngineWouldDo)
{
    const std::wstring gpoA = WritePolicy(kGpoA, L"Machine");
    const std::wstring gpoB = WritePolicy(kGpoB, L"Machine");
    const auto apply = [&](std::vector<std::wstring> arguments) {
        arguments.insert(arguments.begin(), L"apply");
        arguments.insert(arguments.end(),
                         {L"--scope", L"machine", L"--state", L"state.json", L"--json", L"run.json"});
        EXPECT_EQ(Run(arguments), 0) << _m_errors;
        return Saved().passes.at(0);
    };
    EXPECT_TRUE(apply({gpoA, gpoB}).called) << "the first time";
    EXPECT_FALSE(apply({gpoA, gpoB}).called) << "nothing has changed";
    EXPECT_TRUE(apply({gpoA, gpoB, L"--flags", L"FORCED_REFRESH"}).called);
    const kx::PassResult pass = apply({gpoB});
    ASSERT_EQ(pass.gpos.size(), 2U);
    EXPECT_TRUE(pass.called && pass.gpos[1].gpo.deleted) << "one is gone";
    EXPECT_THAT(pass.document, HasSubstr("<DeletedGPOs>"));
}

TEST_F(Command, PlanRecordsAndSendsNothing)
{
    const std::wstring gpo = WritePolicy(kGpoA, L"Machine");
    WritePolicy(kGpoA, L"User");
    CkxAgentListener agent;
    ASSERT_EQ(agent.Start(), 0U);
    EXPECT_EQ(Run({L"plan", gpo, L"--json", L"run.json"}), 0) << "an agent is no hindrance: " << _m_errors;
    EXPECT_FALSE(agent.WaitForMessage(0));
    for (const kx::PassResult& pass : Saved().passes) {
        EXPECT_EQ(pass.gpos.at(0).taken, 1U);
        EXPECT_THAT(pass.gpos.at(0).complaints, IsEmpty()) << "absent files are no errors";
        EXPECT_EQ(pass.recorded.size(), 1U);
    }
}

TEST_F(Command, AppendNeedsLocalSystem)
{
    _m_folder.Write(L"set\\Policies.xml", "<P version='5'><Policy name='p' order='-7'/></P>");
    EXPECT_EQ(Run({L"append", L"set"}), 3);
    EXPECT_THAT(_m_errors, HasSubstr("LocalSystem"));
    EXPECT_EQ(Run({L"append", L"set", L"--deliver", L"--as-localsystem-for-test"}), 2);
    EXPECT_EQ(Run({L"append", L"set", L"--as-localsystem-for-test", L"--delete-all", L"--json", L"run.json"}),
              0)
        << _m_errors;
    const kx::PassResult pass = Saved().passes.at(0);
    EXPECT_EQ(pass.policies.at(0).order, -7);
    EXPECT_EQ(pass.gpos.at(0).taken, 1U);
    EXPECT_THAT(pass.document, HasSubstr("deleteAllAppended=\"true\""));
}

TEST_F(Command, LeavesARealAgentAloneUnlessItIsMeant)
{
    const std::wstring gpo = WritePolicy(kGpoA, L"Machine");
    EXPECT_EQ(Run({L"apply", gpo, L"--deliver"}), 3) << "there is none";
    CkxAgentListener agent;
    ASSERT_EQ(agent.Start(), 0U);
    EXPECT_EQ(Run({L"apply", gpo}), 3);
    EXPECT_THAT(_m_errors, HasSubstr("--deliver"));
    EXPECT_EQ(Run({L"listen", L"--seconds", L"1"}), 3);
    EXPECT_FALSE(agent.WaitForMessage(0)) << "nothing came of these";
    EXPECT_EQ(Run({L"apply", gpo, L"--deliver", L"--json", L"run.json"}), 0) << _m_errors;
    EXPECT_TRUE(agent.WaitForMessage(kPatienceMs));
    const kx::PassResult pass = Saved().passes.at(0);
    EXPECT_TRUE(pass.delivered && pass.document.empty());
    EXPECT_THAT(pass.notes, ElementsAre(HasSubstr("cannot be shown here"))) << "it says so";
}

TEST_F(Command, ListenTakesWhatIsSent)
{
    const std::wstring gpo = WritePolicy(kGpoA, L"Machine");
    const Started listener = Start({L"listen", L"--count", L"1", L"--seconds", L"50", L"--folder", L"got"});
    const ULONGLONG start = ::GetTickCount64();
    while (!CkxHandle(::OpenEventW(SYNCHRONIZE, FALSE, L"Global\\KxGroupPolicyUpdate")) &&
           ::GetTickCount64() - start < kPatienceMs)
        ::Sleep(20);
    EXPECT_EQ(Run({L"apply", gpo, L"--deliver"}), 0) << _m_errors;
    EXPECT_EQ(Finish(listener), 0) << _m_errors;
    EXPECT_THAT(ReadBytes(_m_folder / L"got\\update-1.xml"), HasSubstr("<Policy name=\"p\""));
}

TEST_F(Command, FaultsOfUseAreNamed)
{
    const std::wstring gpo = WritePolicy(kGpoA, L"Machine");
    const std::wstring file = _m_folder.Write(L"m.json", "{\"gpos\": [{\"path\": 1}]}");
    _m_folder.Write(L"empty\\x\\y.txt", "");
    const std::tuple<std::vector<std::wstring>, int, const char*> rows[] = {
        {{}, 2, "subcommand"},
        {{L"apply"}, 2, "no GPO is named"},
        {{L"apply", L"/nowhere"}, 2, "/nowhere: there is no such folder"},
        {{L"apply", file}, 2, "is a file; a GPO is a folder"},
        {{L"apply", L"empty"}, 2, "empty: is no GPO"},
        {{L"append", L"empty"}, 2, "no policy file stands directly in it"},
        {{L"apply", L"--manifest", L"none.json"}, 2, "none.json: cannot be read"},
        {{L"apply", L"--state", L"m.json", gpo}, 2, "m.json: /format is missing"},
        {{L"apply", gpo, L"--work", KX_STAGE}, 2, "another one than the extension's"},
        {{L"apply", gpo, L"--extension", L"none.dll"}, 3, "none.dll: there is no such extension"},
        {{L"apply", gpo, L"--out", L"no\\such\\folder.xml"}, 3, "folder.xml: cannot be written"},
    };
    for (const auto& [arguments, code, error] : rows) {
        EXPECT_EQ(Run(arguments), code) << error;
        EXPECT_THAT(_m_errors, HasSubstr(error));
        EXPECT_THAT(_m_errors, StartsWith("kx_gpsim: "));
    }
    EXPECT_EQ(Run({L"apply", L"--help"}), 0);
    EXPECT_THAT(_m_output, HasSubstr("Examples:"));
}

} // namespace
