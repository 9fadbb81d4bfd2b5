// Loading and unloading the shipped module: what it sets up beside itself, and what it leaves behind.
#include "Agent/engine/kx_gpext/trace_folder.h"
#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/handle_count.h"
#include "Tests/support/hook.h"
#include "Tests/support/memory_use.h"
#include "Tests/support/temp_folder.h"
#include "Tools/host/extension_module.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr const char* kAttach = "INFO: *************************> DLL_PROCESS_ATTACH\n";
constexpr const char* kDetach = "INFO: <************************* DLL_PROCESS_DETACH\n";

class StartUp : public testing::Test {
  protected:
    /// Puts the module into a folder of the test's own.
    void Install(const std::wstring& folder = L"")
    {
        _m_home = folder.empty() ? _m_folder.Path() : _m_folder / folder;
        ::CreateDirectoryW(_m_home.c_str(), nullptr);
        ASSERT_TRUE(::CopyFileW(KX_STAGE L"\\kx_gpext.dll", Module().c_str(), TRUE)) << ::GetLastError();
    }

    void Load() { ASSERT_EQ(_m_extension.Load(Module().c_str()), 0U); }

    void Unload()
    {
        _m_extension = {};
        ASSERT_EQ(::GetModuleHandleW(Module().c_str()), nullptr) << "something pins the module";
    }

    [[nodiscard]] std::wstring Module() const { return _m_home + L"\\kx_gpext.dll"; }

    [[nodiscard]] std::wstring TraceFile() const { return _m_home + L"\\Trace\\kx_gpext.trace"; }

    [[nodiscard]] std::string Trace() const { return ReadBytes(TraceFile()); }

    /// With prefixes that do not change from run to run.
    void Configure(const std::string& prefix) const
    {
        const CkxFileHandle file(::CreateFileW((_m_home + L"\\kx_gpext.cfg").c_str(), GENERIC_WRITE, 0,
                                               nullptr, CREATE_ALWAYS, 0, nullptr));
        const std::string text = "prefix@file@@all@" + prefix + "\n";
        DWORD written = 0;
        ASSERT_TRUE(::WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
    }

    TempFolder _m_folder;

  private:
    std::wstring _m_home;
    CkxExtensionModule _m_extension;
};

TEST_F(StartUp, MakesTheTraceFolderAndTracesItsLife)
{
    Install();
    Configure("<%STACK>:");
    Load();
    const DWORD folder = ::GetFileAttributesW((_m_folder / L"Trace").c_str());
    ASSERT_TRUE(folder != INVALID_FILE_ATTRIBUTES && (folder & FILE_ATTRIBUTE_DIRECTORY) != 0);
    EXPECT_TRUE(Trace().ends_with(std::string("\nDllMain: ") + kAttach)) << Trace();
    Unload();
    EXPECT_TRUE(Trace().ends_with(std::string("DllMain: ") + kAttach + "DllMain: " + kDetach)) << Trace();
    Load();
    EXPECT_TRUE(Trace().ends_with(std::string("\nDllMain: ") + kAttach)) << "it goes on in the same file";
    EXPECT_NE(Trace().find(kDetach), std::string::npos);
}

TEST_F(StartUp, ItsConfigurationCountsAndNotTheProgramsDefault)
{
    Install();
    ::SetEnvironmentVariableW(L"DLIB_CONFIG",
                              _m_folder.Write(L"default.cfg", "prefix@file@@all@default:\n").c_str());
    Configure("own:");
    Load();
    ::SetEnvironmentVariableW(L"DLIB_CONFIG", nullptr);
    EXPECT_TRUE(Trace().ends_with(std::string("\nown: ") + kAttach)) << Trace();
    EXPECT_EQ(Trace().find("default:"), std::string::npos);
}

TEST_F(StartUp, WithoutAConfigurationTheDefaultPrefixNamesTheSourceFile)
{
    Install();
    Load();
    const std::string begin = std::to_string(::GetCurrentProcessId()) + ":.../engine/kx_gpext/kx_gpext.cpp(";
    const std::string trace = Trace();
    EXPECT_EQ(trace.substr(trace.find('\n') + 1, begin.size()), begin) << trace;
}

TEST_F(StartUp, AnyFolderWillDo)
{
    Install(L"\u0434\u4E2D\u00E4 \U0001F600.x");
    Configure("p:");
    Load();
    EXPECT_TRUE(Trace().ends_with(std::string("\np: ") + kAttach)) << Trace();
}

TEST_F(StartUp, AFileInThePlaceOfTheFolderDoesNotPreventLoading)
{
    Install();
    _m_folder.Write(L"Trace", "planted");
    Load();
    Unload();
    EXPECT_EQ(ReadBytes(_m_folder / L"Trace"), "planted");
}

// The engine may load and unload the module around every refresh.
TEST_F(StartUp, FiftyTimesLeaveNothingBehind)
{
    Install();
    Configure("p:");
    Load();
    Unload();
    const auto nextSlot = [] {
        const DWORD slot = ::TlsAlloc();
        ::TlsFree(slot);
        return slot;
    };
    const DWORD slotBefore = nextSlot();
    const std::size_t heapBefore = HeapBytes();
    const std::size_t handlesBefore = CountHandles();
    for (int i = 0; i < 50; ++i) {
        Load();
        Unload();
    }
    EXPECT_EQ(nextSlot(), slotBefore);
    EXPECT_LE(HeapBytes(), heapBefore + 1024);
    EXPECT_EQ(CountHandles(handlesBefore), handlesBefore);
    const CkxFileHandle alone(
        ::CreateFileW(TraceFile().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(alone) << "the trace file is still open";
    EXPECT_TRUE(::DeleteFileW(Module().c_str())) << "the module is still loaded";
}

TEST_F(StartUp, ThreadsComeAndGoSilently)
{
    Install();
    Load();
    const std::string before = Trace();
    for (int i = 0; i < 20; ++i) {
        const CkxHandle thread(::CreateThread(
            nullptr, 0, [](void*) -> DWORD { return 0; }, nullptr, 0, nullptr));
        ASSERT_EQ(::WaitForSingleObject(thread.Get(), 10000), WAIT_OBJECT_0);
    }
    EXPECT_EQ(Trace(), before);
}

// --- The trace folder's access list, as the system is asked for it.

struct Entry {
    DWORD mask;
    BYTE flags;
    std::wstring trustee;

    bool operator==(const Entry&) const = default;
};

int g_made = 0;
BOOL g_inherits = TRUE;
std::vector<Entry> g_list;

std::wstring TextOf(PSID sid)
{
    std::wstring text = L"S-1-" + std::to_wstring(::GetSidIdentifierAuthority(sid)->Value[5]);
    for (DWORD i = 0; i < *::GetSidSubAuthorityCount(sid); ++i)
        text += L"-" + std::to_wstring(*::GetSidSubAuthority(sid, i));
    return text;
}

BOOL WINAPI NotedCreateDirectory(LPCWSTR, SECURITY_ATTRIBUTES* security)
{
    ++g_made;
    g_inherits = security->bInheritHandle;
    BOOL isThere = FALSE;
    BOOL isDefault = TRUE;
    ACL* list = nullptr;
    ::GetSecurityDescriptorDacl(security->lpSecurityDescriptor, &isThere, &list, &isDefault);
    for (DWORD i = 0; isThere && list && i < list->AceCount; ++i) {
        void* found = nullptr;
        ::GetAce(list, i, &found);
        auto* ace = static_cast<ACCESS_ALLOWED_ACE*>(found);
        const bool allows = ace->Header.AceType == ACCESS_ALLOWED_ACE_TYPE;
        g_list.push_back({ace->Mask, ace->Header.AceFlags, allows ? TextOf(&ace->SidStart) : L"not allowed"});
    }
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST(TraceFolder, IsMadeWithTheDocumentedAccessListOnlyWhenMissing)
{
    const TempFolder folder;
    const ImportHook<&NotedCreateDirectory> patch("CreateDirectoryW");
    CreateTraceFolder((folder / L"Trace").c_str());
    EXPECT_EQ(g_made, 1);
    EXPECT_FALSE(g_inherits);
    ASSERT_EQ(g_list.size(), 3U);
    EXPECT_TRUE((g_list[0] == Entry{0x00100003, 0, L"S-1-1-0"}));
    EXPECT_TRUE((g_list[1] == Entry{0x0012008F, 0x0B, L"S-1-1-0"}));
    EXPECT_TRUE((g_list[2] == Entry{0x001F01FF, 0x03, L"S-1-5-32-544"}));
    CreateTraceFolder(folder.Path().c_str());
    EXPECT_EQ(g_made, 1) << "what is there stays as it is";
}

} // namespace
