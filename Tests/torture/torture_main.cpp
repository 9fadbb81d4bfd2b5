// Fails every fallible call of the shipped module, one a run, and everything from that call on; and has every
// call on a COM object say, one a run, that memory is gone.
//
//     kx_torture.exe [--module PATH] [--scenario NAME] [--sample N [--seed S]]
//                    [--only N] [--from N] [--memory N]
//
// Without --sample the whole sweep; with it, about N points spread over the scenarios. --only, --from and
// --memory run one point of one scenario: they are what a failing point prints. With 0 they run all points of
// their kind.

#include "Tests/torture/com_faults.h"
#include "Tests/torture/point.h"

#include "Common_CPP/util/scope_exit.h"
#include "Common_CPP/xml/xml_document.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <filesystem>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr DWORD kLongestPointMs = 20000;

struct Options {
    std::wstring module = KX_STAGE L"\\kx_gpext.dll";
    std::string scenario; ///< empty for all
    unsigned sample = 0;  ///< 0 for the whole sweep
    unsigned seed = 1;
    FaultPlan only; ///< CountOnly for no single point
};

struct Point {
    const Scenario* scenario = nullptr;
    FaultPlan plan;
};

const char* ModeName(FaultPlan::Mode mode)
{
    switch (mode) {
    case FaultPlan::Mode::FailNth:
        return "--only";
    case FaultPlan::Mode::FailFrom:
        return "--from";
    case FaultPlan::Mode::NoMemoryNth:
        return "--memory";
    case FaultPlan::Mode::CountOnly:
        break;
    }
    return "undisturbed";
}

// ---- points that do not come back ---------------------------------------------------------------------

// The running point, for whoever has to name it when it does not end by itself.
char g_pointName[128];
std::atomic<ULONGLONG> g_deadline{0}; // in ticks; 0 while no point runs

void ShowPoint(const char* what)
{
    const char* call = RunningFailedCall();
    std::printf("\nFAILED %s: %s\n  the failed call: %s\n  replay: kx_torture.exe %s\n", g_pointName, what,
                call ? call : "none", g_pointName);
    std::fflush(stdout);
}

void WatchTime()
{
    for (;;) {
        ::Sleep(100);
        const ULONGLONG deadline = g_deadline;
        if (deadline != 0 && ::GetTickCount64() > deadline) {
            ShowPoint("did not end in time");
            ::TerminateProcess(::GetCurrentProcess(), 2);
        }
    }
}

LONG WINAPI OnCrash(EXCEPTION_POINTERS* crash)
{
    const auto address = reinterpret_cast<ULONG_PTR>(crash->ExceptionRecord->ExceptionAddress);
    const auto module = reinterpret_cast<ULONG_PTR>(::GetModuleHandleW(Stage::c_moduleName));
    char text[96];
    std::snprintf(text, sizeof text, "crashed with 0x%lX at module%+lld",
                  crash->ExceptionRecord->ExceptionCode, static_cast<long long>(address - module));
    ShowPoint(text);
    ::TerminateProcess(::GetCurrentProcess(), 3);
    return EXCEPTION_EXECUTE_HANDLER;
}

// ---- running ------------------------------------------------------------------------------------------

void PrintComplaint(const PointResult& result)
{
    std::printf("\nFAILED %s: %s\n  the failed call: %s, code %lu, from %s\n  replay: kx_torture.exe %s\n",
                g_pointName, result.complaint.c_str(), result.failedCall ? result.failedCall : "none",
                result.code, result.failedAt.c_str(), g_pointName);
    std::fflush(stdout);
}

// Names the point before it runs, so that the name is there whatever happens.
PointResult Run(Stage& stage, const Point& point, const PointResult* undamaged)
{
    std::snprintf(g_pointName, sizeof g_pointName, "--scenario %s %s %u", point.scenario->name,
                  ModeName(point.plan.mode), point.plan.at);
    std::printf("%s", g_pointName);
    std::fflush(stdout);
    g_deadline = ::GetTickCount64() + kLongestPointMs;
    PointResult result = RunPoint(stage, *point.scenario, point.plan, undamaged);
    g_deadline = 0;
    if (result.complaint.empty())
        std::printf(" %s %lu\n", result.failedCall ? result.failedCall : "-", result.code);
    else
        PrintComplaint(result);
    return result;
}

std::vector<Point> PointsOf(const Scenario& scenario, const PointResult& undamaged, const Options& options)
{
    using enum FaultPlan::Mode;
    if (options.only.at != 0)
        return {{&scenario, options.only}};
    const auto wants = [&](FaultPlan::Mode mode) {
        return options.only.mode == CountOnly || options.only.mode == mode;
    };
    std::vector<Point> points;
    for (unsigned call = 1; call <= undamaged.calls; ++call)
        for (const FaultPlan::Mode mode : {FailNth, FailFrom})
            if (wants(mode))
                points.push_back({&scenario, {mode, call}});
    for (const unsigned call : undamaged.objectCalls)
        if (wants(NoMemoryNth))
            points.push_back({&scenario, {NoMemoryNth, call}});
    if (options.sample == 0)
        return points;
    const std::size_t scenarios = options.scenario.empty() ? AllScenarios().size() : 1;
    const auto share = std::max<std::size_t>(1, options.sample / scenarios);
    std::vector<Point> sample;
    std::sample(points.begin(), points.end(), std::back_inserter(sample), share, std::mt19937(options.seed));
    return sample;
}

struct Tally {
    unsigned survived = 0;
    unsigned swept = 0;
};

// An undisturbed run comes twice: the first, which also loads what the system keeps, and the one that counts.
Tally Sweep(const Scenario& scenario, const Options& options)
{
    Stage stage(options.module);
    scenario.setUp(stage);
    (void)Run(stage, {&scenario, {}}, nullptr);
    const PointResult undamaged = Run(stage, {&scenario, {}}, nullptr);
    Tally tally;
    if (!undamaged.complaint.empty())
        return {0, 1};
    for (const Point& point : PointsOf(scenario, undamaged, options)) {
        ++tally.swept;
        tally.survived += Run(stage, point, &undamaged).complaint.empty();
    }
    std::printf("%s: %u calls, %u of %u points survived\n", scenario.name, undamaged.calls, tally.survived,
                tally.swept);
    return tally;
}

// False, said, when the module makes calls that no row of the table knows.
bool KnowsImports(const Options& options)
{
    const CkxModule module(::LoadLibraryW(options.module.c_str()));
    if (!module) {
        std::printf("cannot load %ls\n", options.module.c_str());
        return false;
    }
    const std::vector<std::string> unknown = UnknownImports(module.Get());
    for (const std::string& name : unknown)
        std::printf("the module imports %s, which the table of imports does not know\n", name.c_str());
    return unknown.empty();
}

bool ParseOptions(int count, wchar_t** arguments, Options& options)
{
    for (int i = 1; i + 1 < count; i += 2) {
        const std::wstring name = arguments[i];
        const std::wstring value = arguments[i + 1];
        const auto number = static_cast<unsigned>(std::wcstoul(value.c_str(), nullptr, 10));
        if (name == L"--module")
            options.module = value;
        else if (name == L"--scenario")
            options.scenario = std::filesystem::path(value).string();
        else if (name == L"--sample")
            options.sample = number;
        else if (name == L"--seed")
            options.seed = number;
        else if (name == L"--only")
            options.only = {FaultPlan::Mode::FailNth, number};
        else if (name == L"--from")
            options.only = {FaultPlan::Mode::FailFrom, number};
        else if (name == L"--memory")
            options.only = {FaultPlan::Mode::NoMemoryNth, number};
        else
            return false;
    }
    return count % 2 == 1 && (options.only.at == 0 || !options.scenario.empty());
}

int Torture(const Options& options)
{
    if (!KnowsImports(options))
        return 1;
    const PatchOnLoad patch(Stage::c_moduleName);
    const CkxXMLDocument keepsParserLoaded;
    const kx::ScopeExit restore([]() noexcept { com::RestoreTables(); });
    Tally all;
    for (const Scenario& scenario : AllScenarios()) {
        if (!options.scenario.empty() && options.scenario != scenario.name)
            continue;
        const Tally tally = Sweep(scenario, options);
        all.survived += tally.survived;
        all.swept += tally.swept;
    }
    std::printf("%u of %u points survived\n", all.survived, all.swept);
    return all.survived == all.swept && all.swept != 0 ? 0 : 1;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    Options options;
    if (!ParseOptions(count, arguments, options)) {
        std::printf("kx_torture.exe [--module PATH] [--scenario NAME] [--sample N [--seed S]] [--only N] "
                    "[--from N] [--memory N]\n");
        return 1;
    }
    ::SetUnhandledExceptionFilter(OnCrash);
    std::thread(WatchTime).detach();
    if (FAILED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)))
        return 1;
    int result = 1;
    try {
        result = Torture(options);
    } catch (const std::exception& error) {
        std::printf("cannot run: %s\n", error.what());
    }
    ::CoUninitialize();
    return result;
}
