#pragma once

/// True when the process's program is one for the console, so that lines go to standard error until
/// somebody says otherwise; else they go to the debugger.
[[nodiscard]] bool D_IsConsoleProgram() noexcept;
