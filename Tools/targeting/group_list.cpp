#include "Tools/targeting/group_list.h"

#include "Tools/targeting/plain_values.h"

namespace kx {

std::optional<bool> IsInGroups(const std::vector<std::wstring>& groups, const GroupId& wanted,
                               const TargetingFacts& facts)
{
    const std::wstring name = facts.Folded(wanted.name);
    bool allCompared = true;
    for (const std::wstring& group : groups) {
        const bool isSid = IsSid(group);
        const std::wstring& same = isSid ? wanted.sid : name;
        if (same.empty())
            allCompared = false;
        else if ((isSid ? group : facts.Folded(group)) == same)
            return true;
    }
    return allCompared ? std::optional(false) : std::nullopt;
}

} // namespace kx
