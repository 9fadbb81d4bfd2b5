#include "Tools/rsop_store/rsop_store.h"

#include "Tools/rsop_store/mof_text.h"
#include "Tools/rsop_store/services_object.h"
#include "Tools/rsop_store/variant_value.h"

namespace {

std::wstring MachineName()
{
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    return ::GetComputerNameW(name, &size) ? std::wstring(name, size) : L".";
}

std::vector<kx::ClassPointer> RsopClasses()
{
    std::vector<kx::ClassPointer> classes = kx::SystemClasses();
    classes.push_back(kx::PolicySettingClass());
    return classes;
}

bool IsUsers(const kx::ClassDefinition& definition)
{
    return !kx::IsSystemName(definition.name);
}

CkxRsopStore::Instance MakeInstance(const kx::InstanceRecord& record)
{
    CkxRsopStore::Instance instance;
    instance.className = record.definition->name;
    instance.path = RelativePath(*record.definition, *record.values);
    instance.properties.reserve(record.values->size());
    for (std::size_t i = 0; i < record.values->size(); ++i) {
        const kx::PropertyDefinition& property = record.definition->properties[i];
        auto& [name, value] = instance.properties.emplace_back(property.name, ATL::CComVariant());
        if (FAILED(WriteVariant((*record.values)[i], property.type, value)))
            throw std::bad_alloc();
    }
    return instance;
}

} // namespace

const ATL::CComVariant* CkxRsopStore::Instance::Find(std::wstring_view property) const
{
    for (const auto& [name, value] : properties)
        if (kx::EqualNames(name, property))
            return &value;
    return nullptr;
}

CkxRsopStore::CkxRsopStore(std::wstring namespacePath, std::wstring server)
{
    auto state = std::make_shared<CkxStoreState>();
    state->server = server.empty() ? MachineName() : std::move(server);
    _m_namespace = std::make_shared<CkxNamespace>(std::move(state), std::move(namespacePath), RsopClasses());
}

CkxRsopStore::~CkxRsopStore() = default;

ATL::CComPtr<IWbemServices> CkxRsopStore::Services()
{
    return static_cast<IWbemServices*>(MakeComObject<CkxServicesObject>(_m_namespace));
}

void CkxRsopStore::OnCall(std::function<HRESULT(const CkxStoreCall&)> observer)
{
    _m_namespace->State().observer = std::move(observer);
}

std::size_t CkxRsopStore::LiveObjects() const
{
    return _m_namespace->State().liveObjects;
}

bool CkxRsopStore::SchemaWorkOverlapped() const
{
    return _m_namespace->State().schemaWatch.Overlapped();
}

std::vector<CkxRsopStore::Instance> CkxRsopStore::Instances(std::wstring_view className) const
{
    std::vector<Instance> instances;
    const auto wanted = [className](const kx::ClassDefinition& c) {
        return className.empty() ? IsUsers(c) : c.IsA(className);
    };
    for (const kx::InstanceRecord& record : _m_namespace->Instances(wanted))
        instances.push_back(MakeInstance(record));
    return instances;
}

std::vector<std::wstring> CkxRsopStore::Classes() const
{
    std::vector<std::wstring> names;
    for (const kx::ClassPointer& definition : _m_namespace->Classes(IsUsers))
        names.push_back(definition->name);
    return names;
}

void CkxRsopStore::Export(std::wstring& mof) const
{
    mof.clear();
    for (const kx::ClassPointer& definition : _m_namespace->Classes(IsUsers))
        mof += kx::ClassMof(*definition, true);
    for (const kx::InstanceRecord& record : _m_namespace->Instances(IsUsers))
        mof += kx::InstanceMof(*record.definition, *record.values);
}
