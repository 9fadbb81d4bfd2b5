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

} // namespace

TempFolder::TempFolder() : _m_path(NewFolderName())
{
    std::filesystem::remove_all(_m_path); // of an earlier run that was ended
    std::filesystem::create_directories(_m_path);
}

TempFolder::~TempFolder()
{
    std::error_code ignored; // a file that is still open stays; the next prefix has it no more
    std::filesystem::remove_all(_m_path, ignored);
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
