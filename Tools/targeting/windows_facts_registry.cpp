#include "Tools/targeting/windows_facts.h"

#include "Common_CPP/util/reg_key.h"

namespace {

using State = kx::RegistryFact::State;

constexpr DWORD kMostBytes = 64 * 1024;

HKEY RootOf(kx::RegistryHive hive)
{
    switch (hive) {
    case kx::RegistryHive::LocalMachine:
        return HKEY_LOCAL_MACHINE;
    case kx::RegistryHive::CurrentConfig:
        return HKEY_CURRENT_CONFIG;
    case kx::RegistryHive::CurrentUser: // the token's, by its sid; the process may have another one
    case kx::RegistryHive::Users:
        return HKEY_USERS;
    }
    return nullptr;
}

// Up to the first NUL; half a character at the end is none.
std::wstring TextIn(const std::vector<BYTE>& bytes)
{
    std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t));
    text.resize(std::min(text.find(L'\0'), text.size()));
    return text;
}

kx::RegistryType TypeOf(DWORD type, std::size_t size)
{
    if (type == REG_SZ)
        return kx::RegistryType::Text;
    if (type == REG_EXPAND_SZ)
        return kx::RegistryType::ExpandText;
    if (type == REG_DWORD && size == sizeof(DWORD))
        return kx::RegistryType::Dword;
    if (type == REG_QWORD && size == sizeof(ULONGLONG))
        return kx::RegistryType::Qword;
    return type == REG_BINARY ? kx::RegistryType::Binary : kx::RegistryType::Other;
}

kx::RegistryFact ReadValue(HKEY key, const std::wstring& name)
{
    DWORD type = REG_NONE;
    DWORD size = kMostBytes;
    std::vector<BYTE> bytes(size);
    const LSTATUS status = ::RegQueryValueExW(key, name.c_str(), nullptr, &type, bytes.data(), &size);
    if (status == ERROR_FILE_NOT_FOUND)
        return {State::NoValue, {}, {}, {}};
    if (status == ERROR_MORE_DATA)
        return {State::Value, kx::RegistryType::Other, {}, {}};
    if (status != ERROR_SUCCESS)
        return {};
    bytes.resize(size);
    kx::RegistryFact fact{State::Value, TypeOf(type, size), {}, {}};
    if (type == REG_SZ || type == REG_EXPAND_SZ)
        fact.text = TextIn(bytes);
    else
        fact.bytes = std::move(bytes);
    return fact;
}

bool Exists(HKEY parent, const std::wstring& path)
{
    CkxRegKey key;
    return key.Open(parent, path.c_str(), KEY_QUERY_VALUE) == ERROR_SUCCESS;
}

} // namespace

kx::RegistryFact CkxWindowsFacts::ReadRegistry(const kx::RegistryPlace& place) const
{
    const HKEY root = RootOf(place.hive);
    std::wstring path = place.key;
    if (place.hive == kx::RegistryHive::CurrentUser) {
        const std::wstring user = UserSid().value_or(std::wstring());
        if (user.empty() || !Exists(root, user)) // not loaded: nobody can see what stands there
            return {};
        path = user + L'\\' + path;
    }
    CkxRegKey key;
    const LSTATUS status = key.Open(root, path.c_str(), KEY_QUERY_VALUE);
    if (status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND)
        return {State::NoKey, {}, {}, {}};
    return status == ERROR_SUCCESS ? ReadValue(key.Get(), place.value) : kx::RegistryFact{};
}
