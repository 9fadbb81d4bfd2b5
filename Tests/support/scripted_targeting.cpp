#include "Tests/support/scripted_targeting.h"

#include <cwchar>
#include <stdexcept>

namespace {

constexpr const wchar_t* kKey = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
                                L"{B087BE9D-ED37-454f-AF9C-04291E351182}";

void SetText(const wchar_t* name, const wchar_t* text)
{
    if (text)
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, name, REG_SZ, text,
                          static_cast<DWORD>((std::wcslen(text) + 1) * sizeof(wchar_t)));
}

} // namespace

ScriptedTargeting::ScriptedTargeting()
{
    Register(KX_SCRIPTED_TARGETING, L"ProcessGroupPolicyEx");
}

ScriptedTargeting::~ScriptedTargeting()
{
    Unregister();
}

void ScriptedTargeting::Register(const wchar_t* dll, const wchar_t* entry) const
{
    Unregister();
    CkxRegKeyHandle key;
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0, KEY_WRITE, nullptr, key.Put(), nullptr);
    SetText(L"DllName", dll);
    SetText(L"ProcessGroupPolicyEx", entry);
}

void ScriptedTargeting::Unregister() const
{
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kKey);
}

TargetingCalls& ScriptedTargeting::Watch()
{
    _m_module.Reset(::LoadLibraryW(KX_SCRIPTED_TARGETING));
    const FARPROC calls = _m_module ? ::GetProcAddress(_m_module.Get(), "Calls") : nullptr;
    if (!calls)
        throw std::runtime_error("the scripted extension cannot be loaded");
    return *reinterpret_cast<TargetingCalls* (*)()>(reinterpret_cast<void*>(calls))();
}

bool ScriptedTargeting::IsMarkerThere()
{
    return ::RegGetValueW(HKEY_LOCAL_MACHINE, L"software\\korvex\\agent\\temp", L"ILTTest", RRF_RT_ANY,
                          nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

bool ScriptedTargeting::IsLoaded()
{
    return ::GetModuleHandleW(KX_SCRIPTED_TARGETING) != nullptr;
}
