#pragma once

#include "Common_CPP/xml/xml.h"
#include "Tools/targeting/filter_element.h"

#include <string>
#include <vector>

/// What stands in an item's filters.
struct CkxItemFilters {
    std::vector<kx::FilterElement> elements;
    std::wstring problem; ///< why they cannot be read; empty: they could, or there are none
};

/// Reads the filters of a preference item: the children of its Filters element. The element may stand in an
/// ItemLevelTargeting element, which may also hold the filters directly.
[[nodiscard]] CkxItemFilters ReadItemFilters(const CkxXMLNode& item);
