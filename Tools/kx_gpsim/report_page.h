// The parts of the report's page. They stand in the folder page/ as files and come in when this is built.
#pragma once

#include <string_view>

namespace kx {

/// The skeleton, with a mark "{{...}}" on a line of its own for each part.
[[nodiscard]] std::string_view PageSkeleton() noexcept;
[[nodiscard]] std::string_view PageStyle() noexcept;
[[nodiscard]] std::string_view PageScript() noexcept;

/// What the page's policy lets the browser use of style and script, and nothing else: "sha256-..." of the
/// two.
[[nodiscard]] std::string_view PageStyleHash() noexcept;
[[nodiscard]] std::string_view PageScriptHash() noexcept;

} // namespace kx
