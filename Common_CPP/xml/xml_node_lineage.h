#pragma once

#include "Common_CPP/xml/xml_interfaces.h"

#include <atomic>
#include <cstdint>
#include <string_view>

/// What a node wrapper remembers, so that moving many nodes under one costs no walk to the root each time:
/// a short set of the names on the way from its node up, and when that was so.
///
/// A node can hold another only if its name is among those above the other. Names never change; a node's
/// place changes only by a move, and each move is counted under the name of the node that moves. So the set
/// still holds while no node of a name in it has been moved. Moves made through the parser directly are not
/// seen.
class CkxXMLNodeLineage {
  public:
    CkxXMLNodeLineage() noexcept = default;

    CkxXMLNodeLineage(const CkxXMLNodeLineage& other) noexcept;
    CkxXMLNodeLineage& operator=(const CkxXMLNodeLineage& other) noexcept;

    /// Forgets all but the name of another node, which is known to be `name`.
    void StartAt(std::wstring_view name) noexcept
    {
        _m_bucket.store(BucketOf(name), std::memory_order_relaxed);
        _m_known.store(0, std::memory_order_relaxed);
    }

    /// Whether the element `child`, of the lineage `childLineage`, is `node`, that of this lineage, or holds
    /// it.
    [[nodiscard]] bool IsHeldBy(IXMLDOMNode* node, IXMLDOMNode* child,
                                const CkxXMLNodeLineage& childLineage) const;

    /// To be called after `node`, the element of this lineage, was moved.
    void Moved(IXMLDOMNode* node) const;

    static constexpr unsigned c_buckets = 32;

    /// A number below c_buckets for a name; cheap rather than even, since it is wanted at each step of a
    /// walk.
    static unsigned BucketOf(std::wstring_view name) noexcept
    {
        if (name.empty())
            return 0;
        return (static_cast<unsigned>(name.size()) * 7 + name.front() * 5U + name[name.size() / 2] * 3U +
                name.back()) %
               c_buckets;
    }

  private:
    [[nodiscard]] unsigned _Bucket(IXMLDOMNode* node) const;
    [[nodiscard]] std::uint32_t _NamesAbove(IXMLDOMNode* node) const;

    static constexpr unsigned c_unknown = c_buckets;

    // Of the node's own name.
    mutable std::atomic<unsigned> _m_bucket{c_unknown};

    // The set in the upper half (a bit a bucket; none: nothing known), the moves counted in the lower. One
    // value, so that threads that share a wrapper never see half of one.
    mutable std::atomic<std::uint64_t> _m_known{0};
};
