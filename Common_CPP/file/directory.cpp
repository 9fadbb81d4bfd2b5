#include "Common_CPP/file/directory.h"

#include "Common_CPP/file/file_call.h"
#include "Common_CPP/path_converter/path_converter.h"
#include "Common_CPP/path_converter/path_forms.h"
#include "Common_CPP/util/last_error.h"
#include "Common_CPP/util/util.h"

#include <vector>

KXT_CLASS("CkxDirectory");

namespace {

bool CreateOne(const CString& path, PSECURITY_DESCRIPTOR security) noexcept
{
    SECURITY_ATTRIBUTES attributes = {};
    attributes.nLength = sizeof attributes;
    attributes.lpSecurityDescriptor = security;
    return ::CreateDirectoryW(path, &attributes) != FALSE;
}

bool IsFolder(const CString& path) noexcept
{
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// True when the folder is there afterwards, whoever made it. The last error tells why not.
bool EnsureOne(const CString& path, PSECURITY_DESCRIPTOR security) noexcept
{
    if (CreateOne(path, security))
        return true;
    const CkxLastErrorKeeper keeper;
    return IsFolder(path); // roots and folders of others may refuse with other errors than "exists"
}

/// The folder that holds what a full path names. False for a root, which nothing holds.
bool FindParent(const CString& fullPath, CString& parent)
{
    const kx::PathParts<wchar_t> parts = kx::ParsePath(kx::View(fullPath));
    const std::size_t end = parts.rest.find_last_not_of(L'\\');
    if (end == std::wstring_view::npos)
        return false;
    const std::size_t separator = parts.rest.find_last_of(L'\\', end);
    if (separator == std::wstring_view::npos)
        return false;
    const std::size_t keep = separator == 0 ? 1 : separator; // "C:\", not "C:"
    const auto before = static_cast<std::size_t>(parts.rest.data() - fullPath.GetString());
    parent = fullPath.Left(static_cast<int>(before + keep));
    return true;
}

/// Creates what is missing: upwards to the first folder that is there or can be made, then down again.
DWORD EnsureAll(const CString& fullPath, PSECURITY_DESCRIPTOR security)
{
    std::vector<CString> missing;
    CString folder = fullPath;
    while (!EnsureOne(CkxPathConverter::ToSystem(folder), security)) {
        const CkxLastErrorKeeper keeper;
        missing.push_back(folder);
        if (keeper.Get() != ERROR_PATH_NOT_FOUND || !FindParent(CString(folder), folder)) {
            ::SetLastError(keeper.Get());
            return KX_FILE_CALL(false, "CreateDirectory", folder);
        }
    }
    for (; !missing.empty(); missing.pop_back()) {
        const DWORD error = KX_FILE_CALL(EnsureOne(CkxPathConverter::ToSystem(missing.back()), security),
                                         "CreateDirectory", missing.back());
        if (error != ERROR_SUCCESS)
            return error;
    }
    return ERROR_SUCCESS;
}

} // namespace

DWORD CkxDirectory::Create(PSECURITY_DESCRIPTOR security) const noexcept
{
    KXT_SCOPE("Create");
    return KX_FILE_CALL(CreateOne(_SystemPath(), security), "CreateDirectory", GetPath());
}

DWORD CkxDirectory::CreateAll(PSECURITY_DESCRIPTOR security) const
{
    KXT_SCOPE("CreateAll");
    CString full;
    if (const DWORD error = CkxPathConverter::ToFull(GetPath(), full); error != ERROR_SUCCESS)
        return error;
    return EnsureAll(full, security);
}

DWORD CkxDirectory::CreateContainingDirectory(const CString& filePath, PSECURITY_DESCRIPTOR security)
{
    KXT_SCOPE("CreateContainingDirectory");
    CString full;
    CString folder;
    if (const DWORD error = CkxPathConverter::ToFull(filePath, full); error != ERROR_SUCCESS)
        return error;
    return FindParent(full, folder) ? EnsureAll(folder, security) : static_cast<DWORD>(ERROR_SUCCESS);
}
