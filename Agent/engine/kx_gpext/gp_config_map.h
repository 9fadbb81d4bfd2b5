#pragma once

#include "Agent/engine/kx_gpext/kx_gpo.h"
#include "Common_CPP/xml/xml_node.h"

#include <string>
#include <unordered_map>

/// The agent's configuration values from all GPOs, one value a path: "/Configuration/..." along the element
/// names, "/Messages/" and the id for a message. Where several policies set a path, the lowest precedence
/// wins; of two equal ones, the later.
class CkxGpConfigMap {
  public:
    struct Entry {
        CString value;
        CkxKxGroupPolicyObject gpo; ///< the record as it was, so that nothing is read again
        DWORD precedence;
    };

    using Entries = std::unordered_map<std::wstring, Entry>;

    /// Takes over the values of one configuration policy. False, traced, when one could not be read; the
    /// others are in the map then.
    bool Insert(const CkxKxGroupPolicyObject& gpo, const CkxXMLNode& policy, DWORD precedence);

    [[nodiscard]] const Entries& GetEntries() const { return _m_entries; }

  private:
    /// Whose values are being inserted.
    struct Source {
        const CkxKxGroupPolicyObject& gpo;
        DWORD precedence;
    };

    [[nodiscard]] bool _InsertConfigValues(const Source& source, const CkxXMLNode& configuration);
    void _InsertElementValue(const Source& source, const CkxXMLNode& element, const std::wstring& path);
    [[nodiscard]] bool _InsertMessageValue(const Source& source, const CkxXMLNode& message);
    void _InsertValue(const Source& source, const std::wstring& path, const CString& value);

    Entries _m_entries;
};
