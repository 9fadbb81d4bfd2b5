#include "Common_CPP/trace/silence.h"

#include "Common_CPP/util/reg_key.h"

namespace {

// Set to anything of up to 259 characters, to nothing as well; a longer value counts as unset.
bool IsSet(const wchar_t* name) noexcept
{
    wchar_t value[260];
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length = ::GetEnvironmentVariableW(name, value, ARRAYSIZE(value));
    return length == 0 ? ::GetLastError() == ERROR_SUCCESS : length < ARRAYSIZE(value);
}

bool ReadRegistrySwitch() noexcept
{
    CkxRegKey key;
    DWORD value = 0;
    return key.Open(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Korvex\\Agent", KEY_QUERY_VALUE) == ERROR_SUCCESS &&
           key.QueryDword(L"TotalTraceSilence", value) == ERROR_SUCCESS && value != 0;
}

} // namespace

bool D_Silence_c::Refresh(std::uint64_t tick) noexcept
{
    if (_m_known && tick - _m_readAt < kReadAgainMs)
        return false;
    if (!_m_known) {
        _m_shutUp = IsSet(L"DLIB_SHUT_UP");
        _m_silence = IsSet(L"DLIB_SILENCE");
    }
    const bool before = _m_known && _m_registry;
    _m_registry = ReadRegistrySwitch();
    _m_known = true;
    _m_readAt = tick;
    return _m_registry && !before;
}
