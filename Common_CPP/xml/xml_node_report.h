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

    /// How a call ended that may find nothing: true when it found something. Only a failure is traced.
    static bool Found(const char* method, const char* call, HRESULT hr)
    {
        return hr == S_OK || (FAILED(hr) && Failed(method, call, hr));
    }

    /// The node is no element, as `hr` says.
    static bool NoElement(const char* method, HRESULT hr);
};
