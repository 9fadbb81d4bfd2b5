#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/commands.h"
#include "Tools/kx_gpsim/options.h"
#include "Tools/kx_gpsim/run_output.h"

#include <memory>

namespace kx {

namespace {

constexpr const char* kExamples = R"(Examples:
  kx_gpsim plan --manifest fernhill.json
  kx_gpsim plan --scope user baseline dairy --json plan.json

Nothing is sent to any agent, and item-level targeting is not evaluated: that is how the extension plans.

Exit codes: 0 done, 1 errors in some GPO, 2 usage, 3 no extension.)";

struct Plan {
    RunOptions run;
    OutputOptions output;
};

} // namespace

void AddPlanCommand(CLI::App& program, Action& action)
{
    const auto plan = std::make_shared<Plan>();
    plan->run.call = Call::Plan;
    CLI::App& command =
        *program.add_subcommand("plan", "planning: what would be recorded for a computer and a user");
    AddRunOptions(command, plan->run);
    AddLinkOptions(command, plan->run);
    AddJsonOption(command, plan->output);
    command.footer(kExamples);
    command.callback([plan, &action] { action = [plan] { return RunAndShow(plan->run, plan->output); }; });
}

} // namespace kx
