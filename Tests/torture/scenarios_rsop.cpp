// Refreshes and planning calls that record in WMI.
#include "Tests/torture/scenario_files.h"
#include "Tests/torture/scenarios.h"

namespace {

constexpr int kManyGroups = 12;

void SetUpUser(Stage& stage)
{
    SetUpListening(stage);
    stage.RecordRsop();
    stage.changed = {WriteRecordedGpo(stage, kGpoA, 2)};
}

void SetUpMachine(Stage& stage)
{
    SetUpUser(stage);
    stage.flags = GPO_INFO_FLAG_MACHINE;
}

void SetUpConfiguration(Stage& stage)
{
    SetUpMachine(stage);
    stage.changed = {WriteConfigurationGpo(stage, kGpoA)};
}

void SetUpManyGroups(Stage& stage)
{
    SetUpUser(stage);
    stage.changed = {WriteRecordedGpo(stage, kGpoA, kManyGroups)};
}

void SetUpFaulty(Stage& stage)
{
    SetUpUser(stage);
    stage.changed = {WriteFaultyGpo(stage, kGpoB), WriteRecordedGpo(stage, kGpoA, 1)};
}

void SetUpMigration(Stage& stage)
{
    SetUpUser(stage);
    stage.SetSecret(kSecret);
    stage.changed.push_back(WriteSmallGpo(stage, kGpoB));
    WriteMigration(stage, false);
}

void SetUpPlanning(Stage& stage)
{
    stage.RecordRsop();
    stage.changed = {WriteRecordedGpo(stage, kGpoA, 1)};
    stage.plansUser = true;
}

void SetUpPlanningComputer(Stage& stage)
{
    SetUpPlanning(stage);
    stage.changed.push_back(WriteConfigurationGpo(stage, kGpoB));
    stage.plansComputer = true;
    stage.plansUser = false;
}

void SetUpPlanningBoth(Stage& stage)
{
    SetUpPlanning(stage);
    stage.plansComputer = true;
}

void SetUpPlanningFaulty(Stage& stage)
{
    SetUpPlanning(stage);
    stage.changed = {WriteEmptyGpo(stage, kGpoC), WriteSmallGpo(stage, kGpoB)};
}

const Scenario kScenarios[] = {
    {"rsop-machine", SetUpMachine, kRefresh},
    {"rsop-user", SetUpUser, kRefresh},
    {"rsop-configuration", SetUpConfiguration, kRefresh},
    {"rsop-many-groups", SetUpManyGroups, kRefresh},
    {"rsop-faulty-gpo", SetUpFaulty, kRefresh},
    {"rsop-migration", SetUpMigration, kMigration},
    {"planning-user", SetUpPlanning, kPlanning},
    {"planning-computer", SetUpPlanningComputer, kPlanning},
    {"planning-both", SetUpPlanningBoth, kPlanning},
    {"planning-faulty-gpos", SetUpPlanningFaulty, kPlanning},
};

} // namespace

std::span<const Scenario> RsopScenarios()
{
    return kScenarios;
}
