#pragma once

#include <string>

/// An XML text by meaning, for comparison: elements with their attributes sorted and their own text trimmed,
/// indented a line each; layout, attribute order and the way characters are escaped make no difference.
/// A text that is no XML gives a line that says so. REQUIRES: COM.
[[nodiscard]] std::string XmlMeaning(const std::wstring& xml);
