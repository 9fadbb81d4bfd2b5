// What an attacker may plant where users may write, or redirect: nothing of it is followed, loaded or sent
// to.

#include "Tests/support/folder_link.h"
#include "Tests/support/refresh_fixture.h"
#include "Tests/support/targeting_stand_in.h"
#include "Tools/host/patched_import.h"

#include <gmock/gmock.h>

#include <psapi.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <thread>

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr DWORD kUser = 0;
constexpr const wchar_t* kMutexName = L"Global\\KxGpPipeInUseMutex";
constexpr const wchar_t* kExtensionKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon\\GPExtensions\\"
    L"{5B3E7C21-9D4A-4E86-A1F2-7C09D3B6E54A}";

// The time of every dump, and so its name.
constexpr ULONGLONG kDumpTime = 133000000000000000;
bool g_clockStands = false;
decltype(&::GetSystemTimeAsFileTime) g_clock = nullptr;

void WINAPI StandingClock(FILETIME* now)
{
    g_clock(now);
    if (g_clockStands)
        *now = {static_cast<DWORD>(kDumpTime), static_cast<DWORD>(kDumpTime >> 32)};
}

class PlantedFiles : public RefreshFixture {
  protected:
    void SetUp() override
    {
        RefreshFixture::SetUp();
        const DWORD on = 1;
        ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kExtensionKey, L"KxEnableDump", REG_DWORD, &on, sizeof on);
        _m_precious = _m_folder.Write(L"elsewhere\\precious", "precious");
        _m_gpo = MakeGpo(kGpoA, {"7"});
    }

    void TearDown() override
    {
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kExtensionKey);
        RefreshFixture::TearDown();
    }

    void Unload() { _m_extension = {}; }

    void Load() { ASSERT_EQ(_m_extension.Load((_m_folder / L"kx_gpext.dll").c_str()), 0U); }

    /// Another name for the precious file.
    void PlantLink(const std::wstring& name) const
    {
        const std::wstring link = _m_folder / name;
        std::filesystem::create_directories(std::filesystem::path(link).parent_path());
        ASSERT_TRUE(::CreateHardLinkW(link.c_str(), _m_precious.c_str(), nullptr)) << ::GetLastError();
    }

    /// A refresh delivers as if nothing was planted.
    void ExpectDelivery(const char* why)
    {
        _m_changed.Add(_m_gpo);
        EXPECT_EQ(Refresh(kUser), 0U) << why;
        EXPECT_THAT(ReceivedMeaning(), HasSubstr("order=\"7\"")) << why;
    }

    [[nodiscard]] std::size_t FilesElsewhere() const
    {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::recursive_directory_iterator(_m_folder / L"elsewhere"))
            ++count;
        return count;
    }

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
    return L"GP " + std::to_wstring(kDumpTime) + L" " + machine + L"_" + user + L".xml";
}

// Everybody may create files in the trace folder; the targeting's folder is the service's, but was somebody
// else there first?
TEST_F(PlantedFiles, NothingIsWrittenThroughAPlantedName)
{
    const auto link = [this](const wchar_t* name) { return [this, name] { PlantLink(name); }; };
    const auto folder = [this](const wchar_t* name) {
        return [this, name] { std::filesystem::create_directories(_m_folder / name); };
    };

    const struct {
        const char* why;
        std::function<void()> plant;
    } rows[] = {
        {"the trace file is another name of a file", link(L"Trace\\kx_gpext.trace")},
        {"the trace file is a folder", folder(L"Trace\\kx_gpext.trace\\x")},
        {"the rotated file is another name of a file", link(L"Trace\\kx_gpext.trace.1")},
        {"the rotated file is a folder", folder(L"Trace\\kx_gpext.trace.1\\x")},
        {"the dump is another name of a file", [this] { PlantLink(L"Trace\\" + DumpName()); }},
        {"the dump is a folder",
         [this] { std::filesystem::create_directories(_m_folder / (L"Trace\\" + DumpName())); }},
        {"the trace folder is a file", [this] { _m_folder.Write(L"Trace", "planted"); }},
        {"the targeting's settings are another name of a file",
         link(L"tmp\\Preferences\\Registry\\Registry.xml")},
        {"the targeting's folder is a file", [this] { _m_folder.Write(L"tmp", "planted"); }},
    };

    const TargetingStandIn targeting;
    _m_gpo.folder = WritePolicyFile(kGpoA, L"Policies.xml",
                                    "<GpoPolicies version='5'><Policy name='p' order='7'><ItemLevelTargeting "
                                    "answer='match'/></Policy></GpoPolicies>");
    _m_folder.Write(L"kx_gpext.cfg", "rotation@1@500\n");
    for (const auto& row : rows) {
        Unload();
        std::filesystem::remove_all(_m_folder / L"Trace");
        std::filesystem::remove_all(_m_folder / L"tmp");
        row.plant();
        Load();
        const PatchedImport clock(_m_extension.Get(), "GetSystemTimeAsFileTime",
                                  reinterpret_cast<void*>(&StandingClock));
        g_clock = clock.Original<decltype(g_clock)>();
        g_clockStands = true;
        ExpectDelivery(row.why);
        g_clockStands = false;
        EXPECT_EQ(ReadBytes(_m_precious), "precious") << row.why;
    }
}

TEST_F(PlantedFiles, ADumpIsWrittenWhereNothingIsPlanted)
{
    const PatchedImport clock(_m_extension.Get(), "GetSystemTimeAsFileTime",
                              reinterpret_cast<void*>(&StandingClock));
    g_clock = clock.Original<decltype(g_clock)>();
    g_clockStands = true;
    ExpectDelivery("nothing planted");
    g_clockStands = false;
    EXPECT_THAT(ReadBytes(_m_folder / (L"Trace\\" + DumpName())), HasSubstr("order=\"7\""))
        << "the name that the other test plants";
}

TEST_F(PlantedFiles, ATraceFolderThatLeadsElsewhereIsNotUsed)
{
    Unload();
    std::filesystem::remove_all(_m_folder / L"Trace");
    const FolderLink link(_m_folder / L"Trace", _m_folder / L"elsewhere");
    Load();
    ExpectDelivery("a link");
    EXPECT_EQ(FilesElsewhere(), 1U) << "the precious one";
}

TEST_F(PlantedFiles, ATraceFolderThatBecomesALinkTakesNoDump)
{
    Unload();
    std::filesystem::remove_all(_m_folder / L"Trace");
    _m_folder.Write(L"Trace", ""); // so that no trace file is open in it
    Load();
    std::filesystem::remove(_m_folder / L"Trace");
    const FolderLink link(_m_folder / L"Trace", _m_folder / L"elsewhere");
    ExpectDelivery("a link");
    EXPECT_EQ(FilesElsewhere(), 1U) << "the precious one";
}

// ---- names of the channel -----------------------------------------------------------------------------

// Whose the objects are, as the system tells the module.
DWORD g_strangersType = FILE_TYPE_UNKNOWN;
decltype(&::GetKernelObjectSecurity) g_security = nullptr;

// With the object's real owner replaced by an ordinary user's identifier.
BOOL WINAPI OwnedByAStranger(HANDLE object, SECURITY_INFORMATION what, PSECURITY_DESCRIPTOR descriptor,
                             DWORD size, DWORD* needed)
{
    if (::GetFileType(object) != g_strangersType)
        return g_security(object, what, descriptor, size, needed);
    constexpr DWORD ofTheDomain[] = {SECURITY_NT_NON_UNIQUE, 1, 2, 3, 1001};

    struct {
        SECURITY_DESCRIPTOR_RELATIVE head;
        BYTE owner[SECURITY_MAX_SID_SIZE];
    } told{};

    told.head.Revision = SECURITY_DESCRIPTOR_REVISION;
    told.head.Control = SE_SELF_RELATIVE;
    told.head.Owner = sizeof told.head;
    SID_IDENTIFIER_AUTHORITY authority = {SECURITY_NT_AUTHORITY};
    ::InitializeSid(told.owner, &authority, ARRAYSIZE(ofTheDomain));
    for (DWORD i = 0; i < ARRAYSIZE(ofTheDomain); ++i)
        *::GetSidSubAuthority(told.owner, i) = ofTheDomain[i];
    *needed = sizeof told;
    if (size < sizeof told)
        return FALSE;
    std::memcpy(descriptor, &told, sizeof told);
    return TRUE;
}

class PlantedNames : public PlantedFiles {
  protected:
    void SetUp() override
    {
        PlantedFiles::SetUp();
        _m_patch.emplace(_m_extension.Get(), "GetKernelObjectSecurity",
                         reinterpret_cast<void*>(&OwnedByAStranger));
        g_security = _m_patch->Original<decltype(g_security)>();
    }

    void TearDown() override
    {
        _m_patch.reset();
        PlantedFiles::TearDown();
    }

    std::optional<PatchedImport> _m_patch;
};

TEST_F(PlantedNames, AStrangersPipeIsSentNothing)
{
    g_strangersType = FILE_TYPE_PIPE;
    _m_changed.Add(_m_gpo);
    EXPECT_EQ(Refresh(kUser), static_cast<DWORD>(ERROR_OVERRIDE_NOCHANGES));
    const auto received = _m_agent.WaitForMessage(10000);
    ASSERT_TRUE(received);
    EXPECT_EQ(received->size(), 0U);
    EXPECT_FALSE(_m_agent.TakeAnnouncement());
    EXPECT_THAT(Trace(), HasSubstr("ERROR: The update pipe belongs to S-1-5-21-1-2-3-1001"));
}

TEST_F(PlantedNames, AStrangersMutexThatIsNeverGivenBackStopsNobody)
{
    const CkxHandle mutex(::CreateMutexW(nullptr, FALSE, kMutexName));
    const CkxHandle done(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const CkxHandle held(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    std::thread squatter([&] {
        ::WaitForSingleObject(mutex.Get(), INFINITE);
        ::SetEvent(held.Get());
        ::WaitForSingleObject(done.Get(), INFINITE);
    });
    ::WaitForSingleObject(held.Get(), INFINITE);
    g_strangersType = FILE_TYPE_UNKNOWN; // neither file nor pipe
    ExpectDelivery("squatted");
    EXPECT_THAT(Trace(), HasSubstr("ERROR: The mutex KxGpPipeInUseMutex belongs to S-1-5-21-1-2-3-1001"));
    ::SetEvent(done.Get());
    squatter.join();
}

// ---- the user's drive letters -------------------------------------------------------------------------

// A system with device names, where K: is one folder for the service and another for a thread that wears the
// user's identity, who may say where his letters lead.
namespace drives {

std::wstring g_ours;
std::wstring g_users;
decltype(&::CreateFileW) g_create = nullptr;
decltype(&::GetFileAttributesW) g_attributes = nullptr;
decltype(&::GetFinalPathNameByHandleW) g_finalPath = nullptr;

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
    return g_create(Real(path).c_str(), access, share, security, how, flags, model);
}

DWORD WINAPI Attributes(LPCWSTR path)
{
    return g_attributes(Real(path).c_str());
}

DWORD WINAPI FinalPath(HANDLE file, LPWSTR path, DWORD room, DWORD /*form*/)
{
    wchar_t real[2048];
    const DWORD length = g_finalPath(file, real, ARRAYSIZE(real), VOLUME_NAME_DOS);
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
    const PatchedImport create(_m_extension.Get(), "CreateFileW", reinterpret_cast<void*>(&drives::Create));
    const PatchedImport attributes(_m_extension.Get(), "GetFileAttributesW",
                                   reinterpret_cast<void*>(&drives::Attributes));
    const PatchedImport finalPath(_m_extension.Get(), "GetFinalPathNameByHandleW",
                                  reinterpret_cast<void*>(&drives::FinalPath));
    drives::g_create = create.Original<decltype(drives::g_create)>();
    drives::g_attributes = attributes.Original<decltype(drives::g_attributes)>();
    drives::g_finalPath = finalPath.Original<decltype(drives::g_finalPath)>();
    drives::g_ours = _m_gpo.folder;
    drives::g_users = MakeGpo(kGpoB, {"666"}).folder;
    _m_gpo.folder = L"K:";
    _m_changed.Add(_m_gpo);
    EXPECT_EQ(Refresh(kUser), 0U);
    const std::string meaning = ReceivedMeaning();
    EXPECT_THAT(meaning, HasSubstr("order=\"7\""));
    EXPECT_THAT(meaning, Not(HasSubstr("666")));
}

// ---- where modules and files are looked for -----------------------------------------------------------

std::vector<std::wstring> LoadedModules()
{
    std::vector<HMODULE> modules(1024);
    DWORD size = 0;
    ::K32EnumProcessModules(::GetCurrentProcess(), modules.data(),
                            static_cast<DWORD>(modules.size() * sizeof(HMODULE)), &size);
    std::vector<std::wstring> paths;
    for (std::size_t i = 0; i < size / sizeof(HMODULE) && i < modules.size(); ++i) {
        wchar_t path[1024] = L"";
        ::GetModuleFileNameW(modules[i], path, ARRAYSIZE(path));
        paths.emplace_back(path);
    }
    return paths;
}

TEST_F(PlantedFiles, NothingIsTakenFromTheCurrentOrTheTemporaryFolder)
{
    const std::wstring planted = _m_folder / L"planted";
    const TargetingStandIn targeting;
    for (const wchar_t* const name :
         {L"advapi32.dll",       L"kernel32.dll",        L"kernelbase.dll",
          L"ktmw32.dll",         L"msvcrt.dll",          L"msxml3.dll",
          L"msxml3r.dll",        L"ntdll.dll",           L"ole32.dll",
          L"oleaut32.dll",       L"rpcss.dll",           L"userenv.dll",
          L"wbemprox.dll",       L"wbemcomn.dll",        L"cryptbase.dll",
          L"version.dll",        L"libwinpthread-1.dll", L"libstdc++-6.dll",
          L"libgcc_s_seh-1.dll", L"kx_gpext.dll",        L"kx_targeting_stand_in.dll",
          L"gpprefcl.dll"}) {
        _m_folder.Write(std::wstring(L"planted\\") + name, "");
        ASSERT_TRUE(::CopyFileW(KX_TARGETING_STAND_IN, (planted + L"\\" + name).c_str(), FALSE));
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
    _m_gpo.folder = WritePolicyFile(kGpoA, L"Policies.xml",
                                    "<GpoPolicies version='5'><Policy name='p' order='7'><ItemLevelTargeting "
                                    "answer='match'/></Policy></GpoPolicies>");
    ExpectDelivery("planted folder");
    CkxListedGpo homeless = _m_gpo;
    homeless.folder.clear();
    _m_changed.Add(homeless);
    EXPECT_EQ(Refresh(kUser), 0U);
    EXPECT_THAT(ReceivedMeaning(), Not(HasSubstr("planted"))) << "a GPO without a folder";
    for (const std::wstring& module : LoadedModules())
        EXPECT_EQ(module.find(L"\\planted\\"), std::wstring::npos) << module;
    ::SetCurrentDirectoryW(before);
    for (const wchar_t* const variable : {L"TEMP", L"TMP"})
        ::SetEnvironmentVariableW(variable, temp);

    EXPECT_THAT(Trace(), Not(HasSubstr("planted")));
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(planted))
        files += entry.is_regular_file();
    EXPECT_EQ(files, 22U + 2U + 5U) << "nothing was added";
}

} // namespace
