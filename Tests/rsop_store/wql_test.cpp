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
    {"all of a class", L"SELECT * FROM RSOP_GPO", L"RSOP_GPO ()"},
    {"keywords ignore case, names keep theirs", L"select * From rsop_Gpo wHeRe Name = nUlL aNd b=True",
     L"rsop_Gpo () Name = null; b = true;"},
    {"some properties", L"SELECT id ,name, _3 FROM A", L"A (id,name,_3)"},
    {"a text may touch the next keyword", L"SELECT*FROM A WHERE a='x'AND b=\"y\"", L"A () a = [x]; b = [y];"},
    {"every kind of blank", L"\r\nSELECT\t* FROM\n A\r", L"A ()"},
    {"each operator", L"SELECT * FROM A WHERE a=1 AND a<>1 AND a!=1 AND a<1 AND a>1 AND a<=1 AND a>=1",
     L"A () a = 1; a <> 1; a <> 1; a < 1; a > 1; a <= 1; a >= 1;"},
    {"numbers to both ends",
     L"SELECT * FROM A WHERE a=9223372036854775807 AND a=-9223372036854775808 AND a=+7",
     L"A () a = 9223372036854775807; a = -9223372036854775808; a = 7;"},
    {"the other quote inside", L"SELECT * FROM A WHERE a='say \"x\"' AND b=\"it's\"",
     L"A () a = [say \"x\"]; b = [it's];"},
    {"escapes", L"SELECT * FROM A WHERE a='c:\\\\x\\\\' AND b='\\'' AND c=\"\\\"\" AND d='\\n'",
     L"A () a = [c:\\x\\]; b = [']; c = [\"]; d = [n];"},
    {"keywords inside a text", L"SELECT * FROM A WHERE a=' OR 1=1) AND b='", L"A () a = [ OR 1=1) AND b=];"},
    {"empty text", L"SELECT * FROM A WHERE a=''", L"A () a = [];"},
    {"FALSE", L"SELECT * FROM A WHERE a<>FALSE", L"A () a <> false;"},
    {"classes of a base", L"SELECT * from META_CLASS WHERE __this ISA \"RSOP_PolicySetting\"",
     L"META_CLASS () __this isa [RSOP_PolicySetting];"},
    {"this, further condition", L"SELECT * FROM META_CLASS WHERE __THIS isa 'X' AND __Class = 'Y'",
     L"META_CLASS () __THIS isa [X]; __Class = [Y];"},
    {"names beyond ASCII", L"SELECT * FROM Gr\u00F6\u00DFe WHERE \u540D='\u540D'",
     L"Gr\u00F6\u00DFe () \u540D = [\u540D];"},
    {"names that begin like keywords", L"SELECT Selected FROM Fromage WHERE ORder=1 AND NULLs=2",
     L"Fromage (Selected) ORder = 1; NULLs = 2;"},
};

struct Refused {
    const char* why;
    std::wstring_view text;
};

const Refused c_refused[] = {
    {"nothing", L""},
    {"blanks", L"  "},
    {"no properties", L"SELECT FROM A"},
    {"no class", L"SELECT * FROM"},
    {"a keyword for a class", L"SELECT * FROM where"},
    {"a keyword for a property", L"SELECT from FROM A"},
    {"a keyword compared", L"SELECT * FROM A WHERE Null = 1"},
    {"no FROM", L"SELECT * A"},
    {"words run together", L"SELECT * FROMA"},
    {"star and a property", L"SELECT *, a FROM A"},
    {"comma without a property", L"SELECT a, FROM A"},
    {"name with a digit first", L"SELECT * FROM 3A"},
    {"property of a property", L"SELECT a.b FROM A"},
    {"something after the class", L"SELECT * FROM A B"},
    {"end mark", L"SELECT * FROM A;"},
    {"NUL after the end", std::wstring_view(L"SELECT * FROM A\0", 16)},
    {"WHERE without condition", L"SELECT * FROM A WHERE"},
    {"AND without condition", L"SELECT * FROM A WHERE a=1 AND"},
    {"OR", L"SELECT * FROM A WHERE a=1 OR b=2"},
    {"NOT", L"SELECT * FROM A WHERE NOT a=1"},
    {"LIKE", L"SELECT * FROM A WHERE a LIKE 'x%'"},
    {"IS NULL", L"SELECT * FROM A WHERE a IS NULL"},
    {"parentheses", L"SELECT * FROM A WHERE (a=1)"},
    {"no operator", L"SELECT * FROM A WHERE a 1"},
    {"operator taken apart", L"SELECT * FROM A WHERE a < = 1"},
    {"no such operator", L"SELECT * FROM A WHERE a == 1"},
    {"no constant", L"SELECT * FROM A WHERE a ="},
    {"a property for a constant", L"SELECT * FROM A WHERE a = b"},
    {"constant first", L"SELECT * FROM A WHERE 1 = a"},
    {"number too high", L"SELECT * FROM A WHERE a=9223372036854775808"},
    {"number too low", L"SELECT * FROM A WHERE a=-9223372036854775809"},
    {"number that wraps to a small one", L"SELECT * FROM A WHERE a=18446744073709551617"},
    {"number with a fraction", L"SELECT * FROM A WHERE a=1.5"},
    {"number touching a keyword", L"SELECT * FROM A WHERE a=1AND b=2"},
    {"number of base 16", L"SELECT * FROM A WHERE a=0x10"},
    {"sign alone", L"SELECT * FROM A WHERE a=-"},
    {"two signs", L"SELECT * FROM A WHERE a=--1"},
    {"text without end", L"SELECT * FROM A WHERE a='x"},
    {"text closed by the other quote", L"SELECT * FROM A WHERE a='x\""},
    {"closing quote escaped", L"SELECT * FROM A WHERE a='x\\'"},
    {"backslash at the end", L"SELECT * FROM A WHERE a='x\\"},
    {"ISA of a property", L"SELECT * FROM A WHERE a ISA 'X'"},
    {"this compared", L"SELECT * FROM A WHERE __this = 'X'"},
    {"ISA without quotes", L"SELECT * FROM A WHERE __this ISA X"},
    {"ISA of no name", L"SELECT * FROM A WHERE __this ISA ''"},
    {"ISA of two names", L"SELECT * FROM A WHERE __this ISA 'X Y'"},
    {"another statement", L"ASSOCIATORS OF {A}"},
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
    for (const Refused& row : c_refused) {
        kx::WqlQuery query{L"kept", {{L"p", Op::Less, true}}, {L"q"}};
        EXPECT_FALSE(kx::ParseWql(row.text, query)) << row.why;
        EXPECT_EQ(Dump(query), L"kept (q) p < true;") << row.why;
    }
}
