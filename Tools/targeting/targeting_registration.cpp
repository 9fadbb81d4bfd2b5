#include "Tools/targeting/targeting_registration.h"

#include "Common_CPP/util/reg_key.h"

#include <algorithm>

namespace {

constexpr const wchar_t* kModuleName = L"kx_targeting.dll";
constexpr const wchar_t* kDllName = L"DllName";

std::wstring KeyPath()
{
    return std::wstring(L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\") +
           CkxTargetingRegistration::c_extension;
}

bool IsStandIn(const std::wstring& dll)
{
    const std::wstring file = dll.substr(dll.find_last_of(L"\\/") + 1);
    return ::CompareStringOrdinal(file.c_str(), -1, kModuleName, -1, TRUE) == CSTR_EQUAL;
}

bool IsFullPathOfFile(const std::wstring& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return path.size() > 2 && (path[1] == L':' || path.starts_with(L"\\\\")) &&
           attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool KeyExists(const std::wstring& path)
{
    CkxRegKey key;
    return key.Open(HKEY_LOCAL_MACHINE, path.c_str(), KEY_QUERY_VALUE) != ERROR_FILE_NOT_FOUND;
}

// The module registered now; empty where there is none. A value that is no text is named as such.
std::wstring RegisteredModule()
{
    CkxRegKey key;
    CString dll;
    if (key.Open(HKEY_LOCAL_MACHINE, KeyPath().c_str(), KEY_QUERY_VALUE) == ERROR_FILE_NOT_FOUND)
        return {};
    const LSTATUS status = key.QueryString(kDllName, dll, CkxRegKey::c_maxStringBytes);
    if (status == ERROR_FILE_NOT_FOUND)
        return {};
    return status == ERROR_SUCCESS ? std::wstring(dll.GetString()) : L"a module whose name cannot be read";
}

LSTATUS ReadValue(HKEY key, const wchar_t* name, DWORD& type, std::vector<BYTE>& bytes)
{
    DWORD size = 0;
    LSTATUS status = ::RegQueryValueExW(key, name, nullptr, &type, nullptr, &size);
    if (status != ERROR_SUCCESS)
        return status;
    bytes.resize(size);
    status = ::RegQueryValueExW(key, name, nullptr, &type, bytes.data(), &size);
    bytes.resize(size);
    return status;
}

} // namespace

CkxTargetingRegistration::~CkxTargetingRegistration()
{
    (void)Remove();
}

DWORD CkxTargetingRegistration::_Fail(DWORD error, std::wstring reason)
{
    (void)Remove();
    _m_reason = std::move(reason) + L" (error " + std::to_wstring(error) + L")";
    return error;
}

DWORD CkxTargetingRegistration::Register(const std::wstring& dll)
{
    if (!IsStandIn(dll) || !IsFullPathOfFile(dll))
        return _Fail(ERROR_BAD_PATHNAME, L"[" + dll + L"] is not the full path of a " + kModuleName);
    if (const std::wstring other = RegisteredModule(); !other.empty() && !IsStandIn(other))
        return _Fail(ERROR_ALREADY_REGISTERED, L"this machine has the extension already: [" + other +
                                                   L"]; the stand-in does not take its place");

    const struct {
        const wchar_t* name;
        DWORD type;
        std::wstring text;
    } values[] = {{L"", REG_SZ, L"Registry items, targeting stand-in"},
                  {kDllName, REG_EXPAND_SZ, dll},
                  {L"ProcessGroupPolicyEx", REG_SZ, L"ProcessGroupPolicyEx"}};

    if (const DWORD error = _MakeKeys(); error != ERROR_SUCCESS)
        return _Fail(error, L"the registration's key cannot be made");
    for (const auto& value : values)
        if (const DWORD error = _Set(value.name, value.type, value.text); error != ERROR_SUCCESS)
            return _Fail(error, std::wstring(L"the value [") + value.name + L"] cannot be written");
    _m_reason.clear();
    return ERROR_SUCCESS;
}

// Notes which keys on the way are missing before they are made.
DWORD CkxTargetingRegistration::_MakeKeys()
{
    const std::wstring path = KeyPath();
    for (std::size_t end = 0; end != std::wstring::npos;) {
        end = path.find(L'\\', end + 1);
        if (std::wstring key = path.substr(0, end); !KeyExists(key))
            _m_madeKeys.push_back(std::move(key));
    }
    CkxRegKey key;
    return static_cast<DWORD>(key.Create(HKEY_LOCAL_MACHINE, path.c_str(), KEY_QUERY_VALUE));
}

DWORD CkxTargetingRegistration::_Set(const wchar_t* name, DWORD type, const std::wstring& text)
{
    CkxRegKey key;
    LSTATUS status = key.Open(HKEY_LOCAL_MACHINE, KeyPath().c_str(), KEY_QUERY_VALUE | KEY_SET_VALUE);
    if (status != ERROR_SUCCESS)
        return static_cast<DWORD>(status);
    Saved saved;
    saved.name = name;
    status = ReadValue(key.Get(), name, saved.type, saved.bytes);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
        return static_cast<DWORD>(status);
    saved.existed = status == ERROR_SUCCESS;
    _m_saved.push_back(std::move(saved));
    const DWORD bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return static_cast<DWORD>(
        ::RegSetValueExW(key.Get(), name, 0, type, reinterpret_cast<const BYTE*>(text.c_str()), bytes));
}

DWORD CkxTargetingRegistration::Remove() noexcept
{
    LSTATUS first = ERROR_SUCCESS;
    const auto note = [&](LSTATUS status) {
        if (first == ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
            first = status;
    };
    try {
        CkxRegKey key;
        if (!_m_saved.empty())
            note(key.Open(HKEY_LOCAL_MACHINE, KeyPath().c_str(), KEY_SET_VALUE));
        for (const Saved& saved : _m_saved)
            note(saved.existed ? ::RegSetValueExW(key.Get(), saved.name, 0, saved.type, saved.bytes.data(),
                                                  static_cast<DWORD>(saved.bytes.size()))
                               : ::RegDeleteValueW(key.Get(), saved.name));
        key.Attach(CkxRegKeyHandle());
        // Innermost first. A key in which somebody else has made keys meanwhile is refused, and stays.
        std::for_each(_m_madeKeys.rbegin(), _m_madeKeys.rend(), [&](const std::wstring& path) {
            note(::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), KEY_WOW64_64KEY, 0));
        });
    } catch (const std::bad_alloc&) {
        first = ERROR_OUTOFMEMORY;
    }
    _m_saved.clear();
    _m_madeKeys.clear();
    return static_cast<DWORD>(first);
}
