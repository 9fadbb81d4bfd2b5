#include "Tools/targeting/targeting_report.h"

#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/utf8.h"

#include <algorithm>

namespace {

constexpr const wchar_t* kFileName = L"\\targeting-report.txt";

} // namespace

void CkxTargetingReport::Add(std::wstring finding)
{
    std::replace_if(
        finding.begin(), finding.end(), [](wchar_t unit) { return unit < L' '; }, L' ');
    std::string line;
    if (!kx::WideToUtf8(finding, line))
        line = "a finding whose text is ill-formed";
    _m_lines += line + "\r\n";
}

DWORD CkxTargetingReport::Save()
{
    if (_m_lines.empty())
        return ERROR_SUCCESS;
    const CkxFileHandle file(::CreateFileW((_m_folder + kFileName).c_str(), FILE_APPEND_DATA,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file ||
        !::WriteFile(file.Get(), _m_lines.data(), static_cast<DWORD>(_m_lines.size()), &written, nullptr))
        return ::GetLastError();
    _m_lines.clear();
    return ERROR_SUCCESS;
}
