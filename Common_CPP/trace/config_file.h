#pragma once

#include "Common_CPP/trace/messages.h"

#include <windows.h>

#include <cstddef>
#include <string>

/// The longest name of a configuration file, in code units.
inline constexpr std::size_t kMaxConfigName = 2048;

/// The configuration file's name where the program has set none: the environment variable DLIB_CONFIG, else
/// the program's path with ".cfg" in place of its extension, else "dlib.cfg".
[[nodiscard]] std::wstring D_DefaultConfigName();

/// When the file was last written; zero when there is none.
[[nodiscard]] FILETIME D_ConfigFileTime(const std::wstring& name) noexcept;

/// The file's whole text; false, with a message, when it cannot be read. Throws std::bad_alloc.
[[nodiscard]] bool D_ReadConfigFile(const std::wstring& name, std::string& text, kx::MessageSink& sink);

/// The name as messages show it. Throws std::bad_alloc.
[[nodiscard]] std::string D_ConfigNameText(const std::wstring& name);
