#include "Tools/kx_gpsim/facts_json.h"

#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/json_reader.h"
#include "Tools/kx_gpsim/text_width.h"
#include "Tools/targeting/facts_file.h"

#include <set>

namespace kx {

namespace {

using nlohmann::json;
using std::string;

// Keys and the forms of values are ASCII, so bytes may stand for characters where only they are looked at.
std::wstring Units(std::string_view text)
{
    std::wstring units;
    for (const char unit : text)
        units += static_cast<wchar_t>(static_cast<unsigned char>(unit));
    return units;
}

// The parser takes the last one of two members of the same name; here that would lose a fact. REQUIRES: JSON.
json ParseWithoutDoubles(std::string_view text, const string& file)
{
    std::vector<std::set<string>> open;
    const auto look = [&](int, json::parse_event_t event, json& parsed) {
        if (event == json::parse_event_t::object_start)
            open.emplace_back();
        else if (event == json::parse_event_t::object_end)
            open.pop_back();
        else if (event == json::parse_event_t::key)
            if (const auto name = parsed.get<string>(); !open.back().insert(name).second)
                throw UsageError(file + ": " + name + " stands twice in one object; a list has brackets");
        return true;
    };
    return json::parse(text.begin(), text.end(), look, true, true);
}

class Flattener {
  public:
    explicit Flattener(const string& file) : _m_file(file) {}

    // `key` is that of the facts' lines, `place` that in the JSON; both are empty for the root.
    void Add(const json& member, const string& key, const string& place)
    {
        const FactForm form = FactFormOf(Units(key));
        if (place.empty() || form.kind == FactKind::Family)
            _AddMembers(member, key, place);
        else if (form.kind == FactKind::None)
            _Fail(place, "is no fact that is known");
        else if (!_m_stated.insert(key).second)
            _Fail(place, "is stated already, in another form");
        else if (!member.is_array())
            _State(form.kind, member, key, place);
        else
            _AddList(form, member, key, place);
    }

    string Take()
    {
        if (_m_lines.size() > kMostFactsBytes)
            throw UsageError(_m_file + ": it states more than facts can be");
        return std::move(_m_lines);
    }

  private:
    [[noreturn]] void _Fail(const string& place, const string& why) const
    {
        throw UsageError(_m_file + ": " + VisibleText(place) + ' ' + why);
    }

    void _AddMembers(const json& member, const string& key, const string& place)
    {
        if (!member.is_object())
            _Fail(place, "is not an object");
        for (const auto& [name, each] : member.items())
            Add(each, key.empty() ? name : key + '.' + name, place + '/' + name);
    }

    void _AddList(const FactForm& form, const json& member, const string& key, const string& place)
    {
        if (!form.isList)
            _Fail(place, "is one value, not a list");
        if (member.empty())
            _m_lines += key + " =\n";
        for (std::size_t index = 0; index < member.size(); ++index)
            _State(form.kind, member[index], key, place + '/' + std::to_string(index));
    }

    [[nodiscard]] string _ValueOf(FactKind kind, const json& member, const string& place) const
    {
        switch (kind) {
        case FactKind::Number:
            if (!member.is_number_integer())
                _Fail(place, "is not a whole number");
            return member.dump();
        case FactKind::YesNo:
            if (!member.is_boolean())
                _Fail(place, "is neither true nor false");
            return member.get<bool>() ? "yes" : "no";
        default:
            if (!member.is_string())
                _Fail(place, "is not a text");
            return member.get<string>();
        }
    }

    // A line that does not read as what it was made of would state something else: a value with a line end
    // in it, or an empty one of a list.
    void _State(FactKind kind, const json& member, const string& key, const string& place)
    {
        const string value = _ValueOf(kind, member, place);
        const FactsFile read = ParseFacts(Units(key + " = " + value));
        const auto* const values = read.Find(Units(key));
        if (!values || *values != std::vector<std::wstring>{Units(value)})
            _Fail(place, "cannot be \"" + VisibleText(value) + '"');
        _m_lines += key + " = " + value + '\n';
    }

    const string& _m_file;
    std::set<string> _m_stated;
    string _m_lines;
};

} // namespace

string FactsText(std::string_view text, const string& file)
{
    if (!ParseJson(text, file).is_object())
        throw UsageError(file + ": it is not a JSON object");
    Flattener flattener(file);
    flattener.Add(ParseWithoutDoubles(text, file), {}, {});
    return flattener.Take();
}

} // namespace kx
