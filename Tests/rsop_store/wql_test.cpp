#include "Tools/rsop_store/wql.h"

#include <gtest/gtest.h>

namespace {

using Op = kx::WqlCondition::Op;

struct ConstantText {
    std::wstring operator()(std::monostate) const { return L"null"; }

    std::wstring operator()(bool value) const { return value ? L"true" : L"false"; }

    std::wstring operator()(std::int64_t value) const { return std::to_wstring(value); }

    std::wstring operator()(const std::wstring& value) const { return L"[" + value + L"]"; }
};

/// "class (properties) property operator constant; ..."
std::wstring Dump(const kx::WqlQuery& query)
{
    static const wchar_t* const signs[] = {L"=", L"<>", L"<", L">", L"<=", L">=", L"isa"};
    std::wstring text = query.className + L" (";
    for (const std::wstring& property : query.properties)
        text += (text.back() == L'(' ? L"" : L",") + property;
    text += L")";
    for (const kx::WqlCondition& condition : query.conditions)
        text += L" " + condition.property + L" " + signs[static_cast<int>(condition.op)] + L" " +
                std::visit(ConstantText(), condition.value) + L";";
    return text;
}

struct Accepted {
    const char* why;
    std::wstring_view text;
    std::wstring_view dump;
};

const Accepted c_accepted[] = {
    {"all of a class", L"\r\nSELECT\t* FROM\n RSOP_GPO\r", L"RSOP_GPO ()"},
    {"keywords ignore case, names keep theirs", L"select * From rsop_Gpo wHeRe Name = nUlL aNd b=True",
     L"rsop_Gpo () Name = null; b = true;"},
    {"some properties", L"SELECT id ,name, _3 FROM A", L"A (id,name,_3)"},
    {"a text may touch the next keyword", L"SELECT*FROM A WHERE a='x'AND b=\"y\"", L"A () a = [x]; b = [y];"},
    {"each operator", L"SELECT * FROM A WHERE a=1 AND a<>1 AND a!=1 AND a<1 AND a>1 AND a<=1 AND a>=1",
     L"A () a = 1; a <> 1; a <> 1; a < 1; a > 1; a <= 1; a >= 1;"},
    {"numbers", L"SELECT * FROM A WHERE a=9223372036854775807 AND a=-9223372036854775808 AND a=+7",
     L"A () a = 9223372036854775807; a = -9223372036854775808; a = 7;"},
    {"escapes", L"SELECT * FROM A WHERE a='c:\\\\x\\\\' AND b='\\'' AND c=\"\\\"\" AND d='\\n'",
     L"A () a = [c:\\x\\]; b = [']; c = [\"]; d = [n];"},
    {"this, further condition", L"SELECT * FROM META_CLASS WHERE __THIS isa 'X' AND __Class = \"Y\"",
     L"META_CLASS () __THIS isa [X]; __Class = [Y];"},
    {"names that begin like keywords", L"SELECT Selected FROM Fromage WHERE ORder=1 AND NULLs=2",
     L"Fromage (Selected) ORder = 1; NULLs = 2;"},
};

struct Refused {
    const char* why;
    std::vector<std::wstring> texts;
    bool isCondition = true; ///< follows "SELECT * FROM A WHERE"
};

const Refused c_refused[] = {
    {"nothing, another statement", {L"", L"  ", L"ASSOCIATORS OF {A}"}, false},
    {"no properties",
     {L"SELECT FROM A", L"SELECT *, a FROM A", L"SELECT a, FROM A", L"SELECT a.b FROM A"},
     false},
    {"no class", {L"SELECT * FROM", L"SELECT * A", L"SELECT * FROMA", L"SELECT * FROM 3A"}, false},
    {"something after the class",
     {L"SELECT * FROM A B", L"SELECT * FROM A;", {L"SELECT * FROM A\0", 16}},
     false},
    {"no condition", {L"SELECT * FROM A WHERE", L"SELECT * FROM A WHERE a=1 AND"}, false},
    {"words of other queries", {L"a=1 OR b=2", L"NOT a=1", L"a LIKE 'x%'", L"a IS NULL", L"(a=1)"}},
    {"no operator", {L"a 1", L"a < = 1", L"a == 1"}},
    {"no constant", {L"a =", L"a = b", L"1 = a", L"Null = 1"}},
    {"beyond 64 bits", {L"a=9223372036854775808", L"a=-9223372036854775809", L"a=18446744073709551617"}},
    {"no number", {L"a=1.5", L"a=1AND b=2", L"a=0x10", L"a=-", L"a=--1"}},
    {"text without end", {L"a='x", L"a='x\"", L"a='x\\'", L"a='x\\"}},
    {"this, and ISA",
     {L"a ISA 'X'", L"__this = 'X'", L"__this ISA X", L"__this ISA ''", L"__this ISA 'X Y'"}},
};

} // namespace

TEST(Wql, ReadsWhatTheStoreAnswers)
{
    for (const Accepted& row : c_accepted) {
        kx::WqlQuery query{L"old", {{L"old", Op::Less, true}}, {L"old"}}; // all of it is replaced
        EXPECT_TRUE(kx::ParseWql(row.text, query)) << row.why;
        EXPECT_EQ(Dump(query), row.dump) << row.why;
    }
}

TEST(Wql, RefusesAllElseAndKeepsTheQuery)
{
    for (const Refused& row : c_refused)
        for (const std::wstring& text : row.texts) {
            SCOPED_TRACE(row.why + (" " + testing::PrintToString(text)));
            kx::WqlQuery query{L"kept", {{L"p", Op::Less, true}}, {L"q"}};
            EXPECT_FALSE(kx::ParseWql((row.isCondition ? L"SELECT * FROM A WHERE " : L"") + text, query));
            EXPECT_EQ(Dump(query), L"kept (q) p < true;");
        }
}
