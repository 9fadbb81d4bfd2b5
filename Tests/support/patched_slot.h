#pragma once

#include <windows.h>

#include <cstddef>

/// While it lives, calls of one method go to `replacement`, whichever object of that class they are made on,
/// and whoever makes them. REQUIRES: the class's module stays loaded, and nobody else is making that call
/// while it comes and goes.
class PatchedSlot {
  public:
    /// `slot` is the method's place in the call table behind `object`, counted from 0 with those of IUnknown.
    PatchedSlot(IUnknown* object, std::size_t slot, void* replacement)
        : _m_slot(*reinterpret_cast<void***>(object) + slot), _m_original(*_m_slot)
    {
        _Write(replacement);
    }

    ~PatchedSlot() { _Write(_m_original); }

    PatchedSlot(const PatchedSlot&) = delete;
    PatchedSlot& operator=(const PatchedSlot&) = delete;

    /// What the call led to before.
    template <class Function>
    [[nodiscard]] Function Original() const
    {
        return reinterpret_cast<Function>(_m_original);
    }

  private:
    void _Write(void* target) const
    {
        DWORD protection = 0;
        ::VirtualProtect(_m_slot, sizeof *_m_slot, PAGE_READWRITE, &protection);
        *_m_slot = target;
        ::VirtualProtect(_m_slot, sizeof *_m_slot, protection, &protection);
    }

    void** _m_slot;
    void* _m_original;
};
