#pragma once

#include "Common_CPP/util/reg_key.h"

/// A registry key that is opened within a kernel transaction, or without one. Reads are those of CkxRegKey.
class CkxGpRegKey : private CkxRegKey {
  public:
    /// `transaction` is not owned and may be null. `mayGoWithout` allows keys outside of any transaction
    /// where there is none; a transaction that is there is never left out.
    explicit CkxGpRegKey(HANDLE transaction = nullptr, bool mayGoWithout = true) noexcept
        : _m_transaction(transaction), _m_mayGoWithout(mayGoWithout)
    {
    }

    /// Opens `path` under `parent` and closes the key held before. Returns a Windows error, and on failure
    /// the key held stays: ERROR_INVALID_FUNCTION where the system knows no transactions, or where there is
    /// none and must be one.
    [[nodiscard]] LSTATUS Open(HKEY parent, const wchar_t* path, REGSAM access) noexcept;

    /// The same, and makes the key where it is absent, with those on its way.
    [[nodiscard]] LSTATUS Create(HKEY parent, const wchar_t* path, REGSAM access) noexcept;

    using CkxRegKey::Get;
    using CkxRegKey::QueryDword;
    using CkxRegKey::QueryString;

  private:
    HANDLE _m_transaction;
    bool _m_mayGoWithout;
};
