// What an attacker may plant where users may write, or redirect: nothing of it is followed, loaded or sent
// to.

#include "Tests/support/folder_link.h"
#include "Tests/support/hook.h"
#include "Tests/support/refresh_fixture.h"
#include "Tests/support/scripted_targeting.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr ULONGLONG kTime = 133000000000000000;

// Gives every dump the same time, and so the same name.
void WINAPI StandStill(FILETIME* now)
{
    *now = {static_cast<DWORD>(kTime), static_cast<DWORD>(kTime >> 32)};
}

class PlantedFiles : public RefreshFixture {
  protected:
    void SetUp() override
    {
        RefreshFixture::SetUp();
        _m_precious = _m_folder.Write(L"elsewhere\\precious", "precious");
        _m_gpo = MakeGpo(kGpoA, {"7"});
    }

    void Unload() { _m_extension = {}; }

    void Load() { ASSERT_EQ(_m_extension.Load((_m_folder / L"kx_gpext.dll").c_str()), 0U); }

    /// Gives the policy an item-level targeting that matches.
    void TargetThePolicy() const
    {
        (void)MakePolicies(kGpoA, "<Policy order='7'><ItemLevelTargeting answer='match'/></Policy>");
    }

    /// A refresh delivers as if nothing was planted.
    void ExpectDelivery()
    {
        _m_changed.Add(_m_gpo);
        EXPECT_EQ(Refresh(kUser), 0U);
        EXPECT_THAT(ReceivedMeaning(), HasSubstr("order=\"7\""));
    }

    const DumpSwitch _m_dumps;
    std::wstring _m_precious;
    CkxListedGpo _m_gpo;
};

std::wstring DumpName()
{
    wchar_t user[256] = L"";
    DWORD size = ARRAYSIZE(user);
    ::GetUserNameW(user, &size);
    wchar_t machine[256] = L"";
    size = ARRAYSIZE(machine);
    ::GetComputerNameW(machine, &size);
    return L"Trace\\GP " + std::to_wstring(kTime) + L" " + machine + L"_" + user + L".xml";
}

// Everybody may create files in the trace folder; the targeting's folder is the service's, but was somebody
// else there first?
TEST_F(PlantedFiles, NothingIsWrittenThroughAPlantedName)
{
    enum Kind { Link, Folder, File };

    const struct {
        Kind kind; ///< Link: another name of a precious file
        std::wstring name;
    } rows[] = {
        {Link, L"Trace\\kx_gpext.trace"},
        {Folder, L"Trace\\kx_gpext.trace"},
        {Link, L"Trace\\kx_gpext.trace.1"},
        {Folder, L"Trace\\kx_gpext.trace.1"},
        {Link, DumpName()},
        {Folder, DumpName()},
        {File, L"Trace"},
        {Link, L"tmp\\Preferences\\Registry\\Registry.xml"},
        {File, L"tmp"},
    };

    const ScriptedTargeting targeting;
    TargetThePolicy();
    {
        const ImportHook<&StandStill> clock(_m_extension.Get(), "GetSystemTimeAsFileTime");
        ExpectDelivery();
        EXPECT_THAT(ReadBytes(_m_folder / DumpName()), HasSubstr("order=\"7\"")) << "the name below";
    }
    _m_folder.Write(L"kx_gpext.cfg", "rotation@1@500\n");
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.name) + (row.kind == Folder ? " is a folder" : ""));
        Unload();
        std::filesystem::remove_all(_m_folder / L"Trace");
        std::filesystem::remove_all(_m_folder / L"tmp");
        const std::wstring path = _m_folder / row.name;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        if (row.kind == Link)
            ASSERT_TRUE(::CreateHardLinkW(path.c_str(), _m_precious.c_str(), nullptr)) << ::GetLastError();
        else
            _m_folder.Write(row.name + (row.kind == Folder ? L"\\x" : L""), "planted");
        Load();
        const ImportHook<&StandStill> clock(_m_extension.Get(), "GetSystemTimeAsFileTime");
        ExpectDelivery();
        EXPECT_EQ(ReadBytes(_m_precious), "precious");
    }
}

TEST_F(PlantedFiles, ATraceFolderThatLeadsElsewhereTakesNothing)
{
    for (const bool onlyOnceLoaded : {false, true}) {
        Unload();
        std::filesystem::remove_all(_m_folder / L"Trace");
        if (onlyOnceLoaded) {
            _m_folder.Write(L"Trace", ""); // so that no trace file is open in it
            Load();
            std::filesystem::remove(_m_folder / L"Trace");
        }
        const FolderLink link(_m_folder / L"Trace", _m_folder / L"elsewhere");
        if (!onlyOnceLoaded)
            Load();
        ExpectDelivery();
        const std::filesystem::recursive_directory_iterator elsewhere(_m_folder / L"elsewhere");
        EXPECT_EQ(std::distance(begin(elsewhere), end(elsewhere)), 1) << "the precious one";
        Unload();
    }
}

// A system with device names, where K: is one folder for the service and another for a thread that wears the
// user's identity, who may say where his letters lead.
namespace drives {

std::wstring g_ours;
std::wstring g_users;

constexpr std::wstring_view kByDevice = L"\\\\?\\GLOBALROOT\\Device\\KxDisk\\";

bool WearsAToken()
{
    CkxHandle token;
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.Put()) != FALSE;
}

std::wstring Real(std::wstring_view path)
{
    if (path.starts_with(kByDevice))
        return L"C:\\" + std::wstring(path.substr(kByDevice.size()));
    if (path.starts_with(L"K:"))
        return (WearsAToken() ? g_users : g_ours) + std::wstring(path.substr(2));
    return std::wstring(path);
}

HANDLE WINAPI Create(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD how,
                     DWORD flags, HANDLE model)
{
    return ImportHook<&Create>::Original(Real(path).c_str(), access, share, security, how, flags, model);
}

DWORD WINAPI Attributes(LPCWSTR path)
{
    return ImportHook<&Attributes>::Original(Real(path).c_str());
}

DWORD WINAPI FinalPath(HANDLE file, LPWSTR path, DWORD room, DWORD /*form*/)
{
    wchar_t real[2048];
    const DWORD length =
        ImportHook<&FinalPath>::Original(file, real, DWORD{ARRAYSIZE(real)}, DWORD{VOLUME_NAME_DOS});
    const std::wstring_view dos(real, length < ARRAYSIZE(real) ? length : 0);
    if (!dos.starts_with(L"\\\\?\\C:\\"))
        return 0;
    const std::wstring device = L"\\Device\\KxDisk\\" + std::wstring(dos.substr(7));
    if (device.size() >= room)
        return static_cast<DWORD>(device.size() + 1);
    device.copy(path, device.size());
    path[device.size()] = L'\0';
    return static_cast<DWORD>(device.size());
}

} // namespace drives

TEST_F(PlantedFiles, TheUsersDriveLettersDoNotDecideWhereAPolicyIsReadFrom)
{
    const ImportHook<&drives::Create> create(_m_extension.Get(), "CreateFileW");
    const ImportHook<&drives::Attributes> attributes(_m_extension.Get(), "GetFileAttributesW");
    const ImportHook<&drives::FinalPath> finalPath(_m_extension.Get(), "GetFinalPathNameByHandleW");
    drives::g_ours = _m_gpo.folder;
    drives::g_users = MakeGpo(kGpoB, {"666"}).folder;
    _m_gpo.folder = L"K:";
    _m_changed.Add(_m_gpo);
    EXPECT_EQ(Refresh(kUser), 0U);
    const std::string meaning = ReceivedMeaning();
    EXPECT_THAT(meaning, HasSubstr("order=\"7\""));
    EXPECT_THAT(meaning, Not(HasSubstr("666")));
}

TEST_F(PlantedFiles, NothingIsTakenFromTheCurrentOrTheTemporaryFolder)
{
    const std::wstring planted = _m_folder / L"planted";
    const ScriptedTargeting targeting;
    const wchar_t* const modules[] = {
        L"advapi32.dll",       L"kernel32.dll",        L"kernelbase.dll",
        L"ktmw32.dll",         L"msvcrt.dll",          L"msxml3.dll",
        L"msxml3r.dll",        L"ntdll.dll",           L"ole32.dll",
        L"oleaut32.dll",       L"rpcss.dll",           L"userenv.dll",
        L"wbemprox.dll",       L"wbemcomn.dll",        L"cryptbase.dll",
        L"version.dll",        L"libwinpthread-1.dll", L"libstdc++-6.dll",
        L"libgcc_s_seh-1.dll", L"kx_gpext.dll",        L"kx_scripted_targeting.dll",
        L"gpprefcl.dll"};
    for (const wchar_t* const name : modules) {
        _m_folder.Write(std::wstring(L"planted\\") + name, "");
        ASSERT_TRUE(::CopyFileW(KX_SCRIPTED_TARGETING, (planted + L"\\" + name).c_str(), FALSE));
    }
    for (const wchar_t* const name : {L"kx_gpext.cfg", L"dlib.cfg"})
        _m_folder.Write(std::wstring(L"planted\\") + name, "prefix@file@@all@planted\n");
    for (const wchar_t* const name :
         {L"kx_agent.exe", L"Policies.xml", L"Registry.xml", L"tmp\\x", L"Trace\\x"})
        _m_folder.Write(std::wstring(L"planted\\") + name, "planted");

    wchar_t before[1024];
    wchar_t temp[1024];
    ::GetCurrentDirectoryW(ARRAYSIZE(before), before);
    ::GetEnvironmentVariableW(L"TEMP", temp, ARRAYSIZE(temp));
    Unload();
    std::filesystem::remove_all(_m_folder / L"Trace");
    ::SetCurrentDirectoryW(planted.c_str());
    for (const wchar_t* const variable : {L"TEMP", L"TMP"})
        ::SetEnvironmentVariableW(variable, planted.c_str());
    Load();
    TargetThePolicy();
    ExpectDelivery();
    CkxListedGpo homeless = _m_gpo;
    homeless.folder.clear();
    _m_changed.Add(homeless);
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_THAT(ReceivedMeaning(), Not(HasSubstr("planted"))) << "a GPO without a folder";
    for (const wchar_t* const name : modules)
        EXPECT_FALSE(::GetModuleHandleW((planted + L"\\" + name).c_str())) << name;
    ::SetCurrentDirectoryW(before);
    for (const wchar_t* const variable : {L"TEMP", L"TMP"})
        ::SetEnvironmentVariableW(variable, temp);

    EXPECT_THAT(Trace(), Not(HasSubstr("planted")));
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(planted))
        files += entry.is_regular_file();
    EXPECT_EQ(files, std::size(modules) + 2 + 5) << "nothing was added";
}

} // namespace
