#include "Common_CPP/trace/trace_control.h"

#include <windows.h>

#include "Common_CPP/trace/line.h"
#include "Common_CPP/trace/thread_state.h"
#include "Common_CPP/trace/trace_lock.h"
#include "Common_CPP/trace/trace_runtime.h"
#include "Common_CPP/util/last_error.h"

#include <utility>

namespace {

// Runs one public operation: last error kept, lock held, configuration refreshed if due, nothing thrown.
// Statements that it causes print nothing.
template <class Operation>
bool Operate(const Operation& operation) noexcept
{
    const CkxLastErrorKeeper keeper;
    const D_LockTurn_c turn;
    D_Runtime_c* const runtime = D_Runtime_c::Get();
    if (!runtime)
        return false;
    D_ThreadState_c& thread = D_ThreadState();
    ++thread.reentry;
    bool done = false;
    try {
        runtime->Refresh(thread, false);
        done = operation(*runtime, thread);
    } catch (...) {
        kx::messages::OperatorNewFailed(*runtime);
    }
    --thread.reentry;
    runtime->Publish();
    return done;
}

} // namespace

void D_SetConfigFile(std::wstring_view path) noexcept
{
    const CkxLastErrorKeeper keeper;
    const D_LockTurn_c turn;
    D_Runtime_c* const runtime = D_Runtime_c::Get();
    if (!runtime) // the default configuration must not be read first, so this is no common operation
        return;
    D_ThreadState_c& thread = D_ThreadState();
    ++thread.reentry;
    try {
        runtime->SetConfigName(path, thread);
    } catch (...) {
        kx::messages::OperatorNewFailed(*runtime);
    }
    --thread.reentry;
}

bool D_Directive(std::string_view line) noexcept
{
    return Operate([&](D_Runtime_c& runtime, const D_ThreadState_c& thread) {
        return runtime.Apply(line, 0, !thread.noFileOperations);
    });
}

bool D_ToStream(std::string_view name, bool keepAux) noexcept
{
    return Operate([&](D_Runtime_c& runtime, const D_ThreadState_c& thread) {
        return !thread.noFileOperations && runtime.outputs.SwitchToStream(name, keepAux, runtime);
    });
}

bool D_ToAuxStream(std::string_view name) noexcept
{
    return Operate([&](D_Runtime_c& runtime, const D_ThreadState_c& thread) {
        return !thread.noFileOperations && runtime.outputs.CopyTo(name, runtime);
    });
}

bool D_ToFile(std::string_view path) noexcept
{
    return Operate([&](D_Runtime_c& runtime, const D_ThreadState_c& thread) {
        return !thread.noFileOperations && runtime.outputs.SwitchToFile(path, false, true, runtime);
    });
}

void D_ToGeneric(D_GenericSink sink, void* context) noexcept
{
    (void)Operate([&](D_Runtime_c& runtime, const D_ThreadState_c&) {
        runtime.outputs.SwitchToGeneric(sink, context);
        return true;
    });
}

bool D_AddPrintRule(kx::ScopeKind scope, std::string_view expression, std::uint32_t level, bool on) noexcept
{
    return Operate([&](D_Runtime_c& runtime, const D_ThreadState_c&) {
        return kx::AddProgramRule(runtime.settings, scope, expression, kx::LevelRange::One(level), on,
                                  runtime);
    });
}

bool D_IsSelfTestOn(const char* file, const char* className, std::uint32_t level) noexcept
{
    return Operate([&](D_Runtime_c& runtime, const D_ThreadState_c& thread) {
        char fileBase[kx::kMaxFileBase];
        const bool* on = runtime.settings.selftestRules.Find(
            {kx::FileBase(file, fileBase), className, {thread.stack.Names(), thread.stack.Count()}, level});
        return on && *on;
    });
}

void D_SetThreadName(std::string_view name) noexcept
{
    (void)Operate([&](D_Runtime_c&, D_ThreadState_c& thread) {
        thread.name[name.copy(thread.name, sizeof thread.name - 1)] = '\0';
        return true;
    });
}

void D_NoFileOperations() noexcept
{
    (void)Operate([&](D_Runtime_c& runtime, D_ThreadState_c& thread) {
        thread.noFileOperations = true;
        kx::messages::NoFileOperations(runtime, ::GetCurrentThreadId());
        return true;
    });
}

D_NoFileOperations_c::D_NoFileOperations_c() noexcept
{
    const CkxLastErrorKeeper keeper;
    const D_LockTurn_c turn;
    _m_before = std::exchange(D_ThreadState().noFileOperations, true);
}

D_NoFileOperations_c::~D_NoFileOperations_c()
{
    const CkxLastErrorKeeper keeper;
    const D_LockTurn_c turn;
    D_ThreadState().noFileOperations = _m_before;
}

bool D_CanTrace() noexcept
{
    return D_LockTurn_c(D_LockTurn_c::TryOnly{}).IsOwned();
}

void D_ThreadEnds() noexcept
{
    const CkxLastErrorKeeper keeper;
    D_FreeThreadState();
}

void D_ModuleUnloads() noexcept
{
    {
        const D_LockTurn_c turn;
        D_Runtime_c::Destroy();
        D_FreeAllThreadStates();
        D_FreeLineBuffer();
    }
    D_DestroyLock();
}
