#include "Tools/targeting/facts_reader.h"

#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/util.h"

#include <string>

namespace {

constexpr const wchar_t* kFileName = L"\\targeting-facts.txt";

// Returns a Windows error; ERROR_FILE_TOO_LARGE for a file that is larger than facts are.
DWORD ReadBytes(const std::wstring& path, std::string& bytes)
{
    const CkxFileHandle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!file || !::GetFileSizeEx(file.Get(), &size))
        return ::GetLastError();
    if (size.QuadPart > static_cast<LONGLONG>(kx::kMostFactsBytes))
        return ERROR_FILE_TOO_LARGE;
    bytes.resize(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr))
        return ::GetLastError();
    bytes.resize(read);
    return ERROR_SUCCESS;
}

} // namespace

kx::FactsFile ReadFactsFile(const std::wstring& folder)
{
    std::string bytes;
    const DWORD error = ReadBytes(folder + kFileName, bytes);
    if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND)
        return {};
    if (error != ERROR_SUCCESS)
        return {{}, L"it cannot be read, error " + std::to_wstring(error)};
    CString text;
    if (!kx::Utf8ToWide(bytes, text))
        return {{}, L"it is no text"};
    return kx::ParseFacts(kx::View(text));
}
