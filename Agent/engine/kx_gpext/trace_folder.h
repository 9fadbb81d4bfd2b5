#pragma once

/// Creates the trace folder unless something of its name is there already, whose security then stays as it
/// is. Every account may add files and write into them; administrators have full control. Failures are
/// ignored: tracing goes on where it went before.
void CreateTraceFolder(const wchar_t* path) noexcept;
