#include "Tools/targeting/name_pattern.h"

namespace kx {

bool MatchesPattern(std::wstring_view name, std::wstring_view pattern)
{
    constexpr std::size_t none = std::wstring_view::npos;
    std::size_t at = 0;
    std::size_t next = 0;
    std::size_t afterStar = none; // only the last star can still have to take more
    std::size_t starTook = 0;
    while (at < name.size()) {
        if (next < pattern.size() && pattern[next] == L'*') {
            afterStar = ++next;
            starTook = at;
        } else if (next < pattern.size() && (pattern[next] == L'?' || pattern[next] == name[at])) {
            ++at;
            ++next;
        } else if (afterStar != none) {
            at = ++starTook;
            next = afterStar;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(L'*', next) == none;
}

} // namespace kx
