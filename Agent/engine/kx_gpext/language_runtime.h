#pragma once

/// The calling thread ends: frees what the language's run-time library keeps for it. For the detach
/// notification, after everything that may use exceptions.
void LanguageThreadEnds() noexcept;
