// The function that an import is led to: made from the import's own type, a way to fail and a watch.
#pragma once

#include "Common_CPP/util/last_error.h"
#include "Tests/torture/com_faults.h"
#include "Tests/torture/import_faults.h"
#include "Tests/torture/resource_watch.h"

#include <windows.h>

#include <oaidl.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <tuple>
#include <type_traits>

/// True when the call has to fail: the thread is armed, and the call's number is up.
[[nodiscard]] bool TakeFault(const char* call) noexcept;

namespace standin {

/// A text as a template argument.
template <std::size_t Size>
struct Name {
    constexpr Name(const char (&name)[Size]) { std::copy_n(name, Size, text); } // implicit, to be an argument

    char text[Size]{};
};

// ---- ways to fail -------------------------------------------------------------------------------------

/// Gives a value, with a last error.
template <LONG_PTR Value, DWORD Error>
struct Gives {
    template <class... Arguments>
    static bool Concerns(const Arguments&... /*arguments*/) noexcept
    {
        return true;
    }

    template <class Result>
    static Result Fail() noexcept
    {
        if (Error != ERROR_SUCCESS)
            ::SetLastError(Error);
        if constexpr (std::is_pointer_v<Result>)
            return reinterpret_cast<Result>(Value);
        else
            return static_cast<Result>(Value);
    }
};

/// FALSE, null or 0, with a last error.
template <DWORD Error>
using Fails = Gives<0, Error>;

/// INVALID_HANDLE_VALUE, or another -1.
template <DWORD Error>
using Invalid = Gives<-1, Error>;

/// An error as the result itself.
template <LONG Error>
using Returns = Gives<Error, ERROR_SUCCESS>;

/// Never failed: it releases, closes, reverts or frees.
struct Never {
    template <class... Arguments>
    static bool Concerns(const Arguments&... /*arguments*/) noexcept
    {
        return false;
    }

    template <class Result>
    static Result Fail() noexcept
    {
        return Result();
    }
};

/// Putting a token on a thread fails, taking it off does not.
struct NotWhenReverting : Fails<ERROR_ACCESS_DENIED> {
    static bool Concerns(const HANDLE* /*thread*/, HANDLE token) noexcept { return token != nullptr; }
};

// ---- watches ------------------------------------------------------------------------------------------

struct Unwatched {
    template <class... Arguments>
    static void Before(const Arguments&... /*arguments*/) noexcept
    {
    }

    template <class... Arguments>
    static void After(const char* /*call*/, const Arguments&... /*resultAndArguments*/) noexcept
    {
    }
};

/// The result is what was opened.
template <watch::Kind Kind>
struct Opens : Unwatched {
    template <class Result, class... Arguments>
    static void After(const char* call, Result result, const Arguments&... /*arguments*/) noexcept
    {
        if (result != reinterpret_cast<Result>(INVALID_HANDLE_VALUE))
            watch::Opened(Kind, result, call);
    }
};

/// The argument of that index points to what was opened; the result says whether it was.
template <watch::Kind Kind, std::size_t Index, LONG Success>
struct OpensInto : Unwatched {
    template <class Result, class... Arguments>
    static void After(const char* call, Result result, const Arguments&... arguments) noexcept
    {
        if (result == Success)
            watch::Opened(Kind, *std::get<Index>(std::tie(arguments...)), call);
    }
};

/// The only argument is closed, whatever the result.
template <watch::Kind Kind>
struct Closes : Unwatched {
    static void Before(const void* what) noexcept { watch::Closed(Kind, what); }
};

/// The result is a text of OLE's.
using OpensText = Opens<watch::Kind::Text>;

/// The only argument is a variant whose value is freed.
struct ClearsVariant : Unwatched {
    static void Before(const VARIANT* variant) noexcept
    {
        if (variant->vt == VT_BSTR)
            watch::Closed(watch::Kind::Text, variant->bstrVal);
    }
};

/// The first argument's variant becomes a copy.
struct CopiesVariant : ClearsVariant {
    static void Before(const VARIANT* target, const VARIANT* /*source*/) noexcept
    {
        ClearsVariant::Before(target);
    }

    static void After(const char* call, HRESULT result, const VARIANT* target,
                      const VARIANT* /*source*/) noexcept
    {
        if (SUCCEEDED(result) && target->vt == VT_BSTR)
            watch::Opened(watch::Kind::Text, target->bstrVal, call);
    }
};

/// The last two arguments say which interface was made, and where it was put.
struct CreatesObject : Unwatched {
    template <class... Arguments>
    static void After(const char* call, HRESULT result, const Arguments&... arguments) noexcept
    {
        constexpr std::size_t count = sizeof...(Arguments);
        const auto all = std::tie(arguments...);
        if (SUCCEEDED(result))
            com::HandedOut(*std::get<count - 1>(all), std::get<count - 2>(all), call);
    }
};

// ---- what a trace statement shows of itself --------------------------------------------------------------

struct MakesTraceLock : Unwatched {
    static void Before(const CRITICAL_SECTION* lock, DWORD /*spinCount*/) noexcept { SetTraceLock(lock); }
};

struct EntersLock : Unwatched {
    static void Before(const CRITICAL_SECTION* lock) noexcept
    {
        if (FaultRun* const run = IsTraceLock(lock) ? ArmedRun() : nullptr)
            run->lastError.Enter(::GetLastError());
    }
};

struct LeavesLock : Unwatched {
    static void Before(const CRITICAL_SECTION* lock) noexcept
    {
        if (FaultRun* const run = IsTraceLock(lock) ? ArmedRun() : nullptr)
            run->lastError.Leave();
    }
};

struct ReadsLastError : Unwatched {
    static void After(const char* /*call*/, DWORD error) noexcept
    {
        if (FaultRun* const run = ArmedRun())
            run->lastError.Read(error);
    }
};

struct SetsLastError : Unwatched {
    static void Before(DWORD error) noexcept
    {
        if (FaultRun* const run = ArmedRun())
            run->lastError.Set(error);
    }
};

/// The result is memory of the size that the only argument says. What it holds is nobody's business, and
/// what the driver left there must not be taken for something of the module's.
struct AllocatesMemory : Unwatched {
    static void After(const char* call, void* result, std::size_t size) noexcept
    {
        if (result)
            std::memset(result, 0xCD, size);
        watch::Opened(watch::Kind::Memory, result, call);
    }
};

struct Reallocates {
    static void Before(const void* old, std::size_t /*size*/) noexcept
    {
        watch::Closed(watch::Kind::Memory, old);
    }

    static void After(const char* call, const void* now, const void* old, std::size_t size) noexcept
    {
        watch::Opened(watch::Kind::Memory, now || size == 0 ? now : old, call);
    }
};

// ---- the stand-in -------------------------------------------------------------------------------------

/// `call` numbers itself and fails when it is its turn; everything else goes on to where the import led.
template <Name Import, class Function, class Fault, class Watch>
struct StandIn;

template <Name Import, class Result, class... Arguments, class Fault, class Watch>
struct StandIn<Import, Result(Arguments...), Fault, Watch> {
    static inline void* original = nullptr;

    static Result WINAPI Call(Arguments... arguments)
    {
        if (Fault::Concerns(arguments...) && TakeFault(Import.text))
            return Fault::template Fail<Result>();
        const auto onward = reinterpret_cast<Result(WINAPI*)(Arguments...)>(original);
        Watch::Before(arguments...);
        if constexpr (std::is_void_v<Result>) {
            onward(arguments...);
        } else {
            const Result result = onward(arguments...);
            const CkxLastErrorKeeper keeper;
            Watch::After(Import.text, result, arguments...);
            return result;
        }
    }
};

/// One row of the table of imports.
struct Row {
    const char* dll;
    const char* name;
    void* replacement;
    void** original;
};

template <Name Import, class Function, class Fault, class Watch = Unwatched>
Row MakeRow(const char* dll)
{
    using Made = StandIn<Import, Function, Fault, Watch>;
    static constexpr Name kept = Import;
    return {dll, kept.text, reinterpret_cast<void*>(&Made::Call), &Made::original};
}

} // namespace standin
