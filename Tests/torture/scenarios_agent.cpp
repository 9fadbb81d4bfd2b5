// An agent that is not there, is not what it seems to be, or does not listen.
#include "Tests/torture/scenario_files.h"
#include "Tests/torture/scenarios.h"

namespace {

void SetUpNothing(Stage& stage)
{
    stage.changed = {WriteSmallGpo(stage, kGpoA)};
}

void SetUpStopped(Stage& stage)
{
    SetUpNothing(stage);
    stage.InstallAgent(true);
}

template <AgentRole Role>
void SetUpRole(Stage& stage)
{
    SetUpStopped(stage);
    stage.SetAgent(Role);
}

void SetUpForeignMutex(Stage& stage)
{
    SetUpRole<AgentRole::Listens>(stage);
    stage.KeepForeignMutex();
}

const Scenario kScenarios[] = {
    {"agent-not-installed", SetUpNothing, kRefresh},
    {"agent-stopped", SetUpStopped, kRefresh, ERROR_OVERRIDE_NOCHANGES},
    {"agent-without-pipe", SetUpRole<AgentRole::Deaf>, kRefresh, ERROR_OVERRIDE_NOCHANGES},
    {"agent-foreign", SetUpRole<AgentRole::Foreign>, kRefresh, ERROR_OVERRIDE_NOCHANGES},
    {"agent-dies", SetUpRole<AgentRole::Dies>, kRefresh, ERROR_OVERRIDE_NOCHANGES},
    {"agent-foreign-mutex", SetUpForeignMutex, kRefresh},
};

} // namespace

std::span<const Scenario> AgentScenarios()
{
    return kScenarios;
}
