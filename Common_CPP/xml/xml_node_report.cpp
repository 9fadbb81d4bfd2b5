#include "Common_CPP/xml/xml_node_report.h"

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/trace/trace.h"

KXT_CLASS("CkxXMLNode");

bool CkxXMLNodeReport::Empty(const char* method) noexcept
{
    KXT_SCOPE(method);
    KXT_OUT(KXT_ERROR, "ERROR: IXMLDOMNode pointer is NULL");
    return false;
}

bool CkxXMLNodeReport::Failed(const char* method, const char* call, HRESULT hr)
{
    KXT_SCOPE(method);
    KXT_OUT(KXT_ERROR, "ERROR: " << call << " failed. hr=" << hr);
    if (hr == E_OUTOFMEMORY)
        AtlThrow(hr);
    return false;
}

bool CkxXMLNodeReport::NoElement(const char* method, HRESULT hr)
{
    KXT_SCOPE(method);
    KXT_OUT(KXT_ERROR, "ERROR: Cannot get IXMLDOMElement");
    if (hr == E_OUTOFMEMORY)
        AtlThrow(hr);
    return false;
}
