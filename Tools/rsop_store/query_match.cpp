#include "Tools/rsop_store/query_match.h"

#include "Tools/rsop_store/wmi_time.h"

#include <algorithm>

namespace kx {
namespace {

using Op = WqlCondition::Op;
using Constant = decltype(WqlCondition::value);

/// A constant as a whole number, also when it stands in quotes.
std::optional<std::int64_t> Whole(CimType type, const Constant& constant)
{
    if (const auto* const number = std::get_if<std::int64_t>(&constant))
        return *number;
    std::int64_t parsed = 0;
    const auto* const text = std::get_if<std::wstring>(&constant);
    if (text != nullptr && ParseInteger(type, *text, parsed))
        return parsed;
    return std::nullopt;
}

std::optional<bool> Truth(const Constant& constant)
{
    if (const auto* const truth = std::get_if<bool>(&constant))
        return *truth;
    if (const auto* const number = std::get_if<std::int64_t>(&constant))
        return *number != 0;
    const auto* const text = std::get_if<std::wstring>(&constant);
    if (text != nullptr && (EqualNames(*text, L"true") || EqualNames(*text, L"false")))
        return EqualNames(*text, L"true");
    return std::nullopt;
}

/// A constant as a value to compare a property of the type with. Nothing when it does not suit the type.
std::optional<StoreValue> Suit(CimType type, const Constant& constant)
{
    if (std::holds_alternative<std::monostate>(constant))
        return StoreValue();
    if (type == CimType::Boolean) {
        const auto truth = Truth(constant);
        return truth ? std::optional<StoreValue>(*truth) : std::nullopt;
    }
    if (IsText(type)) {
        const auto* const text = std::get_if<std::wstring>(&constant);
        if (text == nullptr || (type == CimType::DateTime && !IsWmiDateTime(*text)))
            return std::nullopt;
        return *text;
    }
    const auto number = Whole(IsInteger(type) ? type : CimType::SInt64, constant);
    if (!number)
        return std::nullopt;
    return IsInteger(type) ? StoreValue(*number) : StoreValue(static_cast<double>(*number));
}

template <class T>
int Order(const T& one, const T& other)
{
    return one < other ? -1 : (other < one ? 1 : 0);
}

/// REQUIRES: both are values of the type and not null.
int Compare(CimType type, const StoreValue& one, const StoreValue& other)
{
    if (type == CimType::UInt64)
        return Order(static_cast<std::uint64_t>(std::get<std::int64_t>(one)),
                     static_cast<std::uint64_t>(std::get<std::int64_t>(other)));
    if (!IsText(type))
        return Order(one, other); // of the same alternative
    const auto& text = std::get<std::wstring>(one);
    const auto& otherText = std::get<std::wstring>(other);
    std::uint64_t ticks = 0;
    std::uint64_t otherTicks = 0;
    if (type == CimType::DateTime && WmiTimeToTicks(text, ticks) && WmiTimeToTicks(otherText, otherTicks))
        return Order(ticks, otherTicks);
    return CompareIgnoringCase(text, otherText);
}

bool Holds(Op op, int order)
{
    switch (op) {
    case Op::Equal:
        return order == 0;
    case Op::NotEqual:
        return order != 0;
    case Op::Less:
        return order < 0;
    case Op::Greater:
        return order > 0;
    case Op::LessOrEqual:
        return order <= 0;
    case Op::GreaterOrEqual:
        return order >= 0;
    default:
        return false;
    }
}

bool IsEquality(Op op)
{
    return op == Op::Equal || op == Op::NotEqual;
}

/// One condition on a class.
bool ClassHolds(const WqlCondition& condition, const ClassDefinition& definition, bool& valid)
{
    const auto* const name = std::get_if<std::wstring>(&condition.value);
    const bool ofClass = EqualNames(condition.property, L"__CLASS");
    const bool ofSuperclass = EqualNames(condition.property, L"__SUPERCLASS");
    if (name != nullptr && condition.op == Op::Isa)
        return definition.IsA(*name);
    if (name == nullptr || !IsEquality(condition.op) || (!ofClass && !ofSuperclass)) {
        valid = false;
        return false;
    }
    const ClassDefinition* const asked = ofClass ? &definition : definition.parent.get();
    const bool same = asked == nullptr ? name->empty() : EqualNames(asked->name, *name);
    return same == (condition.op == Op::Equal);
}

} // namespace

bool CkxQueryMatcher::Bind(const ClassDefinition& definition)
{
    _m_conditions.clear();
    _m_classFits = true;
    for (const WqlCondition& condition : _m_query.conditions) {
        if (EqualNames(condition.property, L"__CLASS")) {
            bool valid = true;
            _m_classFits = ClassHolds(condition, definition, valid) && _m_classFits;
            if (!valid)
                return false;
            continue;
        }
        const auto place = definition.Find(condition.property);
        if (!place || condition.op == Op::Isa)
            return false;
        const CimType type = definition.properties[*place].type;
        std::optional<StoreValue> constant = Suit(type, condition.value);
        if (!constant || (IsNull(*constant) && !IsEquality(condition.op)))
            return false;
        _m_conditions.push_back({*place, type, condition.op, std::move(*constant)});
    }
    return true;
}

bool CkxQueryMatcher::Matches(const Values& values) const
{
    return _m_classFits &&
           std::all_of(_m_conditions.begin(), _m_conditions.end(), [&values](const _Condition& condition) {
               const StoreValue& value = values[condition.place];
               if (IsNull(condition.constant))
                   return IsNull(value) == (condition.op == Op::Equal);
               return !IsNull(value) &&
                      Holds(condition.op, Compare(condition.type, value, condition.constant));
           });
}

bool MatchesClass(const WqlQuery& query, const ClassDefinition& definition, bool& valid)
{
    return std::all_of(query.conditions.begin(), query.conditions.end(), [&](const WqlCondition& condition) {
        return ClassHolds(condition, definition, valid);
    });
}

} // namespace kx
