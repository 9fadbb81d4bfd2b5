#include "Tools/rsop_store/query_run.h"

#include "Tools/rsop_store/query_match.h"

#include <algorithm>

namespace {

HRESULT RunOnClasses(const CkxNamespace& space, const kx::WqlQuery& query, std::vector<kx::ObjectView>& found)
{
    bool valid = query.properties.empty();
    for (kx::ClassPointer& definition : space.Classes([](const auto&) { return true; }))
        if (kx::MatchesClass(query, *definition, valid))
            found.push_back({std::move(definition), nullptr});
    return valid ? S_OK : kx::kWbemInvalidQuery;
}

/// The values without those that the query does not select.
kx::ValuesPointer Select(const kx::WqlQuery& query, const kx::InstanceRecord& record)
{
    if (query.properties.empty())
        return record.values;
    kx::Values selected(record.values->size());
    const auto take = [&](std::size_t place) { selected[place] = (*record.values)[place]; };
    for (const std::size_t place : record.definition->keys)
        take(place);
    for (const std::wstring& name : query.properties)
        if (const auto place = record.definition->Find(name)) // every object has the system's properties
            take(*place);
    return std::make_shared<kx::Values>(std::move(selected));
}

HRESULT RunOnInstances(const CkxNamespace& space, const kx::WqlQuery& query,
                       std::vector<kx::ObjectView>& found)
{
    const kx::ClassPointer definition = space.FindClass(query.className);
    if (definition == nullptr)
        return kx::kWbemInvalidClass;
    kx::CkxQueryMatcher matcher(query);
    const bool known = std::all_of(query.properties.begin(), query.properties.end(), [&](const auto& name) {
        return definition->Find(name) || kx::IsSystemProperty(name);
    });
    if (!known || !matcher.Bind(*definition))
        return kx::kWbemInvalidQuery;
    const kx::ClassDefinition* bound = definition.get();
    for (const kx::InstanceRecord& record :
         space.Instances([&](const kx::ClassDefinition& c) { return c.IsA(query.className); })) {
        if (record.definition.get() != bound) { // a derived class
            bound = record.definition.get();
            if (!matcher.Bind(*bound))
                return kx::kWbemInvalidQuery;
        }
        if (matcher.Matches(*record.values))
            found.push_back({record.definition, Select(query, record)});
    }
    return S_OK;
}

} // namespace

HRESULT RunQuery(const CkxNamespace& space, std::wstring_view text, std::vector<kx::ObjectView>& found)
{
    kx::WqlQuery query;
    if (!kx::ParseWql(text, query))
        return kx::kWbemInvalidQuery;
    return kx::EqualNames(query.className, L"META_CLASS") ? RunOnClasses(space, query, found)
                                                          : RunOnInstances(space, query, found);
}
