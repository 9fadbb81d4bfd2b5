#include "Common_CPP/util/util.h"

#include "Common_CPP/util/last_error.h"

#include <algorithm>
#include <utility>

namespace {

/// The longest path or environment value, NUL included. More room must not be offered: some systems count
/// its bytes in 16 bits.
constexpr int c_longestText = 32767;

/// Reads a text of unknown length by asking again with twice the room. `Read` gets a buffer and its
/// capacity, and returns the length read, or -1 to give up; a length that fills the capacity means that the
/// room was too small.
template <class Read>
bool ReadGrowing(CString& text, Read read) noexcept
{
    try {
        for (int capacity = MAX_PATH;; capacity = std::min(2 * capacity, c_longestText)) {
            CString attempt;
            const int length = read(attempt.GetBuffer(capacity), capacity);
            if (length < 0)
                return false;
            if (length < capacity) {
                attempt.ReleaseBuffer(length);
                text = std::move(attempt);
                return true;
            }
            if (capacity == c_longestText)
                return false;
        }
    } catch (const CAtlException&) {
        // Without memory the text cannot be read.
    }
    return false;
}

} // namespace

bool CkxUtil::GetModuleFile(CString& path, HMODULE module) noexcept
{
    return ReadGrowing(path, [module](wchar_t* buffer, int capacity) {
        const DWORD length = ::GetModuleFileNameW(module, buffer, static_cast<DWORD>(capacity));
        return length == 0 ? -1 : static_cast<int>(length);
    });
}

bool CkxUtil::GetModuleDir(CString& folder, HMODULE module) noexcept
{
    CString path;
    if (!GetModuleFile(path, module))
        return false;
    const std::size_t separator = kx::View(path).find_last_of(L"\\/");
    if (separator == std::wstring_view::npos)
        return false;
    path.ReleaseBuffer(static_cast<int>(separator)); // cutting off needs no memory
    folder = std::move(path);
    return true;
}

bool CkxUtil::GetEnvironment(const wchar_t* name, CString& value) noexcept
{
    const CkxLastErrorKeeper keeper;
    return ReadGrowing(value, [name](wchar_t* buffer, int capacity) {
        ::SetLastError(ERROR_SUCCESS); // an empty value also has length 0, but leaves this
        const DWORD length = ::GetEnvironmentVariableW(name, buffer, static_cast<DWORD>(capacity));
        if (length == 0 && ::GetLastError() != ERROR_SUCCESS)
            return -1;
        return length < static_cast<DWORD>(capacity) ? static_cast<int>(length) : capacity;
    });
}

bool CkxUtil::FileExists(const wchar_t* path) noexcept
{
    return ::GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}
