#include "Tools/targeting/distinguished_name.h"

#include <algorithm>

namespace kx {

namespace {

// Up to the next comma that is no text.
std::size_t EndOfPart(std::wstring_view name)
{
    std::size_t at = 0;
    while (at < name.size() && name[at] != L',')
        at += name[at] == L'\\' ? 2 : 1;
    return std::min(at, name.size());
}

std::wstring Trimmed(std::wstring_view part)
{
    const std::size_t start = part.find_first_not_of(L' ');
    if (start == std::wstring_view::npos)
        return {};
    return std::wstring(part.substr(start, part.find_last_not_of(L' ') - start + 1));
}

} // namespace

std::vector<std::wstring> SplitDistinguishedName(std::wstring_view name)
{
    std::vector<std::wstring> parts;
    for (bool more = true; more;) {
        const std::size_t end = EndOfPart(name);
        parts.push_back(Trimmed(name.substr(0, end)));
        const std::size_t split = parts.back().find(L'=');
        if (split == std::wstring::npos || split == 0)
            return {};
        more = end < name.size();
        name.remove_prefix(more ? end + 1 : end);
    }
    return parts;
}

bool StandsWithin(const std::vector<std::wstring>& inner, const std::vector<std::wstring>& outer)
{
    return outer.size() <= inner.size() && std::equal(outer.rbegin(), outer.rend(), inner.rbegin());
}

} // namespace kx
