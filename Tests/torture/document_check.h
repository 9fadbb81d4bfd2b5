#pragma once

#include <set>
#include <string>

/// Compares a delivered document with the undamaged one, both by meaning. It may be the same, or lack parts
/// where that is excused; it holds nothing else. Gives what is wrong; "" for nothing.
[[nodiscard]] std::string DocumentFault(const std::string& whole, const std::string& got, bool excused);

/// What the error lines of a trace say, each once.
[[nodiscard]] std::set<std::string> ErrorsIn(const std::string& trace);

/// True for the document of a stage's second run: of a forced refresh, or an update that drops all sets.
[[nodiscard]] bool IsOfSecondRun(const std::string& meaning);

/// The same document as if the first run had made it.
[[nodiscard]] std::string AsOfFirstRun(std::string meaning);
