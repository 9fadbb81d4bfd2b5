#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/commands.h"
#include "Tools/kx_gpsim/lint_json.h"
#include "Tools/kx_gpsim/lint_junit.h"
#include "Tools/kx_gpsim/lint_reader.h"
#include "Tools/kx_gpsim/lint_rules.h"
#include "Tools/kx_gpsim/lint_settings.h"
#include "Tools/kx_gpsim/lint_text.h"
#include "Tools/kx_gpsim/named_gpos.h"
#include "Tools/kx_gpsim/terminal.h"
#include "Tools/kx_gpsim/text_file.h"

#include <memory>

namespace kx {

namespace {

constexpr const char* kScreen = "-";

constexpr const char* kExamples = R"(Examples:
  kx_gpsim lint --manifest fernhill.json
  kx_gpsim lint baseline dairy --junit lint.xml --fail-on error
  kx_gpsim lint --manifest fernhill.json --silence KX1302,KX1204@Dairy
  kx_gpsim lint baseline --json - | jq .totals

Exit codes: 0 no findings at or above --fail-on, 2 usage, 4 findings.)";

struct LintOptions {
    std::vector<std::string> gpos;
    std::string manifest;
    std::vector<std::string> silence;
    std::string config;
    std::string failOn; ///< empty: the settings'
    std::string json;   ///< "-" for standard output in place of the text
    std::string junit;  ///< likewise
};

void AddOptions(CLI::App& command, LintOptions& options)
{
    constexpr const char* what = "What is looked at";
    constexpr const char* judged = "How it is judged";
    constexpr const char* output = "Output";
    command.add_option("GPO", options.gpos, "GPOs in the engine's order, or folders that hold some")
        ->type_name("")
        ->group(what);
    command.add_option("--manifest", options.manifest, "JSON file that describes a run")
        ->type_name("FILE")
        ->group(what);
    command
        .add_option("--silence", options.silence,
                    "ids of findings that are not to be reported; ID@GPO for those of one GPO only")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("ID[,ID]")
        ->group(judged);
    command.add_option("--config", options.config, "JSON file with ids to be silent, and what to fail on")
        ->type_name("FILE")
        ->group(judged);
    command
        .add_option("--fail-on", options.failOn,
                    "note, warning or error: from where on the exit code is 4; warning where not given")
        ->check(CLI::IsMember({"note", "warning", "error"}))
        ->type_name("SEVERITY")
        ->group(judged);
    command.add_option("--json", options.json, "write the findings as JSON; - for standard output alone")
        ->type_name("FILE")
        ->group(output);
    command.add_option("--junit", options.junit, "write them as JUnit XML; - for standard output alone")
        ->type_name("FILE")
        ->group(output);
}

LintSettings SettingsOf(const LintOptions& options)
{
    LintSettings settings;
    if (!options.config.empty())
        settings = ParseLintSettings(ReadText(options.config), options.config);
    for (const std::string& text : options.silence)
        settings.silence.push_back(ParseSilence(text));
    if (!options.failOn.empty())
        settings.failOn = ParseSeverity(options.failOn);
    return settings;
}

// Writes to the file that is named, if one is; true when that is the screen.
bool Deliver(const std::string& file, const std::string& text, const CkxTerminal& screen)
{
    if (file == kScreen)
        return (void)screen.Write(text), true;
    if (!file.empty())
        WriteText(file, text);
    return false;
}

void Show(const LintReport& report, LintSeverity failOn, const LintOptions& options)
{
    const CkxTerminal screen(CkxTerminal::Stream::Output);
    const bool json = Deliver(options.json, FormatLintJson(report), screen);
    const bool junit = Deliver(options.junit, FormatLintJUnit(report, failOn), screen);
    if (!json && !junit)
        (void)screen.Write(FormatLintText(report, screen.Style()));
}

ExitCode RunLint(const LintOptions& options)
{
    if (options.json == kScreen && options.junit == kScreen)
        throw UsageError("--json and --junit cannot both go to standard output");
    const LintSettings settings = SettingsOf(options);
    LintReport report = Lint(ReadForLint(FindNamedGpos(options.gpos, options.manifest)));
    Silence(settings.silence, report);
    Show(report, settings.failOn, options);
    return HasAtLeast(report, settings.failOn) ? ExitCode::LintFindings : ExitCode::Done;
}

} // namespace

void AddLintCommand(CLI::App& program, Action& action)
{
    const auto options = std::make_shared<LintOptions>();
    CLI::App& command =
        *program.add_subcommand("lint", "what is wrong in the policy files, before they are published");
    AddOptions(command, *options);
    command.footer(kExamples);
    command.callback([options, &action] { action = [options] { return RunLint(*options); }; });
}

} // namespace kx
