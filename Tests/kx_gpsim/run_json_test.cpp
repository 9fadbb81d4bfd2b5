#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/run_json.h"

#include <gmock/gmock.h>

namespace {

kx::RunResult FullRun()
{
    kx::PassResult pass;
    pass.scope = kx::Scope::User;
    pass.call = "plan";
    pass.called = false;
    pass.code = 0xFFFFFFFF;
    pass.delivered = true;
    pass.document = "<a x=\"\xC3\xA4\">\n</a>";
    pass.documentRoot = "a";
    kx::GpoOutcome outcome;
    outcome.gpo = {"{A}", "A", "C:\\f", "LDAP://DC=d", "ou", 3, true, true};
    outcome.taken = 7;
    outcome.excluded = {{"p", "r"}};
    outcome.letThrough = {{"", "s"}};
    outcome.complaints = {{"error", "Policies.xml", 4, 5, "why"}};
    outcome.migration = true;
    pass.gpos = {outcome};
    pass.policies = {{"{A}", "n", "i", "10", -5, "<Policy/>", {"g"}, {{"/c", "v"}}}};
    pass.recorded = {{"C", {{"id", "v", false}, {"creationTime", "", true}}}};
    pass.complaints = {{"warning", "", 0, 0, "general"}};
    pass.notes = {"note"};
    pass.trace = {"line \\ \"1\""};
    return {{pass}, "C:\\work"};
}

// What does not come back would be missing from the second text.
TEST(RunJson, ComesBackWhole)
{
    const std::string text = kx::RunText(FullRun());
    EXPECT_EQ(kx::RunText(kx::ParseRun(text, "f")), text);
    for (const char* part :
         {"\"taken\": 7", "\"value\": null", "\"order\": -5", "4294967295", "\"called\": false",
          "\"general\"", "\"/c\"", "\"letThrough\"", "\"C:\\\\work\""})
        EXPECT_THAT(text, testing::HasSubstr(part));
}

TEST(RunJson, FaultsNameTheirPlace)
{
    const struct {
        const char* pointer;
        nlohmann::json value;
        const char* error;
    } rows[] = {
        {"/passes/0/scope", "both", "f: /passes/0/scope is none of machine, user"},
        {"/passes/0/code", -1, "f: /passes/0/code is out of range"},
        {"/passes/0/gpos/0/gpo/order", "1", "f: /passes/0/gpos/0/gpo/order is not a whole number"},
        {"/passes/0/policies/0/groups/0", 1, "f: /passes/0/policies/0/groups/0 is not a text"},
        {"/passes/0/recorded", nullptr, "f: /passes/0/recorded is not an array"},
        {"/format", 2, "f: /format was written by another version"},
    };

    for (const auto& row : rows) {
        nlohmann::json json = kx::ToJson(FullRun());
        json[nlohmann::json::json_pointer(row.pointer)] = row.value;
        try {
            (void)kx::ParseRun(json.dump(), "f");
            ADD_FAILURE() << row.pointer;
        } catch (const kx::UsageError& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(row.error));
        }
    }
}

} // namespace
