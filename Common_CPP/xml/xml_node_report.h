#pragma once

#include <windows.h>

/// The error lines that node operations share, each in the scope of the operation's name, which must be a
/// literal. All answer false, so that a failing operation can return them; but where memory has run out they
/// throw CAtlException(E_OUTOFMEMORY) after the line, lest a caller go on with less than there is.
class CkxXMLNodeReport {
  public:
    CkxXMLNodeReport() = delete;

    /// The wrapper is empty.
    static bool Empty(const char* method) noexcept;

    /// `call` failed.
    static bool Failed(const char* method, const char* call, HRESULT hr);

    /// For calls whose other failures mean that there is no such thing.
    static void ThrowIfOutOfMemory(const char* method, const char* call, HRESULT hr)
    {
        if (hr == E_OUTOFMEMORY)
            (void)Failed(method, call, hr);
    }

    /// The node is no element.
    static bool NoElement(const char* method) noexcept;
};
