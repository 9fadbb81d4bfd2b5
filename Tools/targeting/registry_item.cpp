#include "Tools/targeting/registry_item.h"

#include "Common_CPP/util/reg_key.h"
#include "Tools/targeting/element_access.h"

bool CkxRegistryItem::Read(const CkxXMLNode& item, std::wstring& why)
{
    static constexpr struct {
        const wchar_t* attribute;
        const wchar_t* wanted;
    } settled[] = {
        {L"action", L"U"}, {L"default", L"0"}, {L"hive", L"HKEY_LOCAL_MACHINE"}, {L"type", L"REG_SZ"}};

    CkxXMLNode properties;
    if (!item.GetFirstChild(L"Properties", properties)) {
        why = L"it has no Properties element";
        return false;
    }
    for (const auto& each : settled) {
        if (AttributeOf(properties, each.attribute) != each.wanted) {
            why = std::wstring(L"only ") + each.attribute + L"=\"" + each.wanted + L"\" is known";
            return false;
        }
    }
    _m_key = AttributeOf(properties, L"key");
    _m_name = AttributeOf(properties, L"name");
    _m_value = AttributeOf(properties, L"value");
    if (_m_key.empty() || _m_name.empty()) {
        why = L"it names no key or no value";
        return false;
    }
    return true;
}

DWORD CkxRegistryItem::Write() const
{
    CkxRegKey key;
    if (const LSTATUS status = key.Create(HKEY_LOCAL_MACHINE, _m_key.c_str(), KEY_SET_VALUE);
        status != ERROR_SUCCESS)
        return static_cast<DWORD>(status);
    const DWORD bytes = static_cast<DWORD>((_m_value.size() + 1) * sizeof(wchar_t));
    return static_cast<DWORD>(::RegSetValueExW(key.Get(), _m_name.c_str(), 0, REG_SZ,
                                               reinterpret_cast<const BYTE*>(_m_value.c_str()), bytes));
}
