// The string, COM and security value classes by their ATL names: the compiler's own where it has them,
// else ours. Nothing else includes the headers named here.
#pragma once

#include <windows.h>

#if __has_include(<atlbase.h>)
#include <atlbase.h>
#include <atlsecurity.h>
#include <atlstr.h>
#else
#include "Common_CPP/atl/atl_com.h"
#include "Common_CPP/atl/atl_exception.h"
#include "Common_CPP/atl/atl_sid.h"
#include "Common_CPP/atl/atl_string.h"
#include "Common_CPP/atl/atl_token.h"
#endif
