// <FilterFile type="EXISTS" path="..." folder="0">: a file, or with folder="1" a folder, is there.
// <FilterFile type="VERSION" path="..." min="1.0.0.0" max="2.0.0.0" gte="1" lte="0">: the file is there and
// its version lies in the range; gte and lte say whether its ends belong to it.
#include "Tools/targeting/filter_values.h"
#include "Tools/targeting/variable_text.h"

namespace kx {

namespace {

constexpr std::wstring_view kAttributes[] = {L"path", L"type", L"folder", L"min", L"max", L"gte", L"lte"};

// "C:\..." or "\\server\...": what means the same wherever the engine's process stands.
bool IsAbsolute(std::wstring_view path)
{
    const bool onDrive = path.size() > 2 && path[1] == L':' && path[2] == L'\\';
    return onDrive || path.starts_with(L"\\\\");
}

FilterAnswer MatchExistence(const FilterElement& filter, FileState state)
{
    const auto folder = OptionalSwitch(filter, L"folder");
    if (!folder)
        return CannotTell(L"the folder attribute is neither 0 nor 1");
    return Matches(state == (*folder ? FileState::Folder : FileState::File));
}

FilterAnswer MatchVersion(const FilterElement& filter, const std::wstring& path, FileState state,
                          const TargetingFacts& facts)
{
    const auto range = VersionRangeOf(filter);
    if (!range)
        return CannotTell(L"it needs min and max as four numbers, gte and lte as 0 or 1");
    if (OptionalSwitch(filter, L"folder") != false)
        return CannotTell(L"a folder has no version");
    if (state != FileState::File)
        return Matches(false);
    const FileVersionFact fact = facts.VersionOf(path);
    if (fact.state == FileVersionFact::State::CannotTell)
        return CannotTell(L"the version of the file cannot be read");
    return Matches(fact.state == FileVersionFact::State::Known && range->Holds(fact.version));
}

FilterAnswer Evaluate(const FilterElement& filter, const TargetingFacts& facts)
{
    const ExpandedText path = ExpandVariables(filter.Value(L"path"), facts);
    if (!path.unknown.empty())
        return CannotTell(L"the variable " + path.unknown + L" in the path is not set here");
    if (!IsAbsolute(path.text) || path.text.find_first_of(L"*?") != std::wstring::npos)
        return CannotTell(L"the path is not an absolute one without wildcards");
    const std::wstring_view type = filter.Value(L"type");
    if (type != L"EXISTS" && type != L"VERSION")
        return CannotTell(L"the type is neither EXISTS nor VERSION");
    const FileState state = facts.StateOf(path.text);
    if (state == FileState::CannotTell)
        return CannotTell(L"whether the file is there cannot be seen");
    return type == L"EXISTS" ? MatchExistence(filter, state) : MatchVersion(filter, path.text, state, facts);
}

} // namespace

constinit const FilterKind kFileFilter{L"FilterFile", kAttributes, L"path", Evaluate};

} // namespace kx
