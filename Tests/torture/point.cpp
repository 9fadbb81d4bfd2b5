#include "Tests/torture/point.h"

#include "Tests/torture/judge.h"
#include "Tests/torture/resource_watch.h"

#include <atomic>
#include <cstdio>
#include <span>
#include <thread>

namespace {

// The module is refused where its language library finds no memory to begin with; nothing of ours has run.
bool IsRefusedLoad(DWORD error)
{
    return error == ERROR_DLL_INIT_FAILED || error == ERROR_NOT_ENOUGH_MEMORY;
}

// The offsets in the module of those return addresses that lie in it.
std::string OffsetsText(HMODULE module, std::span<void* const> frames)
{
    std::string text;
    for (void* frame : frames) {
        if (!IsInPatchedModule(frame))
            continue;
        char offset[24];
        std::snprintf(
            offset, sizeof offset, "+0x%llx ",
            static_cast<unsigned long long>(static_cast<char*>(frame) - reinterpret_cast<char*>(module)));
        text += offset;
    }
    return text;
}

bool HasOther(const Scenario& scenario)
{
    return scenario.strikes == Strikes::RunBesideAnother || scenario.strikes == Strikes::BothThreads;
}

// A refresh for the other one of machine and user, on a thread of its own, until the end of this object.
class OtherThread {
  public:
    OtherThread(Stage& stage, FaultPlan plan) : _m_run(plan), _m_thread([&] { _Refresh(stage); })
    {
        while (!_m_started)
            ::SwitchToThread();
    }

    ~OtherThread()
    {
        if (_m_thread.joinable())
            _m_thread.join();
    }

    OtherThread(const OtherThread&) = delete;
    OtherThread& operator=(const OtherThread&) = delete;

    ThreadResult Join(Judge& judge)
    {
        _m_thread.join();
        if (_m_leftImpersonating)
            judge.Complain("the other thread is left impersonating");
        if (_m_run.lastError.Broken() != 0)
            judge.Complain("trace statements changed the other thread's last-error value");
        _m_result.failedCall = _m_run.FailedCall();
        return _m_result;
    }

  private:
    void _Refresh(Stage& stage)
    {
        const HRESULT com = ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        {
            const ArmedFaults armed(_m_run);
            _m_started = true;
            _m_result.code = stage.RefreshOther();
        }
        _m_leftImpersonating = IsImpersonating();
        if (SUCCEEDED(com))
            ::CoUninitialize();
    }

    FaultRun _m_run;
    ThreadResult _m_result;
    bool _m_leftImpersonating = false;
    std::atomic<bool> _m_started{false};
    std::thread _m_thread; // last: it uses the others
};

void RunUnderFaults(Stage& stage, const Scenario& scenario, FaultRun& faults, Judge& judge,
                    PointResult& result)
{
    std::optional<ArmedFaults> armed;
    if (scenario.strikes != Strikes::LoadAndUnload)
        armed.emplace(faults);
    std::optional<OtherThread> other;
    if (HasOther(scenario))
        other.emplace(stage, scenario.strikes == Strikes::BothThreads ? faults.Plan() : FaultPlan{});
    result.code = scenario.entry.run(stage, false);
    armed.reset();
    if (other)
        result.other = other->Join(judge);
}

} // namespace

PointResult RunPoint(Stage& stage, const Scenario& scenario, FaultPlan plan, const PointResult* undamaged)
{
    PointResult result;
    Judge judge(result, scenario, plan, undamaged);
    FaultRun faults(plan);
    std::optional<ArmedFaults> armed;
    watch::Clear();

    if (scenario.strikes == Strikes::LoadAndUnload)
        armed.emplace(faults);
    const DWORD loadError = stage.Load();
    armed.reset();
    if (loadError == ERROR_SUCCESS) {
        RunUnderFaults(stage, scenario, faults, judge, result);
        result.failedCall = faults.FailedCall();
        judge.Codes();
        judge.Thread();
        judge.Announcement(stage);
        const std::string trace = stage.Trace();
        const DWORD secondCode = scenario.entry.run(stage, true);
        judge.Documents(stage, secondCode, trace);
        result.failedAt = OffsetsText(stage.Module(), faults.FailedAt());
        if (scenario.strikes == Strikes::LoadAndUnload)
            armed.emplace(faults);
        stage.Unload();
        armed.reset();
    } else if (!IsRefusedLoad(loadError)) {
        judge.Complain("loading failed with " + std::to_string(loadError));
    }
    judge.Secrets(stage);
    judge.LastErrors(faults.lastError);
    judge.Leavings(stage);
    result.calls = faults.Calls();
    result.objectCalls = faults.ObjectCalls();
    result.failedCall = faults.FailedCall();
    // Two threads share the work that comes up once, one way or the other.
    if (plan.mode != FaultPlan::Mode::CountOnly && !result.failedCall && !HasOther(scenario))
        judge.Complain("the call was never made: the count is not stable");
    return result;
}
