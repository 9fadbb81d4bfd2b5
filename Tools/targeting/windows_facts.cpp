#include "Tools/targeting/windows_facts.h"

#include "Common_CPP/util/util.h"

#include <userenv.h>

#include <algorithm>
#include <climits>
#include <iterator>
#include <vector>

namespace {

// Invalid where the token does not say.
CSid UserOf(HANDLE token)
{
    alignas(TOKEN_USER) BYTE room[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = 0;
    if (!::GetTokenInformation(token, TokenUser, room, sizeof room, &size))
        return {};
    return CSid(static_cast<const SID*>(reinterpret_cast<const TOKEN_USER*>(room)->User.Sid));
}

bool MeansAbsent(DWORD error)
{
    constexpr DWORD errors[] = {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_DRIVE,
                                ERROR_NOT_READY,      ERROR_BAD_NETPATH,    ERROR_BAD_NET_NAME,
                                ERROR_INVALID_NAME,   ERROR_BAD_PATHNAME};
    return std::find(std::begin(errors), std::end(errors), error) != std::end(errors);
}

bool MeansNoVersion(DWORD error)
{
    return error == ERROR_RESOURCE_DATA_NOT_FOUND || error == ERROR_RESOURCE_TYPE_NOT_FOUND ||
           error == ERROR_RESOURCE_NAME_NOT_FOUND || error == ERROR_BAD_EXE_FORMAT;
}

kx::FileVersion VersionIn(const VS_FIXEDFILEINFO& info)
{
    return {HIWORD(info.dwFileVersionMS), LOWORD(info.dwFileVersionMS), HIWORD(info.dwFileVersionLS),
            LOWORD(info.dwFileVersionLS)};
}

} // namespace

void kx::EnvironmentTraits::Close(Value value) noexcept
{
    (void)::DestroyEnvironmentBlock(value);
}

CkxWindowsFacts::CkxWindowsFacts(HANDLE token, DWORD flags)
    : _m_token(token), _m_flags(flags), _m_user(UserOf(token))
{
    if ((flags & GPO_INFO_FLAG_MACHINE) == 0 && !::CreateEnvironmentBlock(_m_variables.Put(), token, FALSE))
        _m_variables.Reset();
}

std::optional<std::wstring> CkxWindowsFacts::UserName() const
{
    if (!_m_user.IsValid())
        return std::nullopt;
    const std::wstring account = _m_user.AccountName();
    if (account.empty())
        return std::nullopt;
    return std::wstring(_m_user.Domain()) + L'\\' + account;
}

std::optional<std::wstring> CkxWindowsFacts::UserSid() const
{
    if (!_m_user.IsValid())
        return std::nullopt;
    return _m_user.Sid();
}

std::optional<std::wstring> CkxWindowsFacts::NameOf(kx::ComputerName kind) const
{
    const COMPUTER_NAME_FORMAT format =
        kind == kx::ComputerName::NetBios ? ComputerNameNetBIOS : ComputerNameDnsFullyQualified;
    DWORD size = 0; // the terminator included, until the name is read
    (void)::GetComputerNameExW(format, nullptr, &size);
    std::wstring name(size, L'\0');
    if (size == 0 || !::GetComputerNameExW(format, name.data(), &size))
        return std::nullopt;
    name.resize(size);
    return name;
}

std::optional<std::wstring> CkxWindowsFacts::_UserVariable(const std::wstring& name) const
{
    const auto* entry = static_cast<const wchar_t*>(_m_variables.Get());
    for (; entry != nullptr && *entry != L'\0'; entry += std::wstring_view(entry).size() + 1) {
        const std::wstring_view text = entry; // "NAME=value"; the name of some begins with "="
        const std::size_t split = text.find(L'=', 1);
        if (split == name.size() && ::CompareStringOrdinal(entry, static_cast<int>(split), name.c_str(),
                                                           static_cast<int>(split), TRUE) == CSTR_EQUAL)
            return std::wstring(text.substr(split + 1));
    }
    return std::nullopt;
}

kx::VariableFact CkxWindowsFacts::Variable(const std::wstring& name) const
{
    using State = kx::VariableFact::State;
    if (auto value = _UserVariable(name))
        return {State::Set, *std::move(value)};
    CString value;
    if (!CkxUtil::GetEnvironment(name.c_str(), value))
        return {State::NotSet, {}};
    return {State::Set, std::wstring(kx::View(value))};
}

kx::FileState CkxWindowsFacts::StateOf(const std::wstring& path) const
{
    if (path.size() >= MAX_PATH) // the system may call these absent, though they are not
        return kx::FileState::CannotTell;
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return MeansAbsent(::GetLastError()) ? kx::FileState::Absent : kx::FileState::CannotTell;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? kx::FileState::Folder : kx::FileState::File;
}

kx::FileVersionFact CkxWindowsFacts::VersionOf(const std::wstring& path) const
{
    using State = kx::FileVersionFact::State;
    DWORD unused = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(path.c_str(), &unused);
    if (size == 0)
        return {MeansNoVersion(::GetLastError()) ? State::None : State::CannotTell, {}};
    std::vector<BYTE> resource(size);
    void* info = nullptr;
    UINT infoSize = 0;
    if (!::GetFileVersionInfoW(path.c_str(), 0, size, resource.data()) ||
        !::VerQueryValueW(resource.data(), L"\\", &info, &infoSize) || infoSize < sizeof(VS_FIXEDFILEINFO))
        return {};
    return {State::Known, VersionIn(*static_cast<const VS_FIXEDFILEINFO*>(info))};
}

// One unit becomes one unit, so a text that cannot be mapped is compared as it is.
std::wstring CkxWindowsFacts::Folded(std::wstring_view text) const
{
    std::wstring folded(text);
    if (text.empty() || text.size() > INT_MAX)
        return folded;
    const int size = static_cast<int>(text.size());
    if (::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, text.data(), size, folded.data(), size,
                        nullptr, nullptr, 0) != size)
        folded = text;
    return folded;
}
