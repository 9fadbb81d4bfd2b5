#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace kx {

/// One policy set that a component of the agent pushes. The texts end in NUL and are the caller's; a set
/// with one that is null or empty is not applied.
struct AppendedSet {
    const wchar_t* folder;      ///< holds Policies.xml and the other files directly
    const wchar_t* name;        ///< taken up to 49 characters
    const wchar_t* displayName; ///< for people
};

/// What ProcessAppendedUpdate is called with, byte by byte as Docs/formats.md has it.
struct AppendedUpdate {
    const AppendedSet* sets; ///< may be null only where there are none
    std::int32_t count;      ///< 0 or less for no sets
    std::uint8_t deleteAll;  ///< not 0: the agent drops all appended sets that it holds first
    std::uint8_t reserved[3];
    void* userToken; ///< handle of the user whose policy this is; null for the machine's
};

static_assert(sizeof(AppendedSet) == 24 && std::is_standard_layout_v<AppendedSet>);
static_assert(offsetof(AppendedSet, folder) == 0 && offsetof(AppendedSet, name) == 8 &&
              offsetof(AppendedSet, displayName) == 16);
static_assert(sizeof(AppendedUpdate) == 24 && std::is_standard_layout_v<AppendedUpdate>);
static_assert(offsetof(AppendedUpdate, sets) == 0 && offsetof(AppendedUpdate, count) == 8 &&
              offsetof(AppendedUpdate, deleteAll) == 12 && offsetof(AppendedUpdate, userToken) == 16);

} // namespace kx
