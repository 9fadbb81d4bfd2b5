#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/commands.h"
#include "Tools/kx_gpsim/explain_text.h"
#include "Tools/kx_gpsim/filed_policies.h"
#include "Tools/kx_gpsim/options.h"
#include "Tools/kx_gpsim/run_json.h"
#include "Tools/kx_gpsim/terminal.h"
#include "Tools/kx_gpsim/text_file.h"

#include <memory>
#include <string>

namespace kx {

namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kx_gpsim explain \"Elevate the chromatograph\" --manifest fernhill.json\n"
    "  kx_gpsim explain \"Laboratory exceptions\" --from run.json\n"
    "  kx_gpsim explain {A1000000-0000-4000-8000-000000000003} --from run.json --json -\n"
    "The exit code is 0 where there is such a policy or GPO, 1 where there is none.\n";

struct ExplainOptions {
    RunOptions run;
    std::string name;
    bool plan = false;
    std::string from; ///< a saved run; empty: one is made
    std::string json; ///< "-" for standard output; empty: none
};

void AddExplainOptions(CLI::App& command, ExplainOptions& options)
{
    command.add_option("--from", options.from, "a run that was saved as JSON, instead of a new one")
        ->type_name("FILE")
        ->group("What is applied");
    command.add_flag("--plan", options.plan, "what planning would record, instead of a refresh")
        ->group("What is applied");
    command
        .add_option("--json", options.json, "write it as JSON; - for standard output, in place of the text")
        ->type_name("FILE")
        ->group("Output");
}

RunResult RunOf(const ExplainOptions& options)
{
    if (options.from.empty()) {
        RunOptions run = options.run;
        run.call = options.plan ? Call::Plan : Call::Apply;
        return RunFrom(run);
    }
    if (NamesRun(options.run))
        throw UsageError("--from is a run already: give it without GPOs, --manifest and --facts");
    return ParseRun(ReadText(options.from), options.from);
}

std::string NotFound(const Report& report, const std::vector<FiledPolicy>& filed, const std::string& name)
{
    std::string text = "No policy and no GPO of this run is called " + name + ".\n";
    for (const std::string& similar : SimilarNames(report, filed, name))
        text += "  There is " + similar + "\n";
    return text;
}

void Print(CkxTerminal::Stream stream, const std::string& text)
{
    if (!CkxTerminal(stream).Write(text))
        throw EnvironmentError("standard output cannot be written");
}

ExitCode RunExplain(const ExplainOptions& options)
{
    const RunResult run = RunOf(options);
    const Report report = MakeReport(run);
    const std::vector<FiledPolicy> filed = ReadFiledPolicies(run);
    const std::vector<Explanation> explanations = Explain(run, report, filed, options.name);
    const std::string json = ExplanationsJson(report, explanations, options.name)
                                 .dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
                             '\n';
    if (options.json == "-")
        Print(CkxTerminal::Stream::Output, json);
    else if (!options.json.empty())
        WriteText(options.json, json);
    if (options.json != "-")
        Print(CkxTerminal::Stream::Output,
              FormatExplanations(report, explanations, CkxTerminal(CkxTerminal::Stream::Output).Style()));
    if (!explanations.empty())
        return ExitCode::Done;
    Print(CkxTerminal::Stream::Error, NotFound(report, filed, options.name));
    return ExitCode::DoneWithErrors;
}

} // namespace

void AddExplainCommand(CLI::App& program, Action& action)
{
    CLI::App* const command = program.add_subcommand(
        "explain",
        "One policy or GPO: taken, excluded or let through, at which step, and what the trace says");
    const auto options = std::make_shared<ExplainOptions>();
    command->add_option("NAME", options->name, "name or gpid of a policy, display name or {GUID} of a GPO")
        ->type_name("")
        ->required();
    AddRunOptions(*command, options->run);
    AddLinkOptions(*command, options->run);
    AddAgentOptions(*command, options->run);
    AddExplainOptions(*command, *options);
    command->footer(kExamples);
    command->callback([options, &action] { action = [options] { return RunExplain(*options); }; });
}

} // namespace kx
