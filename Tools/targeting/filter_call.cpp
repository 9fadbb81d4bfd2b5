// How the call came about:
// <FilterProcMode syncFore="1" slowLink="1" ...>: the engine works in one of the chosen modes, or several.
// <FilterTerminal type="NE" option="NE">: the user works in a session from elsewhere; type="TS": of the
// system's own kind. Conditions on the session (another option) are not known.
#include "Tools/targeting/filter_values.h"
#include "Tools/targeting/plain_values.h"

namespace kx {

namespace {

constexpr std::wstring_view kModeAttributes[] = {L"syncFore", L"asyncFore", L"backRefr", L"forceRefr",
                                                 L"linkTrns", L"noChg",     L"rsopTrns", L"safeBoot",
                                                 L"slowLink", L"verbLog",   L"rsopEnbl"};
constexpr std::wstring_view kTerminalAttributes[] = {L"type", L"option", L"value", L"min", L"max"};

// What the chosen modes say together: one that holds is enough, one that is not known may be that one.
class ChosenModes {
  public:
    void Add(std::wstring_view attribute, const std::optional<bool>& holds)
    {
        _m_any = true;
        _m_holds = _m_holds || holds.value_or(false);
        if (!holds)
            _m_unknown = attribute;
    }

    [[nodiscard]] FilterAnswer Answer() const
    {
        if (!_m_any)
            return CannotTell(L"no mode is chosen");
        if (!_m_holds && !_m_unknown.empty())
            return CannotTell(L"whether the mode is " + std::wstring(_m_unknown) + L" is not known");
        return Matches(_m_holds);
    }

  private:
    bool _m_any = false;
    bool _m_holds = false;
    std::wstring_view _m_unknown;
};

FilterAnswer EvaluateMode(const FilterElement& filter, const TargetingFacts& facts)
{
    ChosenModes modes;
    for (const auto& [attribute, mode] : kProcessingModes) {
        const auto chosen = OptionalSwitch(filter, attribute);
        if (!chosen)
            return CannotTell(std::wstring(attribute) + L" is neither 0 nor 1");
        if (*chosen)
            modes.Add(attribute, facts.IsInMode(mode));
    }
    return modes.Answer();
}

FilterAnswer EvaluateTerminal(const FilterElement& filter, const TargetingFacts& facts)
{
    const std::wstring_view type = filter.Value(L"type");
    if ((type != L"NE" && type != L"TS") || filter.Value(L"option") != L"NE")
        return CannotTell(L"only the types NE and TS with option=\"NE\" are known");
    const auto session = facts.Session();
    if (!session)
        return CannotTell(L"the session is not known");
    return Matches(type == L"TS" ? session == SessionKind::RemoteDesktop : session != SessionKind::Console);
}

} // namespace

constinit const FilterKind kProcModeFilter{L"FilterProcMode", kModeAttributes, {}, EvaluateMode};
constinit const FilterKind kTerminalFilter{L"FilterTerminal", kTerminalAttributes, {}, EvaluateTerminal};

} // namespace kx
