#include "Tests/torture/resource_watch.h"

#include "Common_CPP/util/last_error.h"
#include "Common_CPP/util/unique_handle.h"

#include <oleauto.h>

#include <malloc.h>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace watch {
namespace {

// A module is opened, and an object referenced, more than once.
struct Held {
    const char* call = nullptr;
    unsigned count = 0;
};

struct State {
    std::map<std::pair<Kind, const void*>, Held> open;
    unsigned foreign = 0;
    unsigned freedSecrets = 0;
};

std::mutex g_lock;
State g_state;        // guarded by g_lock
std::string g_narrow; // guarded by g_lock: the secret in UTF-8, and
std::string g_wide;   // in the bytes of UTF-16

// The lock, around which the last-error value stays.
class Turn {
  public:
    Turn() : _m_turn(g_lock) {}

  private:
    const CkxLastErrorKeeper _m_keeper;
    const std::lock_guard<std::mutex> _m_turn;
};

std::size_t SizeOf(Kind kind, const void* what)
{
    if (kind == Kind::Memory)
        return ::_msize(const_cast<void*>(what));
    return ::SysStringByteLen(static_cast<BSTR>(const_cast<void*>(what)));
}

bool HoldsSecret(Kind kind, const void* what)
{
    const std::string_view bytes(static_cast<const char*>(what), SizeOf(kind, what));
    return bytes.find(g_narrow) != std::string_view::npos || bytes.find(g_wide) != std::string_view::npos;
}

} // namespace

void Opened(Kind kind, const void* what, const char* call) noexcept
{
    if (!what)
        return;
    const Turn turn;
    Held& held = g_state.open[{kind, what}]; // the driver itself does not run out of memory
    held.call = call;
    ++held.count;
}

void Closed(Kind kind, const void* what) noexcept
{
    if (!what)
        return;
    const Turn turn;
    const auto found = g_state.open.find({kind, what});
    const bool known = found != g_state.open.end();
    const bool isMemory = kind == Kind::Memory || kind == Kind::Text;
    g_state.foreign += !known && !isMemory; // memory may come from the language library
    g_state.freedSecrets += known && isMemory && !g_wide.empty() && HoldsSecret(kind, what);
    if (known && --found->second.count == 0)
        g_state.open.erase(found);
}

void Clear() noexcept
{
    const Turn turn;
    g_state = {};
}

std::size_t Blocks() noexcept
{
    const Turn turn;
    std::size_t blocks = 0;
    for (const auto& [what, held] : g_state.open)
        blocks += what.first == Kind::Memory;
    return blocks;
}

unsigned ForeignCloses() noexcept
{
    const Turn turn;
    return g_state.foreign;
}

std::string OpenCalls()
{
    const Turn turn;
    std::string calls;
    for (const auto& [what, held] : g_state.open)
        if (what.first != Kind::Memory)
            calls += (calls.empty() ? "" : " ") + std::string(held.call);
    return calls;
}

void SetSecret(std::wstring_view secret)
{
    const Turn turn;
    g_narrow.assign(secret.begin(), secret.end()); // the scenarios' secrets are ASCII
    g_wide.assign(reinterpret_cast<const char*>(secret.data()), secret.size() * sizeof(wchar_t));
}

unsigned FreedSecrets() noexcept
{
    const Turn turn;
    return g_state.freedSecrets;
}

} // namespace watch

bool IsImpersonating()
{
    CkxHandle token;
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.Put()) ||
           ::GetLastError() != ERROR_NO_TOKEN;
}

bool IsMutexHeld(const wchar_t* name)
{
    bool held = false;
    std::thread([&] {
        const CkxHandle mutex(::OpenMutexW(SYNCHRONIZE, FALSE, name));
        held = mutex && ::WaitForSingleObject(mutex.Get(), 0) == WAIT_TIMEOUT;
        if (mutex && !held)
            ::ReleaseMutex(mutex.Get());
    }).join();
    return held;
}
