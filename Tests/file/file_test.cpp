// Files and folders by themselves.
#include "Common_CPP/file/directory.h"
#include "Common_CPP/file/directory_tree.h"
#include "Common_CPP/file/file.h"
#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/temp_folder.h"
#include "Tools/host/patched_import.h"

#include <gtest/gtest.h>

namespace {

constexpr DWORD c_ok = ERROR_SUCCESS;

CString In(const TempFolder& folder, const wchar_t* name)
{
    return (folder / name).c_str();
}

std::string Contents(const CString& path)
{
    std::string bytes = "nothing read";
    EXPECT_EQ(CkxFile(path).Read(bytes), c_ok);
    return bytes;
}

PSECURITY_DESCRIPTOR g_given = nullptr;

HANDLE WINAPI RecordingCreateFile(const wchar_t*, DWORD, DWORD, SECURITY_ATTRIBUTES* security, DWORD, DWORD,
                                  HANDLE)
{
    g_given = security != nullptr ? security->lpSecurityDescriptor : nullptr;
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

BOOL WINAPI RecordingCreateDirectory(const wchar_t*, SECURITY_ATTRIBUTES* security)
{
    g_given = security != nullptr ? security->lpSecurityDescriptor : nullptr;
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL WINAPI WriteHalf(HANDLE, const void*, DWORD size, DWORD* written, OVERLAPPED*)
{
    *written = size / 2;
    return TRUE;
}

BOOL WINAPI ReadNothing(HANDLE, void*, DWORD, DWORD* read, OVERLAPPED*)
{
    *read = 0;
    return TRUE;
}

} // namespace

TEST(File, WholeContentsGoThereAndBack)
{
    const TempFolder folder;
    CString longPath = folder.Path().c_str(); // no call takes it without a prefix
    for (int i = 0; i < 3; ++i)
        longPath += L"\\" + CString(L'd', 150);
    longPath += L"\\\u00FC %41 file.txt";
    ASSERT_EQ(CkxDirectory::CreateContainingDirectory(longPath), c_ok);
    for (const std::string& bytes :
         {std::string("a\0\r\nb\xFF", 6), std::string(), std::string(100'000, 'x')}) {
        ASSERT_EQ(CkxFile(longPath).Write(bytes), c_ok);
        EXPECT_EQ(Contents(longPath), bytes);
    }
    EXPECT_EQ(CkxDirectoryTree::Remove(folder.Path().c_str()), c_ok);
}

TEST(File, ReadsWhatOthersWriteAndKeepsWhatItHadOnFailure)
{
    const TempFolder folder;
    const std::wstring path = folder.Write(L"f.txt", "12345");
    const CkxFileHandle writer(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                             nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(Contents(path.c_str()), "12345");
    std::string bytes = "kept";
    EXPECT_EQ(CkxFile(path.c_str()).Read(bytes, 4), DWORD{ERROR_FILE_TOO_LARGE});
    EXPECT_EQ(CkxFile(In(folder, L"none")).Read(bytes), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(CkxFile(In(folder, L"none\\f")).Read(bytes), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(CkxFile(folder.Path().c_str()).Read(bytes), DWORD{ERROR_ACCESS_DENIED});
    const PatchedImport shrunk("ReadFile", reinterpret_cast<void*>(ReadNothing));
    EXPECT_EQ(CkxFile(path.c_str()).Read(bytes), DWORD{ERROR_HANDLE_EOF});
    EXPECT_EQ(bytes, "kept");
}

TEST(File, AWriteInPiecesGoesOnAndOneWithoutProgressFails)
{
    const TempFolder folder;
    const PatchedImport patch("WriteFile", reinterpret_cast<void*>(WriteHalf));
    // 5 bytes: 2, then 1, then 1, and of the last byte nothing.
    EXPECT_EQ(CkxFile(In(folder, L"f")).Write("12345"), DWORD{ERROR_WRITE_FAULT});
}

TEST(FsEntry, SetsAttributesAndTimesAndTellsThem)
{
    const TempFolder folder;
    const CkxFile file(folder.Write(L"f.txt", "12345").c_str());
    std::uint64_t size = 0;
    DWORD attributes = 0;
    ASSERT_EQ(file.SetAttributes(FILE_ATTRIBUTE_READONLY), c_ok);
    EXPECT_TRUE(file.GetSize(size) == c_ok && file.GetAttributes(attributes) == c_ok);
    EXPECT_EQ(size, 5u);
    EXPECT_NE(attributes & FILE_ATTRIBUTE_READONLY, 0u);
    ASSERT_EQ(file.SetAttributes(FILE_ATTRIBUTE_NORMAL), c_ok);

    const CkxTime early(126256467061234567); // 2001
    const CkxTime late(129682593167654321);  // 2011
    for (const CkxFSEntry& entry : {CkxFSEntry(file), CkxFSEntry(folder.Path().c_str())}) {
        CkxFSTimes times;
        ASSERT_EQ(entry.SetTimes({CkxTime(), early, early}), c_ok);
        ASSERT_EQ(entry.SetTimes({CkxTime(), CkxTime(), late}), c_ok);
        ASSERT_EQ(entry.GetTimes(times), c_ok);
        EXPECT_TRUE(times.accessed == early && times.written == late);
    }
    CkxFSInfo info;
    info.size = 42;
    EXPECT_EQ(CkxFSEntry(In(folder, L"none")).GetInfo(info), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(info.size, 42u);
}

TEST(FsEntry, RenamesCopiesAndDeletes)
{
    const TempFolder folder;
    const CString first = folder.Write(L"first", "1").c_str();
    const CString second = folder.Write(L"second", "2").c_str();
    CkxFile file(first);
    EXPECT_EQ(file.Copy(second), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(file.Rename(second), DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(Contents(second), "2");
    EXPECT_STREQ(file.GetPath(), first);
    EXPECT_TRUE(file.Copy(In(folder, L"third")) == c_ok && Contents(In(folder, L"third")) == "1");
    EXPECT_TRUE(file.Rename(second, true) == c_ok && Contents(second) == "1");
    EXPECT_STREQ(file.GetPath(), second);
    EXPECT_FALSE(CkxFSEntry(first).Exists());

    CkxDirectory inner(In(folder, L"inner"));
    ASSERT_EQ(inner.Create(), c_ok);
    EXPECT_EQ(inner.Rename(In(folder, L"moved")), c_ok);
    EXPECT_EQ(file.Rename(inner.GetPath() + L"\\f"), c_ok);
    EXPECT_EQ(inner.Delete(), DWORD{ERROR_DIR_NOT_EMPTY});
    EXPECT_TRUE(file.Delete() == c_ok && inner.Delete() == c_ok && !inner.Exists());
}

TEST(Directory, CreatesWhatIsMissingOnly)
{
    const TempFolder folder;

    const CString blocked = folder.Write(L"a_file", "x").c_str();

    const struct {
        const char* why;
        CString path;
        DWORD error;
    } rows[] = {
        {"three levels, slashes and dots", In(folder, L"a/b\\.\\c\\"), ERROR_SUCCESS},
        {"there already", In(folder, L"a\\b"), ERROR_SUCCESS},
        {"a file in its place", blocked, ERROR_ALREADY_EXISTS},
        {"a file on the way", blocked + L"\\a", ERROR_ALREADY_EXISTS},
        {"no path", L"", ERROR_BAD_PATHNAME},
    };

    for (const auto& row : rows)
        EXPECT_EQ(CkxDirectory(row.path).CreateAll(), row.error) << row.why;
    EXPECT_TRUE(CkxFSEntry(In(folder, L"a\\b\\c")).Exists());

    EXPECT_EQ(CkxDirectory::CreateContainingDirectory(L"C:\\file.txt"), c_ok);
}

// Whether the system keeps a descriptor is its matter, and not every one does; here it must be handed on.
TEST(FsEntry, SecurityDescriptorsReachTheSystem)
{
    SECURITY_DESCRIPTOR security = {};
    ASSERT_TRUE(::InitializeSecurityDescriptor(&security, SECURITY_DESCRIPTOR_REVISION));
    const PatchedImport files("CreateFileW", reinterpret_cast<void*>(RecordingCreateFile));
    const PatchedImport folders("CreateDirectoryW", reinterpret_cast<void*>(RecordingCreateDirectory));
    using Create = DWORD (*)(PSECURITY_DESCRIPTOR);
    const Create calls[] = {
        [](PSECURITY_DESCRIPTOR given) { return CkxFile(L"C:\\f").Create(given); },
        [](PSECURITY_DESCRIPTOR given) { return CkxFile(L"C:\\f").Write("x", given); },
        [](PSECURITY_DESCRIPTOR given) { return CkxDirectory(L"C:\\d").Create(given); },
        [](PSECURITY_DESCRIPTOR given) { return CkxDirectory(L"C:\\no\\d").CreateAll(given); },
    };
    for (const Create& call : calls) {
        for (const PSECURITY_DESCRIPTOR given :
             {PSECURITY_DESCRIPTOR{&security}, PSECURITY_DESCRIPTOR{nullptr}}) {
            g_given = &g_given;
            EXPECT_EQ(call(given), DWORD{ERROR_ACCESS_DENIED});
            EXPECT_EQ(g_given, given);
        }
    }
}
