// <FilterRegistry type="..." hive="HKEY_LOCAL_MACHINE" key="..." valueName="...">:
// KEYEXISTS: the key is there. VALUEEXISTS: the value is.
// MATCHVALUE with a subtype: EQUALS: it is valueData, of the type valueType; SUBSTRING: its text contains
// valueData; VERSION: its text is a version that lies in the range of min, max, gte and lte.
#include "Tools/targeting/filter_values.h"
#include "Tools/targeting/plain_values.h"

namespace kx {

namespace {

using std::wstring;
using std::wstring_view;

constexpr wstring_view kAttributes[] = {L"type",      L"subtype", L"hive", L"key", L"valueName", L"valueType",
                                        L"valueData", L"min",     L"max",  L"gte", L"lte"};

constexpr Word<RegistryHive> kHives[] = {{L"HKEY_LOCAL_MACHINE", RegistryHive::LocalMachine},
                                         {L"HKEY_CURRENT_USER", RegistryHive::CurrentUser},
                                         {L"HKEY_USERS", RegistryHive::Users},
                                         {L"HKEY_CURRENT_CONFIG", RegistryHive::CurrentConfig}};

constexpr Word<RegistryType> kTypes[] = {{L"REG_SZ", RegistryType::Text},
                                         {L"REG_EXPAND_SZ", RegistryType::ExpandText},
                                         {L"REG_DWORD", RegistryType::Dword},
                                         {L"REG_QWORD", RegistryType::Qword},
                                         {L"REG_BINARY", RegistryType::Binary}};

bool IsText(RegistryType type)
{
    return type == RegistryType::Text || type == RegistryType::ExpandText;
}

bool IsNumber(RegistryType type)
{
    return type == RegistryType::Dword || type == RegistryType::Qword;
}

// As valueData has it: a number's most significant digit first, other bytes in their order.
wstring HexText(const RegistryFact& fact)
{
    constexpr wchar_t digits[] = L"0123456789ABCDEF";
    wstring text;
    const auto add = [&](std::uint8_t byte) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    };
    if (IsNumber(fact.type)) {
        for (auto byte = fact.bytes.rbegin(); byte != fact.bytes.rend(); ++byte)
            add(*byte);
    } else {
        for (const std::uint8_t byte : fact.bytes)
            add(byte);
    }
    return text;
}

FilterAnswer MatchBytes(const RegistryFact& fact, wstring_view wanted, const TargetingFacts& facts)
{
    const wstring value = HexText(fact);
    const bool isHex = wanted.find_first_not_of(L"0123456789abcdefABCDEF") == wstring_view::npos;
    if (!isHex || (IsNumber(fact.type) && wanted.size() != value.size()))
        return CannotTell(L"the valueData is not of hexadecimal digits, as many as the type has");
    return Matches(value == facts.Folded(wanted));
}

// Whether case counts is not known, so what differs in it alone is no answer.
FilterAnswer MatchCase(bool exact, bool folded)
{
    return exact == folded ? Matches(exact) : CannotTell(L"the value differs in upper and lower case only");
}

FilterAnswer MatchEqual(const RegistryFact& fact, const FilterElement& filter, const TargetingFacts& facts)
{
    const auto type = ParseWord(kTypes, filter.Value(L"valueType"));
    const wstring_view wanted = filter.Value(L"valueData");
    if (!type)
        return CannotTell(L"the valueType is not known");
    if (*type != fact.type)
        return CannotTell(L"the value is of another type");
    if (!IsText(fact.type))
        return MatchBytes(fact, wanted, facts);
    return MatchCase(fact.text == wanted, facts.Folded(fact.text) == facts.Folded(wanted));
}

FilterAnswer MatchSubstring(const RegistryFact& fact, wstring_view wanted, const TargetingFacts& facts)
{
    if (!IsText(fact.type) || wanted.empty())
        return CannotTell(L"it needs a valueData, and a value that is a text");
    return MatchCase(fact.text.find(wanted) != wstring::npos,
                     facts.Folded(fact.text).find(facts.Folded(wanted)) != wstring::npos);
}

FilterAnswer MatchVersion(const RegistryFact& fact, const FilterElement& filter)
{
    const auto range = VersionRangeOf(filter);
    const auto version = IsText(fact.type) ? ParseFileVersion(fact.text) : std::nullopt;
    if (!range || !version)
        return CannotTell(L"it needs min, max and the value as four numbers, gte and lte as 0 or 1");
    return Matches(range->Holds(*version));
}

FilterAnswer MatchValue(const RegistryFact& fact, const FilterElement& filter, const TargetingFacts& facts)
{
    const wstring_view subtype = filter.Value(L"subtype");
    if (subtype != L"EQUALS" && subtype != L"SUBSTRING" && subtype != L"VERSION")
        return CannotTell(L"the subtype is not known");
    if (fact.state != RegistryFact::State::Value)
        return Matches(false);
    if (subtype == L"EQUALS")
        return MatchEqual(fact, filter, facts);
    return subtype == L"VERSION" ? MatchVersion(fact, filter)
                                 : MatchSubstring(fact, filter.Value(L"valueData"), facts);
}

FilterAnswer Evaluate(const FilterElement& filter, const TargetingFacts& facts)
{
    const auto hive = ParseWord(kHives, filter.Value(L"hive"));
    const wstring_view type = filter.Value(L"type");
    if (!hive || filter.Value(L"key").empty())
        return CannotTell(L"it has no key, or its hive is not known");
    if (type != L"KEYEXISTS" && type != L"VALUEEXISTS" && type != L"MATCHVALUE")
        return CannotTell(L"the type is not known");
    const RegistryFact fact =
        facts.ReadRegistry({*hive, wstring(filter.Value(L"key")), wstring(filter.Value(L"valueName"))});
    if (fact.state == RegistryFact::State::CannotTell)
        return CannotTell(L"what stands in the registry cannot be seen");
    if (type == L"KEYEXISTS")
        return Matches(fact.state != RegistryFact::State::NoKey);
    if (type == L"VALUEEXISTS")
        return Matches(fact.state == RegistryFact::State::Value);
    return MatchValue(fact, filter, facts);
}

} // namespace

constinit const FilterKind kRegistryFilter{L"FilterRegistry", kAttributes, {}, Evaluate};

} // namespace kx
