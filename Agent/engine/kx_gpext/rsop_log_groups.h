#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/xml/xml_node.h"

#include <string_view>
#include <unordered_map>

/// The names of one GPO's application groups by their id. Read from ApplicationGroups.xml when the first one
/// is wanted, in one walk, so that a GPO costs its policies plus its groups and not their product.
class CkxRsopLogGroups {
  public:
    /// `applicationGroups` is the file's root; empty where there is none.
    explicit CkxRsopLogGroups(const CkxXMLNode& applicationGroups) : _m_root(applicationGroups) {}

    /// Writes each group's name beside its id into the policy's Targets/ApplicationGroup elements. Faults are
    /// traced and the element stays as it is. Does nothing for a GPO without groups.
    void SetNamesToGroups(const CkxXMLNode& policy);

  private:
    struct Definition {
        CComBSTR id;
        CComBSTR name; ///< null where it has none
    };

    void _SetNameToGroup(const CkxXMLNode& policy, const CkxXMLNode& group);
    [[nodiscard]] const Definition* _Find(std::wstring_view id);
    void _ReadDefinitions();

    CkxXMLNode _m_root;
    bool _m_read = false;
    std::unordered_map<std::wstring_view, Definition> _m_definitions; ///< the keys look into their ids
};
