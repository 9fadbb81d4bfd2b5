#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// What the patched module has open, allocated or referenced, as its own calls tell. Nothing here throws, and
/// nothing changes the thread's last-error value.
namespace watch {

enum class Kind { Handle, Key, Find, Module, Memory, Text, Reference };

/// Notes something opened or allocated, or one more reference to it, and by which call; null is nothing.
void Opened(Kind kind, const void* what, const char* call) noexcept;

/// Notes that it is being closed or freed, with what it holds still in place.
void Closed(Kind kind, const void* what) noexcept;

/// Forgets everything.
void Clear() noexcept;

/// How many blocks of memory are allocated.
[[nodiscard]] std::size_t Blocks() noexcept;

/// How many handles, keys, searches, modules and references were closed that the module did not hold.
[[nodiscard]] unsigned ForeignCloses() noexcept;

/// The calls that opened or handed out what is still there, other than memory, joined by blanks; "" for none.
[[nodiscard]] std::string OpenCalls();

/// From now on, memory and texts that are freed while they hold these characters count; none for "".
void SetSecret(std::wstring_view secret);

/// How many such blocks were freed.
[[nodiscard]] unsigned FreedSecrets() noexcept;

} // namespace watch

/// True when the calling thread wears somebody else's token.
[[nodiscard]] bool IsImpersonating();

/// True when another thread could not take the mutex at once. A mutex that is not there is free.
[[nodiscard]] bool IsMutexHeld(const wchar_t* name);
