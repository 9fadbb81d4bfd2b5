// Item-level targeting, beside a stand-in for the extension that evaluates it.
#include "Tests/torture/scenario_files.h"
#include "Tests/torture/scenarios.h"

namespace {

constexpr std::string_view kSomeKeptOut =
    "<GpoPolicies version='5'><ItemLevelTargeting answer='match'/>"
    "<Policy name='in'><ItemLevelTargeting answer='match'/></Policy>"
    "<Policy name='kept-out'><ItemLevelTargeting is='kept-out'/></Policy>"
    "<Policy name='free'/></GpoPolicies>";

constexpr std::string_view kAllKeptOut =
    "<GpoPolicies version='5'><ItemLevelTargeting is='kept-out'/><Policy name='kept-out'/></GpoPolicies>";

void SetUpUnregistered(Stage& stage)
{
    SetUpListening(stage);
    stage.changed = {stage.Write(kGpoA, L"Policies.xml",
                                 "<GpoPolicies version='5'><Policy name='in'><ItemLevelTargeting/></Policy>"
                                 "</GpoPolicies>")};
}

void SetUp(Stage& stage)
{
    SetUpListening(stage);
    stage.RegisterTargeting();
    stage.changed = {stage.Write(kGpoA, L"Policies.xml", kSomeKeptOut)};
}

void SetUpWholeGpo(Stage& stage)
{
    SetUp(stage);
    stage.changed = {stage.Write(kGpoA, L"Policies.xml", kAllKeptOut), WriteSmallGpo(stage, kGpoB)};
}

void SetUpRsop(Stage& stage)
{
    SetUpListening(stage);
    stage.RegisterTargeting();
    stage.RecordRsop();
    stage.changed = {stage.Write(kGpoA, L"Policies.xml",
                                 "<GpoPolicies version='5'><Policy name='in' gpid='{1}' action='1' order='1'>"
                                 "<ItemLevelTargeting answer='match'/></Policy></GpoPolicies>")};
}

void SetUpAppended(Stage& stage)
{
    SetUp(stage);
    stage.flags = GPO_INFO_FLAG_MACHINE;
}

const Scenario kScenarios[] = {
    {"targeting", SetUp, kRefresh},
    {"targeting-whole-gpo", SetUpWholeGpo, kRefresh},
    {"targeting-rsop", SetUpRsop, kRefresh},
    {"targeting-unregistered", SetUpUnregistered, kRefresh},
    {"targeting-appended", SetUpAppended, kAppended},
};

} // namespace

std::span<const Scenario> TargetingScenarios()
{
    return kScenarios;
}
