#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/xml/xml_node.h"

#include <string_view>
#include <unordered_map>

/// The names of one GPO's application groups by their id. ApplicationGroups.xml is walked once, and only as
/// far as the groups that are wanted stand in it, so that a GPO costs its policies plus its groups at most,
/// and not their product.
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

    using Definitions = std::unordered_map<std::wstring_view, Definition>; ///< the keys look into their ids

    void _SetNameToGroup(const CkxXMLNode& policy, const CkxXMLNode& group);
    [[nodiscard]] const Definition* _Find(std::wstring_view id);
    [[nodiscard]] const Definitions::value_type* _ReadNext(); ///< null where it defines nothing

    CkxXMLNode _m_root;
    CkxXMLNode _m_last; ///< that was read; empty at first
    bool _m_more = true;
    Definitions _m_definitions;
};
