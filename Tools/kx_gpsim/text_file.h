#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace kx {

/// Reads a file that others may hold open, from an offset on. Returns a Windows error; 2 and 3 mean that
/// there is none.
[[nodiscard]] DWORD ReadBytes(const std::wstring& path, std::string& bytes, std::uint64_t offset = 0);

/// The text of a file that the user named. Throws UsageError where it cannot be read.
[[nodiscard]] std::string ReadText(const std::string& path);

/// Writes a file that the user named, whole. Throws EnvironmentError where it cannot be written.
void WriteText(const std::string& path, std::string_view text);

/// The size of a file that somebody may be writing; 0 where there is none.
[[nodiscard]] std::uint64_t SizeOf(const std::wstring& path);

/// "No such file (error 2)".
[[nodiscard]] std::string SystemText(DWORD error);

} // namespace kx
