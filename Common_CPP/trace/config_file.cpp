#include "Common_CPP/trace/config_file.h"

#include "Common_CPP/util/unique_handle.h"
#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/util.h"

#include <algorithm>
#include <array>

namespace {

constexpr LONGLONG kMaxConfigSize = LONGLONG{16} * 1024 * 1024;

// An 8-bit value, widened character by character.
std::wstring NameFromEnvironment()
{
    std::array<char, kMaxConfigName> value{};
    const DWORD length =
        ::GetEnvironmentVariableA("DLIB_CONFIG", value.data(), static_cast<DWORD>(value.size()));
    std::wstring name;
    if (length < value.size())
        for (DWORD i = 0; i < length; ++i)
            name += static_cast<wchar_t>(static_cast<unsigned char>(value[i]));
    return name;
}

} // namespace

std::wstring D_DefaultConfigName()
{
    std::wstring name = NameFromEnvironment();
    if (!name.empty())
        return name;
    CString program;
    if (!CkxUtil::GetModuleFile(program, nullptr))
        return L"dlib.cfg";
    name = kx::View(program);
    name.resize((std::min)(name.rfind(L'.'), name.size()));
    return name + L".cfg";
}

FILETIME D_ConfigFileTime(const std::wstring& name) noexcept
{
    WIN32_FILE_ATTRIBUTE_DATA facts{};
    if (!::GetFileAttributesExW(name.c_str(), GetFileExInfoStandard, &facts))
        return {};
    return facts.ftLastWriteTime;
}

bool D_ReadConfigFile(const std::wstring& name, std::string& text, kx::MessageSink& sink)
{
    const CkxFileHandle file(::CreateFileW(name.c_str(), GENERIC_READ,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!file || !::GetFileSizeEx(file.Get(), &size) || size.QuadPart > kMaxConfigSize) {
        kx::messages::FailedToOpenConfiguration(sink, D_ConfigNameText(name));
        return false;
    }
    text.resize(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    if (!::ReadFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &read, nullptr))
        read = 0;
    text.resize(read);
    return true;
}

std::string D_ConfigNameText(const std::wstring& name)
{
    std::string text;
    return kx::WideToUtf8(name, text) ? text : "???unconvertable UNICODE string???";
}
