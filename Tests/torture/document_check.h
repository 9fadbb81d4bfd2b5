#pragma once

#include <set>
#include <string>

/// Compares a delivered document with the undamaged one, both by meaning. It may be the same, or lack parts
/// where the pass traced an error; it holds nothing else. Gives what is wrong; "" for nothing.
[[nodiscard]] std::string DocumentFault(const std::string& whole, const std::string& got, bool errorTraced);

/// What the error lines of a trace say, each once.
[[nodiscard]] std::set<std::string> ErrorsIn(const std::string& trace);

/// True for the document of a forced refresh.
[[nodiscard]] bool IsForced(const std::string& meaning);

/// The same document as if the refresh had not been forced.
[[nodiscard]] std::string Unforced(std::string meaning);
