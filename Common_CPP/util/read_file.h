#pragma once

#include "Common_CPP/atl/kx_atl.h"

/// Reads the whole file at `path`, with the calling thread's identity, into a byte-array variant. Returns a
/// Windows error: 2 and 3 mean that there is no such file; a folder in its place is 5. A file that grows
/// meanwhile is read up to the size that it had; one that shrinks is an error, and so is one of 2 GiB or
/// more. `path` may be longer than MAX_PATH. On failure `bytes` stays as it was. `written`, if any, gets the
/// time of the last write, where that is to be had.
[[nodiscard]] DWORD ReadFileToVariant(const CString& path, CComVariant& bytes, FILETIME* written = nullptr);
