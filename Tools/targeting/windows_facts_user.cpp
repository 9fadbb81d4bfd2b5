// What the token and the user's account tell.
#include "Tools/targeting/windows_facts.h"

#include <windows.h>

#include <lm.h>
#include <sddl.h>
#include <wtsapi32.h>

#include <memory>

namespace {

struct NetMemoryTraits {
    using Value = wchar_t*;

    static Value Empty() noexcept { return nullptr; }

    static void Close(Value value) noexcept { (void)::NetApiBufferFree(value); }
};

struct SessionMemoryTraits {
    using Value = wchar_t*;

    static Value Empty() noexcept { return nullptr; }

    static void Close(Value value) noexcept { ::WTSFreeMemory(value); }
};

/// What GetTokenInformation says, where its size is not known before.
class CkxTokenAnswer {
  public:
    CkxTokenAnswer(HANDLE token, TOKEN_INFORMATION_CLASS question)
    {
        DWORD size = 0;
        (void)::GetTokenInformation(token, question, nullptr, 0, &size);
        _m_bytes = std::make_unique<BYTE[]>(size); // as aligned as any structure needs
        _m_valid = size != 0 && ::GetTokenInformation(token, question, _m_bytes.get(), size, &size);
    }

    /// Null where the token did not say.
    template <class Answer>
    [[nodiscard]] const Answer* As() const
    {
        return _m_valid ? reinterpret_cast<const Answer*>(_m_bytes.get()) : nullptr;
    }

  private:
    std::unique_ptr<BYTE[]> _m_bytes;
    bool _m_valid = false;
};

CSid SidFromText(const std::wstring& text)
{
    CkxLocalMemory<void> sid;
    if (!::ConvertStringSidToSidW(text.c_str(), sid.Put()))
        return {};
    return CSid(static_cast<const SID*>(sid.Get()));
}

CSid SidFromName(const std::wstring& name)
{
    alignas(SID) BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD sidSize = sizeof sid;
    wchar_t domain[256];
    DWORD domainSize = static_cast<DWORD>(std::size(domain));
    SID_NAME_USE use{};
    if (!::LookupAccountNameW(nullptr, name.c_str(), sid, &sidSize, domain, &domainSize, &use))
        return {};
    return CSid(reinterpret_cast<const SID*>(sid));
}

bool AreEqual(const CSid& sid, PSID other)
{
    return sid == CSid(static_cast<const SID*>(other));
}

// A group that only denies may be one that the user would rather not be counted in: no answer.
std::optional<bool> HasGroup(HANDLE token, const CSid& group)
{
    const CkxTokenAnswer answer(token, TokenGroups);
    const auto* const groups = answer.As<TOKEN_GROUPS>();
    if (groups == nullptr)
        return std::nullopt;
    for (DWORD i = 0; i < groups->GroupCount; ++i)
        if (AreEqual(group, groups->Groups[i].Sid))
            return (groups->Groups[i].Attributes & SE_GROUP_ENABLED) != 0 ? std::optional(true)
                                                                          : std::nullopt;
    return false;
}

std::optional<bool> HasPrimaryGroup(HANDLE token, const CSid& group)
{
    const CkxTokenAnswer answer(token, TokenPrimaryGroup);
    const auto* const primary = answer.As<TOKEN_PRIMARY_GROUP>();
    return primary == nullptr ? std::nullopt : std::optional(AreEqual(group, primary->PrimaryGroup));
}

std::optional<std::vector<std::wstring>> DomainOfComputer()
{
    CkxUniqueHandle<NetMemoryTraits> name;
    NETSETUP_JOIN_STATUS status = NetSetupUnknownStatus;
    if (::NetGetJoinInformation(nullptr, name.Put(), &status) != NERR_Success || !name)
        return std::nullopt;
    if (status == NetSetupDomainName)
        return std::vector<std::wstring>{name.Get()};
    if (status == NetSetupWorkgroupName || status == NetSetupUnjoined)
        return std::vector<std::wstring>();
    return std::nullopt;
}

} // namespace

std::optional<bool> CkxWindowsFacts::InGroup(kx::Principal whose, const kx::GroupId& group,
                                             bool primary) const
{
    if (whose != kx::Principal::User)
        return std::nullopt;
    const CSid sid = group.sid.empty() ? SidFromName(group.name) : SidFromText(group.sid);
    if (!sid.IsValid())
        return std::nullopt;
    return primary ? HasPrimaryGroup(_m_token, sid) : HasGroup(_m_token, sid);
}

std::optional<std::vector<std::wstring>> CkxWindowsFacts::DomainOf(kx::Principal whose) const
{
    if (whose == kx::Principal::Computer)
        return DomainOfComputer();
    const std::wstring domain = _m_user.IsValid() ? _m_user.Domain() : L"";
    return domain.empty() ? std::nullopt : std::optional(std::vector<std::wstring>{domain});
}

std::optional<kx::SessionKind> CkxWindowsFacts::Session() const
{
    constexpr USHORT console = 0;
    constexpr USHORT remoteDesktop = 2;
    DWORD session = 0;
    DWORD size = 0;
    CkxUniqueHandle<SessionMemoryTraits> answer;
    if (!::GetTokenInformation(_m_token, TokenSessionId, &session, sizeof session, &size) ||
        !::WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, session, WTSClientProtocolType,
                                       answer.Put(), &size) ||
        !answer || size < sizeof(USHORT))
        return std::nullopt;
    const auto protocol = static_cast<USHORT>(*answer.Get());
    if (protocol == console)
        return kx::SessionKind::Console;
    return protocol == remoteDesktop ? kx::SessionKind::RemoteDesktop : kx::SessionKind::Other;
}
