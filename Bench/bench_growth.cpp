// How a refresh grows: time and peak memory against the number of policies and of GPOs, for the extension and
// for the fastest bare way, as the exponent of the power that fits best; and the peak memory of one large
// refresh for each byte of its document. What is measured for its memory runs in a process of its own, which
// is this program again: "--peak SIDE GPOS POLICIES FILE".
#include "Bench/bare_refresh.h"
#include "Bench/bench_gpos.h"
#include "Bench/bench_report.h"
#include "Bench/refresh_stage.h"

#include <windows.h>

#include <psapi.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr double kMoreThanFastest = 0.05;
constexpr double kMostMemoryToFastest = 1.2;
const CkxBareUser kUser{L"S-1-5-21-1-2-3-1001", L"LAB\\user"};

struct Size {
    int gpos;
    int policies; // in each
    int rounds;
};

// What grows is the first or the second figure.
constexpr Size kMorePolicies[] = {{1, 1000, 11}, {1, 10000, 7}, {1, 100000, 3}};
constexpr Size kMoreGpos[] = {{10, 20, 15}, {100, 20, 9}, {999, 20, 5}};
constexpr Size kLargest = {999, 300, 1};

// The exponent b of the power a * x^b that fits best, by least squares over the logarithms.
double FittedExponent(const std::vector<double>& sizes, const std::vector<double>& values)
{
    const auto count = static_cast<double>(sizes.size());
    double x = 0;
    double y = 0;
    double xx = 0;
    double xy = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const double logSize = std::log(sizes[i]);
        const double logValue = std::log(values[i]);
        x += logSize;
        y += logValue;
        xx += logSize * logSize;
        xy += logSize * logValue;
    }
    return (count * xy - x * y) / (count * xx - x * x);
}

// ---- one refresh in a process of its own

PROCESS_MEMORY_COUNTERS Memory()
{
    PROCESS_MEMORY_COUNTERS counters{};
    Require(::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters) != FALSE,
            "the memory in use");
    return counters;
}

double TimeOfSide(CkxRefreshStage& stage, bool ours, std::span<const CkxListedGpo> gpos)
{
    return ours ? stage.TimeOfExtension(gpos)
                : stage.TimeOf([&] { return CkxFastestRefresh(kUser).Run(gpos); });
}

// Writes by how much the peak exceeds what was in use before the refresh, and the size of its document.
int MeasurePeak(const std::vector<std::string>& arguments)
{
    const bool ours = arguments[1] == "ours";
    CkxRefreshStage stage;
    const CkxBenchGpos gpos(std::atoi(arguments[2].c_str()), std::atoi(arguments[3].c_str()));
    const CkxBenchGpos first(1, 1);
    Require(TimeOfSide(stage, ours, first.List()) > 0, "a first refresh");
    const std::size_t before = Memory().WorkingSetSize;
    Require(TimeOfSide(stage, ours, gpos.List()) > 0, "the refresh");
    std::ofstream(arguments[4]) << Memory().PeakWorkingSetSize - before << ' '
                                << stage.LastDocument().size() * 2;
    return 0;
}

struct Peak {
    double bytes = 0;
    double document = 0;
};

// REQUIRES: no stage in this process, since the other one plays the agent.
Peak PeakOf(const char* side, const Size& size)
{
    const TempFolder folder;
    const std::wstring file = folder / L"peak.txt";
    const std::string narrow(file.begin(), file.end());
    wchar_t program[MAX_PATH];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    std::wstring command = L"\"" + std::wstring(program) + L"\" --peak " +
                           std::wstring(side, side + std::char_traits<char>::length(side)) + L" " +
                           std::to_wstring(size.gpos) + L" " + std::to_wstring(size.policies) + L" " + file;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    Require(::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                             &process) != FALSE,
            "the process for a peak");
    const CkxHandle thread(process.hThread);
    const CkxHandle running(process.hProcess);
    ::WaitForSingleObject(running.Get(), INFINITE);
    DWORD code = 1;
    Require(::GetExitCodeProcess(running.Get(), &code) && code == 0, "the peak");
    Peak peak;
    std::ifstream(narrow) >> peak.bytes >> peak.document;
    Require(peak.bytes > 0 && peak.document > 0, "the peak's figures");
    return peak;
}

// ---- growth

struct Series {
    const char* name;
    std::span<const Size> sizes;
    int Size::*growing;
};

constexpr Series kSeries[] = {{"policies", kMorePolicies, &Size::policies}, {"GPOs", kMoreGpos, &Size::gpos}};

// One figure of both sides for each size.
struct Curves {
    std::vector<double> ours;
    std::vector<double> fastest;
};

Curves MeasureTimes(CkxBenchReport& report, CkxRefreshStage& stage, const Series& series)
{
    Curves times;
    for (const Size& size : series.sizes) {
        const CkxBenchGpos gpos(size.gpos, size.policies);
        const auto sides =
            kx::Interleave(size.rounds, {[&] { return TimeOfSide(stage, true, gpos.List()); },
                                         [&] { return TimeOfSide(stage, false, gpos.List()); }});
        if (HasFailed(sides))
            report.Fail(std::string(series.name) + ": a refresh failed");
        times.ours.push_back(kx::Median(sides[0]));
        times.fastest.push_back(kx::Median(sides[1]));
    }
    return times;
}

Curves MeasurePeaks(const Series& series)
{
    Curves peaks;
    for (const Size& size : series.sizes) {
        peaks.ours.push_back(PeakOf("ours", size).bytes);
        peaks.fastest.push_back(PeakOf("fastest", size).bytes);
    }
    return peaks;
}

void CompareGrowth(CkxBenchReport& report, const std::string& what, const Series& series,
                   const Curves& curves)
{
    std::vector<double> sizes;
    for (const Size& size : series.sizes)
        sizes.push_back(size.*series.growing);
    const double fastest = FittedExponent(sizes, curves.fastest);
    const std::string name = what + " against " + series.name;
    report.Figure(name, "power", FittedExponent(sizes, curves.ours), fastest + kMoreThanFastest);
    report.Figure(name + ", the fastest way", "power", fastest);
}

void MeasureLargest(CkxBenchReport& report)
{
    const Peak ours = PeakOf("ours", kLargest);
    const Peak fastest = PeakOf("fastest", kLargest);
    report.Compare("999x300, peak memory for a byte of the document", "bytes", {ours.bytes / ours.document},
                   {fastest.bytes / fastest.document}, kMostMemoryToFastest);
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    const std::vector<std::string>& arguments = report.Arguments();
    if (arguments.size() == 5 && arguments[0] == "--peak")
        return MeasurePeak(arguments);
    {
        CkxRefreshStage stage;
        for (const Series& series : kSeries)
            CompareGrowth(report, "time", series, MeasureTimes(report, stage, series));
    }
    for (const Series& series : kSeries)
        CompareGrowth(report, "peak memory", series, MeasurePeaks(series));
    MeasureLargest(report);
    return report.Finish();
}
