#include "Tools/kx_gpsim/agent_role.h"
#include "Tools/kx_gpsim/cli.h"
#include "Tools/kx_gpsim/commands.h"
#include "Tools/kx_gpsim/pretty_xml.h"
#include "Tools/kx_gpsim/secrets.h"
#include "Tools/kx_gpsim/terminal.h"
#include "Tools/kx_gpsim/text_file.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <atomic>
#include <filesystem>
#include <memory>

namespace kx {

namespace {

constexpr DWORD kLookAroundMs = 200; // how often Ctrl+C and the time are looked at

constexpr const char* kExamples = R"(Examples:
  kx_gpsim listen                          each document to the screen, until Ctrl+C
  kx_gpsim listen --folder received        each document into a file of its own
  kx_gpsim listen --count 1 --seconds 60   the next document, if one comes within a minute

Exit codes: 0 done, 1 no document came within the time, 2 usage, 3 an agent is there already.)";

struct Listen {
    std::string folder;
    bool raw = false;
    std::size_t count = 0; ///< documents to wait for; 0 for no end
    unsigned seconds = 0;  ///< 0 for no end
};

std::atomic<bool> g_stop{false};

BOOL WINAPI OnControl(DWORD)
{
    g_stop = true;
    return TRUE;
}

void MakeFolder(const std::string& folder)
{
    std::error_code error;
    if (!folder.empty())
        std::filesystem::create_directories(Wide(folder), error);
    if (error)
        throw EnvironmentError(folder + ": cannot be made: " + error.message());
}

void Deliver(const Listen& listen, const std::wstring& document, std::size_t number)
{
    const std::string masked = MaskXml(Narrow(document));
    const std::string text = listen.raw ? masked : PrettyXml(masked);
    const CkxTerminal screen(CkxTerminal::Stream::Output);
    if (listen.folder.empty()) {
        (void)screen.Write(text.ends_with('\n') ? text : text + '\n');
        return;
    }
    const std::string file = listen.folder + "\\update-" + std::to_string(number) + ".xml";
    WriteText(file, text);
    (void)screen.Write(file + '\n');
}

// True when all documents that were asked for have come.
bool ListenUntilTheEnd(const Listen& listen, CkxAgentRole& agent)
{
    const ULONGLONG start = ::GetTickCount64();
    const CkxTerminal errors(CkxTerminal::Stream::Error);
    std::size_t received = 0;
    while (!g_stop && (listen.count == 0 || received < listen.count)) {
        if (listen.seconds != 0 && ::GetTickCount64() - start >= listen.seconds * 1000ULL)
            break;
        std::size_t broken = 0;
        if (const auto document = agent.Receive(kLookAroundMs, broken))
            Deliver(listen, *document, ++received);
        else if (broken > 0)
            (void)errors.Write("a message of " + std::to_string(broken) + " bytes is not whole\n");
    }
    return received >= listen.count && (received > 0 || g_stop);
}

ExitCode RunListen(const Listen& listen)
{
    MakeFolder(listen.folder);
    CkxAgentRole agent(false);
    ::SetConsoleCtrlHandler(OnControl, TRUE);
    (void)CkxTerminal(CkxTerminal::Stream::Error).Write("listening as the agent; Ctrl+C ends\n");
    return ListenUntilTheEnd(listen, agent) ? ExitCode::Done : ExitCode::DoneWithErrors;
}

} // namespace

void AddListenCommand(CLI::App& program, Action& action)
{
    const auto listen = std::make_shared<Listen>();
    CLI::App& command =
        *program.add_subcommand("listen", "the agent's side alone: takes what the extension sends");
    command.add_option("--folder", listen->folder, "write each document into a file there")->type_name("DIR");
    command.add_flag("--raw", listen->raw, "documents as they arrive instead of indented");
    command.add_option("--count", listen->count, "end after so many documents")->type_name("N");
    command.add_option("--seconds", listen->seconds, "end after this time")->type_name("N");
    command.footer(kExamples);
    command.callback([listen, &action] { action = [listen] { return RunListen(*listen); }; });
}

} // namespace kx
