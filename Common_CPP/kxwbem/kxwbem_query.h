#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace kx {

/// The text as it stands between quotation marks, single or double, in a query or an object's path.
[[nodiscard]] std::wstring EscapeWql(std::wstring_view text);

} // namespace kx

/// A property and the value that it is to have.
struct WbemCondition {
    const wchar_t* property;
    const wchar_t* value; ///< null counts as empty
};

/// A WQL query that selects the objects for which all conditions hold.
class CkxWbemSelectQuery {
  public:
    /// Begins with the query's text before any condition.
    explicit CkxWbemSelectQuery(std::wstring query) : _m_query(std::move(query)) {}

    /// Adds the conditions, in order, a value's backslashes and quotes escaped. At the first without a
    /// property name it ends: false, and `*refused` is its place.
    [[nodiscard]] bool AddWhereConditions(std::span<const WbemCondition> conditions,
                                          std::size_t* refused = nullptr);

    /// The query so far.
    [[nodiscard]] const std::wstring& Text() const noexcept { return _m_query; }

  private:
    std::wstring _m_query;
    bool _m_hasCondition = false;
};
