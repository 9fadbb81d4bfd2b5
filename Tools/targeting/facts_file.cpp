#include "Tools/targeting/facts_file.h"

#include "Tools/targeting/distinguished_name.h"
#include "Tools/targeting/plain_values.h"

#include <algorithm>
#include <iterator>

namespace kx {

namespace {

using std::wstring;
using std::wstring_view;

constexpr std::uint64_t kMostNumber = 0xFFFFFFFF;

bool IsAnything(wstring_view text)
{
    return !text.empty();
}

bool IsNumber(wstring_view text)
{
    return ParseNumber(text, kMostNumber).has_value();
}

bool IsAccount(wstring_view text)
{
    return text.find(L'\\') != wstring_view::npos;
}

bool IsDistinguishedName(wstring_view text)
{
    return !SplitDistinguishedName(text).empty();
}

bool IsIpv4(wstring_view text)
{
    return ParseIpv4(text).has_value();
}

bool IsMac(wstring_view text)
{
    return ParseMac(text).has_value();
}

bool IsMoment(wstring_view text)
{
    return ParseMoment(text).has_value();
}

template <const auto& words>
bool IsOneOf(wstring_view text)
{
    return ParseWord(words, text).has_value();
}

constexpr bool (*kIsYesNo)(wstring_view) = IsOneOf<kYesNo>;

// What C: is stated under.
bool IsDriveLetter(wstring_view text)
{
    return text.size() == 1 && text.front() >= L'A' && text.front() <= L'Z';
}

enum class Count { One, Many };

struct FactKey {
    wstring_view name;
    Count count;
    bool (*isValue)(wstring_view text);
    bool (*isEnding)(wstring_view text) = nullptr; ///< of what must follow the name; null: nothing must
};

constexpr FactKey kKeys[] = {
    {L"absent", Count::Many, IsAnything},
    {L"computer.battery", Count::One, kIsYesNo},
    {L"computer.cpuMHz", Count::One, IsNumber},
    {L"computer.dns", Count::One, IsAnything},
    {L"computer.domain", Count::Many, IsAnything},
    {L"computer.freeGB.", Count::One, IsNumber, IsDriveLetter},
    {L"computer.group", Count::Many, IsAnything},
    {L"computer.ip", Count::Many, IsIpv4},
    {L"computer.mac", Count::Many, IsMac},
    {L"computer.name", Count::One, IsAnything},
    {L"computer.ou", Count::One, IsDistinguishedName},
    {L"computer.pcCard", Count::One, kIsYesNo},
    {L"computer.portable", Count::One, IsOneOf<kPortableStates>},
    {L"computer.primaryGroup", Count::One, IsAnything},
    {L"computer.ramMB", Count::One, IsNumber},
    {L"computer.site", Count::One, IsAnything},
    {L"file", Count::Many, IsAnything},
    {L"folder", Count::Many, IsAnything},
    {L"language.native", Count::One, IsNumber},
    {L"language.system", Count::One, IsNumber},
    {L"language.user", Count::One, IsNumber},
    {L"ldap.no", Count::Many, IsAnything},
    {L"ldap.yes", Count::Many, IsAnything},
    {L"os.edition", Count::One, IsAnything},
    {L"os.sp", Count::One, IsAnything},
    {L"os.type", Count::One, IsAnything},
    {L"os.version", Count::One, IsAnything},
    {L"processing", Count::Many, IsOneOf<kProcessingModes>},
    {L"ranOnce", Count::Many, IsAnything},
    {L"session", Count::One, IsOneOf<kSessionKinds>},
    {L"time", Count::One, IsMoment},
    {L"user.domain", Count::Many, IsAnything},
    {L"user.group", Count::Many, IsAnything},
    {L"user.name", Count::One, IsAccount},
    {L"user.ou", Count::One, IsDistinguishedName},
    {L"user.primaryGroup", Count::One, IsAnything},
    {L"user.sid", Count::One, IsSid},
    {L"variable.", Count::One, [](wstring_view) { return true; }, IsAnything},
    {L"wmi.no", Count::Many, IsAnything},
    {L"wmi.yes", Count::Many, IsAnything},
};

const FactKey* FindKey(wstring_view name)
{
    const auto* const found = std::find_if(std::begin(kKeys), std::end(kKeys), [&](const FactKey& key) {
        if (key.isEnding == nullptr)
            return name == key.name;
        return name.starts_with(key.name) && key.isEnding(name.substr(key.name.size()));
    });
    return found == std::end(kKeys) ? nullptr : found;
}

// The names of others go on where this one and a dot end.
bool IsFamily(wstring_view name)
{
    return !name.empty() && std::any_of(std::begin(kKeys), std::end(kKeys), [&](const FactKey& key) {
        return key.name.starts_with(name) && key.name.substr(name.size()).starts_with(L'.');
    });
}

FactKind KindOf(const FactKey& key)
{
    if (key.isValue == &IsNumber)
        return FactKind::Number;
    return key.isValue == kIsYesNo ? FactKind::YesNo : FactKind::Text;
}

wstring_view Trimmed(wstring_view text)
{
    constexpr wstring_view blanks = L" \t\r";
    const std::size_t start = text.find_first_not_of(blanks);
    if (start == wstring_view::npos)
        return {};
    return text.substr(start, text.find_last_not_of(blanks) - start + 1);
}

wstring Quoted(wstring_view text)
{
    return L'[' + wstring(text) + L']';
}

// Takes a line's statement. Returns what is wrong with it; empty: nothing. A list of nothing is stated by
// its key alone.
wstring ReadLine(wstring_view line, FactsFile& facts)
{
    const std::size_t split = line.find(L'=');
    if (split == wstring_view::npos)
        return L"there is no = in it";
    const wstring_view name = Trimmed(line.substr(0, split));
    const wstring_view value = Trimmed(line.substr(split + 1));
    const FactKey* const key = FindKey(name);
    if (key == nullptr)
        return Quoted(name) + L" is no fact that is known";
    const auto [place, isNew] = facts.values.try_emplace(wstring(name));
    if (key->count == Count::One && !isNew)
        return Quoted(name) + L" is stated twice";
    if (key->count == Count::Many && value.empty())
        return {};
    if (!key->isValue(value))
        return Quoted(name) + L" cannot be " + Quoted(value);
    place->second.emplace_back(value);
    return {};
}

} // namespace

FactForm FactFormOf(wstring_view key)
{
    if (const FactKey* const found = FindKey(key))
        return {KindOf(*found), found->count == Count::Many};
    return {IsFamily(key) ? FactKind::Family : FactKind::None, false};
}

FactsFile ParseFacts(wstring_view text)
{
    constexpr wchar_t byteOrderMark = 0xFEFF;
    FactsFile facts;
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(1);
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = std::min(text.find(L'\n'), text.size());
        const wstring_view line = Trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line.front() == L'#')
            continue;
        if (const wstring wrong = ReadLine(line, facts); !wrong.empty()) {
            facts.values.clear();
            facts.problem = L"line " + std::to_wstring(number) + L": " + wrong;
            break;
        }
    }
    return facts;
}

} // namespace kx
