#pragma once

#include <windows.h>

/// This module, saved when it was loaded: all paths start from the folder of its file.
[[nodiscard]] HMODULE KxModule() noexcept;
