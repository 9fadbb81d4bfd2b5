#include "Tests/support/temp_folder.h"

#include "Common_CPP/util/unique_handle.h"

#include <atomic>
#include <filesystem>
#include <stdexcept>

namespace {

std::wstring NewFolderName()
{
    static std::atomic<int> count{0};
    wchar_t temp[MAX_PATH];
    ::GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"kx_test_" + std::to_wstring(::GetCurrentProcessId()) + L"_" +
           std::to_wstring(++count);
}

// Removes a folder with what is in it, as far as nobody holds it. The language's library stops at MAX_PATH,
// which tests go beyond.
void RemoveTree(const std::wstring& folder)
{
    WIN32_FIND_DATAW found;
    const CkxFindHandle search(::FindFirstFileW((folder + L"\\*").c_str(), &found));
    for (bool more = static_cast<bool>(search); more; more = ::FindNextFileW(search.Get(), &found) != FALSE) {
        const std::wstring name = found.cFileName;
        const std::wstring path = folder + L"\\" + name;
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            ::DeleteFileW(path.c_str());
        else if (name != L"." && name != L"..")
            RemoveTree(path);
    }
    ::RemoveDirectoryW(folder.c_str());
}

} // namespace

TempFolder::TempFolder() : _m_path(NewFolderName())
{
    RemoveTree(L"\\\\?\\" + _m_path); // of an earlier run that was ended
    std::filesystem::create_directories(_m_path);
}

TempFolder::~TempFolder()
{
    RemoveTree(L"\\\\?\\" + _m_path); // a file that is still open stays; the next prefix has it no more
}

std::wstring TempFolder::Write(const std::wstring& name, std::string_view bytes) const
{
    std::wstring path = *this / name;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    const CkxFileHandle file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file || !::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr))
        throw std::runtime_error("cannot write a test file");
    return path;
}

std::string ReadBytes(const std::wstring& path)
{
    const CkxFileHandle file(::CreateFileW(path.c_str(), GENERIC_READ,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size{};
    if (!file || !::GetFileSizeEx(file.Get(), &size))
        return {};
    std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    ::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
    bytes.resize(read);
    return bytes;
}
