#include "Tools/rsop_store/object_path.h"

#include "Tools/rsop_store/wmi_scanner.h"

#include <algorithm>

namespace {

using kx::ObjectPath;
using kx::WmiScanner;
using KeyValue = std::variant<std::int64_t, std::wstring>;

constexpr std::size_t c_mostKeys = 256; // that a class can have; comparing names stays cheap

bool IsServerCharacter(wchar_t character) noexcept
{
    return character > L' ' && std::wstring_view(L"\\/:\"'").find(character) == std::wstring_view::npos;
}

bool TakeSeparator(WmiScanner& scanner) noexcept
{
    return scanner.Take(L"\\") || scanner.Take(L"/");
}

/// "root\rsop\computer:"
bool TakeNamespace(WmiScanner& scanner, std::wstring& namespacePath)
{
    std::wstring path;
    std::wstring_view component;
    do {
        if (!scanner.TakeRun(kx::IsNameCharacter, component))
            return false;
        path += path.empty() ? L"" : L"\\";
        path += component;
    } while (TakeSeparator(scanner));
    namespacePath = std::move(path);
    return scanner.Take(L":");
}

/// "\\server\root\rsop:", "root\rsop:" or nothing. False when a server is not followed by a namespace.
bool TakeLocation(WmiScanner& scanner, ObjectPath& path)
{
    if (TakeSeparator(scanner)) {
        std::wstring_view server;
        if (!TakeSeparator(scanner) || !scanner.TakeRun(IsServerCharacter, server))
            return false;
        path.server = server;
        return TakeSeparator(scanner) && TakeNamespace(scanner, path.namespacePath);
    }
    WmiScanner ahead = scanner;
    std::wstring namespacePath;
    if (TakeNamespace(ahead, namespacePath)) { // else these may be the characters of a class
        path.namespacePath = std::move(namespacePath);
        scanner = ahead;
    }
    return true;
}

bool TakeValue(WmiScanner& scanner, KeyValue& value)
{
    std::int64_t number = 0;
    std::wstring text;
    if (scanner.TakeNumber(number))
        value = number;
    else if (scanner.TakeText(text))
        value = std::move(text);
    else if (scanner.TakeName(text) && (kx::SameName(text, L"TRUE") || kx::SameName(text, L"FALSE")))
        value = std::int64_t{kx::SameName(text, L"TRUE")};
    else
        return false;
    return true;
}

bool HasKey(const ObjectPath& path, std::wstring_view name)
{
    return std::any_of(path.keys.begin(), path.keys.end(),
                       [name](const auto& key) { return kx::SameName(key.first, name); });
}

/// `key="v",n=5`
bool TakeNamedKeys(WmiScanner& scanner, ObjectPath& path)
{
    do {
        std::wstring name;
        KeyValue value;
        if (path.keys.size() == c_mostKeys || !scanner.TakeName(name) || HasKey(path, name) ||
            !scanner.Take(L"=") || !TakeValue(scanner, value))
            return false;
        path.keys.emplace_back(std::move(name), std::move(value));
    } while (scanner.Take(L","));
    return true;
}

/// What follows the class: nothing, `.key=value,...`, `=value` or `=@`.
bool TakeKeys(WmiScanner& scanner, ObjectPath& path)
{
    if (scanner.AtEnd())
        return true;
    path.isInstance = true;
    if (scanner.Take(L"."))
        return TakeNamedKeys(scanner, path);
    return scanner.Take(L"=") && (scanner.Take(L"@") || TakeValue(scanner, path.keys.emplace_back().second));
}

void AppendValue(std::wstring& text, const KeyValue& value)
{
    if (const auto* const number = std::get_if<std::int64_t>(&value)) {
        text += std::to_wstring(*number);
        return;
    }
    text += L'"';
    for (const wchar_t character : std::get<std::wstring>(value)) {
        if (character == L'\\' || character == L'"')
            text += L'\\';
        text += character;
    }
    text += L'"';
}

} // namespace

namespace kx {

bool ParseObjectPath(std::wstring_view text, ObjectPath& path)
{
    WmiScanner scanner(text);
    ObjectPath read;
    if (!TakeLocation(scanner, read) || !scanner.TakeName(read.className) || !TakeKeys(scanner, read) ||
        !scanner.AtEnd())
        return false;
    path = std::move(read);
    return true;
}

std::wstring ComposeRelativePath(const ObjectPath& path)
{
    std::wstring text = path.className;
    if (path.isInstance && path.keys.empty())
        return text + L"=@";
    for (const auto& [name, value] : path.keys) {
        if (!name.empty())
            text += &name == &path.keys.front().first ? L'.' : L',';
        text += name;
        text += L'=';
        AppendValue(text, value);
    }
    return text;
}

std::wstring ComposeObjectPath(const ObjectPath& path)
{
    if (path.namespacePath.empty())
        return ComposeRelativePath(path);
    const std::wstring server = path.server.empty() ? L"" : L"\\\\" + path.server + L"\\";
    return server + path.namespacePath + L":" + ComposeRelativePath(path);
}

} // namespace kx
