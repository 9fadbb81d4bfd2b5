#include "Common_CPP/trace/trace_control.h"

#include "Common_CPP/trace/line.h"
#include "Common_CPP/trace/outputs.h"
#include "Common_CPP/trace/thread_state.h"
#include "Common_CPP/trace/trace_lock.h"
#include "Common_CPP/util/last_error.h"

#include <utility>

bool D_ToFile(std::string_view path) noexcept
{
    const CkxLastErrorKeeper keeper;
    const D_LockTurn_c turn;
    D_Outputs_c* outputs = D_Outputs_c::Get();
    try {
        return outputs && !D_ThreadState().noFileOperations && outputs->SwitchToFile(path);
    } catch (...) {
        return false;
    }
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
    D_FreeThreadState();
}

void D_ModuleUnloads() noexcept
{
    {
        const D_LockTurn_c turn;
        D_Outputs_c::Destroy();
        D_FreeAllThreadStates();
        D_FreeLineBuffer();
    }
    D_DestroyLock();
}
