#pragma once

/// The calling thread ends: frees what the language's run-time library keeps for it. For the detach
/// notification, after everything that may use exceptions.
void LanguageThreadEnds() noexcept;

/// The module is unloaded, the process goes on: frees what that library has allocated when it was loaded, and
/// never gives back by itself. For the detach notification, as the last thing.
void LanguageModuleUnloads() noexcept;
