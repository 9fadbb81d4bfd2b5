// The folders that are made: who may write into them, and that nobody exchanges the service's own one under
// its hands.

#include "Agent/engine/kx_gpext/trace_folder.h"
#include "Agent/engine/kx_gpext/work_folder.h"
#include "Tests/support/hook.h"
#include "Tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <sddl.h>

#include <string>

namespace {

std::wstring g_access;
SID g_everyone = {SID_REVISION, 1, {SECURITY_WORLD_SID_AUTHORITY}, {SECURITY_WORLD_RID}};

BOOL WINAPI CreateAndKeepAccess(LPCWSTR path, LPSECURITY_ATTRIBUTES security)
{
    CkxLocalMemory<wchar_t> text;
    ::ConvertSecurityDescriptorToStringSecurityDescriptorW(security->lpSecurityDescriptor, SDDL_REVISION_1,
                                                           DACL_SECURITY_INFORMATION, text.Put(), nullptr);
    g_access = text.Get();
    return ImportHook<&CreateAndKeepAccess>::Original(path, security);
}

BOOL WINAPI OwnerIsAStranger(PSECURITY_DESCRIPTOR /*descriptor*/, PSID* owner, LPBOOL /*defaulted*/)
{
    *owner = &g_everyone;
    return TRUE;
}

TEST(Folders, AreMadeWithTheDocumentedAccess)
{
    const TempFolder folder;
    const ImportHook<&CreateAndKeepAccess> create("CreateDirectoryW");
    CkxWorkFolder work;
    EXPECT_EQ(work.Enter((folder / L"tmp").c_str()), 0U);
    EXPECT_EQ(g_access, L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;AU)");
    CreateTraceFolder((folder / L"Trace").c_str());
    EXPECT_EQ(g_access, L"D:(A;;0x100003;;;WD)(A;OICIIO;0x12008f;;;WD)(A;OICI;FA;;;BA)");
    g_access.clear();
    CreateTraceFolder(folder.Path().c_str());
    EXPECT_EQ(g_access, L"") << "what is there stays as it is";
}

// The system under test may open a link's target whatever it is asked for, so the answer is made up.
BOOL WINAPI OfALink(HANDLE file, FILE_INFO_BY_HANDLE_CLASS kind, void* facts, DWORD size)
{
    const BOOL told = ImportHook<&OfALink>::Original(file, kind, facts, size);
    static_cast<FILE_BASIC_INFO*>(facts)->FileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
    return told;
}

TEST(WorkFolder, StaysInPlaceWhileItIsHeld)
{
    const TempFolder folder;
    const std::wstring path = folder / L"tmp";
    const std::wstring elsewhere = folder / L"elsewhere";
    {
        CkxWorkFolder work;
        EXPECT_EQ(work.Enter(path.c_str()), 0U);
        EXPECT_EQ(work.EnterBelow(L"inner"), 0U);
        EXPECT_EQ(work.Save(L"file", "first"), 0U);
        EXPECT_EQ(work.Save(L"file", "second"), 0U);
        EXPECT_EQ(ReadBytes(path + L"\\inner\\file"), "second");
        EXPECT_FALSE(::MoveFileW((path + L"\\inner").c_str(), elsewhere.c_str()));
        EXPECT_FALSE(::MoveFileW(path.c_str(), elsewhere.c_str()));
    }
    EXPECT_TRUE(::MoveFileW(path.c_str(), elsewhere.c_str())) << ::GetLastError();
}

TEST(WorkFolder, RefusesWhatIsNotItsOwn)
{
    const TempFolder folder;
    CkxWorkFolder work;
    EXPECT_EQ(work.Enter(folder.Write(L"file", "").c_str()), static_cast<DWORD>(ERROR_DIRECTORY));
    EXPECT_EQ(work.Enter((folder / L"gone\\tmp").c_str()), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
    {
        const ImportHook<&OwnerIsAStranger> owner("GetSecurityDescriptorOwner");
        EXPECT_EQ(work.Enter((folder / L"tmp").c_str()), static_cast<DWORD>(ERROR_INVALID_OWNER));
    }
    const ImportHook<&OfALink> information("GetFileInformationByHandleEx");
    EXPECT_EQ(work.Enter((folder / L"tmp").c_str()), static_cast<DWORD>(ERROR_DIRECTORY));
}

} // namespace
