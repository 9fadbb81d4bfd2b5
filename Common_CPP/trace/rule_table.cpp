#include "Common_CPP/trace/rule_table.h"

#include "Common_CPP/util/ascii_case.h"

namespace kx {

std::string_view FileBase(std::string_view path, std::span<char> buffer) noexcept
{
    if (const std::size_t slash = path.find_last_of("/\\"); slash != std::string_view::npos)
        path.remove_prefix(slash + 1);
    const std::string_view base = path.substr(0, path.find('.')).substr(0, buffer.size());
    std::transform(base.begin(), base.end(), buffer.begin(), [](char c) { return LowerAscii(c); });
    return {buffer.data(), base.size()};
}

bool Covers(const RuleKey& key, const RuleSubject& subject) noexcept
{
    if (!key.levels.Holds(subject.level))
        return false;
    if (key.expression.MatchesAll())
        return key.scope >= ScopeKind::File && key.scope <= ScopeKind::Stack;
    switch (key.scope) {
    case ScopeKind::File:
        return key.expression.Search(subject.fileBase);
    case ScopeKind::Class:
        return subject.className != nullptr && key.expression.Search(subject.className);
    case ScopeKind::Stack:
        return std::any_of(subject.scopeNames.begin(), subject.scopeNames.end(),
                           [&](const char* name) { return name != nullptr && key.expression.Search(name); });
    }
    return false;
}

bool AsksStack(const RuleKey& key) noexcept
{
    return key.scope == ScopeKind::Stack && !key.expression.MatchesAll();
}

} // namespace kx
