#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/secret_text.h"

#include "Common_CPP/xml/xml_interfaces.h"
#include "Common_CPP/xml/xml_node_lineage.h"

#include <concepts>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

/// One node of an XML document: a counted reference to it, empty until set. Operations return true on
/// success; on failure they trace why, unless a contract says otherwise, and leave out parameters as they
/// were. Each thread that uses nodes must have initialised COM. Throws only CAtlException(E_OUTOFMEMORY),
/// where memory runs out, here or in the parser: that is never taken for "there is none".
///
/// Typed values are read as exactly one field with nothing after it; see number_text.h for what makes a
/// number. bool is "true" or "false". SHORT takes 0 to 65535, its values above 32767 standing for negative
/// ones, and is written the same way.
class CkxXMLNode {
  public:
    CkxXMLNode() = default;

    explicit CkxXMLNode(IXMLDOMNode* node) : _m_node(node) {}

    explicit CkxXMLNode(CComPtr<IXMLDOMNode>&& node) noexcept : _m_node(std::move(node)) {}

    CkxXMLNode(const CkxXMLNode&) = default;
    CkxXMLNode(CkxXMLNode&&) = default;
    CkxXMLNode& operator=(const CkxXMLNode&) = default;
    CkxXMLNode& operator=(CkxXMLNode&&) = default;
    virtual ~CkxXMLNode() = default;

    [[nodiscard]] bool IsNull() const { return !_m_node; }

    [[nodiscard]] IXMLDOMNode* Get() const { return _m_node; }

    void Release() { *this = CkxXMLNode(); }

    [[nodiscard]] bool GetNodeName(CString& name) const;

    /// The node's XML text, with its own tags.
    [[nodiscard]] bool GetXml(CString& xml) const;
    /// The same without a copy.
    [[nodiscard]] bool GetXml(CComBSTR& xml) const;

    /// The text of the node and all below it, without white space at its ends.
    [[nodiscard]] bool GetText(CString& text) const;
    /// False, without a trace line, when the text is no such value. int and 64-bit texts may be in base 16
    /// ("0x1F") or 8 ("017"), the others in base 10 only.
    [[nodiscard]] bool GetText(bool& value) const;
    [[nodiscard]] bool GetText(int& value) const;
    [[nodiscard]] bool GetText(unsigned& value) const;
    [[nodiscard]] bool GetText(unsigned long& value) const;
    [[nodiscard]] bool GetText(long long& value) const;
    [[nodiscard]] bool GetText(unsigned long long& value) const;
    /// Traces a number out of range.
    [[nodiscard]] bool GetText(SHORT& value) const;
    /// Traces a text that is no GUID in braces.
    [[nodiscard]] bool GetText(GUID& value) const;

    /// Replaces the value of the first text node below this one, or appends one. Characters that XML does
    /// not allow become U+FFFD, here and wherever text is set.
    [[nodiscard]] bool SetText(const wchar_t* text) const;
    /// In braces and upper case.
    [[nodiscard]] bool SetText(const GUID& value) const;

    /// False, without a trace line, when the attribute is absent.
    [[nodiscard]] bool GetAttribute(const wchar_t* name, CString& value) const;

    /// The same without a copy.
    [[nodiscard]] bool GetAttribute(const wchar_t* name, CComBSTR& value) const
    {
        return _ReadAttribute(name, value);
    }

    /// The same, in the only copy of it outside the parser.
    [[nodiscard]] bool GetAttribute(const wchar_t* name, CkxSecretText& value) const;
    /// False, without a trace line, when the attribute is absent or no such value. Numbers are decimal.
    [[nodiscard]] bool GetAttribute(const wchar_t* name, bool& value) const;
    [[nodiscard]] bool GetAttribute(const wchar_t* name, int& value) const;
    [[nodiscard]] bool GetAttribute(const wchar_t* name, unsigned& value) const;
    [[nodiscard]] bool GetAttribute(const wchar_t* name, unsigned long& value) const;
    [[nodiscard]] bool GetAttribute(const wchar_t* name, long long& value) const;
    [[nodiscard]] bool GetAttribute(const wchar_t* name, unsigned long long& value) const;
    /// Traces a number out of range.
    [[nodiscard]] bool GetAttribute(const wchar_t* name, SHORT& value) const;
    /// Traces an attribute that is no GUID in braces.
    [[nodiscard]] bool GetAttribute(const wchar_t* name, GUID& value) const;

    /// True when the attribute is certainly absent; false, traced, also where the parser cannot tell.
    [[nodiscard]] bool LacksAttribute(const wchar_t* name) const;

    /// As GetAttribute, for any of its types, but the absence of the attribute is traced.
    template <class T>
    [[nodiscard]] bool GetRequiredAttribute(const wchar_t* name, T& value) const
    {
        return GetAttribute(name, value) || _ReportIfMissing(name);
    }

    [[nodiscard]] bool SetAttribute(const wchar_t* name, const wchar_t* value) const;
    /// The same without a copy outside the parser. Characters that XML does not allow are replaced in
    /// `value` too.
    [[nodiscard]] bool SetAttribute(const wchar_t* name, CkxSecretText& value) const;
    [[nodiscard]] bool SetAttribute(const wchar_t* name, int value) const;
    [[nodiscard]] bool SetAttribute(const wchar_t* name, unsigned value) const;
    [[nodiscard]] bool SetAttribute(const wchar_t* name, unsigned long value) const;
    [[nodiscard]] bool SetAttribute(const wchar_t* name, long long value) const;
    [[nodiscard]] bool SetAttribute(const wchar_t* name, unsigned long long value) const;
    [[nodiscard]] bool SetAttribute(const wchar_t* name, SHORT value) const;
    [[nodiscard]] bool SetAttribute(const wchar_t* name, const GUID& value) const;

    /// Only from bool itself, which every pointer would convert to.
    [[nodiscard]] bool SetAttribute(const wchar_t* name, std::same_as<bool> auto value) const
    {
        return SetAttribute(name, value ? L"true" : L"false");
    }

    /// True also when there is no such attribute.
    [[nodiscard]] bool RemoveAttribute(const wchar_t* name) const;

    /// The first child element called `name`; false, without a trace line, when there is none.
    [[nodiscard]] bool GetFirstChild(const wchar_t* name, CkxXMLNode& child) const;
    /// The first child of a node type, likewise.
    [[nodiscard]] bool GetFirstChild(DOMNodeType type, CkxXMLNode& child) const;
    /// The next sibling element called `name`, likewise. Take it before moving this node away. `sibling` may
    /// be this wrapper itself, here and below.
    [[nodiscard]] bool GetNextSibling(const wchar_t* name, CkxXMLNode& sibling) const;
    /// The next sibling of a node type, likewise.
    [[nodiscard]] bool GetNextSibling(DOMNodeType type, CkxXMLNode& sibling) const;

    /// The first node that an XPath query, relative to this node, selects; false, without a trace line, when
    /// it selects none. A query that IsSafeQuery (xml_query.h) does not know is refused. A query costs about
    /// a hundred times a step to a child.
    [[nodiscard]] bool SelectSingleNode(const wchar_t* query, CkxXMLNode& node) const;
    /// All nodes that the query selects, perhaps none. They may be moved and removed while one walks them.
    [[nodiscard]] bool SelectNodes(const wchar_t* query, std::vector<CkxXMLNode>& nodes) const;

    /// The text of the first node that the query selects, as GetText reads it for the value's type.
    template <class T>
    [[nodiscard]] bool GetValueFromSingleElement(const wchar_t* query, T& value) const
    {
        CkxXMLNode node;
        return SelectSingleNode(query, node) && node.GetText(value);
    }

    /// Appends a new element without namespace and hands it out.
    [[nodiscard]] bool AddChild(const wchar_t* name, CkxXMLNode& child) const;
    /// Appends a CDATA section that holds `text`; more than one where the text holds the mark that ends it.
    [[nodiscard]] bool AddCDATASection(const wchar_t* text) const;

    /// Moves `child`, from whatever document it stands in, to the end of this node's children. Refuses a
    /// node that is or holds this one.
    [[nodiscard]] bool AppendChild(const CkxXMLNode& child) const;
    /// Takes `child`, which must be a child of this node, out of the document.
    [[nodiscard]] bool RemoveChild(const CkxXMLNode& child) const;
    /// Puts `replacement`, as AppendChild would move it, where `child` stands, and takes that out.
    [[nodiscard]] bool ReplaceChild(const CkxXMLNode& replacement, const CkxXMLNode& child) const;

  protected:
    /// Makes text that the parser has written readable for all parsers.
    static void _EscapeNamespaces(CComBSTR& xml);

    CComPtr<IXMLDOMNode> _m_node;

  private:
    template <class Parse>
    [[nodiscard]] bool _ParseText(const Parse& parse) const;
    template <class Parse>
    [[nodiscard]] bool _ParseAttribute(const wchar_t* name, const Parse& parse) const;
    [[nodiscard]] bool _ReadText(CComBSTR& text) const;
    [[nodiscard]] bool _ReadAttribute(const wchar_t* name, CComBSTR& value) const;
    [[nodiscard]] bool _PutAttribute(const wchar_t* name, BSTR value, std::size_t length) const;
    [[nodiscard]] bool _ReportIfMissing(const wchar_t* name) const;
    [[nodiscard]] bool _CreateTextChild(BSTR text) const;
    [[nodiscard]] bool _AppendCDATASection(const wchar_t* text, std::size_t length) const;
    [[nodiscard]] bool _GetDocument(const char* method, CComPtr<IXMLDOMDocument>& document) const;
    [[nodiscard]] bool _MayTake(const char* method, const CkxXMLNode& child) const;
    void _SetElement(CComPtr<IXMLDOMNode>&& element, std::wstring_view name);

    CkxXMLNodeLineage _m_lineage;
};
