#include "Tools/rsop_store/wql.h"

#include "Tools/rsop_store/wmi_scanner.h"

#include <algorithm>
#include <utility>

namespace {

using kx::SameName;
using kx::WqlCondition;
using Op = kx::WqlCondition::Op;

constexpr std::wstring_view c_keywords[] = {L"AND", L"FALSE", L"FROM", L"IS",     L"ISA",  L"LIKE",
                                            L"NOT", L"NULL",  L"OR",   L"SELECT", L"TRUE", L"WHERE"};

struct Operator {
    std::wstring_view text;
    Op op;
};

// No text stands behind one that it begins with.
constexpr Operator c_operators[] = {
    {L"<=", Op::LessOrEqual}, {L">=", Op::GreaterOrEqual}, {L"<>", Op::NotEqual}, {L"!=", Op::NotEqual},
    {L"<", Op::Less},         {L">", Op::Greater},         {L"=", Op::Equal}};

bool IsKeyword(std::wstring_view word) noexcept
{
    return std::any_of(std::begin(c_keywords), std::end(c_keywords),
                       [word](std::wstring_view keyword) { return SameName(word, keyword); });
}

bool IsName(std::wstring_view text)
{
    kx::WmiScanner scanner(text);
    std::wstring name;
    return scanner.TakeName(name) && scanner.AtEnd();
}

/// The grammar, a method a part. A part that is refused may have been consumed: the query is refused then.
class Reader {
  public:
    explicit Reader(std::wstring_view text) noexcept : _m_scanner(text) {}

    [[nodiscard]] bool ReadQuery(kx::WqlQuery& query)
    {
        return _TakeKeyword(L"SELECT") && _ReadProperties(query.properties) && _TakeKeyword(L"FROM") &&
               _ReadName(query.className) && _ReadConditions(query.conditions) && _AtEnd();
    }

  private:
    bool _ReadProperties(std::vector<std::wstring>& properties)
    {
        if (_Take(L"*"))
            return true;
        do
            if (!_ReadName(properties.emplace_back()))
                return false;
        while (_Take(L","));
        return true;
    }

    bool _ReadConditions(std::vector<WqlCondition>& conditions)
    {
        if (!_TakeKeyword(L"WHERE"))
            return true;
        do
            if (!_ReadCondition(conditions.emplace_back()))
                return false;
        while (_TakeKeyword(L"AND"));
        return true;
    }

    bool _ReadCondition(WqlCondition& condition)
    {
        if (!_ReadName(condition.property))
            return false;
        if (SameName(condition.property, L"__this"))
            return _ReadIsa(condition);
        return _ReadOperator(condition.op) && _ReadConstant(condition.value);
    }

    bool _ReadIsa(WqlCondition& condition)
    {
        std::wstring className;
        if (!_TakeKeyword(L"ISA") || !_ReadText(className) || !IsName(className))
            return false;
        condition.op = Op::Isa;
        condition.value = std::move(className);
        return true;
    }

    bool _ReadOperator(Op& op)
    {
        const auto* const found = std::find_if(std::begin(c_operators), std::end(c_operators),
                                               [this](const Operator& each) { return _Take(each.text); });
        if (found == std::end(c_operators))
            return false;
        op = found->op;
        return true;
    }

    bool _ReadConstant(decltype(WqlCondition::value)& value)
    {
        std::int64_t number = 0;
        std::wstring text;
        _m_scanner.SkipBlanks();
        if (_m_scanner.TakeNumber(number))
            value = number;
        else if (_ReadText(text))
            value = std::move(text);
        else if (_TakeKeyword(L"TRUE"))
            value = true;
        else if (_TakeKeyword(L"FALSE"))
            value = false;
        else
            return _TakeKeyword(L"NULL"); // what `value` is already
        return true;
    }

    bool _ReadName(std::wstring& name)
    {
        _m_scanner.SkipBlanks();
        return _m_scanner.TakeName(name) && !IsKeyword(name);
    }

    bool _ReadText(std::wstring& text)
    {
        _m_scanner.SkipBlanks();
        return _m_scanner.TakeText(text);
    }

    bool _TakeKeyword(std::wstring_view keyword)
    {
        _m_scanner.SkipBlanks();
        kx::WmiScanner ahead = _m_scanner;
        std::wstring word;
        if (!ahead.TakeName(word) || !SameName(word, keyword))
            return false;
        _m_scanner = ahead;
        return true;
    }

    bool _Take(std::wstring_view sign)
    {
        _m_scanner.SkipBlanks();
        return _m_scanner.Take(sign);
    }

    bool _AtEnd()
    {
        _m_scanner.SkipBlanks();
        return _m_scanner.AtEnd();
    }

    kx::WmiScanner _m_scanner;
};

} // namespace

namespace kx {

bool ParseWql(std::wstring_view text, WqlQuery& query)
{
    WqlQuery read;
    if (!Reader(text).ReadQuery(read))
        return false;
    query = std::move(read);
    return true;
}

} // namespace kx
