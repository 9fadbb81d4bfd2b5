#pragma once

#include "Common_CPP/xml/xml.h"

#include <windows.h>

#include <string>

/// A registry value that a preference item is to write: text, under HKEY_LOCAL_MACHINE.
class CkxRegistryItem {
  public:
    /// Takes the item's Properties element. False, with the reason in `why`, where it asks for anything else
    /// than that a text be updated.
    [[nodiscard]] bool Read(const CkxXMLNode& item, std::wstring& why);

    /// Writes the value, and makes its key where it is absent. Returns a Windows error. REQUIRES: Read
    /// succeeded.
    [[nodiscard]] DWORD Write() const;

  private:
    std::wstring _m_key;
    std::wstring _m_name;
    std::wstring _m_value;
};
