// Globally unique identifiers.
#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <windows.h>

#include <compare>
#include <string_view>

/// A GUID as a value. The order is the one of the texts, which is not the one of the bytes in memory.
class CkxGUID {
  public:
    /// All zeros.
    constexpr CkxGUID() noexcept = default;

    /// A copy of `guid`.
    constexpr CkxGUID(const GUID& guid) noexcept : _m_guid(guid) {}

    /// Makes a new one that nobody else has. On failure `guid` stays as it was.
    [[nodiscard]] static HRESULT Create(CkxGUID& guid) noexcept;

    /// Reads "{01234567-89AB-CDEF-0123-456789ABCDEF}", with both braces or none, in either case, and nothing
    /// around it. False for anything else, and `guid` stays as it was.
    [[nodiscard]] static bool Parse(std::wstring_view text, CkxGUID& guid) noexcept;

    /// The text in upper case, with braces. Throws CAtlException.
    [[nodiscard]] CString Format() const;

    /// The text in upper case, without braces. Throws CAtlException.
    [[nodiscard]] CString FormatBare() const;

    /// The identifier; valid as long as this object.
    [[nodiscard]] const GUID& Get() const noexcept { return _m_guid; }

    /// Whether all is zero.
    [[nodiscard]] bool IsNull() const noexcept { return *this == CkxGUID(); }

    friend std::strong_ordering operator<=>(const CkxGUID& a, const CkxGUID& b) noexcept;

    friend bool operator==(const CkxGUID& a, const CkxGUID& b) noexcept { return std::is_eq(a <=> b); }

  private:
    GUID _m_guid = {};
};
