// The program's commands. Each has a file of its own.
#pragma once

#include "Tools/kx_gpsim/exit_codes.h"

#include <functional>

namespace CLI {
class App;
}

namespace kx {

/// What the command line asks for; throws ToolError where it cannot be done.
using Action = std::function<ExitCode()>;

// Each adds its command, with options, help and examples. When the command line is parsed and names the
// command, `action` becomes what is to be done; it stays valid as long as the program's App.

void AddApplyCommand(CLI::App& program, Action& action);
void AddPlanCommand(CLI::App& program, Action& action);
void AddAppendCommand(CLI::App& program, Action& action);
void AddReportCommand(CLI::App& program, Action& action);
void AddListenCommand(CLI::App& program, Action& action);
void AddExplainCommand(CLI::App& program, Action& action);
void AddLintCommand(CLI::App& program, Action& action);
void AddDiffCommand(CLI::App& program, Action& action);

} // namespace kx
