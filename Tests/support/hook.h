#pragma once

#include "Tests/support/patched_slot.h"
#include "Tools/host/patched_import.h"

/// A function that fails. It leaves its arguments alone, so that it stands in for any other.
template <LONG_PTR Result, DWORD Error>
LONG_PTR WINAPI Fail()
{
    ::SetLastError(Error);
    return Result;
}

/// A patch whose replacement reaches what it replaced: Original() makes the call.
template <class Patch, auto Replacement>
class Hook {
  public:
    /// `place` is what the patch takes in front of its replacement.
    template <class... Place>
    explicit Hook(Place... place) : _m_patch(place..., reinterpret_cast<void*>(Replacement))
    {
        s_original = _m_patch.template Original<decltype(Replacement)>();
    }

    template <class... Arguments>
    static auto Original(Arguments... arguments)
    {
        return s_original(arguments...);
    }

  private:
    static inline decltype(Replacement) s_original = nullptr;
    Patch _m_patch;
};

template <auto Replacement>
using ImportHook = Hook<PatchedImport, Replacement>;
template <auto Replacement>
using SlotHook = Hook<PatchedSlot, Replacement>;
