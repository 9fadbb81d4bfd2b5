#include "Tools/targeting/settings_file.h"

#include "Tools/targeting/element_access.h"
#include "Tools/targeting/filter_reader.h"
#include "Tools/targeting/item_decision.h"
#include "Tools/targeting/registry_item.h"

namespace {

constexpr const wchar_t* kSettingsFile = L"\\Preferences\\Registry\\Registry.xml";
constexpr const wchar_t* kRoot = L"RegistrySettings";
constexpr const wchar_t* kItem = L"Registry";

DWORD Load(const std::wstring& folder, CkxXMLDocument& document, CkxXMLNode& root, CkxTargetingReport& report)
{
    DWORD readError = ERROR_SUCCESS;
    if (!document.LoadFromFile((folder + kSettingsFile).c_str(), &readError)) {
        report.Add(L"the settings file: " + std::wstring(kx::View(document.LoadError().Text())));
        return readError != ERROR_SUCCESS ? readError : ERROR_XML_PARSE_ERROR;
    }
    if (!document.GetRootElement(root) || NameOf(root) != kRoot) {
        report.Add(std::wstring(L"the settings file: its outermost element is not ") + kRoot);
        return ERROR_XML_PARSE_ERROR;
    }
    return ERROR_SUCCESS;
}

// Decides from the filters whether the item is performed, and reports what they leave open.
bool Passes(const CkxXMLNode& item, const std::wstring& name, const kx::TargetingFacts& facts,
            CkxTargetingReport& report)
{
    const CkxItemFilters filters = ReadItemFilters(item);
    kx::ItemDecision decision;
    if (filters.problem.empty())
        decision = kx::DecideItem(filters.elements, facts);
    else
        decision.findings.push_back(filters.problem);
    for (const std::wstring& finding : decision.findings)
        report.Add(name + L": let through: " + finding);
    return decision.passes;
}

DWORD ProcessItem(const CkxXMLNode& item, const kx::TargetingFacts& facts, CkxTargetingReport& report)
{
    const std::wstring name = AttributeOf(item, L"name");
    if (AttributeOf(item, L"disabled") == L"1") {
        report.Add(name + L": not performed: it is disabled");
        return ERROR_SUCCESS;
    }
    CkxRegistryItem value;
    if (std::wstring why; !value.Read(item, why)) {
        report.Add(name + L": not performed: " + why);
        return ERROR_INVALID_DATA;
    }
    if (!Passes(item, name, facts, report))
        return ERROR_SUCCESS;
    const DWORD error = value.Write();
    if (error != ERROR_SUCCESS)
        report.Add(name + L": not performed: the value cannot be written, error " + std::to_wstring(error));
    return error;
}

DWORD ProcessElement(const CkxXMLNode& element, const kx::TargetingFacts& facts, CkxTargetingReport& report)
{
    const std::wstring name = NameOf(element);
    if (name == kItem)
        return ProcessItem(element, facts, report);
    report.Add(name + L": not performed: an item that is not known");
    return ERROR_INVALID_DATA;
}

} // namespace

DWORD ProcessSettingsFile(const std::wstring& folder, const kx::TargetingFacts& facts, const BOOL* abort,
                          CkxTargetingReport& report)
{
    CkxXMLDocument document;
    CkxXMLNode root;
    CkxXMLNode element;
    DWORD result = Load(folder, document, root, report);
    if (result != ERROR_SUCCESS)
        return result;
    for (bool more = root.GetFirstChild(NODE_ELEMENT, element); more;
         more = element.GetNextSibling(NODE_ELEMENT, element)) {
        if (abort != nullptr && *abort)
            return ERROR_OPERATION_ABORTED;
        const DWORD error = ProcessElement(element, facts, report);
        if (result == ERROR_SUCCESS)
            result = error;
    }
    return result;
}
