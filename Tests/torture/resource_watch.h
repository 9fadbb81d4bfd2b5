#pragma once

#include <cstddef>
#include <string>

/// What the patched module has open or allocated, as its own calls tell.
namespace watch {

enum class Kind { Handle, Key, Find, Module, Memory };

/// Notes something opened or allocated, and by which call; null is nothing. Never throws.
void Opened(Kind kind, const void* what, const char* call) noexcept;

/// Notes that it is being closed or freed.
void Closed(Kind kind, const void* what) noexcept;

/// Forgets everything.
void Clear() noexcept;

/// How many blocks of memory are allocated.
[[nodiscard]] std::size_t Blocks() noexcept;

/// How many handles, keys, searches and modules were closed that the module had not opened.
[[nodiscard]] unsigned ForeignCloses() noexcept;

/// The calls that opened handles, keys, searches and modules that are still open, joined by blanks; "" for
/// none.
[[nodiscard]] std::string OpenCalls();

} // namespace watch

/// True when the calling thread wears somebody else's token.
[[nodiscard]] bool IsImpersonating();

/// True when another thread could not take the mutex at once. A mutex that is not there is free.
[[nodiscard]] bool IsMutexHeld(const wchar_t* name);
