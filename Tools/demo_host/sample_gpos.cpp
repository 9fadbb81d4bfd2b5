#include "Tools/demo_host/sample_gpos.h"

#include <algorithm>

namespace {

// The names of the folders in `folder` that fit the pattern, sorted.
std::vector<std::wstring> FindFolders(const std::wstring& folder, const wchar_t* pattern)
{
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found;
    const CkxFindHandle search(::FindFirstFileW((folder + L"\\" + pattern).c_str(), &found));
    for (bool more = static_cast<bool>(search); more; more = ::FindNextFileW(search.Get(), &found) != FALSE) {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && found.cFileName[0] != L'.')
            names.emplace_back(found.cFileName);
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

std::vector<CkxListedGpo> FindSampleGpos(const std::wstring& folder, const std::wstring& scope)
{
    constexpr std::size_t numberSize = 3; // "01 "
    std::vector<CkxListedGpo> gpos;
    for (const std::wstring& name : FindFolders(folder, L"?? *")) {
        const std::wstring parent = folder + L"\\" + name;
        for (const std::wstring& guid : FindFolders(parent, L"{*}")) {
            CkxListedGpo& gpo = gpos.emplace_back();
            gpo.name = guid;
            gpo.displayName = name.substr(numberSize);
            gpo.folder = parent + L"\\" + guid + L"\\" + scope;
        }
    }
    return gpos;
}
