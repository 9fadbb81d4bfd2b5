#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/commands.h"
#include "Tools/kx_gpsim/options.h"
#include "Tools/kx_gpsim/report_html.h"
#include "Tools/kx_gpsim/report_json.h"
#include "Tools/kx_gpsim/report_model.h"
#include "Tools/kx_gpsim/report_text.h"
#include "Tools/kx_gpsim/run_json.h"
#include "Tools/kx_gpsim/terminal.h"
#include "Tools/kx_gpsim/text_file.h"

#include <memory>
#include <string>

namespace kx {

namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  kx_gpsim report --manifest fernhill.json\n"
    "  kx_gpsim report --scope machine \"01 Fernhill baseline\" \"02 Dairy floor workstations\"\n"
    "  kx_gpsim report --manifest fernhill.json --html report.html\n"
    "  kx_gpsim report --from run.json --json report.json --out report.txt\n"
    "  kx_gpsim report --manifest fernhill.json --json - | jq .totals\n";

struct ReportOptions {
    RunOptions run;
    bool plan = false;
    std::string from; ///< a saved run; empty: one is made
    std::string json; ///< "-" for standard output; empty: none
    std::string html; ///< file for the page; empty: none
    std::string out;  ///< file for the text; empty: standard output
    bool text = false;

    [[nodiscard]] bool WantsText() const { return text || !out.empty() || (json.empty() && html.empty()); }
};

void AddReportOptions(CLI::App& command, ReportOptions& options)
{
    constexpr const char* what = "What is applied";
    constexpr const char* output = "Output";
    command.add_option("--from", options.from, "a run that was saved as JSON, instead of a new one")
        ->type_name("FILE")
        ->group(what);
    command.add_flag("--plan", options.plan, "what planning would record, instead of a refresh")->group(what);
    command.add_option("--json", options.json, "write the report as JSON; - for standard output")
        ->type_name("FILE")
        ->group(output);
    command.add_option("--html", options.html, "write the report as a page for a browser, in one file")
        ->type_name("FILE")
        ->group(output);
    command.add_flag("--text", options.text, "the text too, where --json or --html is given")->group(output);
    command.add_option("--out", options.out, "write the text to a file instead of standard output")
        ->type_name("FILE")
        ->group(output);
}

void Check(const ReportOptions& options)
{
    if (!options.from.empty() && NamesRun(options.run))
        throw UsageError("--from is a run already: give it without GPOs, --manifest and --facts");
    if (options.json == "-" && options.WantsText() && options.out.empty())
        throw UsageError("text and JSON cannot both go to standard output: give --out FILE");
}

void WriteOut(std::string_view text, const CkxTerminal& output)
{
    if (!output.Write(text))
        throw EnvironmentError("standard output cannot be written");
}

void Render(const RunResult& run, const ReportOptions& options)
{
    const Report report = MakeReport(run);
    const CkxTerminal output(CkxTerminal::Stream::Output);
    if (options.json == "-")
        WriteOut(FormatReportJson(report), output);
    else if (!options.json.empty())
        WriteText(options.json, FormatReportJson(report));
    if (!options.html.empty())
        WriteText(options.html, FormatReportHtml(run, report));
    if (!options.out.empty())
        WriteText(options.out, FormatReportText(report));
    else if (options.WantsText())
        WriteOut(FormatReportText(report, output.Style()), output);
}

ExitCode RunReport(const ReportOptions& options)
{
    Check(options);
    RunOptions runOptions = options.run;
    runOptions.call = options.plan ? Call::Plan : Call::Apply;
    const RunResult run =
        options.from.empty() ? RunFrom(runOptions) : ParseRun(ReadText(options.from), options.from);
    Render(run, options);
    return HasErrors(run) ? ExitCode::DoneWithErrors : ExitCode::Done;
}

} // namespace

void AddReportCommand(CLI::App& program, Action& action)
{
    CLI::App* const command =
        program.add_subcommand("report", "Resultant set of policy: what wins, where it came from, and why");
    const auto options = std::make_shared<ReportOptions>();
    AddRunOptions(*command, options->run);
    AddLinkOptions(*command, options->run);
    AddAgentOptions(*command, options->run);
    AddReportOptions(*command, *options);
    command->footer(kExamples);
    command->callback([options, &action] { action = [options] { return RunReport(*options); }; });
}

} // namespace kx
