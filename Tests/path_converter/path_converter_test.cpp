// The converter and the names of a file, on the drives of this machine and on ones defined here.
#include "Common_CPP/path_converter/hard_links.h"
#include "Common_CPP/path_converter/path_converter.h"
#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/hook.h"
#include "Tests/support/temp_folder.h"
#include "Tools/host/patched_import.h"

#include <gtest/gtest.h>

namespace {

/// A drive letter for a scope.
class DefinedDrive {
  public:
    DefinedDrive(const wchar_t* name, const wchar_t* target, DWORD flags = 0)
        : _m_name(name), _m_target(target), _m_flags(flags)
    {
        EXPECT_TRUE(::DefineDosDeviceW(flags, name, target));
    }

    ~DefinedDrive() { EXPECT_TRUE(::DefineDosDeviceW(_m_flags | DDD_REMOVE_DEFINITION, _m_name, _m_target)); }

    DefinedDrive(const DefinedDrive&) = delete;
    DefinedDrive& operator=(const DefinedDrive&) = delete;

  private:
    const wchar_t* _m_name;
    const wchar_t* _m_target;
    DWORD _m_flags;
};

using Convert = DWORD (*)(const CString&, CString&);

/// The path converted, or the error in angle brackets.
std::wstring Converted(Convert convert, const wchar_t* path)
{
    CString text = L"kept";
    if (const DWORD error = convert(path, text); error != ERROR_SUCCESS) {
        EXPECT_STREQ(text, L"kept");
        text.Format(L"<%lu>", error);
    }
    return text.GetString();
}

std::wstring FinalNtPath(const std::wstring& path)
{
    const CkxFileHandle file(::CreateFileW(path.c_str(), 0, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                           FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    wchar_t final[MAX_PATH];
    EXPECT_LT(::GetFinalPathNameByHandleW(file.Get(), final, MAX_PATH, VOLUME_NAME_NT), DWORD{MAX_PATH});
    return final;
}

// The names of a file as a system has them that can list them; FindClose needs a real search.
std::vector<std::wstring> g_names;
DWORD g_firstError = ERROR_SUCCESS;
std::size_t g_next = 0;

BOOL WINAPI FakeNextName(HANDLE, DWORD* length, wchar_t* name)
{
    if (g_next == g_names.size()) {
        ::SetLastError(ERROR_HANDLE_EOF);
        return FALSE;
    }
    const std::wstring& found = g_names[g_next];
    if (*length <= found.size()) {
        ::SetLastError(ERROR_MORE_DATA);
        return FALSE;
    }
    *length = static_cast<DWORD>(found.copy(name, found.size()) + 1);
    name[found.size()] = L'\0';
    ++g_next;
    return TRUE;
}

HANDLE WINAPI FakeFirstName(const wchar_t*, DWORD, DWORD* length, wchar_t* name)
{
    g_next = 0;
    ::SetLastError(g_firstError);
    WIN32_FIND_DATAW data;
    return g_firstError == ERROR_SUCCESS && FakeNextName(nullptr, length, name)
               ? ::FindFirstFileW(L"C:\\*", &data)
               : INVALID_HANDLE_VALUE;
}

FARPROC WINAPI FakeGetProcAddress(HMODULE, const char* name)
{
    if (std::strcmp(name, "FindFirstFileNameW") == 0)
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(FakeFirstName));
    if (std::strcmp(name, "FindNextFileNameW") == 0)
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(FakeNextName));
    ::SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

} // namespace

TEST(PathConverter, AgreesWithTheSystemOnARealFile)
{
    const TempFolder folder;
    const std::wstring path = folder.Write(L"file.txt", "x");
    const std::wstring nt = FinalNtPath(path);
    EXPECT_EQ(Converted(CkxPathConverter::ToNt, path.c_str()), nt);
    EXPECT_EQ(Converted(CkxPathConverter::ToDos, nt.c_str()), path);
    EXPECT_EQ(Converted(CkxPathConverter::ToDos, (L"\\\\?\\" + path).c_str()), path);
    EXPECT_EQ(Converted(CkxPathConverter::ToUnc, path.c_str()), L"<2250>");
}

TEST(PathConverter, FollowsSubstitutedAndMappedDrives)
{
    const DefinedDrive substituted(L"T:", L"C:\\windows");
    const DefinedDrive mapped(L"U:", L"\\Device\\LanmanRedirector\\;U:0000000000001234\\server\\share",
                              DDD_RAW_TARGET_PATH);

    const struct {
        Convert convert;
        const wchar_t* path;
        std::wstring expected;
    } rows[] = {
        {CkxPathConverter::ToNt, L"T:\\a\\..\\system32",
         Converted(CkxPathConverter::ToNt, L"C:/windows/system32")},
        {CkxPathConverter::ToNt, L"U:\\f", L"\\Device\\Mup\\server\\share\\f"},
        {CkxPathConverter::ToUnc, L"U:\\f", L"\\\\server\\share\\f"},
        {CkxPathConverter::ToDos, L"\\\\SERVER\\share\\f", L"U:\\f"},
        {CkxPathConverter::ToNt, L"Q:\\f", L"<1200>"},
        {CkxPathConverter::ToDos, L"\\\\nobody\\nothing\\f", L"<2250>"},
        {CkxPathConverter::ToNt, L"", L"<161>"},
    };

    for (const auto& row : rows)
        EXPECT_EQ(Converted(row.convert, row.path), row.expected) << row.path;
}

TEST(HardLinks, ListsAllNamesWithTheirVolume)
{
    const TempFolder folder;
    const std::wstring path = folder.Write(L"file.txt", "x");
    const PatchedImport patch("GetProcAddress", reinterpret_cast<void*>(FakeGetProcAddress));
    g_firstError = ERROR_SUCCESS;
    g_names = {L"\\a", L"\\dir\\b", L"\\" + std::wstring(1000, L'n')};
    std::vector<CString> names;
    EXPECT_EQ(CkxHardLinks::Find(path.c_str(), names), DWORD{ERROR_SUCCESS});
    ASSERT_EQ(names.size(), g_names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(std::wstring(names[i]), L"C:" + g_names[i]);
}

TEST(HardLinks, TellsWhatItCannotList)
{
    const TempFolder folder;
    const std::wstring path = folder.Write(L"file.txt", "x");

    void* const none = reinterpret_cast<void*>(&Fail<0, ERROR_PROC_NOT_FOUND>);
    void* const fake = reinterpret_cast<void*>(&FakeGetProcAddress);
    const std::vector<CString> kept{L"kept"};
    const std::vector<CString> given{path.c_str()};

    const struct {
        const char* why;
        void* lookUp;
        DWORD firstError;
        std::wstring path;
        DWORD error;
        std::vector<CString> names;
    } rows[] = {
        {"old system", none, 0, path, ERROR_NOT_SUPPORTED, given},
        {"other file system", fake, ERROR_INVALID_FUNCTION, path, ERROR_NOT_SUPPORTED, given},
        {"no access", fake, ERROR_ACCESS_DENIED, path, ERROR_ACCESS_DENIED, kept},
        {"no file", none, 0, path + L"x", ERROR_FILE_NOT_FOUND, kept},
    };

    for (const auto& row : rows) {
        const PatchedImport patch("GetProcAddress", row.lookUp);
        g_firstError = row.firstError;
        std::vector<CString> names = kept;
        EXPECT_EQ(CkxHardLinks::Find(row.path.c_str(), names), row.error) << row.why;
        EXPECT_TRUE(names == row.names) << row.why;
    }
}
