// The library of the command line, which warns where we do not.
#pragma once

#if defined(__GNUC__)
#pragma GCC system_header
#elif defined(_MSC_VER)
#pragma warning(push, 0)
#endif

#include <CLI/CLI.hpp>

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
