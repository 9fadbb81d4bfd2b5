// Runs WQL queries.
#pragma once

#include "Tools/rsop_store/namespace_data.h"
#include "Tools/rsop_store/property_list.h"

/// Finds what a query asks for, classes for `META_CLASS`, else instances by order of first writing. Selected
/// properties: a list instead of `*` leaves the others null in the outcome, keys apart.
/// WBEM_E_INVALID_QUERY for text that is no query or does not suit the class, WBEM_E_INVALID_CLASS for an
/// unknown class.
[[nodiscard]] HRESULT RunQuery(const CkxNamespace& space, std::wstring_view text,
                               std::vector<kx::ObjectView>& found);
