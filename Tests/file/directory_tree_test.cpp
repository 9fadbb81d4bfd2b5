#include "Common_CPP/file/directory.h"
#include "Common_CPP/file/directory_tree.h"
#include "Common_CPP/file/file.h"
#include "Common_CPP/util/unique_handle.h"
#include "Tests/support/folder_link.h"
#include "Tests/support/temp_folder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr DWORD c_ok = ERROR_SUCCESS;

using Names = std::vector<std::wstring>;

/// The names found, relative to the folder and sorted.
Names Found(const CString& folder, const wchar_t* pattern, CkxTreeDepth depth)
{
    Names names;
    EXPECT_EQ(CkxDirectoryTree::Enumerate(folder, pattern, depth,
                                          [&](const CkxTreeEntry& entry) {
                                              names.emplace_back(entry.path.Mid(folder.GetLength() + 1));
                                              return true;
                                          }),
              c_ok);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TEST(DirectoryTree, PatternsChooseNames)
{
    const TempFolder folder;
    for (const wchar_t* name : {L"a.txt", L"B.TXT", L"ab.txt2", L"noext", L"\u00C4.txt", L"abcabd.x"})
        folder.Write(name, "");
    const Names all{L"B.TXT", L"a.txt", L"ab.txt2", L"abcabd.x", L"noext", L"\u00C4.txt"};
    const std::pair<const wchar_t*, Names> rows[] = {
        {L"*", all},
        {L"*.*", all},
        {L"?.TXT", {L"B.TXT", L"a.txt", L"\u00C4.txt"}},
        {L"\u00E4.*", {L"\u00C4.txt"}},
        {L"a*b?.x*", {L"abcabd.x"}},
        {L"*ab*ab*ab*", {}},
        {L"", {}},
    };
    for (const auto& [pattern, names] : rows)
        EXPECT_EQ(Found(folder.Path().c_str(), pattern, CkxTreeDepth::Folder), names)
            << testing::PrintToString(pattern);
}

TEST(DirectoryTree, RecursesIntoFoldersButNotIntoLinks)
{
    const TempFolder folder;
    folder.Write(L"tree\\a.txt", "");
    folder.Write(L"tree\\b\\c\\d.txt", "12");
    folder.Write(L"outside\\e.txt", "");
    const FolderLink link(folder / L"tree\\link", folder / L"outside");
    const CString tree = (folder / L"tree").c_str();
    EXPECT_EQ(Found(tree, L"*.txt", CkxTreeDepth::Tree), (Names{L"a.txt", L"b\\c\\d.txt"}));
    EXPECT_EQ(Found(tree, L"*", CkxTreeDepth::Folder), (Names{L"a.txt", L"b", L"link"}));
    EXPECT_EQ(Found(tree, L"*", CkxTreeDepth::Tree),
              (Names{L"a.txt", L"b", L"b\\c", L"b\\c\\d.txt", L"link"}));

    int visited = 0;
    const auto stop = [&](const CkxTreeEntry&) { return ++visited < 2; };
    EXPECT_EQ(CkxDirectoryTree::Enumerate(tree, L"*", CkxTreeDepth::Tree, stop), c_ok);
    EXPECT_EQ(visited, 2);
    EXPECT_EQ(CkxDirectoryTree::Enumerate(tree + L"\\none", L"*", CkxTreeDepth::Tree, stop),
              DWORD{ERROR_PATH_NOT_FOUND});
}

TEST(DirectoryTree, CopiesEvenIntoItself)
{
    const TempFolder folder;
    folder.Write(L"tree\\a.txt", "a");
    folder.Write(L"tree\\b\\c.txt", "c");
    const CString tree = (folder / L"tree").c_str();
    EXPECT_EQ(CkxDirectoryTree::Copy(tree, tree + L"\\b\\copy"), c_ok);
    EXPECT_EQ(Found(tree + L"\\b\\copy", L"*", CkxTreeDepth::Tree), (Names{L"a.txt", L"b", L"b\\c.txt"}));
    folder.Write(L"tree\\a.txt", "new");
    EXPECT_EQ(CkxDirectoryTree::Copy(tree, tree + L"\\b\\copy"), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(ReadBytes(folder / L"tree\\b\\copy\\a.txt"), "a");
    EXPECT_EQ(CkxDirectoryTree::Copy(tree, tree + L"\\b\\copy", true), c_ok);
    EXPECT_EQ(ReadBytes(folder / L"tree\\b\\copy\\a.txt"), "new");
}

TEST(DirectoryTree, RemovesReadOnlyDeepAndLongOnes)
{
    const TempFolder folder;
    const CString tree = (folder / L"tree").c_str();
    CString deep = tree;
    for (int i = 0; i < 30; ++i)
        deep += L"\\" + CString(L'd', 60);
    ASSERT_EQ(CkxDirectory(deep).CreateAll(), c_ok);
    const CkxFile file(deep + L"\\read_only.txt");
    ASSERT_TRUE(file.Write("x") == c_ok && file.SetAttributes(FILE_ATTRIBUTE_READONLY) == c_ok);
    EXPECT_EQ(CkxDirectoryTree::Remove(tree), c_ok);
    EXPECT_FALSE(CkxFSEntry(tree).Exists());
    EXPECT_EQ(CkxDirectoryTree::Remove(tree), DWORD{ERROR_FILE_NOT_FOUND});
    const CString other = folder.Write(L"file", "").c_str();
    EXPECT_EQ(CkxDirectoryTree::Remove(other), DWORD{ERROR_DIRECTORY});
    EXPECT_TRUE(CkxFSEntry(other).Exists());
}

TEST(DirectoryTree, RemovalNeverFollowsALink)
{
    const TempFolder folder;
    folder.Write(L"tree\\a\\f.txt", "");
    folder.Write(L"outside\\kept\\e.txt", "kept");
    ASSERT_TRUE(::CreateDirectoryW((folder / L"empty").c_str(), nullptr));
    const FolderLink link(folder / L"tree\\a\\link", folder / L"outside");
    const FolderLink linkToEmpty(folder / L"tree\\to_empty", folder / L"empty");
    // Where a handle to a link leads to its target the link cannot be deleted, and must stay.
    const DWORD error = CkxDirectoryTree::Remove((folder / L"tree").c_str());
    EXPECT_TRUE(error == c_ok || error == ERROR_REPARSE_TAG_MISMATCH) << error;
    EXPECT_EQ(ReadBytes(folder / L"outside\\kept\\e.txt"), "kept");
    EXPECT_TRUE(CkxFSEntry((folder / L"empty").c_str()).Exists());
    EXPECT_FALSE(CkxFSEntry((folder / L"tree\\a\\f.txt").c_str()).Exists());
    EXPECT_EQ(CkxFSEntry((folder / L"tree").c_str()).Exists(), error != c_ok);
}

TEST(DirectoryTree, RemovalGoesOnAfterWhatItCannotDelete)
{
    const TempFolder folder;
    folder.Write(L"tree\\a.txt", "");
    folder.Write(L"tree\\b\\held.txt", "");
    folder.Write(L"tree\\c\\d.txt", "");
    const CkxFileHandle held(::CreateFileW((folder / L"tree\\b\\held.txt").c_str(), GENERIC_READ,
                                           FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(CkxDirectoryTree::Remove((folder / L"tree").c_str()), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(Found((folder / L"tree").c_str(), L"*", CkxTreeDepth::Tree), (Names{L"b", L"b\\held.txt"}));
}
