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
    const std::vector<SeenGpo> a1 = {Gpo("a", 1)};
    const std::vector<SeenGpo> ab = {Gpo("a", 1), Gpo("b", 1)};
    const std::vector<SeenGpo> ba = {Gpo("b", 1), Gpo("a", 1)};
    const std::vector<SeenGpo> otherFile = {Gpo("a", 1, "2:2")};
    const std::vector<SeenGpo> noVersion = {Gpo("a", {})};
    const std::vector<SeenGpo> noVersionOtherFile = {Gpo("a", {}, "2:2")};

    const struct {
        const char* why;
        std::vector<SeenGpo> before;
        std::vector<SeenGpo> now;
        std::uint32_t lastCode;
        bool forced;
        bool call;
        bool noChanges;
        std::size_t deleted;
        std::size_t notes;
    } rows[] = {
        {"nothing changed", ab, ab, 0, false, false, true, 0, 0},
        {"forced", a1, a1, 0, true, true, true, 0, 0},
        {"the extension asked to be called again", a1, a1, 1252, false, true, true, 0, 0},
        {"another error asks for nothing", a1, a1, 1465, false, false, true, 0, 0},
        {"a new version", a1, {Gpo("a", 2)}, 0, false, true, false, 0, 0},
        {"a new GPO", a1, ab, 0, false, true, false, 0, 0},
        {"one is gone", ab, {Gpo("b", 1)}, 0, false, true, false, 1, 0},
        {"another order", ab, ba, 0, false, true, false, 0, 0},
        {"a name's case is nothing", a1, {Gpo("A", 1)}, 0, false, false, true, 0, 0},
        {"the engine sees versions only", a1, otherFile, 0, false, false, true, 0, 1},
        {"where there is none, files count", noVersion, noVersionOtherFile, 0, false, true, false, 0, 0},
    };

    for (const auto& row : rows) {
        const kx::EngineDecision decision =
            kx::DecideRefresh(ScopeState{row.lastCode, row.before}, row.now, row.forced);
        EXPECT_EQ(decision.call, row.call) << row.why;
        EXPECT_EQ(decision.noChanges, row.noChanges) << row.why;
        EXPECT_EQ(decision.deleted.size(), row.deleted) << row.why;
        EXPECT_EQ(decision.notes.size(), row.notes) << row.why;
    }
    const kx::EngineDecision first = kx::DecideRefresh(std::nullopt, a1, false);
    EXPECT_TRUE(first.call && !first.noChanges && first.deleted.empty()) << "the first refresh";
}

TEST(RunState, TextComesBack)
{
    kx::RunState state;
    state.user = ScopeState{1252, {Gpo("a", 3), Gpo("b", {})}};
    const kx::RunState read = kx::ParseState(kx::StateText(state), "s");
    ASSERT_TRUE(read.user && !read.machine);
    EXPECT_EQ(read.user->code, 1252U);
    EXPECT_FALSE(kx::DecideRefresh(ScopeState{0, read.user->gpos}, state.user->gpos, false).call);
    EXPECT_EQ(read.user->gpos[0].version, 3U);
    EXPECT_FALSE(read.user->gpos[1].version);
    EXPECT_EQ(read.user->gpos[1].folder, "C:\\b");

    for (const char* text : {"{", R"({"format":2,"machine":null,"user":null})", R"({"format":1,"user":null})",
                             R"({"format":1,"machine":{"code":-1,"gpos":[]},"user":null})"})
        EXPECT_THROW((void)kx::ParseState(text, "s"), kx::UsageError) << text;
}

} // namespace
