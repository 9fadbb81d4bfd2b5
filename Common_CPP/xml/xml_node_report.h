#pragma once

#include <windows.h>

/// The error lines that node operations share, each in the scope of the operation's name, which must be a
/// literal. All answer false, so that a failing operation can return them.
class CkxXMLNodeReport {
  public:
    CkxXMLNodeReport() = delete;

    /// The wrapper is empty.
    static bool Empty(const char* method) noexcept;

    /// `call` failed.
    static bool Failed(const char* method, const char* call, HRESULT hr) noexcept;

    /// The node is no element.
    static bool NoElement(const char* method) noexcept;
};
