#include "Tests/kx_gpsim/sample_run.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/run_json.h"

#include <gmock/gmock.h>

namespace {

// What does not come back would be missing from the second text.
TEST(RunJson, ComesBackWhole)
{
    kx::RunResult run = kx_test::SampleRun();
    run.workFolder = "C:\\work";
    kx::PassResult& pass = run.passes[0];
    pass.called = false;
    pass.code = 0xFFFFFFFF;
    pass.document = "<a x=\"\xC3\xA4\">\n</a>";
    pass.gpos[0].gpo.folder = "C:\\f";
    pass.gpos[0].gpo.forced = true;
    pass.gpos[0].migration = true;
    pass.policies[0].order = -5;
    pass.recorded = {{"C", {{"id", "v", false}, {"creationTime", "", true}}}};
    pass.complaints = {{"warning", "", 0, 0, "general"}};
    pass.notes = {"note"};
    pass.trace = {"line \\ \"1\""};
    const std::string text = kx::RunText(run);
    EXPECT_EQ(kx::RunText(kx::ParseRun(text, "f")), text);
    for (const char* part : {"\"taken\": 2", "\"forced\": true", "\"value\": null", "\"order\": -5",
                             "4294967295", "\"called\": false", "\"general\"", "\"/Configuration/Ui/Colour\"",
                             "\"letThrough\"", "\"C:\\\\work\""})
        EXPECT_THAT(text, testing::HasSubstr(part));
}

TEST(RunJson, FaultsNameTheirPlace)
{
    nlohmann::json json = kx::ToJson(kx_test::SampleRun());
    const auto errorOf = [&json] {
        try {
            (void)kx::ParseRun(json.dump(), "f");
        } catch (const kx::UsageError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    json["passes"][0]["gpos"][0]["gpo"]["order"] = "1";
    EXPECT_EQ(errorOf(), "f: /passes/0/gpos/0/gpo/order is not a whole number");
    json["format"] = 2;
    EXPECT_THAT(errorOf(), testing::HasSubstr("f: /format was written by another version"));
}

} // namespace
