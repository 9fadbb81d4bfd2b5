#include "Common_CPP/trace/scope.h"

#include "Common_CPP/trace/thread_state.h"
#include "Common_CPP/trace/trace_lock.h"
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

    D_ThreadState_c* operator->() const noexcept { return &_m_state; }

  private:
    D_ThreadState_c& _m_state;
    std::optional<D_LockTurn_c> _m_turn;
};

} // namespace

D_Scope_c::D_Scope_c(const char* name, const char* className) noexcept
    : _m_name(name), _m_className(className)
{
    const CkxLastErrorKeeper keeper;
    const RecordTurn thread;
    thread->stack.Push(_m_name);
    ++thread->depth;
}

D_Scope_c::~D_Scope_c()
{
    const CkxLastErrorKeeper keeper;
    const RecordTurn thread;
    if (thread->depth)
        --thread->depth;
    (void)thread->stack.Pop(_m_name);
}
