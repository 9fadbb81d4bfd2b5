#include "Agent/engine/kx_gpext/trace_folder.h"

#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/util.h"

#include <windows.h>

#include <iterator>

namespace {

// The access masks are part of the product's documented set-up; the comments name their rights.
constexpr DWORD kAddFiles = 0x00100003;   // synchronise, list folder, add file
constexpr DWORD kWriteFiles = 0x0012008F; // synchronise, read control, read and write data and attributes
constexpr DWORD kFullControl = 0x001F01FF;

// Constant identifiers: an account look-up is not to be had under the loader lock.
constexpr SID kEveryone = {SID_REVISION, 1, {SECURITY_WORLD_SID_AUTHORITY}, {SECURITY_WORLD_RID}};

struct SidOfTwo {
    SID sid;
    DWORD second;
};

constexpr SidOfTwo kAdministrators = {
    {SID_REVISION, 2, {SECURITY_NT_AUTHORITY}, {SECURITY_BUILTIN_DOMAIN_RID}}, DOMAIN_ALIAS_RID_ADMINS};

PSID AsSid(const void* sid) noexcept
{
    return const_cast<void*>(sid); // the API takes them read-only, without saying so
}

bool FillAccessList(ACL* list, DWORD size) noexcept
{
    return ::InitializeAcl(list, size, ACL_REVISION) &&
           ::AddAccessAllowedAceEx(list, ACL_REVISION, 0, kAddFiles, AsSid(&kEveryone)) &&
           ::AddAccessAllowedAceEx(list, ACL_REVISION,
                                   OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE | INHERIT_ONLY_ACE, kWriteFiles,
                                   AsSid(&kEveryone)) &&
           ::AddAccessAllowedAceEx(list, ACL_REVISION, OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE,
                                   kFullControl, AsSid(&kAdministrators));
}

} // namespace

bool IsTraceFolderLinked(const wchar_t* path) noexcept
{
    const DWORD attributes = ::GetFileAttributesW(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

DWORD ReserveTraceFile(const wchar_t* folder, const wchar_t* path) noexcept
{
    if (IsTraceFolderLinked(folder))
        return ERROR_CANT_ACCESS_FILE;
    const CkxFileHandle file(::CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                           FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    return file ? static_cast<DWORD>(ERROR_SUCCESS) : ::GetLastError();
}

void CreateTraceFolder(const wchar_t* path) noexcept
{
    if (CkxUtil::FileExists(path))
        return;
    alignas(ACL) BYTE listMemory[256];
    ACL* const list = reinterpret_cast<ACL*>(listMemory);
    SECURITY_DESCRIPTOR descriptor;
    if (!FillAccessList(list, sizeof listMemory) ||
        !::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) ||
        !::SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE))
        return;
    SECURITY_ATTRIBUTES security{sizeof security, &descriptor, FALSE};
    (void)::CreateDirectoryW(path, &security);
}
