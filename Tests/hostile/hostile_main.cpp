// Refreshes from mutated policy files, and hands every document that the agent gets to a checker.
//
//     kx_hostile.exe [--count N] [--first N] [--seed S] [--only N] [--show 1]
//
// Documents go to standard output (see message_stream.h), findings and figures to standard error. --only runs
// one case alone: that is what a finding prints.

#include "Tests/hostile/hostile_stage.h"
#include "Tests/hostile/message_stream.h"
#include "Tests/support/handle_count.h"
#include "Tests/support/memory_use.h"
#include "Tools/host/update_message.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <iterator>
#include <thread>

namespace {

constexpr DWORD kLongestCaseMs = 60000;
constexpr DWORD kMessageTimeoutMs = 10000;
constexpr std::uint64_t kWarmUp = 50;
constexpr std::uint64_t kShowEvery = 10000;
constexpr std::size_t kHandleAllowance = 4; // the listener's locks make themselves an event each
constexpr std::size_t kHeapAllowance = std::size_t{64} * 1024; // the listener's and the store's own

// With an agent that listens, nothing else is documented: sent, or a migration command without a document.
constexpr DWORD kCodes[] = {ERROR_SUCCESS, ERROR_XML_PARSE_ERROR};

struct Options {
    std::uint64_t first = 0;
    std::uint64_t count = 100000;
    std::uint64_t seed = 1;
    bool show = false;
};

std::atomic<std::uint64_t> g_running{0};
std::atomic<ULONGLONG> g_deadline{0}; // in ticks; 0 while no case runs
std::uint64_t g_seed = 0;

void Complain(const char* what, unsigned long code = 0)
{
    std::fprintf(stderr,
                 "FAILED case %llu of seed %llu: %s (%lu)\n  replay: ./kx hostile --seed %llu --only %llu\n",
                 g_running.load(), static_cast<unsigned long long>(g_seed), what, code,
                 static_cast<unsigned long long>(g_seed), g_running.load());
    std::fflush(stderr);
}

void WatchTime()
{
    for (;;) {
        ::Sleep(500);
        const ULONGLONG deadline = g_deadline;
        if (deadline != 0 && ::GetTickCount64() > deadline) {
            Complain("did not end in time");
            ::TerminateProcess(::GetCurrentProcess(), 2);
        }
    }
}

// "module+offset" of the code at an address.
void ShowPlace(const void* address)
{
    HMODULE module = nullptr;
    wchar_t name[MAX_PATH] = L"?";
    if (::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                 GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                             static_cast<const wchar_t*>(address), &module))
        ::GetModuleFileNameW(module, name, MAX_PATH);
    std::fprintf(stderr, "  at %ls+0x%llX\n", name,
                 static_cast<unsigned long long>(static_cast<const char*>(address) -
                                                 reinterpret_cast<const char*>(module)));
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* crash)
{
    Complain("crashed", crash->ExceptionRecord->ExceptionCode);
    ShowPlace(crash->ExceptionRecord->ExceptionAddress);
    void* frames[24];
    const USHORT count = ::RtlCaptureStackBackTrace(0, ARRAYSIZE(frames), frames, nullptr);
    for (USHORT frame = 0; frame < count; ++frame)
        ShowPlace(frames[frame]);
    std::fflush(stderr);
    ::TerminateProcess(::GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

bool IsImpersonating()
{
    CkxHandle token;
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.Put()) ||
           ::GetLastError() != ERROR_NO_TOKEN;
}

// The one message of a refresh that said that it was sent, on its way to the checker.
bool PassOn(HostileStage& stage, const MessageStream& stream)
{
    const auto message = stage.Message(kMessageTimeoutMs);
    if (!message) {
        Complain("the agent got nothing");
        return false;
    }
    if (!kx::DecodeUpdateMessage(*message)) {
        Complain("the message is not whole", static_cast<unsigned long>(message->size()));
        return false;
    }
    const std::span<const std::byte> bytes(*message);
    return stream.Message(g_running, bytes.subspan(4, bytes.size() - 6)); // neither length nor NUL
}

bool Run(HostileStage& stage, const HostileCase& made, const MessageStream& stream)
{
    stage.Write(made);
    if (made.plans) {
        if (const DWORD code = stage.Plan(made); code != ERROR_SUCCESS) {
            Complain("planning returned", code);
            return false;
        }
    }
    const DWORD code = stage.Refresh(made);
    if (std::find(std::begin(kCodes), std::end(kCodes), code) == std::end(kCodes)) {
        Complain("an undocumented code", code);
        return false;
    }
    if (IsImpersonating()) {
        Complain("the thread was left impersonating");
        return false;
    }
    return code != ERROR_SUCCESS || PassOn(stage, stream);
}

// The files of a case, for whoever looks into a finding.
void Show(const HostileCase& made)
{
    for (std::size_t gpo = 0; gpo < made.gpos.size(); ++gpo)
        for (std::size_t file = 0; file < kx::kPolicyFileCount; ++file)
            if (made.gpos[gpo][file].kind == HostileFile::Kind::Text)
                std::fprintf(stderr, "--- GPO %zu, %ls\n%.*s\n", gpo,
                             kx::PolicyFileName(static_cast<kx::PolicyFile>(file)).data(),
                             static_cast<int>(made.gpos[gpo][file].text.size()),
                             made.gpos[gpo][file].text.data());
    std::fprintf(stderr, "--- %s%s%s\n", made.machine ? "machine" : "user", made.logs ? ", logged" : "",
                 made.plans ? ", planned before" : "");
}

// What is open and allocated, early and at the end of a run.
class Leftovers {
  public:
    void Begin()
    {
        _m_handles = CountHandles();
        _m_heap = HeapBytes();
    }

    /// False, said, when there is more than at the beginning.
    [[nodiscard]] bool End() const
    {
        if (_m_handles == 0) // too short a run
            return true;
        const std::size_t handles = CountHandles(_m_handles);
        const std::size_t heap = HeapBytes();
        std::fprintf(stderr, "after %llu refreshes and at the end: handles %zu, %zu; heap %zu, %zu bytes\n",
                     static_cast<unsigned long long>(kWarmUp), _m_handles, handles, _m_heap, heap);
        const bool keepsStrings = ::GetEnvironmentVariableW(L"OANOCACHE", nullptr, 0) == 0;
        if (handles > _m_handles + kHandleAllowance)
            Complain("handles were left open", static_cast<unsigned long>(handles - _m_handles));
        else if (!keepsStrings && heap > _m_heap + kHeapAllowance)
            Complain("memory was left behind", static_cast<unsigned long>(heap - _m_heap));
        else
            return true;
        return false;
    }

  private:
    std::size_t _m_handles = 0;
    std::size_t _m_heap = 0;
};

std::uint64_t RunAll(HostileStage& stage, const Options& options, const MessageStream& stream)
{
    std::uint64_t failed = 0;
    Leftovers leftovers;
    const std::uint64_t end = options.first + options.count;
    for (std::uint64_t number = options.first; number < end; ++number) {
        if (number == options.first + kWarmUp)
            leftovers.Begin(); // no case's own texts are there
        g_running = number;
        const HostileCase made = MakeHostileCase(options.seed, number, stage.Places());
        if (options.show)
            Show(made);
        if (!stream.Begin(number))
            return failed + 1; // nobody checks any more
        g_deadline = ::GetTickCount64() + kLongestCaseMs;
        failed += !Run(stage, made, stream);
        g_deadline = 0;
        if (const std::uint64_t done = number + 1 - options.first; done % kShowEvery == 0)
            std::fprintf(stderr, "%llu refreshes\n", static_cast<unsigned long long>(done));
    }
    failed += !leftovers.End();
    if (stage.WrittenByTheExtension().find(c_canary) != std::string::npos) {
        Complain("text from outside stands in a file of the extension");
        ++failed;
    }
    return failed;
}

bool ParseOptions(int count, wchar_t** arguments, Options& options)
{
    for (int i = 1; i + 1 < count; i += 2) {
        const std::wstring name = arguments[i];
        const std::uint64_t number = std::wcstoull(arguments[i + 1], nullptr, 10);
        if (name == L"--count")
            options.count = number;
        else if (name == L"--show")
            options.show = number != 0;
        else if (name == L"--seed")
            options.seed = number;
        else if (name == L"--first")
            options.first = number;
        else if (name == L"--only")
            options.first = number, options.count = 1;
        else
            return false;
    }
    return count % 2 == 1;
}

int Hostile(const Options& options)
{
    g_seed = options.seed;
    ::SetEnvironmentVariableW(L"DLIB_SILENCE", L""); // standard error is for findings
    HostileStage stage;
    const MessageStream stream;
    const ULONGLONG start = ::GetTickCount64();
    const std::uint64_t failed = RunAll(stage, options, stream);
    const double seconds = static_cast<double>(::GetTickCount64() - start) / 1000;
    std::fprintf(stderr, "%llu refreshes from mutated files, seed %llu, %llu failed, %.0f s, %.0f a second\n",
                 static_cast<unsigned long long>(options.count),
                 static_cast<unsigned long long>(options.seed), static_cast<unsigned long long>(failed),
                 seconds, static_cast<double>(options.count) / (seconds > 0 ? seconds : 1));
    return stream.End(options.count) && failed == 0 ? 0 : 1;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    Options options;
    if (!ParseOptions(count, arguments, options)) {
        std::fprintf(stderr, "kx_hostile.exe [--count N] [--first N] [--seed S] [--only N] [--show 1]\n");
        return 2;
    }
    ::SetUnhandledExceptionFilter(&OnCrash);
    std::thread(&WatchTime).detach();
    if (FAILED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)))
        return 2;
    int code = 2;
    try {
        code = Hostile(options);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "kx_hostile: %s\n", failure.what());
    }
    ::CoUninitialize();
    return code;
}
