#pragma once

#include "Tools/kx_gpsim/document_diff.h"
#include "Tools/kx_gpsim/run_result.h"

#include <optional>
#include <string>
#include <string_view>

namespace kx {

/// What a file is that is named as one side of a comparison.
enum class SideFile { Manifest, SavedRun, Document };

/// Tells from the text: XML is a document, JSON with passes a saved run, other JSON a manifest. Throws
/// UsageError, naming the file, for what is neither.
[[nodiscard]] SideFile KindOfSideFile(std::string_view text, const std::string& file);

/// The documents of a run. Throws UsageError where a pass has none, as a planning run has, since nothing can
/// be said about what the agent would get.
[[nodiscard]] DiffSide SideOfRun(const RunResult& run, const std::string& label);

/// A saved document; secrets in it are masked. `scope` is for one that does not say its own. Throws
/// UsageError with the place where it is no XML.
[[nodiscard]] DiffSide SideOfDocument(std::string_view bytes, const std::string& label, Scope scope);

} // namespace kx
