#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kx {

/// An item of a sequence that also stands in another one.
struct SequenceItem {
    std::size_t otherPlace = 0; ///< its place in the other sequence, unlike that of all others
    std::string key;            ///< what tells it from most others, the same in both sequences
};

/// The indexes of those that have moved, in ascending order: all but the longest run of items that stand in
/// the same order in both. Of several such runs the keys decide, not the direction of looking, so that two
/// sequences give the same items whichever comes first. n log n.
[[nodiscard]] std::vector<std::size_t> FindMoved(const std::vector<SequenceItem>& items);

/// A key for an item that is not quite the same on both sides; the order of the two texts does not matter.
[[nodiscard]] std::string KeyOfPair(const std::string& one, const std::string& other);

} // namespace kx
