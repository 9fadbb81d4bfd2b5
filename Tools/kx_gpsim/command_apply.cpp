#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/commands.h"
#include "Tools/kx_gpsim/options.h"
#include "Tools/kx_gpsim/run_output.h"

#include <memory>

namespace kx {

namespace {

constexpr const char* kExamples = R"(Examples:
  kx_gpsim apply "Policies\{3D1F6B52-8E0B-4E61-9E26-5B1A7C0A1101}"
  kx_gpsim apply --manifest fernhill.json --out update.xml --json run.json
  kx_gpsim apply --scope machine baseline dairy --link 2=OU=Dairy,DC=fernhill,DC=example --forced 2
  kx_gpsim apply --state last.json --manifest fernhill.json    what the next refresh would do

Exit codes: 0 done, 1 errors in some GPO, 2 usage, 3 no agent to be played or no extension.)";

struct Apply {
    RunOptions run;
    OutputOptions output;
};

} // namespace

void AddApplyCommand(CLI::App& program, Action& action)
{
    const auto apply = std::make_shared<Apply>();
    CLI::App& command =
        *program.add_subcommand("apply", "a refresh: what the agent would get, and what became of each GPO");
    AddRunOptions(command, apply->run);
    AddLinkOptions(command, apply->run);
    AddStateOption(command, apply->run);
    AddAgentOptions(command, apply->run);
    AddOutputOptions(command, apply->output);
    command.footer(kExamples);
    command.callback(
        [apply, &action] { action = [apply] { return RunAndShow(apply->run, apply->output); }; });
}

} // namespace kx
