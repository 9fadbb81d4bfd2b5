#pragma once

#include "Tests/support/refresh_fixture.h"
#include "Tools/rsop_store/rsop_store.h"
#include "Tools/rsop_store/swbem_date_time.h"

#include <optional>
#include <string>

/// Refreshes and planning calls that log into a store, beside an agent that listens.
class RsopFixture : public RefreshFixture {
  protected:
    void SetUp() override;
    /// Nothing of the store may still be referenced then.
    void TearDown() override;

    /// A GPO with these policy files; each text may be empty for no file.
    CkxListedGpo MakeFiles(const std::wstring& name, std::string_view policies,
                           std::string_view applicationGroups = {}) const;

    /// A planning call for one target, over the changed list. The list is then empty again.
    DWORD PlanFor(bool computer);

    /// The instances of a class, a line each: "property=value" for the properties that are named, in their
    /// order of writing; "property=<null>" for a null value.
    std::string Logged(std::wstring_view className,
                       std::initializer_list<std::wstring_view> properties) const;

    CkxRsopStore _m_store;
    std::optional<CkxDateTimeClass> _m_dateTimes; ///< reset it to take the converter of times away
};

inline constexpr const wchar_t* kPolicyClass = L"RSOP_KxTesmorPolicySetting";
inline constexpr const wchar_t* kConfigClass = L"RSOP_KxTesmorConfig";
