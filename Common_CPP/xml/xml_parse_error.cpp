#include "Common_CPP/xml/xml_parse_error.h"

CString CkxXMLParseError::Text() const
{
    if (line <= 0)
        return reason;
    CString text;
    text.Format(L"%s (line %ld, column %ld)", reason.GetString(), line, column);
    return text;
}

CkxXMLParseError CkxXMLParseError::Of(IXMLDOMDocument* document)
{
    CkxXMLParseError error;
    CComPtr<IXMLDOMParseError> parser;
    if (document->get_parseError(&parser) == S_OK) {
        CComBSTR reason;
        if (parser->get_reason(&reason) == S_OK)
            error.reason = reason.m_str;
        error.reason.Trim(); // the parser ends its sentences with a line break
        if (parser->get_line(&error.line) != S_OK)
            error.line = 0;
        if (parser->get_linepos(&error.column) != S_OK)
            error.column = 0;
    }
    if (error.reason.IsEmpty())
        error.reason = L"the parser gives no reason";
    return error;
}
