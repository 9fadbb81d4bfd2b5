#pragma once

#include <set>
#include <string>

/// What everything in a policy holds that item-level targeting excludes.
inline constexpr const char* c_excluded = "kept-out";

/// Compares a delivered document with the undamaged one, both by meaning. It may be the same, or, where that
/// is excused, lack parts and hold what targeting would have excluded; it holds nothing else. A migration
/// command is there as a whole, or, excused, an update instead. Gives what is wrong; "" for nothing.
[[nodiscard]] std::string DocumentFault(const std::string& whole, const std::string& got, bool excused);

/// What the error lines of a trace say, each once.
[[nodiscard]] std::set<std::string> ErrorsIn(const std::string& trace);

/// True for the document of a stage's second run: of a forced refresh, an update that drops all sets, or the
/// migration command that stands for one.
[[nodiscard]] bool IsOfSecondRun(const std::string& meaning);

/// The same document as if the first run had made it.
[[nodiscard]] std::string AsOfFirstRun(std::string meaning);

/// True for an update for the machine, or for a user, that says so.
[[nodiscard]] bool IsOfScope(const std::string& meaning, bool user);
