#pragma once

#include "Tools/kx_gpsim/run_result.h"

#include <string>
#include <string_view>

/// Takes apart the document that the agent got: its text, root and policies go into `pass`. Secrets in
/// texts of XML are masked, configuration values are not yet. Text that is no XML is kept as the document,
/// with a note. REQUIRES: COM.
void DigestDocument(std::wstring_view document, kx::PassResult& pass);
