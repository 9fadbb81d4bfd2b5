#include "Tools/targeting/filters.h"

#include <algorithm>
#include <iterator>

namespace kx {

namespace {

constexpr const FilterKind* kKinds[] = {
    &kComputerFilter,
    &kFileFilter,
    &kUserFilter,
    &kVariableFilter,
};

} // namespace

const FilterKind* FindFilterKind(std::wstring_view element)
{
    const auto* const found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                           [&](const FilterKind* kind) { return kind->element == element; });
    return found == std::end(kKinds) ? nullptr : *found;
}

} // namespace kx
