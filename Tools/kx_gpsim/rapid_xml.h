// The parser that tells where in a text an element stands; it warns where we do not.
#pragma once

#if defined(__GNUC__)
#pragma GCC system_header
#elif defined(_MSC_VER)
#pragma warning(push, 0)
#endif

#include <rapidxml/rapidxml.hpp>

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
