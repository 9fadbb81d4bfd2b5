#include "Common_CPP/trace/scope.h"

#include "Common_CPP/trace/line_fields.h"
#include "Common_CPP/trace/local_clock.h"
#include "Common_CPP/trace/thread_state.h"
#include "Common_CPP/trace/trace_lock.h"
#include "Common_CPP/trace/trace_runtime.h"
#include "Common_CPP/util/last_error.h"

#include <optional>

namespace {

// The lock, for a record that threads share.
class SharedTurn {
  public:
    explicit SharedTurn(const D_ThreadState_c& thread) noexcept
    {
        if (thread.shared)
            _m_turn.emplace();
    }

  private:
    std::optional<D_LockTurn_c> _m_turn;
};

using Template = kx::PrefixTemplate D_ScopeTemplates_c::*;

// The enter or the leave line, while scope tracing is on and the thread is not inside a statement.
void PrintScopeLine(Template which, D_ThreadState_c& thread, const char* className) noexcept
{
    if (!D_IsStackTraced() || thread.reentry != 0)
        return;
    const CkxLastErrorKeeper keeper;
    const D_LockTurn_c turn;
    D_Runtime_c* const runtime = D_Runtime_c::Get();
    if (!runtime)
        return;
    ++thread.reentry;
    try {
        if (const D_ScopeTemplates_c* templates = runtime->ScopeTemplates()) {
            const kx::PrefixTemplate& line = templates->*which;
            kx::PrefixFields fields = D_LineFields(runtime->settings, thread);
            fields.className = className;
            if (line.NeedsTime(fields))
                fields.time = D_ReadLocalClock();
            D_Line_c text(0, D_Runtime_c::WriteOutput);
            line.Expand(text, fields);
            text << '\n';
            runtime->outputs.Write(text.Text());
        }
    } catch (...) { // out of memory: the line is lost, its scope is not
    }
    if (--thread.reentry == 0)
        runtime->CheckFileSize(thread);
}

void ReportMissing(const D_ThreadState_c& thread, const char* name) noexcept
{
    if (thread.shared) // threads that share a record drop each other's names
        return;
    const CkxLastErrorKeeper keeper;
    const D_LockTurn_c turn;
    if (D_Runtime_c* runtime = D_Runtime_c::Get())
        kx::messages::StackInformationMissing(*runtime, name);
}

} // namespace

D_Scope_c::D_Scope_c(const char* name, const char* className) noexcept
    : _m_name(name), _m_className(className)
{
    const CkxLastErrorKeeper keeper;
    _m_thread = &D_ThreadState();
    const SharedTurn turn(*_m_thread);
    _m_thread->stack.Push(_m_name);
    ++_m_thread->depth;
    PrintScopeLine(&D_ScopeTemplates_c::enter, *_m_thread, _m_className);
}

// Nearly always without a call to the system, since scopes are left by the million.
D_Scope_c::~D_Scope_c()
{
    const SharedTurn turn(*_m_thread);
    PrintScopeLine(&D_ScopeTemplates_c::leave, *_m_thread, _m_className);
    if (_m_thread->depth)
        --_m_thread->depth;
    if (!_m_thread->stack.Pop(_m_name))
        ReportMissing(*_m_thread, _m_name);
}
