#pragma once

#include "Tests/torture/last_error_watch.h"

#include <windows.h>

#ifdef _MSC_VER
#include <intrin.h>
#endif

#include <array>
#include <atomic>
#include <span>
#include <string>
#include <vector>

/// Where the function that says this returns to.
#ifdef _MSC_VER
#define KX_CALLER _ReturnAddress()
#else
#define KX_CALLER __builtin_return_address(0)
#endif

/// Which of the numbered calls fail. Numbers begin with 1.
struct FaultPlan {
    enum class Mode {
        CountOnly,
        FailNth,
        FailFrom,
        NoMemoryNth, ///< as FailNth, for a call on a COM object: it says that memory is gone
    };
    Mode mode = Mode::CountOnly;
    unsigned at = 0; ///< the number of the call that fails, or of the first that does
};

/// One run of a thread under a plan: numbers the fallible calls that are made while it is armed, and keeps
/// what failed.
class FaultRun {
  public:
    explicit FaultRun(FaultPlan plan) noexcept : _m_plan(plan) {}

    /// How many fallible calls there were so far.
    [[nodiscard]] unsigned Calls() const noexcept { return _m_calls; }

    /// The name of the first call that was failed; null when none was.
    [[nodiscard]] const char* FailedCall() const noexcept { return _m_failedCall; }

    /// The way to that call inside the patched module, as return addresses, the innermost first.
    [[nodiscard]] std::span<void* const> FailedAt() const noexcept { return {_m_frames.data(), _m_depth}; }

    [[nodiscard]] const FaultPlan& Plan() const noexcept { return _m_plan; }

    /// The numbers of the calls on COM objects, of a run that only counts.
    [[nodiscard]] const std::vector<unsigned>& ObjectCalls() const noexcept { return _m_objectCalls; }

    /// Numbers one call; true when it has to fail.
    [[nodiscard]] bool Take(const char* call) noexcept;

    /// What tracing did to the thread's last-error value.
    LastErrorWatch lastError;

  private:
    using Mode = FaultPlan::Mode;

    [[nodiscard]] bool _Fails(bool isOnObject) const noexcept;

    FaultPlan _m_plan;
    unsigned _m_calls = 0;
    std::vector<unsigned> _m_objectCalls;
    std::atomic<const char*> _m_failedCall{nullptr}; // read by whoever names a run that does not end
    std::array<void*, 24> _m_frames{};
    std::size_t _m_depth = 0;
};

/// While it lives, the patched modules' calls on this thread count for `run`. Two threads at a time.
class ArmedFaults {
  public:
    explicit ArmedFaults(FaultRun& run) noexcept;
    ~ArmedFaults();
    ArmedFaults(const ArmedFaults&) = delete;
    ArmedFaults& operator=(const ArmedFaults&) = delete;

  private:
    std::size_t _m_place;
};

/// The run for which this thread is armed; null for none.
[[nodiscard]] FaultRun* ArmedRun() noexcept;

/// The first call that an armed run has failed; null when there is none. Any thread may ask.
[[nodiscard]] const char* RunningFailedCall() noexcept;

/// Leads the module's imports to counting stand-ins, for as long as it stays loaded. What opens, closes,
/// allocates and frees is noted by the resource watch from then on.
void PatchImports(HMODULE module);

/// True for an address in the module that was announced last and is still loaded.
[[nodiscard]] bool IsInPatchedModule(const void* address) noexcept;

/// The module's imports that are neither given stand-ins nor known to need none: each of them is a call
/// whose failure nobody has thought about.
[[nodiscard]] std::vector<std::string> UnknownImports(HMODULE module);

/// While it lives, modules of this file name are patched as soon as the system loads them, before anything
/// in them runs. REQUIRES: a loader that has bound the imports when it announces a module, as Wine's has;
/// elsewhere calls made while loading are not reached.
class PatchOnLoad {
  public:
    explicit PatchOnLoad(const wchar_t* fileName);
    ~PatchOnLoad();
    PatchOnLoad(const PatchOnLoad&) = delete;
    PatchOnLoad& operator=(const PatchOnLoad&) = delete;

  private:
    void* _m_cookie = nullptr;
};
