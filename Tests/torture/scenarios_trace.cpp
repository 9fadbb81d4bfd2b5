// Start-up, and what tracing does beside writing lines.
#include "Tests/torture/scenario_files.h"
#include "Tests/torture/scenarios.h"

namespace {

void SetUpRefresh(Stage& stage)
{
    SetUpListening(stage);
    stage.changed = {WriteSmallGpo(stage, kGpoA)};
}

void SetUpConfigured(Stage& stage)
{
    SetUpRefresh(stage);
    stage.SetConfiguration("refresh@3600\n"
                           "print@class@CkxGp\\c*@all@on\n"
                           "prefix@stack@Process@all@<%STACK> <%TNAME>:\n"
                           "to_aux_stream@dbg\n"
                           "no directive\n"
                           "dump\n");
}

void SetUpEverythingTraced(Stage& stage)
{
    SetUpListening(stage);
    stage.changed = {WriteEmptyGpo(stage, kGpoA)};
    stage.SetConfiguration("refresh@3600\n"
                           "print@file@@all@on\n"
                           "stacktrace@<%INDENT>> <%STACK>@<%INDENT>< <%STACK>@\n");
}

void SetUpReload(Stage& stage)
{
    SetUpRefresh(stage);
    stage.SetConfiguration("refresh@0\n");
}

void SetUpRotation(Stage& stage)
{
    SetUpRefresh(stage);
    stage.SetConfiguration("refresh@3600\nrotation@30@1500\n");
}

void SetUpDatedRotation(Stage& stage)
{
    SetUpRefresh(stage);
    stage.SetConfiguration("refresh@3600\nrotation@30@2500@<%YEAR>_<%NUM>.old\n");
}

const Scenario kScenarios[] = {
    {"load-and-unload", SetUpRefresh, kRefresh, ERROR_SUCCESS, Strikes::LoadAndUnload},
    {"load-and-unload-configured", SetUpConfigured, kRefresh, ERROR_SUCCESS, Strikes::LoadAndUnload},
    {"load-and-unload-rotation", SetUpRotation, kRefresh, ERROR_SUCCESS, Strikes::LoadAndUnload},
    {"trace-everything", SetUpEverythingTraced, kRefresh},
    {"trace-reload", SetUpReload, kReload},
    {"trace-rotation", SetUpRotation, kRefresh},
    {"trace-rotation-dated", SetUpDatedRotation, kRefresh},
};

} // namespace

std::span<const Scenario> TraceScenarios()
{
    return kScenarios;
}
