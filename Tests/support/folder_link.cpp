#include "Tests/support/folder_link.h"

#include "Common_CPP/util/unique_handle.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

bool IsLink(const std::wstring& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

/// The path as Unix programs take it, on systems that run them.
std::wstring UnixPath(const std::wstring& path)
{
    using GetUnixName = char*(CDECL*)(const wchar_t*);
    const auto getUnixName = reinterpret_cast<GetUnixName>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    const std::size_t name = path.rfind(L'\\');
    char* const folder = getUnixName != nullptr ? getUnixName(path.substr(0, name).c_str()) : nullptr;
    if (folder == nullptr)
        return {};
    std::wstring unixPath(folder, folder + std::strlen(folder));
    ::HeapFree(::GetProcessHeap(), 0, folder);
    return unixPath + L'/' + path.substr(name + 1);
}

/// Starts a Unix program. Its handles may be none: what it does tells when it is done.
void RunUnix(std::wstring line)
{
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION made = {};
    if (::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                         &made)) {
        const CkxHandle process(made.hProcess);
        const CkxHandle thread(made.hThread);
    }
}

} // namespace

FolderLink::FolderLink(const std::wstring& link, const std::wstring& target) : _m_link(link)
{
    ::CreateSymbolicLinkW(link.c_str(), target.c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY);
    if (!IsLink(link))
        RunUnix(L"\\\\?\\unix\\bin\\ln -s " + UnixPath(target) + L' ' + UnixPath(link));
    EXPECT_TRUE(_Becomes(true));
}

FolderLink::~FolderLink()
{
    // A system that needs the Unix program would delete an empty folder instead of the link to it.
    const std::wstring unixPath = UnixPath(_m_link);
    if (!unixPath.empty())
        RunUnix(L"\\\\?\\unix\\bin\\rm " + unixPath);
    else if (IsLink(_m_link))
        ::RemoveDirectoryW(_m_link.c_str());
    EXPECT_TRUE(_Becomes(false));
}

bool FolderLink::_Becomes(bool there) const
{
    for (int i = 0; i < 500 && IsLink(_m_link) != there; ++i)
        ::Sleep(10);
    return IsLink(_m_link) == there;
}
