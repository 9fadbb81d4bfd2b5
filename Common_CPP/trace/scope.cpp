#include "Common_CPP/trace/scope.h"

#include "Common_CPP/trace/line_fields.h"
#include "Common_CPP/trace/local_clock.h"
#include "Common_CPP/trace/thread_state.h"
#include "Common_CPP/trace/trace_lock.h"
#include "Common_CPP/trace/trace_runtime.h"
#include "Common_CPP/util/last_error.h"

#include <optional>

namespace {

// The thread's record, with the lock held where the record is shared.
class RecordTurn {
  public:
    RecordTurn() noexcept : _m_state(D_ThreadState())
    {
        if (_m_state.shared)
            _m_turn.emplace();
    }

    D_ThreadState_c& operator*() const noexcept { return _m_state; }

    D_ThreadState_c* operator->() const noexcept { return &_m_state; }

  private:
    D_ThreadState_c& _m_state;
    std::optional<D_LockTurn_c> _m_turn;
};

using Template = kx::PrefixTemplate D_ScopeTemplates_c::*;

// The enter or the leave line, while scope tracing is on and the thread is not inside a statement.
void PrintScopeLine(Template which, D_ThreadState_c& thread, const char* className) noexcept
{
    if (!D_IsStackTraced() || thread.reentry != 0)
        return;
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
    const D_LockTurn_c turn;
    if (D_Runtime_c* runtime = D_Runtime_c::Get())
        kx::messages::StackInformationMissing(*runtime, name);
}

} // namespace

D_Scope_c::D_Scope_c(const char* name, const char* className) noexcept
    : _m_name(name), _m_className(className)
{
    const CkxLastErrorKeeper keeper;
    const RecordTurn thread;
    thread->stack.Push(_m_name);
    ++thread->depth;
    PrintScopeLine(&D_ScopeTemplates_c::enter, *thread, _m_className);
}

D_Scope_c::~D_Scope_c()
{
    const CkxLastErrorKeeper keeper;
    const RecordTurn thread;
    PrintScopeLine(&D_ScopeTemplates_c::leave, *thread, _m_className);
    if (thread->depth)
        --thread->depth;
    if (!thread->stack.Pop(_m_name))
        ReportMissing(*thread, _m_name);
}
