#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace kx {

/// One comparison of a property with a constant.
struct WqlCondition {
    std::wstring property; ///< "__this" with Op::Isa, and only then
    enum class Op { Equal, NotEqual, Less, Greater, LessOrEqual, GreaterOrEqual, Isa } op = Op::Equal;
    std::variant<std::monostate, bool, std::int64_t, std::wstring> value; ///< monostate: NULL
};

/// What a query asks for: the objects of a class for which all conditions hold.
struct WqlQuery {
    std::wstring className; ///< "META_CLASS" asks for classes
    std::vector<WqlCondition> conditions;
    std::vector<std::wstring> properties; ///< empty: all, written "*"
};

/// Reads `SELECT *|property,... FROM class [WHERE property operator constant [AND ...]]`.
///
/// Keywords ignore case and are no names; names stay as written. Operators are = <> != < > <= >=; constants
/// are decimal numbers of 64 bits, TRUE, FALSE, NULL, and texts in ' or ", in which a backslash takes the
/// next character literally. A condition may also be `__this ISA "class"`. False for everything else (OR,
/// NOT, LIKE, parentheses, something after the end); then `query` stays as it was.
[[nodiscard]] bool ParseWql(std::wstring_view text, WqlQuery& query);

} // namespace kx
