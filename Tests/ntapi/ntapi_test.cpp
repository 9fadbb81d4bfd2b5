#include "Common_CPP/ntapi/ntapi.h"
#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/temp_folder.h"

#include <gtest/gtest.h>

TEST(NtApi, SaysWhatIsNotThere)
{
    using Function = void(WINAPI*)();
    EXPECT_EQ(CkxNTAPI::Find<Function>("NtNoSuchFunction"), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});
    EXPECT_EQ(CkxNTAPI::Find<Function>(L"no_such_module.dll", "Function"), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_MOD_NOT_FOUND});
}

TEST(NtApi, ReadsInformationWhateverItsSize)
{
    std::vector<BYTE> information;
    ASSERT_EQ(CkxNTAPI::QuerySystemInformation(SystemProcessInformation, information), 0);
    bool foundSelf = false;
    for (std::size_t at = 0, next = 1; next != 0; at += next) {
        ASSERT_LE(at + sizeof(SYSTEM_PROCESS_INFORMATION), information.size());
        const auto& process = *reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(information.data() + at);
        foundSelf |= ::HandleToULong(process.UniqueProcessId) == ::GetCurrentProcessId();
        next = process.NextEntryOffset;
    }
    EXPECT_TRUE(foundSelf);

    ASSERT_EQ(CkxNTAPI::QuerySystemInformation(SystemBasicInformation, information), 0);
    EXPECT_EQ(information.size(), sizeof(SYSTEM_BASIC_INFORMATION));
    const NTSTATUS status = CkxNTAPI::QuerySystemInformation(9999, information);
    EXPECT_EQ(CkxNTAPI::ErrorOf(status), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(information.size(), sizeof(SYSTEM_BASIC_INFORMATION));
}

TEST(NtApi, OpensOnlyInsideTheFolder)
{
    const TempFolder folder;
    folder.Write(L"inner\\file.txt", "x");
    folder.Write(L"outside.txt", "x");
    const std::wstring path = folder / L"inner";
    const CkxFileHandle inner(::CreateFileW(path.c_str(), FILE_LIST_DIRECTORY, FILE_SHARE_READ, nullptr,
                                            OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));

    constexpr auto invalid = static_cast<NTSTATUS>(0xC000000D);
    const std::pair<std::wstring, NTSTATUS> rows[] = {
        {L"FILE.txt", 0},        {L"none", static_cast<NTSTATUS>(0xC0000034)},
        {L"", invalid},          {L".", invalid},
        {L"..", invalid},        {L"..\\outside.txt", invalid},
        {L"\\windows", invalid}, {std::wstring(40000, L'n'), invalid},
    };
    for (const auto& [name, expected] : rows) {
        HANDLE opened = nullptr;
        const NTSTATUS status = CkxNTAPI::OpenInFolder(inner.Get(), name, FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                                                       FILE_SYNCHRONOUS_IO_NONALERT, opened);
        const CkxHandle held(opened);
        EXPECT_EQ(status, expected) << testing::PrintToString(name);
        EXPECT_EQ(static_cast<bool>(held), expected == 0);
    }
}
