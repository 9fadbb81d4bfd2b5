#include "Tools/targeting/filter_reader.h"

#include "Tools/targeting/element_access.h"

namespace {

constexpr const wchar_t* kFilters = L"Filters";
constexpr const wchar_t* kWrapper = L"ItemLevelTargeting";
constexpr const wchar_t* kSeveralPlaces = L"filters stand in more than one place";
constexpr const wchar_t* kUnreadable = L"the filters cannot be read";

// The element whose children are the filters. Empty where there is none; false where there are several.
bool FindContainer(const CkxXMLNode& item, CkxXMLNode& container)
{
    CkxXMLNode direct;
    CkxXMLNode wrapper;
    CkxXMLNode another;
    const bool isDirect = item.GetFirstChild(kFilters, direct);
    if (!item.GetFirstChild(kWrapper, wrapper)) {
        container = direct;
        return !isDirect || !direct.GetNextSibling(kFilters, another);
    }
    if (isDirect || wrapper.GetNextSibling(kWrapper, another))
        return false;
    if (!wrapper.GetFirstChild(kFilters, container)) {
        container = wrapper;
        return true;
    }
    CkxXMLNode first;
    return wrapper.GetFirstChild(NODE_ELEMENT, first) && NameOf(first) == kFilters &&
           !first.GetNextSibling(NODE_ELEMENT, another);
}

bool ReadAttribute(IXMLDOMNamedNodeMap* attributes, long index, kx::FilterAttribute& attribute)
{
    CComPtr<IXMLDOMNode> node;
    CComBSTR name;
    CComBSTR value;
    if (attributes->get_item(index, &node) != S_OK || !node || node->get_nodeName(&name) != S_OK ||
        node->get_text(&value) != S_OK)
        return false;
    attribute.name.assign(name.m_str, name.Length());
    if (value)
        attribute.value.assign(value.m_str, value.Length());
    return true;
}

bool ReadElement(const CkxXMLNode& node, std::size_t depth, kx::FilterElement& element)
{
    element.depth = depth;
    element.name = NameOf(node);
    CComPtr<IXMLDOMNamedNodeMap> attributes;
    long count = 0;
    if (node.Get()->get_attributes(&attributes) != S_OK || !attributes ||
        attributes->get_length(&count) != S_OK)
        return false;
    element.attributes.resize(static_cast<std::size_t>(count));
    for (long i = 0; i < count; ++i)
        if (!ReadAttribute(attributes, i, element.attributes[static_cast<std::size_t>(i)]))
            return false;
    return !element.name.empty();
}

// All elements below the container, with a list of the open ones instead of recursion.
bool ReadElements(const CkxXMLNode& container, std::vector<kx::FilterElement>& elements)
{
    std::vector<CkxXMLNode> open;
    CkxXMLNode node;
    bool more = container.GetFirstChild(NODE_ELEMENT, node);
    while (more || !open.empty()) {
        if (!more) {
            node = open.back();
            open.pop_back();
            more = node.GetNextSibling(NODE_ELEMENT, node);
            continue;
        }
        if (!ReadElement(node, open.size(), elements.emplace_back()))
            return false;
        open.push_back(node);
        more = open.back().GetFirstChild(NODE_ELEMENT, node);
    }
    return true;
}

} // namespace

CkxItemFilters ReadItemFilters(const CkxXMLNode& item)
{
    CkxItemFilters filters;
    CkxXMLNode container;
    if (!FindContainer(item, container)) {
        filters.problem = kSeveralPlaces;
    } else if (!container.IsNull() && !ReadElements(container, filters.elements)) {
        filters.problem = kUnreadable;
    }
    return filters;
}
