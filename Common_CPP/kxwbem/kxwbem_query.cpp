#include "Common_CPP/kxwbem/kxwbem_query.h"

std::wstring kx::EscapeWql(std::wstring_view text)
{
    std::wstring escaped;
    escaped.reserve(text.size());
    for (const wchar_t character : text) {
        if (character == L'\\' || character == L'\'' || character == L'"')
            escaped += L'\\';
        escaped += character;
    }
    return escaped;
}

bool CkxWbemSelectQuery::AddWhereConditions(std::span<const WbemCondition> conditions, std::size_t* refused)
{
    for (const WbemCondition& condition : conditions) {
        if (!condition.property || *condition.property == L'\0') {
            if (refused)
                *refused = static_cast<std::size_t>(&condition - conditions.data());
            return false;
        }
        _m_query += _m_hasCondition ? L" AND " : L" WHERE ";
        _m_query += condition.property;
        _m_query += L"='";
        _m_query += kx::EscapeWql(condition.value ? condition.value : L"");
        _m_query += L'\'';
        _m_hasCondition = true;
    }
    return true;
}
