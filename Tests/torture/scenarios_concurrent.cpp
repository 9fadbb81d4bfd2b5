// Two refreshes at once, for the machine and a user.
#include "Tests/torture/scenario_files.h"
#include "Tests/torture/scenarios.h"

namespace {

void SetUpRefresh(Stage& stage)
{
    SetUpListening(stage);
    stage.changed = {WriteSmallGpo(stage, kGpoA)};
}

void SetUpRsop(Stage& stage)
{
    SetUpListening(stage);
    stage.RecordRsop();
    stage.changed = {WriteRecordedGpo(stage, kGpoA, 1)};
}

void SetUpTargeting(Stage& stage)
{
    SetUpListening(stage);
    stage.RegisterTargeting();
    stage.changed = {stage.Write(kGpoA, L"Policies.xml",
                                 "<GpoPolicies version='5'>"
                                 "<Policy name='in'><ItemLevelTargeting answer='match'/></Policy>"
                                 "<Policy name='kept-out'><ItemLevelTargeting is='kept-out'/></Policy>"
                                 "</GpoPolicies>")};
}

void SetUpRotation(Stage& stage)
{
    SetUpRefresh(stage);
    stage.SetConfiguration("refresh@3600\nrotation@30@2000\n");
}

const Scenario kScenarios[] = {
    {"concurrent", SetUpRefresh, kRefresh, ERROR_SUCCESS, Strikes::RunBesideAnother},
    {"concurrent-both", SetUpRefresh, kRefresh, ERROR_SUCCESS, Strikes::BothThreads},
    {"concurrent-rsop", SetUpRsop, kRefresh, ERROR_SUCCESS, Strikes::RunBesideAnother},
    {"concurrent-targeting", SetUpTargeting, kRefresh, ERROR_SUCCESS, Strikes::RunBesideAnother},
    {"concurrent-rotation", SetUpRotation, kRefresh, ERROR_SUCCESS, Strikes::BothThreads},
};

} // namespace

std::span<const Scenario> ConcurrentScenarios()
{
    return kScenarios;
}
