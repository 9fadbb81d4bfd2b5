#include "Tools/kx_gpsim/json_reader.h"

#include "Tools/kx_gpsim/exit_codes.h"

#include <algorithm>

namespace kx {

using nlohmann::json;

json ParseJson(std::string_view text, const std::string& file)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    try {
        return json::parse(text.begin(), text.end(), nullptr, true, true);
    } catch (const json::parse_error& error) {
        const std::size_t end = std::min(error.byte, text.size());
        const std::string_view before = text.substr(0, end);
        const auto line = 1 + std::count(before.begin(), before.end(), '\n');
        const std::size_t lineStart = before.rfind('\n') + 1; // npos + 1 is 0
        throw UsageError(file + ": no JSON at line " + std::to_string(line) + ", column " +
                         std::to_string(end - std::min(lineStart, end)));
    } catch (const json::out_of_range&) { // the only thing in a text that is so
        throw UsageError(file + ": a number in it is too large");
    }
}

JsonReader::JsonReader(const std::string& what, const json& root) : _m_object(&root)
{
    if (!root.is_object())
        throw UsageError(what + " is not a JSON object");
}

JsonReader::JsonReader(std::string place, const json* object) : _m_place(std::move(place)), _m_object(object)
{
    if (!object->is_object())
        throw UsageError(_m_place + " is not an object");
}

std::string JsonReader::_Place(std::string_view name) const
{
    return _m_place + '/' + std::string(name);
}

void JsonReader::Fail(std::string_view name, const std::string& why) const
{
    throw UsageError(_Place(name) + ' ' + why);
}

const json& JsonReader::_Member(const char* name) const
{
    const auto found = _m_object->find(name);
    if (found == _m_object->end())
        Fail(name, "is missing");
    return *found;
}

std::vector<std::string> JsonReader::Names() const
{
    std::vector<std::string> names;
    for (const auto& [name, value] : _m_object->items())
        names.push_back(name);
    return names;
}

bool JsonReader::IsNull(const char* name) const
{
    return _Member(name).is_null();
}

std::string JsonReader::Text(const char* name) const
{
    const json& member = _Member(name);
    if (!member.is_string())
        Fail(name, "is not a text");
    return member.get<std::string>();
}

std::string JsonReader::TextOr(const char* name, const std::string& otherwise) const
{
    return Has(name) ? Text(name) : otherwise;
}

bool JsonReader::Flag(const char* name) const
{
    const json& member = _Member(name);
    if (!member.is_boolean())
        Fail(name, "is neither true nor false");
    return member.get<bool>();
}

bool JsonReader::FlagOr(const char* name, bool otherwise) const
{
    return Has(name) ? Flag(name) : otherwise;
}

JsonReader JsonReader::Object(const char* name) const
{
    return {_Place(name), &_Member(name)};
}

const json& JsonReader::_Array(const char* name) const
{
    const json& member = _Member(name);
    if (!member.is_array())
        Fail(name, "is not an array");
    return member;
}

std::vector<std::string> JsonReader::Texts(const char* name) const
{
    std::vector<std::string> texts;
    for (const json& item : _Array(name)) {
        if (!item.is_string())
            Fail(std::string(name) + '/' + std::to_string(texts.size()), "is not a text");
        texts.push_back(item.get<std::string>());
    }
    return texts;
}

std::int64_t JsonReader::_Number(const char* name, double low, double high) const
{
    const json& member = _Member(name);
    if (!member.is_number_integer())
        Fail(name, "is not a whole number");
    if (const auto value = member.get<double>(); value < low || value > high)
        Fail(name, "is out of range");
    return member.get<std::int64_t>();
}

std::size_t JsonReader::Choice(const char* name, std::initializer_list<std::string_view> choices) const
{
    const std::string text = Text(name);
    const auto* const found = std::find(choices.begin(), choices.end(), text);
    if (found == choices.end()) {
        std::string names;
        for (const std::string_view choice : choices)
            names.append(names.empty() ? "" : ", ").append(choice.empty() ? "\"\"" : choice);
        Fail(name, "is none of " + names);
    }
    return static_cast<std::size_t>(found - choices.begin());
}

void JsonReader::AllowOnly(std::initializer_list<std::string_view> known) const
{
    for (const auto& [name, value] : _m_object->items())
        if (std::find(known.begin(), known.end(), name) == known.end())
            Fail(name, "is not known here");
}

} // namespace kx
