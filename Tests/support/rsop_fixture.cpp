#include "Tests/support/rsop_fixture.h"

#include <utility>

namespace {

std::string Text(const CComVariant* value)
{
    if (!value)
        return "<missing>";
    if (value->vt == VT_NULL)
        return "<null>";
    CComVariant text;
    if (FAILED(text.ChangeType(VT_BSTR, value)))
        return "<no text>";
    const std::wstring wide(text.bstrVal, ::SysStringLen(text.bstrVal));
    return std::string(wide.begin(), wide.end()); // the tests' values are ASCII
}

} // namespace

void RsopFixture::SetUp()
{
    RefreshFixture::SetUp();
    _m_dateTimes.emplace();
    _m_services = _m_store.Services().Detach();
}

void RsopFixture::TearDown()
{
    if (IWbemServices* const services = std::exchange(_m_services, nullptr))
        services->Release();
    EXPECT_EQ(_m_store.LiveObjects(), 0U);
    _m_dateTimes.reset();
    RefreshFixture::TearDown();
}

CkxListedGpo RsopFixture::MakeFiles(const std::wstring& name, std::string_view policies,
                                    std::string_view applicationGroups) const
{
    CkxListedGpo gpo;
    gpo.name = name;
    gpo.displayName = L"GPO " + name.substr(name.size() - 2, 1);
    gpo.folder = _m_folder / (L"gpos\\" + name);
    if (!policies.empty())
        WritePolicyFile(name, L"Policies.xml", policies);
    if (!applicationGroups.empty())
        WritePolicyFile(name, L"ApplicationGroups.xml", applicationGroups);
    return gpo;
}

DWORD RsopFixture::PlanFor(bool computer)
{
    CkxEngineList changed = std::exchange(_m_changed, {});
    RSOP_TARGET target{};
    target.pGPOList = changed.Head();
    target.pWbemServices = _m_services;
    return computer ? Plan(&target, nullptr) : Plan(nullptr, &target);
}

std::string RsopFixture::Logged(std::wstring_view className,
                                std::initializer_list<std::wstring_view> properties) const
{
    std::string lines;
    for (const CkxRsopStore::Instance& instance : _m_store.Instances(className)) {
        std::string line;
        for (const std::wstring_view property : properties)
            line += (line.empty() ? "" : " ") + std::string(property.begin(), property.end()) + '=' +
                    Text(instance.Find(property));
        lines += line + '\n';
    }
    return lines;
}
