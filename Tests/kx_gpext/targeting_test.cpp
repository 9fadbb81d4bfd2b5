// Item-level targeting from outside: the shipped module, with a scripted extension that evaluates it.

#include "Common_CPP/atl/kx_atl.h"
#include "Tests/support/hook.h"
#include "Tests/support/refresh_fixture.h"
#include "Tests/support/scripted_targeting.h"
#include "Tests/support/xml_meaning.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

using testing::HasSubstr;

#define KX_CSE_KEY                                                                                           \
    "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"                              \
    "{B087BE9D-ED37-454f-AF9C-04291E351182}"

class Targeting : public RefreshFixture {
  protected:
    // The names of the policies that arrive, in their order; "nothing" for an empty GPO element.
    std::string Delivered(const std::string& content)
    {
        _m_changed.Add(MakePolicies(kGpoA, content));
        EXPECT_EQ(Refresh(kUser), 0U);
        const std::string parts = ReceivedParts(" (Policies) | Policy name=\"([^\"]*)\"");
        return parts.empty() ? "nothing" : parts.substr(std::min<std::size_t>(parts.size(), 9));
    }

    ScriptedTargeting _m_scripted;
};

constexpr const char* kMatch = "<Policy name='in' order='1'><ItemLevelTargeting answer='match'/></Policy>";
constexpr const char* kNoMatch = "<Policy name='out' order='1'><ItemLevelTargeting answer='none'/></Policy>";

TEST_F(Targeting, TheMarkerDecides)
{
    const struct {
        const char* why;
        std::string content;
        const char* names;
        const char* trace;
    } rows[] = {
        {"untargeted ones arrive", "<Policy name='a'/><Policy name='b'/>", "a b", ""},
        {"each policy is asked by itself",
         std::string("<Policy name='a'/>") + kNoMatch + kMatch + "<Policy name='z'/>", "a in z",
         "INFO: policy [out] not allowed by ILT: GPO A - {00000000-0000-0000-0000-00000000000A}"},
        {"a nameless one is left out too", "<Policy><ItemLevelTargeting/></Policy>", "", ""},
        {"the last one is left out", std::string(kMatch) + kNoMatch, "in", ""},
        {"the extension's code does not matter",
         "<Policy name='in'><ItemLevelTargeting answer='fail'/></Policy>", "in", ""},
        {"a marker that cannot be removed lets through",
         "<Policy name='in'><ItemLevelTargeting answer='break'/></Policy>", "in",
         "ERROR: Failed to remove reg value [ILTTest]. err=1018"},
        {"deeper elements of that name are none", "<Policy name='a'><X><ItemLevelTargeting/></X></Policy>",
         "a", ""},
        {"a whole GPO that matches", "<Policy name='a'/><ItemLevelTargeting answer='match'/>", "a", ""},
        {"a whole GPO that does not", "<ItemLevelTargeting/><Policy name='a'/>", "nothing",
         "INFO: GPO not allowed by ILT: GPO A - {00000000-0000-0000-0000-00000000000A}"},
        {"the thread is given back as it was; see the fixture's end",
         "<ItemLevelTargeting answer='stay'/><Policy name='a'/>", "nothing", ""},
    };

    for (const auto& row : rows) {
        EXPECT_EQ(Delivered(row.content), row.names) << row.why;
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << row.why;
        EXPECT_FALSE(ScriptedTargeting::IsMarkerThere()) << row.why;
        EXPECT_FALSE(ScriptedTargeting::IsLoaded()) << row.why;
    }
}

TEST_F(Targeting, TheExtensionIsCalledAsTheEngineWould)
{
    TargetingCalls& seen = _m_scripted.Watch();
    _m_changed.Add(MakePolicies(kGpoA, "<Policy name='in' order='1'><ItemLevelTargeting answer='match'>"
                                       "<FilterRunOnce not='0' name='K\xC3\xA4se &amp; 100% %s'/>"
                                       "</ItemLevelTargeting></Policy>"));
    EXPECT_EQ(Refresh(GPO_INFO_FLAG_MACHINE | GPO_INFO_FLAG_SLOWLINK), 0U);
    EXPECT_EQ(seen.calls, 1);
    CString call;
    call.Format(c_targetingCall, DWORD{GPO_INFO_FLAG_MACHINE | GPO_INFO_FLAG_SLOWLINK}, _m_token.Get(),
                HKEY_LOCAL_MACHINE, nullptr, 0ULL, FALSE, nullptr, 0L, 0UL, 0x00140014UL, L"LocalGPO",
                (_m_folder / L"tmp").c_str(), L"ILTTest", L"{ED3F3DD0-FB76-4DCF-B072-20F32BC3054D}",
                GPLinkMachine, nullptr, nullptr,
                L"[{B087BE9D-ED37-454F-AF9C-04291E351182}{BEE07A6A-EC9F-4659-B8C9-0B1937907C83}]", L"Local");
    EXPECT_STREQ(seen.call, call);
    wchar_t settings[sizeof seen.settings] = {};
    ASSERT_NE(::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, seen.settings, -1, settings,
                                    static_cast<int>(std::size(settings))),
              0);
    EXPECT_EQ(XmlMeaning(settings),
              XmlMeaning(
                  L"<RegistrySettings clsid='{A3CCFC41-DFDB-43a5-8D26-0FE8B954DA52}'>"
                  L"<Registry clsid='{9CD4B2F4-923D-47f5-A062-E897DD1DAD50}' name='ILTTest' status='ILTTest' "
                  L"image='7' changed='2011-12-27 15:00:00' uid='{938F9390-6CEE-4E6C-80F3-9D6EE8E4C483}' "
                  L"bypassErrors='1'><Properties action='U' displayDecimal='0' default='0' "
                  L"hive='HKEY_LOCAL_MACHINE' key='software\\korvex\\agent\\temp' name='ILTTest' "
                  L"type='REG_SZ' value='ILTTest'/><ItemLevelTargeting answer='match'>"
                  L"<FilterRunOnce not='0' name='K\u00E4se &amp; 100% %s'/></ItemLevelTargeting>"
                  L"</Registry></RegistrySettings>"));
}

TEST_F(Targeting, WithoutTargetingNothingIsTouched)
{
    const TargetingCalls& seen = _m_scripted.Watch();
    const int before = seen.calls;
    EXPECT_EQ(Delivered("<Policy name='a'/>"), "a");
    EXPECT_EQ(seen.calls, before);
    EXPECT_EQ(::GetFileAttributesW((_m_folder / L"tmp").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(Targeting, AnExtensionThatIsNotThereLetsThrough)
{
    const struct {
        const char* why;
        bool registered;
        const wchar_t* dll;
        const wchar_t* entry;
        const char* trace;
    } rows[] = {
        {"not registered", false, nullptr, nullptr,
         "ERROR: Failed to open reg key [" KX_CSE_KEY "]. err=2\n"},
        {"no library named", true, nullptr, L"ProcessGroupPolicyEx",
         "ERROR: Failed to query value [" KX_CSE_KEY "\\DllName]. err=2\n"},
        {"no entry named", true, KX_SCRIPTED_TARGETING, nullptr,
         "ERROR: Failed to query value [" KX_CSE_KEY "\\ProcessGroupPolicyEx]. err=2\n"},
        {"no such library; nothing is expanded", true, L"%SystemRoot%\\gone.dll", L"ProcessGroupPolicyEx",
         "ERROR: Failed to load library [%SystemRoot%\\gone.dll. err=126\n"},
        {"no such entry", true, KX_SCRIPTED_TARGETING, L"Process",
         "ERROR: Failed to GetProcAddress of [Process. err=127\n"},
    };

    for (const auto& row : rows) {
        if (row.registered)
            _m_scripted.Register(row.dll, row.entry);
        else
            _m_scripted.Unregister();
        EXPECT_EQ(Delivered(kNoMatch), "out") << row.why;
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << row.why;
        EXPECT_FALSE(ScriptedTargeting::IsLoaded()) << row.why;
    }
}

// Neither may an update go out unfiltered for want of memory, nor may a policy be kept back because nobody
// can tell.
TEST_F(Targeting, WhereTheSystemRefusesNothingIsKeptBackAndNothingGuessed)
{
    const struct {
        const char* why;
        const char* import;
        LONG_PTR(WINAPI* replacement)();
        DWORD code;
        const char* trace;
    } rows[] = {
        {"the settings cannot be encoded", "WideCharToMultiByte", Fail<0, ERROR_NOT_ENOUGH_MEMORY>, 0,
         "ERROR: Failed to GetProcAddress of ["},
        {"no folder for the settings", "CreateDirectoryW", Fail<0, ERROR_PATH_NOT_FOUND>, 0,
         "ERROR: Failed to save basic ILT registry policy to "},
        {"no marker key", "RegCreateKeyExW", Fail<ERROR_ACCESS_DENIED, 0>, 0,
         "ERROR: Failed to create reg key [software\\korvex\\agent\\temp]. err=5\n"},
        {"an old marker stays", "RegDeleteValueW", Fail<ERROR_ACCESS_DENIED, 0>, 0,
         "ERROR: Failed to remove reg value [ILTTest]. err=5\n"},
        {"no memory for the registration", "RegQueryValueExW", Fail<ERROR_OUTOFMEMORY, 0>, ERROR_OUTOFMEMORY,
         "\\DllName]. err=14\n"},
        {"no memory for the folder's name", "GetModuleFileNameW", Fail<0, ERROR_NOT_ENOUGH_MEMORY>,
         ERROR_OUTOFMEMORY, ""},
    };

    for (const auto& row : rows) {
        _m_changed.Add(MakePolicies(kGpoA, kNoMatch));
        {
            const PatchedImport patch(_m_extension.Get(), row.import,
                                      reinterpret_cast<void*>(row.replacement));
            EXPECT_EQ(Refresh(kUser), row.code) << row.why;
        }
        EXPECT_THAT(Trace(), HasSubstr(row.trace)) << row.why;
        if (row.code == 0)
            EXPECT_THAT(ReceivedMeaning(), HasSubstr("Policy name=\"out\"")) << row.why;
        else
            EXPECT_FALSE(_m_agent.WaitForMessage(0)) << row.why;
        EXPECT_FALSE(ScriptedTargeting::IsMarkerThere()) << row.why;
    }
}

// The pass whose policies match leaves a marker for a while; the other one must not take it for its own.
TEST_F(Targeting, PassesAtOnceDoNotReadEachOthersMarkers)
{
    constexpr int rounds = 10;
    TargetingCalls& seen = _m_scripted.Watch();
    const auto run = [&](const CkxListedGpo& gpo) {
        for (int round = 0; round < rounds; ++round)
            EXPECT_EQ(RefreshOnly(gpo, kUser), 0U);
    };
    std::thread first(run, MakePolicies(kGpoA, std::string(kMatch) + kMatch));
    std::thread second(run, MakePolicies(kGpoB, std::string(kNoMatch) + kNoMatch));
    first.join();
    second.join();
    int matched = 0;
    int excluded = 0;
    for (int message = 0; message < 2 * rounds; ++message) {
        const std::string names = ReceivedParts("Policy name=\"([^\"]*)\"");
        matched += names == "in in";
        excluded += names.empty();
    }
    EXPECT_EQ(matched, rounds);
    EXPECT_EQ(excluded, rounds);
    EXPECT_EQ(seen.calls, 4 * rounds);
    EXPECT_EQ(seen.overlaps, 0);
    EXPECT_EQ(seen.staleMarkers, 0);
}

} // namespace
