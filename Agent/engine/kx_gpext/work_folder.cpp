#include "Agent/engine/kx_gpext/work_folder.h"

#include "Agent/engine/kx_gpext/trusted_owner.h"

#include <sddl.h>

#include <utility>

namespace {

// Nothing is inherited from above. The folders and files are readable, since whoever evaluates the settings
// may do so as the user.
constexpr const wchar_t* kAccess = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FRFX;;;AU)";

DWORD Make(const CString& path)
{
    CkxLocalMemory<void> descriptor;
    if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(kAccess, SDDL_REVISION_1, descriptor.Put(),
                                                                nullptr))
        return ::GetLastError();
    SECURITY_ATTRIBUTES security{sizeof security, descriptor.Get(), FALSE};
    if (::CreateDirectoryW(path, &security) || ::GetLastError() == ERROR_ALREADY_EXISTS)
        return ERROR_SUCCESS;
    return ::GetLastError();
}

// Without FILE_SHARE_DELETE nobody renames or deletes the folder while the handle is open; the right to list
// is what makes that count.
DWORD Hold(const CString& path, CkxFileHandle& folder)
{
    folder.Reset(::CreateFileW(path, FILE_LIST_DIRECTORY | FILE_READ_ATTRIBUTES | READ_CONTROL,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                               FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    return folder ? static_cast<DWORD>(ERROR_SUCCESS) : ::GetLastError();
}

DWORD Judge(HANDLE folder)
{
    FILE_BASIC_INFO info{};
    if (!::GetFileInformationByHandleEx(folder, FileBasicInfo, &info, sizeof info))
        return ::GetLastError();
    constexpr DWORD kinds = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    if ((info.FileAttributes & kinds) != FILE_ATTRIBUTE_DIRECTORY)
        return ERROR_DIRECTORY;
    return CkxObjectOwner::Of(folder).trusted ? ERROR_SUCCESS : ERROR_INVALID_OWNER;
}

DWORD WriteNew(const CString& path, std::string_view bytes)
{
    const CkxFileHandle file(
        ::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return ::GetLastError();
    DWORD written = 0;
    if (!::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        return ::GetLastError();
    return written == bytes.size() ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

} // namespace

DWORD CkxWorkFolder::Enter(const CString& path)
{
    CkxFileHandle folder;
    DWORD error = Make(path);
    if (error == ERROR_SUCCESS)
        error = Hold(path, folder);
    if (error == ERROR_SUCCESS)
        error = Judge(folder.Get());
    if (error != ERROR_SUCCESS)
        return error;
    _m_held.push_back(std::move(folder));
    _m_path = path;
    return ERROR_SUCCESS;
}

DWORD CkxWorkFolder::Save(const wchar_t* name, std::string_view bytes) const
{
    const CString path = FilePath(name);
    if (!::DeleteFileW(path) && ::GetLastError() != ERROR_FILE_NOT_FOUND)
        return ::GetLastError();
    return WriteNew(path, bytes);
}
