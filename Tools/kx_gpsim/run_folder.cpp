#include "Tools/kx_gpsim/run_folder.h"

#include "Common_CPP/util/util.h"
#include "Tools/kx_gpsim/exit_codes.h"
#include "Tools/kx_gpsim/text_file.h"
#include "Tools/kx_gpsim/wide_text.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr const wchar_t* kStandInName = L"kx_targeting.dll";

// The prefix that lines have by default, behind a time.
constexpr std::string_view kConfiguration =
    "prefix@file@@all@<%HOUR>:<%MIN>:<%SEC>.<%MSEC> <%PID>:<%FILE>(<%LINE>):\n";

void CopyOne(const std::wstring& from, const std::wstring& to)
{
    if (!::CopyFileW(from.c_str(), to.c_str(), FALSE))
        throw kx::EnvironmentError("cannot copy " + kx::Narrow(from) + " to " + kx::Narrow(to) + ": " +
                                   kx::SystemText(::GetLastError()));
}

// The one that nobody has had before; the number only tells those of one process apart.
std::wstring NewTemporary()
{
    wchar_t temporary[MAX_PATH + 2] = {};
    if (::GetTempPathW(MAX_PATH + 1, temporary) == 0)
        throw kx::EnvironmentError("there is no temporary folder: " + kx::SystemText(::GetLastError()));
    const std::wstring start =
        std::wstring(temporary) + L"kx_gpsim_" + std::to_wstring(::GetCurrentProcessId());
    for (int number = 1;; ++number) {
        std::wstring path = start + L"_" + std::to_wstring(number);
        if (::CreateDirectoryW(path.c_str(), nullptr))
            return path;
        if (const DWORD error = ::GetLastError(); error != ERROR_ALREADY_EXISTS)
            throw kx::EnvironmentError(kx::Narrow(path) + ": cannot be made: " + kx::SystemText(error));
    }
}

std::wstring FolderOf(const std::wstring& file)
{
    return fs::path(file).parent_path().wstring();
}

} // namespace

CkxRunFolder::CkxRunFolder(const std::string& wanted, bool keep, const std::wstring& extension)
    : _m_stays(keep || !wanted.empty())
{
    _Make(wanted);
    try {
        _Copy(extension);
        _Configure();
    } catch (...) {
        _Remove();
        throw;
    }
}

CkxRunFolder::~CkxRunFolder()
{
    _Remove();
}

void CkxRunFolder::_Make(const std::string& wanted)
{
    if (wanted.empty()) {
        _m_path = NewTemporary();
        return;
    }
    std::error_code error;
    _m_path = fs::absolute(fs::path(kx::Wide(wanted)), error).make_preferred().wstring();
    while (_m_path.size() > 3 && _m_path.ends_with(L'\\'))
        _m_path.pop_back();
    if (!error)
        fs::create_directories(_m_path, error);
    if (error)
        throw kx::EnvironmentError(wanted + ": the run's folder cannot be made: " + error.message());
}

void CkxRunFolder::_Copy(const std::wstring& extension) const
{
    std::error_code ignored;
    if (fs::equivalent(FolderOf(extension), _m_path, ignored))
        throw kx::UsageError("the run's folder must be another one than the extension's");
    CopyOne(extension, Extension());
    const std::wstring standIn = FolderOf(extension) + L"\\" + kStandInName;
    if (CkxUtil::FileExists(standIn.c_str()))
        CopyOne(standIn, StandIn());
    for (const std::wstring& ofEarlierRun : {TargetingReport(), TargetingFacts()})
        fs::remove(ofEarlierRun, ignored);
}

// What a user has put there, to see more or less, is left alone.
void CkxRunFolder::_Configure()
{
    const std::wstring path = _m_path + L"\\kx_gpext.cfg";
    std::string text;
    if (kx::ReadBytes(path, text) == ERROR_FILE_NOT_FOUND)
        kx::WriteText(kx::Narrow(path), text = kConfiguration);
    _m_hasOwnConfiguration = text == kConfiguration;
}

void CkxRunFolder::StateFacts(std::string_view facts) const
{
    std::error_code ignored; // the file then cannot be written, which is told
    fs::create_directories(fs::path(TargetingFacts()).parent_path(), ignored);
    kx::WriteText(kx::Narrow(TargetingFacts()), facts);
}

void CkxRunFolder::_Remove() const
{
    std::error_code ignored;
    if (!_m_stays)
        fs::remove_all(_m_path, ignored);
}

std::wstring FindExtension(const std::string& named)
{
    CString folder;
    if (!CkxUtil::GetModuleDir(folder, nullptr))
        throw kx::EnvironmentError("this program's own folder cannot be found");
    const std::wstring path =
        named.empty() ? std::wstring(kx::View(folder)) + L"\\kx_gpext.dll" : kx::Wide(named);
    std::error_code error;
    const fs::path full = fs::absolute(path, error).make_preferred();
    if (error || !fs::is_regular_file(full, error))
        throw kx::EnvironmentError(kx::Narrow(path) +
                                   ": there is no such extension; --extension names another");
    return full.wstring();
}
