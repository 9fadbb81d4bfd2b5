// Loading and unloading the shipped module: what it sets up beside itself, and what it leaves behind.
#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/handle_count.h"
#include "Tests/support/memory_use.h"
#include "Tests/support/temp_folder.h"
#include "Tools/host/extension_module.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const char* kAttach = "INFO: *************************> DLL_PROCESS_ATTACH\n";
constexpr const char* kDetach = "INFO: <************************* DLL_PROCESS_DETACH\n";

// Any folder will do.
constexpr const wchar_t* kHome = L"\u0434\u4E2D\u00E4 \U0001F600.x";

class StartUp : public testing::Test {
  protected:
    void SetUp() override
    {
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

    [[nodiscard]] std::string Trace() const { return ReadBytes(_m_home + L"\\Trace\\kx_gpext.trace"); }

    /// With prefixes that do not change from run to run.
    void Configure(const std::string& prefix) const
    {
        _m_folder.Write(kHome + std::wstring(L"\\kx_gpext.cfg"), "prefix@file@@all@" + prefix + "\n");
    }

    TempFolder _m_folder;
    const std::wstring _m_home = _m_folder / kHome;
    CkxExtensionModule _m_extension;
};

TEST_F(StartUp, MakesTheTraceFolderAndTracesItsLife)
{
    Configure("<%STACK>:");
    Load();
    EXPECT_TRUE(Trace().ends_with(std::string("\nDllMain: ") + kAttach)) << Trace();
    Unload();
    EXPECT_TRUE(Trace().ends_with(std::string("DllMain: ") + kAttach + "DllMain: " + kDetach)) << Trace();
    Load();
    EXPECT_TRUE(Trace().ends_with(std::string("\nDllMain: ") + kAttach)) << "it goes on in the same file";
    EXPECT_NE(Trace().find(kDetach), std::string::npos);
}

TEST_F(StartUp, ItsConfigurationCountsAndNotTheProgramsDefault)
{
    ::SetEnvironmentVariableW(L"DLIB_CONFIG",
                              _m_folder.Write(L"default.cfg", "prefix@file@@all@default:\n").c_str());
    Configure("own:");
    Load();
    ::SetEnvironmentVariableW(L"DLIB_CONFIG", nullptr);
    EXPECT_TRUE(Trace().ends_with(std::string("\nown: ") + kAttach)) << Trace();
    EXPECT_EQ(Trace().find("default:"), std::string::npos);
}

// The engine may load and unload the module around every refresh.
TEST_F(StartUp, FiftyTimesLeaveNothingBehind)
{
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
    EXPECT_TRUE(::DeleteFileW(Module().c_str())) << "the module is still loaded";
}

} // namespace
