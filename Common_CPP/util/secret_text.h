// Text that must not stay in memory.
#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/wipe.h"

/// Owns a secret as a BSTR: its characters are overwritten before they are freed. It moves, and makes no
/// copies.
class CkxSecretText {
  public:
    /// Empty.
    CkxSecretText() noexcept = default;

    /// A copy of a text that ends in NUL. Throws CAtlException(E_OUTOFMEMORY).
    explicit CkxSecretText(const wchar_t* text) : _m_text(text) {}

    CkxSecretText(CkxSecretText&& other) noexcept = default;

    CkxSecretText& operator=(CkxSecretText&& other) noexcept
    {
        if (this != &other)
            Attach(other._m_text.Detach());
        return *this;
    }

    CkxSecretText(const CkxSecretText&) = delete;
    CkxSecretText& operator=(const CkxSecretText&) = delete;

    ~CkxSecretText() { Attach(nullptr); }

    /// Overwrites and frees what is held, and takes over the caller's string.
    void Attach(BSTR text) noexcept
    {
        if (_m_text)
            kx::Wipe(_m_text.m_str, _m_text.ByteLength());
        _m_text.Attach(text);
    }

    [[nodiscard]] bool IsEmpty() const noexcept { return _m_text.Length() == 0; }

    /// The text, lent; null where there is none.
    [[nodiscard]] BSTR Get() const noexcept { return _m_text; }

  private:
    CComBSTR _m_text;
};
