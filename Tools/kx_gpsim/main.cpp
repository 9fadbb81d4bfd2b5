// Shows what a refresh would do: runs the extension as it ships, and plays the engine, the agent and WMI
// around it.

#include "Common_CPP/trace/trace_control.h"
#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/commands.h"
#include "Tools/kx_gpsim/terminal.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <windows.h>

#include <objbase.h>

#include <exception>
#include <string>
#include <vector>

namespace {

using kx::ExitCode;

constexpr const char* kFooter = R"(Every command has examples: kx_gpsim COMMAND --help

Exit codes: 0 done, 1 done with errors in some GPO, 2 usage, 3 agent or environment, 4 lint findings,
5 differences, 70 an internal error.)";

// COM while the program runs.
class ComScope {
  public:
    ComScope() : _m_result(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))
    {
        if (FAILED(_m_result))
            throw kx::EnvironmentError("COM cannot be had");
    }

    ~ComScope() { ::CoUninitialize(); }

    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;

  private:
    HRESULT _m_result;
};

void Print(CkxTerminal::Stream stream, const std::string& text)
{
    (void)CkxTerminal(stream).Write(text);
}

ExitCode Fail(ExitCode code, const std::string& why)
{
    Print(CkxTerminal::Stream::Error, "kx_gpsim: " + why + '\n');
    return code;
}

// Help is no error; anything else that the library throws is one of usage.
ExitCode ShowParseResult(const CLI::App& program, const CLI::ParseError& error)
{
    if (error.get_exit_code() != 0)
        return Fail(ExitCode::Usage, std::string(error.what()) + "\nTry kx_gpsim --help.");
    std::string help = program.help();
    for (const CLI::App* command : program.get_subcommands())
        help = command->help(program.get_name());
    Print(CkxTerminal::Stream::Output, help);
    return ExitCode::Done;
}

// The library takes the last argument first.
ExitCode Run(std::vector<std::string> arguments)
{
    CLI::App program("Shows what Group Policy would send to the agent, with the extension itself.",
                     "kx_gpsim");
    program.require_subcommand(1);
    program.allow_windows_style_options(false); // a path may begin with a slash
    program.footer(kFooter);
    kx::Action action;
    kx::AddApplyCommand(program, action);
    kx::AddPlanCommand(program, action);
    kx::AddAppendCommand(program, action);
    kx::AddReportCommand(program, action);
    kx::AddListenCommand(program, action);
    kx::AddExplainCommand(program, action);
    kx::AddLintCommand(program, action);
    kx::AddDiffCommand(program, action);
    try {
        program.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return ShowParseResult(program, error);
    }
    const ComScope com;
    return action();
}

} // namespace

int wmain(int count, wchar_t** texts)
{
    (void)D_ToStream("dbg", false); // what our own XML layer traces is not the program's output
    ExitCode code = ExitCode::Internal;
    try {
        std::vector<std::string> arguments;
        for (int i = count - 1; i > 0; --i)
            arguments.push_back(kx::Narrow(texts[i]));
        code = Run(std::move(arguments));
    } catch (const kx::ToolError& error) {
        code = Fail(error.Code(), error.what());
    } catch (const std::bad_alloc&) {
        code = Fail(ExitCode::Environment, "out of memory");
    } catch (const std::exception& error) {
        code = Fail(ExitCode::Internal, std::string("internal error: ") + error.what());
    } catch (...) {
        code = Fail(ExitCode::Internal, "internal error");
    }
    return static_cast<int>(code);
}
