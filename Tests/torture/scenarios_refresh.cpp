// Refreshes for machine and user, beside an agent that listens.
#include "Tests/torture/scenario_files.h"
#include "Tests/torture/scenarios.h"

namespace {

void SetUpMachine(Stage& stage)
{
    SetUpListening(stage);
    stage.flags = GPO_INFO_FLAG_MACHINE;
    stage.changed = {WriteFullGpo(stage, kGpoA), WriteFullGpo(stage, kGpoB)};
    CkxListedGpo gone;
    gone.name = kGpoC;
    gone.displayName = L"Gone & <forgotten>";
    stage.deleted = {gone};
}

void SetUpUser(Stage& stage)
{
    SetUpListening(stage);
    stage.changed = {WriteFullGpo(stage, kGpoA)};
}

void SetUpFaultyUser(Stage& stage)
{
    SetUpListening(stage);
    stage.changed = {WriteSmallGpo(stage, kGpoA), WriteFaultyGpo(stage, kGpoB), WriteSmallGpo(stage, kGpoC)};
}

void SetUpNoChanges(Stage& stage)
{
    SetUpListening(stage);
    stage.flags = GPO_INFO_FLAG_MACHINE | GPO_INFO_FLAG_NOCHANGES;
}

void SetUpOnlyDeleted(Stage& stage)
{
    SetUpListening(stage);
    stage.deleted = {WriteSmallGpo(stage, kGpoA), WriteSmallGpo(stage, kGpoB)};
}

void SetUpNoFiles(Stage& stage)
{
    SetUpListening(stage);
    stage.changed = {WriteEmptyGpo(stage, kGpoA)};
}

void SetUpDoctype(Stage& stage)
{
    SetUpListening(stage);
    stage.changed = {WriteSmallGpo(stage, kGpoA)};
    stage.Write(kGpoA, L"Tokens.xml", "<!DOCTYPE Tokens [<!ENTITY e 'x'>]><Tokens version='5'>&e;</Tokens>");
}

void SetUpMigration(Stage& stage)
{
    SetUpListening(stage);
    stage.SetSecret(kSecret);
    stage.changed = {WriteSmallGpo(stage, kGpoA), WriteSmallGpo(stage, kGpoB), WriteSmallGpo(stage, kGpoC)};
    WriteMigration(stage, false);
}

void SetUpDumpedMigration(Stage& stage)
{
    SetUpMigration(stage);
    stage.EnableDump();
}

void SetUpDump(Stage& stage)
{
    SetUpUser(stage);
    stage.EnableDump();
}

const Scenario kScenarios[] = {
    {"refresh-machine", SetUpMachine, kRefresh},
    {"refresh-user", SetUpUser, kRefresh},
    {"refresh-user-faulty-gpo", SetUpFaultyUser, kRefresh},
    {"refresh-no-changes", SetUpNoChanges, kRefresh},
    {"refresh-only-deleted", SetUpOnlyDeleted, kRefresh},
    {"refresh-no-files", SetUpNoFiles, kRefresh},
    {"refresh-doctype", SetUpDoctype, kRefresh},
    {"migration", SetUpMigration, kMigration},
    {"migration-dump", SetUpDumpedMigration, kMigration},
    {"dump", SetUpDump, kRefresh},
};

} // namespace

std::span<const Scenario> RefreshScenarios()
{
    return kScenarios;
}
