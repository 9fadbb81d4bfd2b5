// Many refreshes from many threads, and the module loaded and unloaded many times: what grows, and whether
// every message and every line of the trace is whole.
//
//     kx_soak.exe [--refreshes N] [--cycles N]

#include "Tests/soak/growth.h"
#include "Tests/soak/soak_stage.h"
#include "Tests/soak/trace_check.h"
#include "Tests/support/handle_count.h"
#include "Tests/support/memory_use.h"

#include "Common_CPP/xml/xml_document.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <functional>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 4;
constexpr std::size_t kRounds = 100;
constexpr DWORD kReconfigureEveryMs = 250;
constexpr std::size_t kHandleAllowance = 4; // the listener's locks make themselves an event each
// Heap memory does not grow at all; private memory comes in pages, and the system has some of it.
constexpr double kMostHeapBytes = 1;
constexpr double kMostPrivateBytes = 64;
constexpr std::size_t kFewestSteps = 1000; // a shorter run tells nothing about bytes

int g_failures = 0;

void Check(bool holds, const char* what)
{
    if (holds)
        return;
    ++g_failures;
    std::printf("FAILED: %s\n", what);
}

// ---- what grows ---------------------------------------------------------------------------------------

// Memory and handles while steps are done. The first tenth of them only warms up.
class Watch {
  public:
    explicit Watch(std::size_t steps) : _m_steps(steps) {}

    /// To be called a hundred times or so, while nothing else runs.
    void Look(std::size_t step)
    {
        if (step < _m_steps / 10)
            return;
        _m_handlesAfter = CountHandles();
        if (_m_handles == 0)
            _m_handles = _m_handlesAfter;
        _m_bytes.Add(static_cast<double>(step), static_cast<double>(PrivateBytes()));
        _m_heap.Add(static_cast<double>(step), static_cast<double>(HeapBytes()));
    }

    void Print(const char* what, const char* step) const
    {
        std::printf("%s: %zu; private bytes %.0f -> %.0f KB, %+.1f bytes a %s; of the heap %+.1f; handles "
                    "%zu -> %zu\n",
                    what, _m_steps, _m_bytes.First() / 1024, _m_bytes.Last() / 1024, _m_bytes.PerStep(), step,
                    _m_heap.PerStep(), _m_handles, _m_handlesAfter);
        Check(_m_handlesAfter <= _m_handles + kHandleAllowance, "handles were left open");
    }

    [[nodiscard]] double PrivateBytesAStep() const { return _m_bytes.PerStep(); }

    [[nodiscard]] double HeapBytesAStep() const { return _m_heap.PerStep(); }

    /// Whether there were enough steps for a judgement of the bytes.
    [[nodiscard]] bool IsLong() const { return _m_steps >= kFewestSteps; }

  private:
    std::size_t _m_steps;
    Growth _m_bytes;
    Growth _m_heap;
    std::size_t _m_handles = 0;
    std::size_t _m_handlesAfter = 0;
};

// ---- refreshes ----------------------------------------------------------------------------------------

bool IsMachine(int thread)
{
    return thread % 2 == 0;
}

// One thread of the engine.
struct Refresher {
    std::thread thread;
    std::atomic<unsigned long> id{0};
    std::atomic<std::size_t> failed{0};
};

// `between` is called after each of the rounds.
void RunRefresher(const SoakStage& stage, Refresher& self, bool machine, std::size_t rounds, std::size_t each,
                  const std::function<void()>& between)
{
    self.id = ::GetCurrentThreadId();
    (void)::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    for (std::size_t round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < each; ++i)
            self.failed += stage.Refresh(machine) != ERROR_SUCCESS;
        between();
    }
    ::CoUninitialize();
}

// What one undisturbed refresh sends and traces.
struct Model {
    std::u16string document;
    std::vector<std::string> messages;
};

TraceCheck ReadTrace(const SoakStage& stage)
{
    TraceCheck trace;
    for (int rotated = SoakStage::c_rotatedFiles; rotated >= 0; --rotated)
        trace.Read(stage.Trace(rotated));
    return trace;
}

// From a thread of its own, whose lines are then its only ones.
Model MakeModel(SoakStage& stage, bool machine)
{
    Refresher one;
    one.thread = std::thread(RunRefresher, std::cref(stage), std::ref(one), machine, 1, 1, [] {});
    one.thread.join();
    return {stage.Document().value_or(u""), ReadTrace(stage).MessagesOf(one.id)};
}

bool Repeats(const std::vector<std::string>& messages, const std::vector<std::string>& model,
             std::size_t times)
{
    if (messages.size() != model.size() * times)
        return false;
    for (std::size_t i = 0; i < messages.size(); ++i)
        if (messages[i] != model[i % model.size()])
            return false;
    return true;
}

void CheckTrace(const SoakStage& stage, const Refresher (&refreshers)[kThreads], const Model (&models)[2],
                std::size_t each)
{
    const TraceCheck trace = ReadTrace(stage);
    std::printf("trace: %zu lines, %zu torn; %zu rotations, %zu readings of the configuration\n",
                trace.Lines(), trace.Torn().size(), trace.Rotations(), trace.Reloads());
    for (std::size_t i = 0; i < trace.Torn().size() && i < 5; ++i)
        std::printf("  torn: %s\n", trace.Torn()[i].c_str());
    Check(trace.Torn().empty(), "lines of the trace are torn");
    for (int thread = 0; thread < kThreads; ++thread)
        Check(Repeats(trace.MessagesOf(refreshers[thread].id), models[IsMachine(thread)].messages, each),
              "a thread's lines are not those of its refreshes, all and in order");
}

void SoakRefreshes(std::size_t count)
{
    SoakStage stage;
    stage.Load();
    const Model models[2] = {MakeModel(stage, false), MakeModel(stage, true)};
    Check(!models[0].document.empty() && models[0].document != models[1].document &&
              !models[0].messages.empty(),
          "a single refresh sends and traces");

    const std::size_t rounds = std::clamp<std::size_t>(count / kThreads, 1, kRounds);
    const std::size_t each = std::max<std::size_t>(1, count / kThreads / rounds);
    const std::size_t whole = rounds * each * kThreads;
    std::atomic<std::size_t> arrived[2] = {};
    std::atomic<std::size_t> received{0};
    Watch watch(whole);
    std::size_t sent = 0;
    // While the threads wait for each other and the agent has all messages, nothing is under way.
    std::barrier rest(kThreads, [&]() noexcept {
        sent += each * kThreads;
        while (received < sent)
            ::Sleep(1);
        watch.Look(sent);
    });
    Refresher refreshers[kThreads];
    for (int thread = 0; thread < kThreads; ++thread)
        refreshers[thread].thread =
            std::thread(RunRefresher, std::cref(stage), std::ref(refreshers[thread]), IsMachine(thread),
                        rounds, each, [&] { rest.arrive_and_wait(); });
    std::atomic<bool> done{false};
    std::thread configurer([&] {
        for (char letter = 'B'; !done; letter = letter == 'Z' ? 'A' : static_cast<char>(letter + 1)) {
            (void)stage.Configure(letter);
            ::Sleep(kReconfigureEveryMs);
        }
    });
    for (std::size_t message = 0; message < whole; ++message) {
        {
            const auto document = stage.Document();
            for (int kind = 0; kind < 2; ++kind)
                arrived[kind] += document == models[kind].document;
        }
        ++received;
    }
    std::size_t failed = 0;
    for (Refresher& refresher : refreshers) {
        refresher.thread.join();
        failed += refresher.failed;
    }
    done = true;
    configurer.join();
    watch.Print("refreshes from 4 threads", "refresh");
    std::printf("messages: %zu of the machine and %zu of a user whole and as expected, of %zu\n",
                arrived[1].load(), arrived[0].load(), whole);
    Check(failed == 0, "a refresh failed");
    Check(arrived[0] == whole / 2 && arrived[1] == whole / 2, "a message is missing, cut or another one");
    Check(!watch.IsLong() ||
              (watch.PrivateBytesAStep() <= kMostPrivateBytes && watch.HeapBytesAStep() <= kMostHeapBytes),
          "memory grows with each refresh");
    CheckTrace(stage, refreshers, models, rounds * each);
}

// ---- cycles of loading and unloading ------------------------------------------------------------------

Watch SoakCycles(const char* what, std::size_t count, const std::function<void(std::size_t)>& cycle)
{
    Watch watch(count);
    for (std::size_t i = 0; i < count; ++i) {
        cycle(i);
        if (i % std::max<std::size_t>(1, count / kRounds) == 0)
            watch.Look(i);
    }
    watch.Print(what, "cycle");
    return watch;
}

void CheckAgainst(const Watch& empty, const Watch& ours)
{
    const double bytes = ours.PrivateBytesAStep() - empty.PrivateBytesAStep();
    const double heap = ours.HeapBytesAStep() - empty.HeapBytesAStep();
    std::printf("  over the empty module: %+.1f bytes a cycle, of the heap %+.1f\n", bytes, heap);
    Check(!ours.IsLong() || (bytes <= kMostPrivateBytes && heap <= kMostHeapBytes),
          "memory grows with each cycle");
}

void SoakModule(std::size_t count)
{
    ::SetEnvironmentVariableW(L"DLIB_SILENCE", L""); // what each load says of its configuration
    SoakStage stage;
    const CkxXMLDocument keepsParserLoaded;
    const Watch empty = SoakCycles("an empty module loaded and unloaded", count, [](std::size_t) {
        const CkxModule module(::LoadLibraryW(KX_EMPTY_MODULE));
        Check(static_cast<bool>(module), "the empty module cannot be loaded");
    });
    CheckAgainst(empty, SoakCycles("the module loaded and unloaded", count, [&](std::size_t) {
                     stage.Load();
                     stage.Unload();
                 }));
    CheckAgainst(empty, SoakCycles("the module loaded, refreshed with, unloaded", count, [&](std::size_t i) {
                     stage.Load();
                     Check(stage.Refresh(i % 2 == 0) == ERROR_SUCCESS && stage.Document(),
                           "a refresh failed");
                     stage.Unload();
                 }));
}

bool ParseOptions(int count, wchar_t** arguments, std::size_t& refreshes, std::size_t& cycles)
{
    for (int i = 1; i + 1 < count; i += 2) {
        const std::wstring name = arguments[i];
        const auto number = static_cast<std::size_t>(std::wcstoull(arguments[i + 1], nullptr, 10));
        if (name == L"--refreshes")
            refreshes = number;
        else if (name == L"--cycles")
            cycles = number;
        else
            return false;
    }
    return count % 2 == 1;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    std::size_t refreshes = 10000;
    std::size_t cycles = 1000;
    if (!ParseOptions(count, arguments, refreshes, cycles)) {
        std::printf("kx_soak.exe [--refreshes N] [--cycles N]\n");
        return 2;
    }
    if (FAILED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)))
        return 2;
    try {
        if (refreshes > 0)
            SoakRefreshes(refreshes);
        if (cycles > 0)
            SoakModule(cycles);
    } catch (const std::exception& failure) {
        Check(false, failure.what());
    }
    std::printf("%s\n", g_failures == 0 ? "soak: nothing lost, torn or left behind" : "soak: FAILED");
    return g_failures == 0 ? 0 : 1;
}
