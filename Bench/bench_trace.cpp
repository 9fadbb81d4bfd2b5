// What trace statements cost. A printed line is compared with the file sink of spdlog, a suppressed statement
// with the least that a library that takes a lock could do; then what a scope costs, and the module's size
// and load time. Arguments: the module and, to compare it with, an empty one.
#include "Bench/bench_report.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/trace/trace_control.h"
#include "Common_CPP/util/unique_handle.h"

#include <windows.h>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

KXT_CLASS("CkxBench");

constexpr int kRounds = 41;
constexpr int kThreads = 4;

// Threads that live through all rounds, so that no round pays for making them.
class Crew {
  public:
    explicit Crew(int size)
    {
        for (int i = 0; i < size; ++i)
            _m_workers.push_back(std::make_unique<Worker>());
        for (const auto& worker : _m_workers)
            worker->thread = std::thread([this, &worker] { _Work(*worker); });
    }

    ~Crew()
    {
        _m_job = nullptr;
        for (const auto& worker : _m_workers) {
            ::SetEvent(worker->begin.Get());
            worker->thread.join();
        }
    }

    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    // Every thread makes all the calls. Nanoseconds from the first one's begin to the last one's end, a call.
    template <class Call>
    double NanosecondsACall(int calls, const Call& call)
    {
        // cppcheck-suppress danglingLifetime // nobody runs it after this call
        _m_job = [&] {
            for (int i = 0; i < calls; ++i)
                call();
        };
        for (const auto& worker : _m_workers)
            ::SetEvent(worker->begin.Get());
        for (const auto& worker : _m_workers)
            ::WaitForSingleObject(worker->end.Get(), INFINITE);
        auto first = _m_workers.front()->from;
        auto last = _m_workers.front()->to;
        for (const auto& worker : _m_workers) {
            first = std::min(first, worker->from);
            last = std::max(last, worker->to);
        }
        const std::chrono::duration<double, std::nano> taken = last - first;
        return taken.count() / calls / static_cast<double>(_m_workers.size());
    }

  private:
    struct Worker {
        CkxHandle begin{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
        CkxHandle end{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
        std::chrono::steady_clock::time_point from;
        std::chrono::steady_clock::time_point to;
        std::thread thread;
    };

    void _Work(Worker& worker)
    {
        while (::WaitForSingleObject(worker.begin.Get(), INFINITE) == WAIT_OBJECT_0 && _m_job) {
            worker.from = std::chrono::steady_clock::now();
            _m_job();
            worker.to = std::chrono::steady_clock::now();
            ::SetEvent(worker.end.Get());
        }
        D_ThreadEnds();
    }

    std::function<void()> _m_job;
    std::vector<std::unique_ptr<Worker>> _m_workers;
};

// The directives here are correct and may not fail.
void Direct(CkxBenchReport& report, const std::string& line)
{
    if (!D_Directive(line))
        report.Fail("directive " + line);
}

void SwallowText(void* /*context*/, const char* /*text*/, std::size_t /*length*/) {}

// ---- A printed line

std::string TemporaryFile(const char* name)
{
    char folder[MAX_PATH + 1];
    const DWORD length = ::GetTempPathA(sizeof folder, folder);
    return std::string(folder, length) + "kx_bench_" + std::to_string(::GetCurrentProcessId()) + name;
}

std::string ReadWhole(const std::string& path)
{
    std::string text;
    if (std::FILE* file = std::fopen(path.c_str(), "rb")) {
        char piece[4096];
        while (const std::size_t size = std::fread(piece, 1, sizeof piece, file))
            text.append(piece, size);
        std::fclose(file);
    }
    return text;
}

// Both sides write the same text, the number of the source line apart.
constexpr int kPolicy = 4711;
constexpr const char* kGroup = "Workstations";

void PrintOurs()
{
    KXT_OUT(KXT_INFO, "INFO: Policy " << kPolicy << " of group " << kGroup << " has been applied.");
}

void PrintTheirs(spdlog::logger& logger)
{
    SPDLOG_LOGGER_INFO(&logger, "INFO: Policy {} of group {} has been applied.", kPolicy, kGroup);
}

std::unique_ptr<spdlog::logger> OpenTheirs(const std::string& path)
{
    spdlog::file_event_handlers events;
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path, true, events);
    auto logger = std::make_unique<spdlog::logger>("bench", std::move(sink));
    logger->flush_on(spdlog::level::trace);
    logger->set_formatter(
        std::make_unique<spdlog::pattern_formatter>("%P:%g(%#): %v", spdlog::pattern_time_type::local, "\n"));
    return logger;
}

// `said`: how many bytes of our file are the library's own words.
void CheckSameText(CkxBenchReport& report, const std::string& ours, std::size_t said,
                   const std::string& theirs)
{
    const std::string first = ReadWhole(ours).substr(said);
    const std::string second = ReadWhole(theirs);
    const auto lines = [](const std::string& text) { return std::count(text.begin(), text.end(), '\n'); };
    if (first.empty() || first.size() != second.size() || lines(first) != lines(second))
        report.Fail("the two sides did not write the same lines");
}

void ComparePrinted(CkxBenchReport& report, int threads, double mostRatio)
{
    constexpr int kCalls = 2'000; // of each thread: long enough that all threads run at once
    const std::string ourPath = TemporaryFile("_ours.log");
    const std::string theirPath = TemporaryFile("_theirs.log");
    Direct(report, "to_new_file@" + ourPath);
    const std::size_t said = ReadWhole(ourPath).size();
    {
        const auto theirs = OpenTheirs(theirPath);
        Crew crew(threads);
        const auto samples = kx::Interleave(
            kRounds, {[&] { return crew.NanosecondsACall(kCalls, PrintOurs); },
                      [&] { return crew.NanosecondsACall(kCalls, [&] { PrintTheirs(*theirs); }); }});
        report.Compare("printed line against spdlog, threads: " + std::to_string(threads), "ns", samples[0],
                       samples[1], mostRatio);
    }
    CheckSameText(report, ourPath, said, theirPath);
    D_ToGeneric(SwallowText, nullptr); // closes our file
    ::DeleteFileA(ourPath.c_str());
    ::DeleteFileA(theirPath.c_str());
}

// ---- A suppressed statement

// The least that a statement costs which takes the lock first: lock, re-entry count in a record of the
// thread's, tick, flag.
class BareStatement {
  public:
    BareStatement() noexcept : _m_slot(::TlsAlloc()) { ::InitializeCriticalSection(&_m_lock); }

    ~BareStatement()
    {
        ::DeleteCriticalSection(&_m_lock);
        ::TlsFree(_m_slot);
    }

    BareStatement(const BareStatement&) = delete;
    BareStatement& operator=(const BareStatement&) = delete;

    void Print()
    {
        ::EnterCriticalSection(&_m_lock);
        auto* record = static_cast<Record*>(::TlsGetValue(_m_slot));
        if (!record) {
            record = &_m_records.emplace_back();
            ::TlsSetValue(_m_slot, record);
        }
        record->reentry = record->reentry + 1;
        if (record->reentry == 1 && (::GetTickCount64() >= _m_dueTick || _m_isOn))
            kx::Keep(true);
        record->reentry = record->reentry - 1;
        ::LeaveCriticalSection(&_m_lock);
    }

  private:
    struct Record {
        volatile int reentry = 0;
    };

    CRITICAL_SECTION _m_lock;
    DWORD _m_slot;
    std::deque<Record> _m_records;
    volatile std::uint64_t _m_dueTick = ~std::uint64_t{0};
    volatile bool _m_isOn = false;
};

void PrintSuppressed()
{
    KXT_OUT(KXT_DEBUG, "Policy " << kPolicy << " of group " << kGroup << " is looked at.");
}

void EnterScope()
{
    KXT_SCOPE("EnterScope");
}

void CompareSuppressed(CkxBenchReport& report, int threads, double mostRatio)
{
    constexpr int kOurCalls = 2'000'000; // long enough that all threads run at once
    constexpr int kBareCalls = 400'000;
    BareStatement bare;
    Crew crew(threads);
    const auto samples =
        kx::Interleave(kRounds, {[&] { return crew.NanosecondsACall(kOurCalls, PrintSuppressed); },
                                 [&] { return crew.NanosecondsACall(kBareCalls, [&] { bare.Print(); }); }});
    report.Compare("suppressed statement against a bare lock, threads: " + std::to_string(threads), "ns",
                   samples[0], samples[1], mostRatio);
}

void CompareUncached(CkxBenchReport& report)
{
    constexpr int kCalls = 20'000;
    BareStatement bare;
    Direct(report, "print@stack@EnterScope@all@on"); // rules of the stack forbid to keep a decision
    const auto samples =
        kx::Interleave(kRounds, {kx::Batch(kCalls, PrintSuppressed), kx::Batch(kCalls, EnterScope),
                                 kx::Batch(kCalls, [&] { bare.Print(); })});
    report.Compare("suppressed statement beside a stack rule, against a bare lock", "ns", samples[0],
                   samples[2]);
    report.Compare("scope, entered and left, against a bare lock", "ns", samples[1], samples[2]);
}

// ---- The module

double FileSize(const std::string& path)
{
    WIN32_FILE_ATTRIBUTE_DATA facts{};
    (void)::GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &facts);
    return static_cast<double>((std::uint64_t{facts.nFileSizeHigh} << 32) | facts.nFileSizeLow);
}

kx::BenchSide LoadAndFree(CkxBenchReport& report, const std::string& path)
{
    return [&report, &path] {
        return kx::NanosecondsACall(1,
                                    [&] {
                                        const HMODULE module = ::LoadLibraryA(path.c_str());
                                        if (!module || !::FreeLibrary(module))
                                            report.Fail("cannot load " + path);
                                    }) /
               1000;
    };
}

void CompareModules(CkxBenchReport& report)
{
    const std::vector<std::string>& paths = report.Arguments();
    if (paths.empty())
        return;
    const std::string& module = paths[0];
    const std::string& empty = paths.size() > 1 ? paths[1] : module;
    const auto samples = kx::Interleave(kRounds, {LoadAndFree(report, module), LoadAndFree(report, empty)});
    if (paths.size() == 1) {
        report.Figure("module, loaded and freed", "us", kx::Median(samples[0]));
        report.Figure("module, size", "bytes", FileSize(module));
        return;
    }
    report.Compare("module against an empty one, loaded and freed", "us", samples[0], samples[1]);
    report.Compare("module against an empty one, size", "bytes", {FileSize(module)}, {FileSize(empty)});
}

} // namespace

int main(int argc, char** argv)
{
    CkxBenchReport report(argc, argv);
    Direct(report, "print@file@.*@600@off");
    ComparePrinted(report, 1, 0.8);
    ComparePrinted(report, kThreads, 1.0);
    CompareSuppressed(report, 1, 1.0);
    CompareSuppressed(report, kThreads, 0.25);
    CompareUncached(report);
    CompareModules(report);
    const int code = report.Finish();
    D_ModuleUnloads();
    return code;
}
