// Whether an object meets the conditions of a query. Pure: no Windows header.
#pragma once

#include "Tools/rsop_store/class_definition.h"
#include "Tools/rsop_store/wql.h"

namespace kx {

/// The conditions of a query on instances, prepared for one class after another. Text is compared without
/// regard to case, date-times by the moment that they mean; a value that is null meets `= NULL` only.
class CkxQueryMatcher {
  public:
    /// REQUIRES: `query` outlives the matcher.
    explicit CkxQueryMatcher(const WqlQuery& query) : _m_query(query) {}

    /// Prepares for instances of a class. False when the class lacks a property that the query names, or a
    /// constant does not suit its property.
    [[nodiscard]] bool Bind(const ClassDefinition& definition);

    /// Whether an instance of that class meets all conditions.
    [[nodiscard]] bool Matches(const Values& values) const;

  private:
    struct _Condition {
        std::size_t place;
        CimType type;
        WqlCondition::Op op;
        StoreValue constant;
    };

    const WqlQuery& _m_query;
    std::vector<_Condition> _m_conditions; // on the class's properties
    bool _m_classFits = true;              // conditions on `__CLASS` hold
};

/// Whether a class meets the conditions of a query on META_CLASS: `__this ISA`, and comparisons of `__CLASS`
/// and `__SUPERCLASS` for equality. False for `valid` when the query asks anything else.
[[nodiscard]] bool MatchesClass(const WqlQuery& query, const ClassDefinition& definition, bool& valid);

} // namespace kx
