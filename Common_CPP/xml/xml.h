#pragma once

/// Access to XML documents: all that callers include.

#include "Common_CPP/xml/xml_document.h"
#include "Common_CPP/xml/xml_node.h"
#include "Common_CPP/xml/xml_parse_error.h"
