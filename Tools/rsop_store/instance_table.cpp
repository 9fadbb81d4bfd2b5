#include "Tools/rsop_store/instance_table.h"

#include <algorithm>
#include <utility>

namespace kx {

const InstanceRecord* CkxInstanceTable::Find(const ClassDefinition& definition, const std::wstring& key) const
{
    const auto space = _m_spaces.find(definition.keyRoot);
    if (space == _m_spaces.end())
        return nullptr;
    const auto found = space->second.find(key);
    return found == space->second.end() ? nullptr : &found->second;
}

void CkxInstanceTable::Write(const ClassPointer& definition, const ValuesPointer& values, std::wstring key)
{
    InstanceRecord& record = _m_spaces[definition->keyRoot][std::move(key)];
    if (record.definition == nullptr)
        record.order = ++_m_written;
    record.definition = definition;
    record.values = values;
}

bool CkxInstanceTable::Erase(const ClassDefinition& definition, const std::wstring& key)
{
    const auto space = _m_spaces.find(definition.keyRoot);
    return space != _m_spaces.end() && space->second.erase(key) != 0;
}

void CkxInstanceTable::EraseAll(std::wstring_view className)
{
    for (auto& [root, space] : _m_spaces)
        std::erase_if(space, [&](const auto& entry) { return entry.second.definition->IsA(className); });
}

bool CkxInstanceTable::HasAny(std::wstring_view className) const
{
    for (const auto& [root, space] : _m_spaces)
        for (const auto& [key, record] : space)
            if (EqualNames(record.definition->name, className))
                return true;
    return false;
}

std::vector<InstanceRecord>
CkxInstanceTable::Collect(const std::function<bool(const ClassDefinition&)>& wanted) const
{
    std::vector<InstanceRecord> records;
    for (const auto& [root, space] : _m_spaces)
        for (const auto& [key, record] : space)
            if (wanted(*record.definition))
                records.push_back(record);
    std::sort(records.begin(), records.end(),
              [](const InstanceRecord& one, const InstanceRecord& other) { return one.order < other.order; });
    return records;
}

} // namespace kx
