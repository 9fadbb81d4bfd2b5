#pragma once

#include "Common_CPP/util/util.h"
#include "Common_CPP/xml/xml.h"

#include <string>

/// The element's name; empty where the parser does not say.
[[nodiscard]] inline std::wstring NameOf(const CkxXMLNode& element)
{
    CString name;
    return element.GetNodeName(name) ? std::wstring(kx::View(name)) : std::wstring();
}

/// The attribute's value; empty where it is absent.
[[nodiscard]] inline std::wstring AttributeOf(const CkxXMLNode& element, const wchar_t* name)
{
    CString value;
    return element.GetAttribute(name, value) ? std::wstring(kx::View(value)) : std::wstring();
}
