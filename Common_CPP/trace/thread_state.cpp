#include "Common_CPP/trace/thread_state.h"

#include <windows.h>

#include "Common_CPP/trace/messages.h"
#include "Common_CPP/trace/trace_lock.h"
#include "Common_CPP/trace/trace_runtime.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <utility>

D_ScopeStack_c::~D_ScopeStack_c()
{
    if (_m_names != _m_inline)
        delete[] _m_names;
}

void D_ScopeStack_c::Push(const char* name) noexcept
{
    if (_m_uncounted || (_m_count == _m_capacity && !_Grow())) {
        ++_m_uncounted;
        return;
    }
    _m_names[_m_count++] = name;
}

bool D_ScopeStack_c::Pop(const char* name) noexcept
{
    if (_m_uncounted) {
        --_m_uncounted;
        return true;
    }
    for (std::size_t i = _m_count; i-- > 0;) {
        if (_m_names[i] == name || std::strcmp(_m_names[i], name) == 0) {
            _m_count = i;
            return true;
        }
    }
    return false;
}

bool D_ScopeStack_c::_Grow() noexcept
{
    const std::size_t capacity = _m_capacity * 2;
    const char** names = new (std::nothrow) const char*[capacity];
    if (!names)
        return false;
    std::copy(_m_names, _m_names + _m_count, names);
    if (_m_names != _m_inline)
        delete[] _m_names;
    _m_names = names;
    _m_capacity = capacity;
    return true;
}

namespace {

constexpr DWORD kNoSlot = TLS_OUT_OF_INDEXES;

std::atomic<DWORD> g_slot{kNoSlot};
std::atomic<bool> g_disabled{false};
D_ThreadState_c* g_records = nullptr; // guarded by the trace lock

// The record that all threads share once thread-local storage has failed. In a union, so that no
// destructor ends it while somebody may still trace.
union SharedRecord {
    SharedRecord() noexcept : state{} { state.shared = true; }

    ~SharedRecord() {} // NOLINT(modernize-use-equals-default): defaulted, it would be deleted

    SharedRecord(const SharedRecord&) = delete;
    SharedRecord& operator=(const SharedRecord&) = delete;
    D_ThreadState_c state;
};

SharedRecord g_shared;

D_ThreadState_c& FallBack(void (*message)(kx::MessageSink&) noexcept) noexcept
{
    g_disabled.store(true);
    const DWORD slot = g_slot.exchange(kNoSlot);
    if (slot != kNoSlot)
        ::TlsFree(slot);
    if (D_Runtime_c* runtime = D_Runtime_c::Get())
        message(*runtime);
    return g_shared.state;
}

D_ThreadState_c& MakeRecord(DWORD slot) noexcept
{
    auto* record = new (std::nothrow) D_ThreadState_c;
    if (!record) // memory may be back the next time, so the slot stays
        return g_shared.state;
    if (!::TlsSetValue(slot, record)) {
        delete record;
        return FallBack(kx::messages::TlsSetValueFailed);
    }
    record->next = g_records;
    record->link = &g_records;
    if (record->next)
        record->next->link = &record->next;
    g_records = record;
    return *record;
}

void Destroy(D_ThreadState_c* record) noexcept
{
    *record->link = record->next;
    if (record->next)
        record->next->link = record->link;
    delete record;
}

} // namespace

D_ThreadState_c& D_ThreadState() noexcept
{
    const DWORD known = g_slot.load(std::memory_order_acquire);
    if (known != kNoSlot) {
        if (auto* record = static_cast<D_ThreadState_c*>(::TlsGetValue(known)))
            return *record;
        if (::GetLastError() != ERROR_SUCCESS)
            return FallBack(kx::messages::TlsGetValueFailed);
    }
    if (g_disabled.load(std::memory_order_relaxed))
        return g_shared.state;
    const D_LockTurn_c turn;
    DWORD slot = g_slot.load();
    if (slot == kNoSlot) {
        slot = ::TlsAlloc();
        if (slot == TLS_OUT_OF_INDEXES)
            return FallBack(kx::messages::TlsAllocFailed);
        g_slot.store(slot, std::memory_order_release);
    }
    return MakeRecord(slot);
}

void D_FreeThreadState() noexcept
{
    const DWORD slot = g_slot.load();
    if (slot == kNoSlot)
        return;
    if (auto* record = static_cast<D_ThreadState_c*>(::TlsGetValue(slot))) {
        const D_LockTurn_c turn;
        ::TlsSetValue(slot, nullptr);
        Destroy(record);
    }
}

void D_FreeAllThreadStates() noexcept
{
    for (D_ThreadState_c* record = std::exchange(g_records, nullptr); record;)
        delete std::exchange(record, record->next);
    const DWORD slot = g_slot.exchange(kNoSlot);
    if (slot != kNoSlot)
        ::TlsFree(slot);
}
