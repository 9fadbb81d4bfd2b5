#pragma once

#include "Tests/support/temp_folder.h"
#include "Tools/host/engine_lists.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// GPOs with their files on disk, for benchmarks: each has a Policies.xml and an ApplicationGroups.xml.
class CkxBenchGpos {
  public:
    /// `policies` is for each GPO. `targeting` is the XML that each policy ends with; without it a policy has
    /// 585 bytes. The files go with this object.
    CkxBenchGpos(int gpos, int policies, const std::string& targeting = {});

    [[nodiscard]] const std::vector<CkxListedGpo>& List() const noexcept { return _m_list; }

    /// Policies in one GPO.
    [[nodiscard]] int Policies() const noexcept { return _m_policies; }

    static constexpr int c_groups = 100; ///< application groups in each GPO

  private:
    TempFolder _m_folder;
    std::vector<CkxListedGpo> _m_list;
    int _m_policies;
};

/// What an update document is compared by where it is too large for more: the number of its GPOs and of its
/// application groups, and each policy's order, in the document's sequence.
struct CkxUpdateContent {
    std::size_t gpos = 0;
    std::size_t groups = 0; ///< those that are defined and those that a policy names
    std::vector<long long> orders;

    /// Of a document made from the files above; a policy without an order counts as -1.
    explicit CkxUpdateContent(std::wstring_view document);

    bool operator==(const CkxUpdateContent&) const = default;
};

/// The text of the first attribute of that name in the document; empty without one.
[[nodiscard]] std::wstring FirstAttribute(std::wstring_view document, std::wstring_view name);
