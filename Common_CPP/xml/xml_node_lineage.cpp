#include "Common_CPP/xml/xml_node_lineage.h"

#include "Common_CPP/xml/xml_in_bstr.h"

#include <bit>
#include <string_view>
#include <utility>

namespace {

constexpr const wchar_t* kMark = L"kx_is_the_node_sought";

std::atomic<std::uint32_t> g_moves[CkxXMLNodeLineage::c_buckets];

std::uint32_t MovesOf(std::uint32_t names) noexcept
{
    std::uint32_t moves = 0;
    for (; names != 0; names &= names - 1)
        moves += g_moves[std::countr_zero(names)].load(std::memory_order_relaxed);
    return moves;
}

std::wstring_view View(const CComBSTR& text) noexcept
{
    return {text.m_str ? text.m_str : L"", text.Length()};
}

CComBSTR NameOf(IXMLDOMNode* node)
{
    CComBSTR name;
    if (node->get_nodeName(&name) != S_OK)
        name.Empty();
    return name;
}

// Calls `look` with `node` and each node above it until it answers true.
template <class Look>
bool AnyUpwards(IXMLDOMNode* node, const Look& look)
{
    for (CComPtr<IXMLDOMNode> current(node); current;) {
        if (look(current.p))
            return true;
        CComPtr<IXMLDOMNode> parent;
        if (current->get_parentNode(&parent) != S_OK)
            parent.Release();
        current = std::move(parent);
    }
    return false;
}

bool HaveSameIdentity(IXMLDOMNode* left, IXMLDOMNode* right)
{
    CComPtr<IUnknown> leftIdentity;
    CComPtr<IUnknown> rightIdentity;
    (void)left->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void**>(&leftIdentity));
    (void)right->QueryInterface(__uuidof(IUnknown), reinterpret_cast<void**>(&rightIdentity));
    return leftIdentity == rightIdentity;
}

// Some parsers make a new object each time that they hand out a node, so identity alone does not tell. An
// attribute set on one and seen on the other does.
bool IsSameElement(IXMLDOMNode* left, IXMLDOMNode* right)
{
    if (HaveSameIdentity(left, right))
        return true;
    CComPtr<IXMLDOMElement> leftElement;
    CComPtr<IXMLDOMElement> rightElement;
    if (FAILED(left->QueryInterface(__uuidof(IXMLDOMElement), reinterpret_cast<void**>(&leftElement))) ||
        FAILED(right->QueryInterface(__uuidof(IXMLDOMElement), reinterpret_cast<void**>(&rightElement))))
        return false;
    CkxInBSTR mark(kMark);
    CkxInBSTR nothing(L"");
    if (FAILED(leftElement->setAttribute(mark.Get(), nothing.Lend())))
        return true; // cannot be told, and cannot be moved either
    CComVariant seen;
    const bool same = rightElement->getAttribute(mark.Get(), &seen) == S_OK;
    (void)leftElement->removeAttribute(mark.Get());
    return same;
}

bool HasChildren(IXMLDOMNode* node)
{
    VARIANT_BOOL has = VARIANT_FALSE;
    return node->hasChildNodes(&has) == S_OK && has != VARIANT_FALSE;
}

} // namespace

CkxXMLNodeLineage::CkxXMLNodeLineage(const CkxXMLNodeLineage& other) noexcept
    : _m_bucket(other._m_bucket.load(std::memory_order_relaxed)),
      _m_known(other._m_known.load(std::memory_order_relaxed))
{
}

CkxXMLNodeLineage& CkxXMLNodeLineage::operator=(const CkxXMLNodeLineage& other) noexcept
{
    _m_bucket.store(other._m_bucket.load(std::memory_order_relaxed), std::memory_order_relaxed);
    _m_known.store(other._m_known.load(std::memory_order_relaxed), std::memory_order_relaxed);
    return *this;
}

bool CkxXMLNodeLineage::IsHeldBy(IXMLDOMNode* node, IXMLDOMNode* child,
                                 const CkxXMLNodeLineage& childLineage) const
{
    if ((_NamesAbove(node) >> childLineage._Bucket(child) & 1) == 0)
        return false;
    if (!HasChildren(child)) // holds nothing; but it may be the node itself
        return !HasChildren(node) && IsSameElement(child, node);
    const CComBSTR name = NameOf(child);
    return AnyUpwards(node, [&](IXMLDOMNode* above) {
        return View(NameOf(above)) == View(name) && IsSameElement(child, above);
    });
}

std::uint32_t CkxXMLNodeLineage::_NamesAbove(IXMLDOMNode* node) const
{
    const std::uint64_t known = _m_known.load(std::memory_order_relaxed);
    auto names = static_cast<std::uint32_t>(known >> 32);
    if (names != 0 && static_cast<std::uint32_t>(known) == MovesOf(names))
        return names;
    names = 0;
    (void)AnyUpwards(node, [&](IXMLDOMNode* above) {
        names |= std::uint32_t{1} << BucketOf(View(NameOf(above)));
        return false;
    });
    _m_known.store(std::uint64_t{names} << 32 | MovesOf(names), std::memory_order_relaxed);
    return names;
}

void CkxXMLNodeLineage::Moved(IXMLDOMNode* node) const
{
    g_moves[_Bucket(node)].fetch_add(1, std::memory_order_relaxed);
}

unsigned CkxXMLNodeLineage::_Bucket(IXMLDOMNode* node) const
{
    unsigned bucket = _m_bucket.load(std::memory_order_relaxed);
    if (bucket == c_unknown) {
        bucket = BucketOf(View(NameOf(node)));
        _m_bucket.store(bucket, std::memory_order_relaxed);
    }
    return bucket;
}
