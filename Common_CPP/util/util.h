// Small questions about the module, the environment and files.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <windows.h>

#include <string_view>

namespace kx {

/// The whole text, NUL characters inside included; valid until the string changes.
inline std::wstring_view View(const CString& text) noexcept
{
    return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
}

} // namespace kx

/// Helpers without state. None throws or traces; false leaves the out-parameter untouched.
class CkxUtil {
  public:
    CkxUtil() = delete;

    /// Full path of the module's file, of any length; of the program for null. False when it cannot be read.
    [[nodiscard]] static bool GetModuleFile(CString& path, HMODULE module) noexcept;

    /// The folder of the module's file, without a trailing backslash. False when it cannot be read.
    [[nodiscard]] static bool GetModuleDir(CString& folder, HMODULE module) noexcept;

    /// Value of an environment variable, of any length; one set to nothing counts as set. False when it is
    /// not set. The last error stays as it was.
    [[nodiscard]] static bool GetEnvironment(const wchar_t* name, CString& value) noexcept;

    /// Whether a file or folder of this name can be seen, whatever its access list allows otherwise.
    [[nodiscard]] static bool FileExists(const wchar_t* path) noexcept;
};
