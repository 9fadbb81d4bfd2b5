#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/run_state.h"

#include <gmock/gmock.h>

namespace {

using kx::ScopeState;
using kx::SeenGpo;

SeenGpo Gpo(const char* name, std::optional<std::uint32_t> version, const char* stamp = "1:1")
{
    return {name,    std::string("GPO ") + name, "C:\\" + std::string(name), "LDAP://DC=d",
            version, {{"Policies.xml", stamp}}};
}

TEST(RunState, DecidesAsTheEngineWould)
{
    const std::vector<SeenGpo> a = {Gpo("a", 1)};
    const std::vector<SeenGpo> ab = {Gpo("a", 1), Gpo("b", 1)};

    const struct {
        const char* why;
        std::vector<SeenGpo> before, now;
        bool call, noChanges;
        std::size_t deleted = 0;
        std::size_t notes = 0;
        std::uint32_t lastCode = 0;
        bool forced = false;
    } rows[] = {
        {"nothing changed", ab, ab, false, true},
        {"forced", a, a, true, true, 0, 0, 0, true},
        {"the extension asked to be called again", a, a, true, true, 0, 0, 1252},
        {"another error asks for nothing", a, a, false, true, 0, 0, 1465},
        {"a new version", a, {Gpo("a", 2)}, true, false},
        {"a new GPO", a, ab, true, false},
        {"one is gone", ab, {Gpo("b", 1)}, true, false, 1},
        {"another order", ab, {Gpo("b", 1), Gpo("a", 1)}, true, false},
        {"a name's case is nothing", a, {Gpo("A", 1)}, false, true},
        {"the engine sees versions only", a, {Gpo("a", 1, "2:2")}, false, true, 0, 1},
        {"where there is none, files count", {Gpo("a", {})}, {Gpo("a", {}, "2:2")}, true, false},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        const kx::EngineDecision decision =
            kx::DecideRefresh(ScopeState{row.lastCode, row.before}, row.now, row.forced);
        EXPECT_EQ(decision.call, row.call);
        EXPECT_EQ(decision.noChanges, row.noChanges);
        EXPECT_EQ(decision.deleted.size(), row.deleted);
        EXPECT_EQ(decision.notes.size(), row.notes);
    }
    const kx::EngineDecision first = kx::DecideRefresh(std::nullopt, a, false);
    EXPECT_TRUE(first.call && !first.noChanges && first.deleted.empty()) << "the first refresh";
}

TEST(RunState, TextComesBack)
{
    kx::RunState state;
    state.user = ScopeState{1252, {Gpo("a", 3), Gpo("b", {})}};
    const std::string text = kx::StateText(state);
    const kx::RunState read = kx::ParseState(text, "s");
    EXPECT_EQ(kx::StateText(read), text);
    EXPECT_FALSE(read.machine);
    EXPECT_FALSE(kx::DecideRefresh(ScopeState{0, read.user.value().gpos}, state.user->gpos, false).call);
    for (const char* wrong :
         {"{", R"({"format":2,"machine":null,"user":null})", R"({"format":1,"user":null})",
          R"({"format":1,"machine":{"code":-1,"gpos":[]},"user":null})"})
        EXPECT_THROW((void)kx::ParseState(wrong, "s"), kx::UsageError) << wrong;
}

} // namespace
