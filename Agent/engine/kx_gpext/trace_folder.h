#pragma once

#include <windows.h>

/// Creates the trace folder unless something of its name is there already, whose security then stays as it
/// is. Every account may add files and write into them; administrators have full control. Failures are
/// ignored: tracing goes on where it went before.
void CreateTraceFolder(const wchar_t* path) noexcept;

/// Whether the folder leads elsewhere. Who may add files to an empty folder may make it a link, and everybody
/// may add files to this one; nothing is written to it then.
[[nodiscard]] bool IsTraceFolderLinked(const wchar_t* path) noexcept;

/// Makes `path` an empty file in the trace folder, for somebody who opens files by their names only. A name
/// that is taken will not do, whatever has it: it may be planted, and lead elsewhere. Nobody but
/// administrators can take the file away again. Returns a Windows error.
[[nodiscard]] DWORD ReserveTraceFile(const wchar_t* folder, const wchar_t* path) noexcept;
