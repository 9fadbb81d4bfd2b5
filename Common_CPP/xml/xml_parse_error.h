#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include "Common_CPP/xml/xml_interfaces.h"

/// Why a document could not be loaded, in words for an administrator. Never holds text of the document:
/// that may be a password.
struct CkxXMLParseError {
    CString reason; ///< empty: no error
    long line = 0;  ///< 1-based; 0 when the parser does not say
    long column = 0;

    /// "reason (line 3, column 7)", or the reason alone where the place is not known.
    [[nodiscard]] CString Text() const;

    /// What the parser says of its last load.
    static CkxXMLParseError Of(IXMLDOMDocument* document);
};
