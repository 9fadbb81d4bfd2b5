// Logging in WMI reduced to the calls that no program can do without: the classes are defined, and for each
// policy the same properties are put, the same text is taken, and one line is appended to a file.
#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/kxwbem/kxwbem_class_object.h"
#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/xml/xml_interfaces.h"

#include <string>
#include <vector>

/// What the extension's logging is measured against. Its texts stand ready: it neither reads nor makes any
/// but the policy's own. REQUIRES: COM.
class CkxBareRsop {
  public:
    /// `lineFile` is made anew. Policy n names group n % `groups`.
    CkxBareRsop(const std::wstring& lineFile, int groups);

    /// Defines the classes in a namespace, in which Log() writes from then on. False where a call failed.
    bool DefineClasses(IWbemServices* services);

    /// Logs policy `number`. False where a call failed.
    [[nodiscard]] bool Log(IXMLDOMNode* policy, int number, const wchar_t* id, int order);

    /// The name that group `id` has in all benchmarks.
    [[nodiscard]] static std::wstring GroupName(int id);

  private:
    [[nodiscard]] bool _NameGroup(IXMLDOMNode* policy, int number);
    [[nodiscard]] bool _AppendLine(int number);

    CkxFileHandle _m_file;
    CComPtr<IWbemServices> _m_services;
    CkxWbemClassObjectPtr _m_class;
    std::vector<CComBSTR> _m_groupNames;
    CComBSTR _m_nameAttribute = L"name";
    CComBSTR _m_gpoId = L"CN={A},CN=Policies,CN=System,DC=fernhill,DC=example";
    CComBSTR _m_somId = L"DC=fernhill,DC=example";
    CComBSTR _m_time = L"20240229123456.000000+000";
};

/// Leads the trace of this program, in which the extension's own parts may be linked, into a new file.
[[nodiscard]] bool TraceInto(const std::wstring& path);
