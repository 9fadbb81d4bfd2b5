#include "Tests/torture/scenarios.h"

#include "Tests/torture/scenario_files.h"

namespace {

DWORD Refresh(Stage& stage, bool again)
{
    return stage.Refresh(again);
}

DWORD Migrate(Stage& stage, bool again)
{
    WriteMigration(stage, again);
    return stage.Refresh(again);
}

DWORD Reload(Stage& stage, bool again)
{
    if (!again)
        stage.ChangeConfiguration(c_reloaded);
    return stage.Refresh(again);
}

DWORD PushAppended(Stage& stage, bool again)
{
    return stage.PushAppended(again);
}

DWORD Plan(Stage& stage, bool /*again*/)
{
    return stage.Plan();
}

constexpr DWORD kRefreshCodes[] = {
    ERROR_SUCCESS,           ERROR_OUTOFMEMORY,        ERROR_INVALID_PARAMETER,
    ERROR_OPERATION_ABORTED, ERROR_OVERRIDE_NOCHANGES, ERROR_INTERNAL_ERROR,
    ERROR_XML_PARSE_ERROR,
};
constexpr DWORD kAppendedCodes[] = {
    ERROR_SUCCESS,     ERROR_ACCESS_DENIED,  ERROR_OUTOFMEMORY,     ERROR_NOT_READY,
    ERROR_WRITE_FAULT, ERROR_INTERNAL_ERROR, ERROR_XML_PARSE_ERROR,
};
constexpr DWORD kPlanningCodes[] = {ERROR_SUCCESS, ERROR_OUTOFMEMORY, ERROR_INTERNAL_ERROR};

} // namespace

const std::string_view c_reloaded = "refresh@3600\n"
                                    "print@file@gp_(xml|pipe)@400-500@on\n"
                                    "prefix@file@@all@<%HOUR>:<%MIN> <%LEVEL> <%FILE>:\n"
                                    "to_aux_stream@dbg\n";

const Entry kRefresh = {.run = Refresh, .codes = kRefreshCodes, .deliversParts = true};
const Entry kMigration = {.run = Migrate, .codes = kRefreshCodes, .deliversParts = true};
const Entry kReload = {.run = Reload, .codes = kRefreshCodes, .deliversParts = true};
const Entry kAppended = {.run = PushAppended, .codes = kAppendedCodes, .deliversParts = true};
const Entry kPlanning = {.run = Plan, .codes = kPlanningCodes, .reportsHresults = true};

std::vector<Scenario> AllScenarios()
{
    std::vector<Scenario> all;
    for (const auto& group : {RefreshScenarios(), AgentScenarios(), AppendedScenarios(), RsopScenarios(),
                              TargetingScenarios(), TraceScenarios(), ConcurrentScenarios()})
        for (const Scenario& scenario : group)
            all.push_back(scenario);
    return all;
}
