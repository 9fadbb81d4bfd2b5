#pragma once

#include <windows.h>

#include <userenv.h>

#include <deque>
#include <string>

/// One Group Policy Object as the engine would list it. The texts are what the entry points at.
struct CkxListedGpo {
    std::wstring name; ///< "{GUID}"
    std::wstring displayName;
    std::wstring folder;        ///< the scope's folder: ...\{GUID}\Machine or ...\{GUID}\User
    std::wstring directoryPath; ///< empty: the machine's part of the GPO
    std::wstring link = L"LDAP://DC=fernhill,DC=example";
    std::wstring extensions;
    GPO_LINK linkKind = GPLinkDomain;
    DWORD options = 0;
};

/// A linked list in the engine's form, over texts that it owns.
class CkxEngineList {
  public:
    /// Appends an entry and hands it out, so that a test can damage it.
    GROUP_POLICY_OBJECTW& Add(const CkxListedGpo& gpo);

    /// The head for the engine's call; null for an empty list.
    [[nodiscard]] PGROUP_POLICY_OBJECTW Head()
    {
        return _m_entries.empty() ? nullptr : &_m_entries.front().gpo;
    }

  private:
    struct Entry {
        CkxListedGpo texts;
        GROUP_POLICY_OBJECTW gpo{};
    };

    std::deque<Entry> _m_entries; // entries keep their addresses
};
