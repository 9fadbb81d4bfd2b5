#pragma once

#include "Agent/engine/kx_gpext/policy_files.h"
#include "Tests/hostile/outside_mutations.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// What stands in the place of one policy file.
struct HostileFile {
    enum class Kind { Absent, Text, Folder };

    Kind kind = Kind::Absent;
    std::string text;
};

using HostileGpo = std::array<HostileFile, kx::kPolicyFileCount>;

/// One refresh: GPOs that may hold anything, and one beside them that is as it should be.
struct HostileCase {
    bool machine = false;
    bool logs = false;         ///< with a namespace to log into
    bool plans = false;        ///< a planning call first
    bool sentinelFirst = true; ///< the healthy GPO stands before the others
    std::vector<HostileGpo> gpos;
};

/// Case `number` of the run `seed`: always the same, whatever ran before.
[[nodiscard]] HostileCase MakeHostileCase(std::uint64_t seed, std::uint64_t number,
                                          const OutsidePlaces& places);
