// Where the language's run-time library keeps a thread's running exceptions. Its own way allocates at a
// thread's first exception, and ends the process where that fails: but the first exception of most threads
// is the one that says that memory has run out. It also leaves three handles and its memory behind for a
// thread that outlives the module. Here the states stand in the module itself.

#include "Agent/engine/kx_gpext/language_runtime.h"

#ifdef __GNUC__

#include <windows.h>

#include <cxxabi.h>

#include <atomic>
#include <exception>

namespace {

// As the C++ ABI lays it out.
struct ExceptionState {
    void* caught;
    unsigned int uncaught;
};

struct ThreadExceptions {
    std::atomic<DWORD> thread; // 0: free
    ExceptionState state;
};

constexpr std::size_t kMostThreads = 512; // alive at once, which an exception has passed through

constinit ThreadExceptions g_threads[kMostThreads]{};

ThreadExceptions* Find(DWORD thread) noexcept
{
    for (ThreadExceptions& entry : g_threads)
        if (entry.thread.load(std::memory_order_acquire) == thread)
            return &entry;
    return nullptr;
}

ThreadExceptions* Claim(DWORD thread) noexcept
{
    for (ThreadExceptions& entry : g_threads) {
        DWORD none = 0;
        if (entry.thread.compare_exchange_strong(none, thread))
            return &entry;
    }
    return nullptr;
}

} // namespace

namespace __cxxabiv1 {

extern "C" __cxa_eh_globals* __cxa_get_globals() noexcept
{
    const DWORD thread = ::GetCurrentThreadId();
    ThreadExceptions* entry = Find(thread);
    if (!entry)
        entry = Claim(thread);
    if (!entry)
        std::terminate();
    return reinterpret_cast<__cxa_eh_globals*>(&entry->state);
}

extern "C" __cxa_eh_globals* __cxa_get_globals_fast() noexcept
{
    return __cxa_get_globals();
}

} // namespace __cxxabiv1

void LanguageThreadEnds() noexcept
{
    if (ThreadExceptions* entry = Find(::GetCurrentThreadId())) {
        entry->state = {};
        entry->thread.store(0, std::memory_order_release);
    }
}

// Gives back the 73 KB that the library has put aside for exceptions without memory. By now none is to come.
namespace __gnu_cxx {

void __freeres() noexcept;

} // namespace __gnu_cxx

void LanguageModuleUnloads() noexcept
{
    __gnu_cxx::__freeres();
}

#else // the compiler's library takes care of it

void LanguageThreadEnds() noexcept {}

void LanguageModuleUnloads() noexcept {}

#endif
