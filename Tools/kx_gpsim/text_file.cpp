#include "Tools/kx_gpsim/text_file.h"

#include "Common_CPP/util/unique_handle.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <algorithm>

namespace kx {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kPiece = 1 << 20;

CkxFileHandle OpenToRead(const std::wstring& path)
{
    return CkxFileHandle(::CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
}

} // namespace

DWORD ReadBytes(const std::wstring& path, std::string& bytes, std::uint64_t offset)
{
    const CkxFileHandle file = OpenToRead(path);
    LARGE_INTEGER start{};
    start.QuadPart = static_cast<LONGLONG>(offset);
    if (!file || !::SetFilePointerEx(file.Get(), start, nullptr, FILE_BEGIN))
        return ::GetLastError();
    bytes.clear();
    for (DWORD count = kPiece; count > 0;) {
        const std::size_t used = bytes.size();
        bytes.resize(used + kPiece);
        const BOOL read = ::ReadFile(file.Get(), bytes.data() + used, kPiece, &count, nullptr);
        const DWORD error = read ? static_cast<DWORD>(ERROR_SUCCESS) : ::GetLastError();
        bytes.resize(used + (read ? count : 0));
        if (error != ERROR_SUCCESS)
            return error;
    }
    return ERROR_SUCCESS;
}

std::string ReadText(const std::string& path)
{
    std::string text;
    if (const DWORD error = ReadBytes(Wide(path), text); error != ERROR_SUCCESS)
        throw UsageError(path + ": cannot be read: " + SystemText(error));
    return text;
}

void WriteText(const std::string& path, std::string_view text)
{
    const CkxFileHandle file(::CreateFileW(Wide(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                           FILE_ATTRIBUTE_NORMAL, nullptr));
    while (file && !text.empty()) {
        DWORD written = 0;
        const auto size = static_cast<DWORD>((std::min)(text.size(), std::size_t{kPiece}));
        if (!::WriteFile(file.Get(), text.data(), size, &written, nullptr) || written == 0)
            break;
        text.remove_prefix(written);
    }
    if (!file || !text.empty())
        throw EnvironmentError(path + ": cannot be written: " + SystemText(::GetLastError()));
}

std::uint64_t SizeOf(const std::wstring& path)
{
    const CkxFileHandle file = OpenToRead(path);
    LARGE_INTEGER size{};
    return file && ::GetFileSizeEx(file.Get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

std::string SystemText(DWORD error)
{
    wchar_t room[512] = {};
    const DWORD length = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                          error, 0, room, static_cast<DWORD>(std::size(room)), nullptr);
    std::wstring text(room, length);
    while (!text.empty() && (text.back() <= L' ' || text.back() == L'.'))
        text.pop_back();
    const std::string number = "error " + std::to_string(error);
    return text.empty() ? number : Narrow(text) + " (" + number + ")";
}

} // namespace kx
