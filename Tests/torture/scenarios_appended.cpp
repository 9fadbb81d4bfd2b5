// Updates that a component of the agent pushes beside Group Policy.
#include "Tests/torture/scenario_files.h"
#include "Tests/torture/scenarios.h"

namespace {

void SetUpMachine(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
    stage.flags = GPO_INFO_FLAG_MACHINE;
    stage.changed = {WriteFullGpo(stage, kGpoA), WriteSmallGpo(stage, kGpoB)};
}

void SetUpFaultyUser(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
    const CkxListedGpo faulty = WriteSmallGpo(stage, kGpoB);
    stage.Write(kGpoB, L"Tokens.xml", "<Tokens version='4'/>");
    CkxListedGpo nameless = faulty;
    nameless.name.clear();
    stage.changed = {nameless, faulty, WriteSmallGpo(stage, kGpoC)};
    stage.changed.back().displayName.assign(200, L'%'); // too long to be lent without memory
}

void SetUpNoSets(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
}

void SetUpDump(Stage& stage)
{
    stage.SetAgent(AgentRole::Listens);
    stage.changed = {WriteSmallGpo(stage, kGpoA)};
    stage.EnableDump();
}

void SetUpStopped(Stage& stage)
{
    stage.changed = {WriteSmallGpo(stage, kGpoA)};
}

void SetUpDyingAgent(Stage& stage)
{
    SetUpStopped(stage);
    stage.SetAgent(AgentRole::Dies);
}

const Scenario kScenarios[] = {
    {"appended-machine", SetUpMachine, kAppended},
    {"appended-user-faulty-set", SetUpFaultyUser, kAppended},
    {"appended-no-sets", SetUpNoSets, kAppended},
    {"appended-dump", SetUpDump, kAppended},
    {"appended-agent-stopped", SetUpStopped, kAppended, ERROR_NOT_READY},
    {"appended-agent-dies", SetUpDyingAgent, kAppended, ERROR_WRITE_FAULT},
};

} // namespace

std::span<const Scenario> AppendedScenarios()
{
    return kScenarios;
}
