// What a user on a computer would get: the program over the samples with a file of facts.

#include "Tests/kx_gpsim/command_fixture.h"

#include <gmock/gmock.h>

namespace {

using namespace kx_test;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kTargeted =
    "<P version='5'><Policy name='hall' gpid='{1}' action='1' order='1'><ItemLevelTargeting><Filters>"
    "<FilterGroup name='F\\Hall' userContext='1'/></Filters></ItemLevelTargeting></Policy></P>";

class CommandFacts : public Command {
  protected:
    /// What became of the targeted policies of the saved run: "machine: NAME excluded"; a GPO has no name.
    [[nodiscard]] std::vector<std::string> Fates() const
    {
        std::vector<std::string> fates;
        for (const kx::PassResult& pass : Saved().passes) {
            const char* const scope = pass.scope == kx::Scope::Machine ? "machine: " : "user: ";
            for (const kx::GpoOutcome& gpo : pass.gpos) {
                for (const kx::TargetedPolicy& policy : gpo.excluded)
                    fates.push_back(scope + policy.name + " excluded");
                for (const kx::TargetedPolicy& policy : gpo.letThrough)
                    fates.push_back(scope + policy.name + " let through: " + policy.reason);
            }
        }
        return fates;
    }
};

TEST_F(CommandFacts, AnswerForAUserOnAComputer)
{
    const std::wstring samples = std::wstring(KX_SOURCE_DIR) + L"\\Samples\\Fernhill\\";
    EXPECT_EQ(Run({L"apply", L"--manifest", samples + L"fernhill.json", L"--facts",
                   samples + L"anna.facts.json", L"--json", L"run.json"}),
              1)
        << "one of the GPOs is faulty: " << _m_errors;
    EXPECT_THAT(Saved().passes.at(0).notes, Contains(HasSubstr(std::string("answered from"))));
    EXPECT_THAT(Fates(),
                ElementsAre("machine: Elevate the remote support tool excluded",
                            "machine: Elevate the chromatograph excluded",
                            StartsWith("machine: Elevate the instrument drivers let through: FilterFile: "),
                            "user:  excluded"));
}

TEST_F(CommandFacts, CountInEveryCommandThatRuns)
{
    const std::wstring gpo = Write(kGpoA, L"Machine", L"Policies.xml", kTargeted);
    _m_folder.Write(L"in.json", R"({"user": {"name": "F\\anna", "group": ["F\\Hall"]}})");
    _m_folder.Write(L"out.json", R"({"user": {"name": "F\\anna", "group": []}})");
    _m_folder.Write(L"m.json", R"({"gpos": [{"path": "gpos"}]})");
    const auto apply = [&](int code, std::vector<std::wstring> more) {
        more.insert(more.begin(), {L"apply", gpo, L"--work", L"work", L"--json", L"run.json"});
        EXPECT_EQ(Run(more), code) << _m_errors;
        return Fates();
    };
    EXPECT_THAT(apply(0, {L"--facts", L"out.json"}), ElementsAre("machine: hall excluded"));
    EXPECT_THAT(apply(1, {}), ElementsAre(StartsWith("machine: hall let through")))
        << "nobody is in F\\Hall or not, here; facts hold for their own run, in the same folder too";
    EXPECT_THAT(apply(0, {L"--facts", L"in.json"}), IsEmpty());
    EXPECT_EQ(Saved().passes.at(0).policies.size(), 1U);

    EXPECT_EQ(Run({L"report", gpo, L"--facts", L"out.json"}), 0) << _m_errors;
    EXPECT_THAT(_m_output, HasSubstr("does not match: <FilterGroup"));
    EXPECT_EQ(Run({L"explain", L"hall", gpo, L"--facts", L"out.json"}), 0) << _m_errors;
    EXPECT_THAT(_m_output, HasSubstr("excluded at policy targeting"));
    EXPECT_EQ(Run({L"diff", L"run.json", L"m.json", L"--facts", L"in.json"}), 0) << _m_output;
    EXPECT_EQ(Run({L"diff", L"run.json", L"m.json", L"--facts", L"out.json"}), 5) << _m_output;
    EXPECT_EQ(Run({L"plan", gpo, L"--facts", L"out.json", L"--json", L"run.json"}), 0) << _m_errors;
    EXPECT_THAT(Saved().passes.at(0).notes, ElementsAre(HasSubstr("no fact counts")));
}

TEST_F(CommandFacts, FaultsAreNamed)
{
    const std::wstring gpo = WritePolicy(kGpoA, L"Machine");
    _m_folder.Write(L"bad.json", R"({"user": {"colour": "red"}})");
    _m_folder.Write(L"good.json", "{}");
    EXPECT_EQ(Run({L"apply", gpo, L"--json", L"run.json"}), 0) << _m_errors;
    const std::wstring alone = _m_folder / L"alone\\kx_gpext.dll";
    _m_folder.Write(L"alone\\x", "");
    ASSERT_TRUE(::CopyFileW(KX_STAGE L"\\kx_gpext.dll", alone.c_str(), TRUE));
    const std::tuple<std::vector<std::wstring>, int, const char*> rows[] = {
        {{L"apply", gpo, L"--facts", L"none.json"}, 2, "none.json: cannot be read"},
        {{L"apply", gpo, L"--facts", L"bad.json"}, 2, "bad.json: /user/colour is no fact that is known"},
        {{L"report", L"--from", L"run.json", L"--facts", L"good.json"}, 2, "--from is a run already"},
        {{L"explain", L"p", L"--from", L"run.json", L"--facts", L"good.json"}, 2, "--from is a run already"},
        {{L"diff", L"run.json", L"run.json", L"--facts", L"good.json"}, 2, "A and B are run already"},
        {{L"apply", gpo, L"--facts", L"good.json", L"--extension", alone}, 3, "is not beside the extension"},
    };
    for (const auto& [arguments, code, error] : rows) {
        EXPECT_EQ(Run(arguments), code) << error;
        EXPECT_THAT(_m_errors, HasSubstr(error));
    }
}

} // namespace
