#pragma once

#include <windows.h>

#include <span>
#include <string>

/// Faults in the calls that the patched module makes on COM objects. An object's class keeps its methods in
/// a table; the slots of each table that the module meets are led to counting stand-ins. Calls from
/// elsewhere, the parser's own included, go through them unseen.
namespace com {

/// A method: its name, its place in the table, and its stand-in.
struct Row {
    const char* call;
    std::size_t slot;
    void* replacement;
};

/// An interface: the methods of its own that the module calls.
struct Interface {
    const char* name;
    const IID* id; ///< null where nobody asks for it by this
    const Interface* base;
    std::span<const Row> rows;
    std::size_t slots; ///< all of its table's
};

/// The interface that goes by this identifier; null for one that the table of calls does not know.
[[nodiscard]] const Interface* FindInterface(REFIID id) noexcept;

/// Makes sure that calls through `object`, which has this interface, are seen.
void Meet(void* object, const Interface& face) noexcept;

/// The module was given a reference by `call`.
void HandedOut(void* object, const Interface& face, const char* call) noexcept;
void HandedOut(void* object, REFIID id, const char* call) noexcept;

/// The method that stood in a slot of the object's table.
[[nodiscard]] void* Original(const void* object, std::size_t slot) noexcept;

/// Calls of the module that the table of calls does not know, joined by blanks; "" for none. Each of them is
/// a call whose failure nobody has thought about.
[[nodiscard]] std::string UnknownCalls();

/// Puts the slots of all tables back.
void RestoreTables() noexcept;

} // namespace com
