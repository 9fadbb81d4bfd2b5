#pragma once

#include <windows.h>

#include <cstring>
#include <stdexcept>

/// While it lives, calls that a module makes through its import `function` go to `replacement`. For one
/// thread at a time; functions looked up by name are not concerned. REQUIRES: the module stays loaded.
class PatchedImport {
  public:
    /// Of the program itself.
    PatchedImport(const char* function, void* replacement)
        : PatchedImport(::GetModuleHandleW(nullptr), function, replacement)
    {
    }

    PatchedImport(HMODULE module, const char* function, void* replacement) : _m_slot(_Find(module, function))
    {
        if (_m_slot == nullptr)
            throw std::runtime_error("the module does not import that");
        _m_original = *_m_slot;
        _Write(replacement);
    }

    ~PatchedImport() { _Write(_m_original); }

    PatchedImport(const PatchedImport&) = delete;
    PatchedImport& operator=(const PatchedImport&) = delete;

    /// What the import led to before.
    template <class Function>
    [[nodiscard]] Function Original() const
    {
        return reinterpret_cast<Function>(_m_original);
    }

  private:
    template <class T>
    static T* _At(HMODULE module, ULONGLONG offset)
    {
        return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + offset);
    }

    /// The place in the import table that the module calls through.
    static void** _Find(HMODULE module, const char* function)
    {
        const auto* headers =
            _At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(_At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
        const DWORD table =
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        for (auto* from = _At<IMAGE_IMPORT_DESCRIPTOR>(module, table); from->Name != 0; ++from) {
            const auto* name = _At<IMAGE_THUNK_DATA>(module, from->OriginalFirstThunk);
            for (auto* slot = _At<void*>(module, from->FirstThunk); name->u1.AddressOfData != 0;
                 ++name, ++slot)
                if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                    std::strcmp(_At<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData)->Name, function) ==
                        0)
                    return slot;
        }
        return nullptr;
    }

    void _Write(void* target) const
    {
        DWORD protection = 0;
        ::VirtualProtect(_m_slot, sizeof *_m_slot, PAGE_READWRITE, &protection);
        *_m_slot = target;
        ::VirtualProtect(_m_slot, sizeof *_m_slot, protection, &protection);
    }

    void** _m_slot;
    void* _m_original = nullptr;
};
