#include "Common_CPP/file/file.h"

#include "Common_CPP/file/file_call.h"
#include "Common_CPP/path_converter/path_converter.h"
#include "Common_CPP/util/unique_handle.h"

#include <algorithm>
#include <limits>
#include <utility>

KXT_CLASS("CkxFile");

namespace {

/// Bytes for one call: some file servers refuse much more.
constexpr std::size_t c_pieceSize = std::size_t{32} * 1024 * 1024;

DWORD PieceOf(std::size_t rest) noexcept
{
    return static_cast<DWORD>((std::min)(rest, c_pieceSize));
}

CkxFileHandle OpenToWrite(const CString& path, DWORD disposition, PSECURITY_DESCRIPTOR security) noexcept
{
    SECURITY_ATTRIBUTES attributes = {};
    attributes.nLength = sizeof attributes;
    attributes.lpSecurityDescriptor = security;
    return CkxFileHandle(::CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, &attributes, disposition,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// A text whose size is no proof of its contents is never handed out: a short read fails.
bool ReadAll(HANDLE file, std::string& bytes) noexcept
{
    for (std::size_t done = 0; done < bytes.size();) {
        DWORD read = 0;
        if (!::ReadFile(file, bytes.data() + done, PieceOf(bytes.size() - done), &read, nullptr))
            return false;
        if (read == 0) {
            ::SetLastError(ERROR_HANDLE_EOF);
            return false;
        }
        done += read;
    }
    return true;
}

bool WriteAll(HANDLE file, std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!::WriteFile(file, bytes.data(), PieceOf(bytes.size()), &written, nullptr))
            return false;
        if (written == 0) {
            ::SetLastError(ERROR_WRITE_FAULT);
            return false;
        }
        bytes.remove_prefix(written);
    }
    return true;
}

} // namespace

DWORD CkxFile::Create(PSECURITY_DESCRIPTOR security) const noexcept
{
    KXT_SCOPE("Create");
    const CkxFileHandle file = OpenToWrite(_SystemPath(), CREATE_NEW, security);
    return KX_FILE_CALL(static_cast<bool>(file), "CreateFile", GetPath());
}

DWORD CkxFile::Read(std::string& bytes, std::uint64_t mostBytes) const
{
    KXT_SCOPE("Read");
    // Shares everything: a file that somebody holds open must not fail the reader.
    const CkxFileHandle file(::CreateFileW(_SystemPath(), GENERIC_READ,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file)
        return KX_FILE_CALL(false, "CreateFile", GetPath());
    LARGE_INTEGER size = {};
    if (!::GetFileSizeEx(file.Get(), &size))
        return KX_FILE_CALL(false, "GetFileSizeEx", GetPath());
    const auto most = (std::min)(mostBytes, std::uint64_t{(std::numeric_limits<std::size_t>::max)() / 2});
    if (static_cast<std::uint64_t>(size.QuadPart) > most) {
        ::SetLastError(ERROR_FILE_TOO_LARGE);
        return KX_FILE_CALL(false, "ReadFile", GetPath());
    }
    std::string read(static_cast<std::size_t>(size.QuadPart), '\0');
    const DWORD error = KX_FILE_CALL(ReadAll(file.Get(), read), "ReadFile", GetPath());
    if (error == ERROR_SUCCESS)
        bytes = std::move(read);
    return error;
}

DWORD CkxFile::Write(std::string_view bytes, PSECURITY_DESCRIPTOR security) const noexcept
{
    KXT_SCOPE("Write");
    const CkxFileHandle file = OpenToWrite(_SystemPath(), CREATE_ALWAYS, security);
    if (!file)
        return KX_FILE_CALL(false, "CreateFile", GetPath());
    return KX_FILE_CALL(WriteAll(file.Get(), bytes), "WriteFile", GetPath());
}

DWORD CkxFile::Copy(const CString& target, bool replace) const
{
    KXT_SCOPE("Copy");
    const CString systemTarget = CkxPathConverter::ToSystem(target);
    return KX_FILE_CALL(::CopyFileW(_SystemPath(), systemTarget, replace ? FALSE : TRUE) != FALSE, "CopyFile",
                        GetPath(), target);
}
