#include "Tests/torture/resource_watch.h"

#include "Common_CPP/util/unique_handle.h"

#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace watch {
namespace {

using Open = std::map<std::pair<Kind, const void*>, const char*>;

std::mutex g_lock;
Open g_open;            // guarded by g_lock
unsigned g_foreign = 0; // guarded by g_lock

} // namespace

void Opened(Kind kind, const void* what, const char* call) noexcept
{
    if (!what)
        return;
    const std::lock_guard<std::mutex> turn(g_lock);
    g_open[{kind, what}] = call; // the driver itself does not run out of memory
}

void Closed(Kind kind, const void* what) noexcept
{
    const std::lock_guard<std::mutex> turn(g_lock);
    const bool known = g_open.erase({kind, what}) != 0;
    g_foreign += !known && what && kind != Kind::Memory; // memory may come from the language library
}

void Clear() noexcept
{
    const std::lock_guard<std::mutex> turn(g_lock);
    g_open.clear();
    g_foreign = 0;
}

std::size_t Blocks() noexcept
{
    const std::lock_guard<std::mutex> turn(g_lock);
    std::size_t blocks = 0;
    for (const auto& [what, call] : g_open)
        blocks += what.first == Kind::Memory;
    return blocks;
}

unsigned ForeignCloses() noexcept
{
    const std::lock_guard<std::mutex> turn(g_lock);
    return g_foreign;
}

std::string OpenCalls()
{
    const std::lock_guard<std::mutex> turn(g_lock);
    std::string calls;
    for (const auto& [what, call] : g_open)
        if (what.first != Kind::Memory)
            calls += (calls.empty() ? "" : " ") + std::string(call);
    return calls;
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
