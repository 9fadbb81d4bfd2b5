// libFuzzer target: text built for WMI. Whatever stands in a value, the query asks for exactly that value,
// and a path names exactly that key: no value adds a condition or ends the text that it stands in. Lines of
// the input are values.
//
//   wbem_query_fuzz -max_len=256
#include "Common_CPP/kxwbem/kxwbem_query.h"
#include "Tests/fuzz/fuzz_input.h"
#include "Tools/rsop_store/object_path.h"
#include "Tools/rsop_store/wql.h"

#include <vector>

namespace {

using fuzz::Require;

constexpr const wchar_t* kNames[] = {L"id", L"GPOID", L"precedence", L"name"};

// Every mark of the text, be it one that ends a text or one that makes another literal, has a backslash of
// its own in front, so an odd number of them.
void CheckEscaped(const std::wstring& text)
{
    const std::wstring escaped = kx::EscapeWql(text);
    std::wstring plain;
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        if (escaped[i] == L'\\')
            Require(++i < escaped.size(), "a backslash that escapes the closing mark");
        else
            Require(escaped[i] != L'\'' && escaped[i] != L'"', "a mark that is not escaped");
        plain += escaped[i];
    }
    Require(plain == text, "another text");

    kx::ObjectPath path;
    Require(kx::ParseObjectPath(L"C.k=\"" + escaped + L"\"", path), "a path that is none");
    const kx::ObjectPath expected{{}, {}, L"C", true, {{L"k", text}}};
    Require(path == expected, "another path");
}

void CheckQuery(const std::vector<std::wstring>& values)
{
    std::vector<WbemCondition> conditions;
    for (const std::wstring& value : values)
        conditions.push_back({kNames[conditions.size() % std::size(kNames)], value.c_str()});
    CkxWbemSelectQuery query(L"SELECT * FROM KX_Class");
    Require(query.AddWhereConditions(conditions), "refused");
    kx::WqlQuery parsed;
    Require(kx::ParseWql(query.Text(), parsed), "a query that is none");
    Require(parsed.className == L"KX_Class" && parsed.properties.empty(), "another class");
    Require(parsed.conditions.size() == conditions.size(), "another number of conditions");
    for (std::size_t i = 0; i < conditions.size(); ++i) {
        const kx::WqlCondition& condition = parsed.conditions[i];
        const auto* const value = std::get_if<std::wstring>(&condition.value);
        Require(condition.property == conditions[i].property && condition.op == kx::WqlCondition::Op::Equal,
                "another condition");
        Require(value != nullptr && *value == conditions[i].value, "another value"); // both end at a NUL
    }
}

void CheckRefusal(const std::wstring& value, std::size_t place)
{
    std::vector<WbemCondition> conditions(place, WbemCondition{L"id", value.c_str()});
    CkxWbemSelectQuery query(L"q");
    Require(query.AddWhereConditions(conditions), "refused");
    CkxWbemSelectQuery refusing(L"q");
    conditions.push_back({place % 2 == 0 ? nullptr : L"", value.c_str()});
    conditions.push_back({L"never", L""});
    std::size_t refused = 99;
    Require(!refusing.AddWhereConditions(conditions, &refused) && refused == place, "a name is missed");
    Require(refusing.Text() == query.Text(), "something from the refused condition on");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t mostValues = 8;
    fuzz::Input input(data, size);
    std::vector<std::wstring> values;
    while (!input.IsEmpty() && values.size() < mostValues) {
        values.push_back(input.Line<wchar_t>());
        CheckEscaped(values.back());
        values.back() = values.back().c_str(); // a value of a query ends at a NUL
    }
    CheckQuery(values);
    if (!values.empty())
        CheckRefusal(values.front(), size % 3);
    return 0;
}
