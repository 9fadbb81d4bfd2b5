#pragma once

#include <windows.h>

#include <cstring>
#include <stdexcept>

/// While it lives, calls that the test program makes through its import `function` go to `replacement`. For
/// one thread at a time; functions looked up by name are not concerned.
class PatchedImport {
  public:
    PatchedImport(const char* function, void* replacement) : _m_slot(_Find(function))
    {
        if (_m_slot == nullptr)
            throw std::runtime_error("the program does not import that");
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
    static T* _At(DWORD offset)
    {
        return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(::GetModuleHandleW(nullptr)) + offset);
    }

    /// The place in the import table that the program calls through.
    static void** _Find(const char* function)
    {
        const auto* headers = _At<IMAGE_NT_HEADERS>(static_cast<DWORD>(_At<IMAGE_DOS_HEADER>(0)->e_lfanew));
        const DWORD table =
            headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        for (auto* module = _At<IMAGE_IMPORT_DESCRIPTOR>(table); module->Name != 0; ++module) {
            const auto* name = _At<IMAGE_THUNK_DATA>(module->OriginalFirstThunk);
            for (auto* slot = _At<void*>(module->FirstThunk); name->u1.AddressOfData != 0; ++name, ++slot)
                if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) && std::strcmp(_NameOf(*name), function) == 0)
                    return slot;
        }
        return nullptr;
    }

    static const char* _NameOf(const IMAGE_THUNK_DATA& thunk)
    {
        return _At<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(thunk.u1.AddressOfData))->Name;
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
