// Two XML elements compared by meaning: attributes have no order, children have.
#pragma once

#include "Tools/kx_gpsim/xml_tree.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kx {

enum class ChangeKind { Added, Removed, Changed, Moved };

/// "added", "removed", "changed" or "moved".
[[nodiscard]] std::string_view ChangeText(ChangeKind kind);

/// One difference below an element.
struct ElementChange {
    ChangeKind kind = ChangeKind::Changed;
    std::string
        path; ///< "Targets/ApplicationGroup[{id}]", with "/@name" for an attribute, "" for the element
    std::string before; ///< value of the attribute or text, or the element's XML; empty where it is added
    std::string after;
};

/// The differences, none where both mean the same. Attributes called `ignored` of the two elements themselves
/// are passed over.
[[nodiscard]] std::vector<ElementChange> CompareElements(const XmlElement& before, const XmlElement& after,
                                                         std::string_view ignored = {});

/// The element as one line of XML, attributes sorted: equal for two elements that mean the same.
[[nodiscard]] std::string CanonicalXml(const XmlElement& element, std::string_view ignored = {});

/// Which of two lists belong together: pairs of indexes, and those without a partner.
struct Pairing {
    std::vector<std::pair<std::size_t, std::size_t>> pairs; ///< sorted by the first index
    std::vector<std::size_t> onlyBefore;
    std::vector<std::size_t> onlyAfter;
};

/// Pairs items in rounds. `keys` has for each round the keys of both lists; in a round the nth item of a key
/// that is left over before belongs to the nth of that key after. An empty key pairs with nothing. The other
/// way round it gives the same pairs.
[[nodiscard]] Pairing
PairUp(std::size_t countBefore, std::size_t countAfter,
       const std::vector<std::pair<std::vector<std::string>, std::vector<std::string>>>& keys);

} // namespace kx
