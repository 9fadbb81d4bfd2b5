#include "Common_CPP/util/reg_key.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <utility>

namespace {

/// Whether `size` bytes of `type` are wide text: whole characters, the last of them a NUL, or nothing.
bool IsText(DWORD type, const wchar_t* text, DWORD size) noexcept
{
    if (type != REG_SZ && type != REG_EXPAND_SZ)
        return false;
    return size == 0 || (size % sizeof(wchar_t) == 0 && text[size / sizeof(wchar_t) - 1] == L'\0');
}

} // namespace

LSTATUS CkxRegKey::Open(HKEY parent, const wchar_t* path, REGSAM access) noexcept
{
    CkxRegKeyHandle opened;
    const LSTATUS status = ::RegOpenKeyExW(parent, path, 0, access, opened.Put());
    if (status == ERROR_SUCCESS)
        Attach(std::move(opened));
    return status;
}

LSTATUS CkxRegKey::Create(HKEY parent, const wchar_t* path, REGSAM access) noexcept
{
    CkxRegKeyHandle created;
    const LSTATUS status = ::RegCreateKeyExW(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE, access,
                                             nullptr, created.Put(), nullptr);
    if (status == ERROR_SUCCESS)
        Attach(std::move(created));
    return status;
}

LSTATUS CkxRegKey::QueryDword(const wchar_t* name, DWORD& value) const noexcept
{
    BYTE room[sizeof(DWORD)] = {};
    DWORD type = REG_NONE;
    DWORD size = 0;
    const LSTATUS status = _Query(name, type, room, size);
    // What is too long for the room is no number either.
    if (status == ERROR_MORE_DATA || (status == ERROR_SUCCESS && (type != REG_DWORD || size != sizeof room)))
        return ERROR_INVALID_DATA;
    if (status == ERROR_SUCCESS)
        std::memcpy(&value, room, sizeof room);
    return status;
}

LSTATUS CkxRegKey::QueryString(const wchar_t* name, CString& value, DWORD maxBytes) const noexcept
{
    assert(maxBytes <= c_maxStringBytes);
    wchar_t text[c_maxStringBytes / sizeof(wchar_t)] = {};
    const std::span<BYTE> room(reinterpret_cast<BYTE*>(text), std::min(maxBytes, c_maxStringBytes));
    DWORD type = REG_NONE;
    DWORD size = 0;
    const LSTATUS status = _Query(name, type, room, size);
    if (status != ERROR_SUCCESS)
        return status;
    if (!IsText(type, text, size))
        return ERROR_INVALID_DATA;
    try {
        value = text; // up to the first NUL, which a value of no bytes has at the start
    } catch (const CAtlException&) {
        return ERROR_OUTOFMEMORY;
    }
    return ERROR_SUCCESS;
}

LSTATUS CkxRegKey::_Query(const wchar_t* name, DWORD& type, std::span<BYTE> room, DWORD& size) const noexcept
{
    size = static_cast<DWORD>(room.size());
    return ::RegQueryValueExW(_m_key.Get(), name, nullptr, &type, room.data(), &size);
}
