#include "Tests/support/refresh_fixture.h"

#include "Tests/support/com_scope.h"
#include "Tests/support/xml_meaning.h"
#include "Tools/host/update_message.h"

#include <regex>
#include <utility>

namespace {

constexpr DWORD kMessageTimeoutMs = 10000;
constexpr const wchar_t* kExtensionKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
    L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";

} // namespace

void RefreshFixture::SetUp()
{
    const std::wstring module = _m_folder / L"kx_gpext.dll";
    ASSERT_TRUE(::CopyFileW(KX_STAGE L"\\kx_gpext.dll", module.c_str(), TRUE)) << ::GetLastError();
    ASSERT_EQ(_m_extension.Load(module.c_str()), 0U);
    ASSERT_EQ(_m_agent.Start(), 0U);
    ASSERT_GE(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), 0);
    _m_token = MakeUserToken();
    ASSERT_TRUE(_m_token);
}

void RefreshFixture::TearDown()
{
    CkxHandle left;
    EXPECT_FALSE(::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, left.Put()))
        << "the engine's thread was left impersonating";
    ::CoUninitialize();
}

std::wstring RefreshFixture::WritePolicyFile(const std::wstring& gpo, const std::wstring& file,
                                             std::string_view text) const
{
    _m_folder.Write(L"gpos\\" + gpo + kInExtensionFolder + file, text);
    return _m_folder / (L"gpos\\" + gpo);
}

CkxListedGpo RefreshFixture::MakePolicies(const std::wstring& name, const std::string& content) const
{
    CkxListedGpo gpo;
    gpo.name = name;
    gpo.displayName = L"GPO " + name.substr(name.size() - 2, 1);
    gpo.folder =
        WritePolicyFile(name, L"Policies.xml", "<GpoPolicies version='5'>" + content + "</GpoPolicies>");
    return gpo;
}

CkxListedGpo RefreshFixture::MakeGpo(const std::wstring& name, const std::vector<std::string>& orders) const
{
    std::string policies;
    for (const std::string& order : orders)
        policies += order.empty() ? "<Policy name='p'/>" : "<Policy name='p' order='" + order + "'/>";
    return MakePolicies(name, policies);
}

DWORD RefreshFixture::Refresh(DWORD flags)
{
    CkxEngineList deleted = std::exchange(_m_deleted, {});
    CkxEngineList changed = std::exchange(_m_changed, {});
    return _m_extension.ProcessGroupPolicyEx()(flags, _m_token.Get(), HKEY_LOCAL_MACHINE, deleted.Head(),
                                               changed.Head(), 0, _m_abortPointer, _m_statusCallback,
                                               _m_services, &_m_rsopStatus);
}

DWORD RefreshFixture::RefreshOnly(const CkxListedGpo& gpo, DWORD flags) const
{
    const ComScope com;
    CkxEngineList changed;
    changed.Add(gpo);
    return _m_extension.ProcessGroupPolicyEx()(flags, _m_token.Get(), nullptr, nullptr, changed.Head(), 0,
                                               nullptr, nullptr, _m_services, nullptr);
}

DWORD RefreshFixture::Plan(RSOP_TARGET* computer, RSOP_TARGET* user)
{
    return _m_extension.GenerateGroupPolicy()(0, _m_abortPointer, nullptr, computer, user);
}

std::wstring RefreshFixture::ReceivedDocument()
{
    const auto message = _m_agent.WaitForMessage(kMessageTimeoutMs);
    const auto document = message ? kx::DecodeUpdateMessage(*message) : std::nullopt;
    return document ? std::wstring(document->begin(), document->end()) : L"nothing whole";
}

std::string RefreshFixture::ReceivedMeaning()
{
    return XmlMeaning(ReceivedDocument());
}

std::string RefreshFixture::ReceivedParts(const char* pattern)
{
    const std::string meaning = ReceivedMeaning();
    const std::regex regex(pattern);
    std::string parts;
    for (std::sregex_iterator found(meaning.begin(), meaning.end(), regex), end; found != end; ++found)
        for (std::size_t group = 1; group < found->size(); ++group)
            if ((*found)[group].matched)
                parts += (parts.empty() ? "" : " ") + (*found)[group].str();
    return parts;
}

std::string RefreshFixture::Trace() const
{
    return ReadBytes(_m_folder / L"Trace\\kx_gpext.trace");
}

DumpSwitch::DumpSwitch()
{
    const DWORD on = 1;
    ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kExtensionKey, L"KxEnableDump", REG_DWORD, &on, sizeof on);
}

DumpSwitch::~DumpSwitch()
{
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kExtensionKey);
}
