#include "Tools/host/engine_lists.h"

#include <algorithm>
#include <iterator>

GROUP_POLICY_OBJECTW& CkxEngineList::Add(const CkxListedGpo& gpo)
{
    Entry& entry = _m_entries.emplace_back();
    entry.texts = gpo;
    if (gpo.directoryPath.empty())
        entry.texts.directoryPath =
            L"LDAP://CN=Machine,CN=" + gpo.name + L",CN=Policies,CN=System,DC=fernhill,DC=example";
    entry.gpo.dwOptions = gpo.options;
    entry.gpo.dwVersion = 1;
    entry.gpo.lpDSPath = entry.texts.directoryPath.data();
    entry.gpo.lpFileSysPath = entry.texts.folder.data();
    entry.gpo.lpDisplayName = entry.texts.displayName.data();
    entry.gpo.lpExtensions = entry.texts.extensions.data();
    entry.gpo.lpLink = entry.texts.link.data();
    entry.gpo.GPOLink = gpo.linkKind;
    const std::size_t size = (std::min)(gpo.name.size(), std::size(entry.gpo.szGPOName) - 1);
    std::copy_n(gpo.name.begin(), size, entry.gpo.szGPOName);
    if (_m_entries.size() > 1) {
        GROUP_POLICY_OBJECTW& previous = _m_entries[_m_entries.size() - 2].gpo;
        previous.pNext = &entry.gpo;
        entry.gpo.pPrev = &previous;
    }
    return entry.gpo;
}
