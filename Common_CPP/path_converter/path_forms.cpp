#include "Common_CPP/path_converter/path_forms.h"

#include "Common_CPP/util/ascii_case.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace kx {
namespace {

/// More links in a row than any sensible set-up has.
constexpr int c_mostLinks = 32;

constexpr std::string_view c_devicePrefix = "\\Device\\";
constexpr std::string_view c_sharesRoot = "\\Device\\Mup\\";

template <class Char, class Other>
bool StartsWith(std::basic_string_view<Char> text, std::basic_string_view<Other> start) noexcept
{
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(),
                      [](Other a, Char b) { return LowerAscii(static_cast<Char>(a)) == LowerAscii(b); });
}

template <class Char>
bool Equals(std::basic_string_view<Char> text, std::string_view name) noexcept
{
    return text.size() == name.size() && StartsWith(text, name);
}

/// Cuts `start` off the front of `text`, if it stands there.
template <class Char>
bool Skip(std::basic_string_view<Char>& text, std::string_view start) noexcept
{
    if (!StartsWith(text, start))
        return false;
    text.remove_prefix(start.size());
    return true;
}

/// The same with "/" for "\" allowed.
template <class Char>
bool SkipAnySlash(std::basic_string_view<Char>& text, std::string_view start) noexcept
{
    const auto matches = [](char wanted, Char found) {
        return static_cast<Char>(wanted) == found || (wanted == '\\' && found == Char{'/'});
    };
    if (text.size() < start.size() || !std::equal(start.begin(), start.end(), text.begin(), matches))
        return false;
    text.remove_prefix(start.size());
    return true;
}

template <class Char>
bool IsSeparator(Char character, PathPrefix prefix) noexcept
{
    return character == Char{'\\'} || (character == Char{'/'} && prefix == PathPrefix::None);
}

/// Characters before the first separator.
template <class Char>
std::size_t ComponentSize(std::basic_string_view<Char> text, PathPrefix prefix) noexcept
{
    const auto end = std::find_if(text.begin(), text.end(), [=](Char c) { return IsSeparator(c, prefix); });
    return static_cast<std::size_t>(end - text.begin());
}

template <class Char>
bool StartsWithLetter(std::basic_string_view<Char> text) noexcept
{
    return text.size() >= 2 && text[1] == Char{':'} && LowerAscii(text[0]) >= Char{'a'} &&
           LowerAscii(text[0]) <= Char{'z'};
}

template <class Char>
PathParts<Char> Cut(PathKind kind, PathPrefix prefix, std::basic_string_view<Char> text, std::size_t rootSize)
{
    return {kind, prefix, text.substr(0, rootSize), text.substr(rootSize)};
}

/// "server\share\...": bad unless both names are there.
template <class Char>
PathParts<Char> ParseShare(std::basic_string_view<Char> text, PathPrefix prefix) noexcept
{
    const std::size_t server = ComponentSize(text, prefix);
    const std::size_t share = server < text.size() ? ComponentSize(text.substr(server + 1), prefix) : 0;
    if (server == 0 || share == 0)
        return {};
    return Cut(PathKind::Unc, prefix, text, server + 1 + share);
}

/// What follows the name of a redirector: its own components, which begin with ";", then the share.
template <class Char>
PathParts<Char> ParseRedirected(std::basic_string_view<Char> text) noexcept
{
    while (!text.empty() && text.front() == Char{';'})
        text.remove_prefix((std::min)(ComponentSize(text, PathPrefix::Device) + 1, text.size()));
    return ParseShare(text, PathPrefix::Device);
}

/// "\Device\..."
template <class Char>
PathParts<Char> ParseNtDevice(std::basic_string_view<Char> path) noexcept
{
    std::basic_string_view<Char> name = path;
    if (!Skip(name, c_devicePrefix))
        return {};
    const std::size_t size = ComponentSize(name, PathPrefix::Device);
    if (size == 0)
        return {};
    for (const std::string_view redirector : {"Mup", "LanmanRedirector", "WebDavRedirector"}) {
        if (!Equals(name.substr(0, size), redirector) || size == name.size())
            continue;
        const PathParts<Char> share = ParseRedirected(name.substr(size + 1));
        if (share.kind == PathKind::Unc)
            return share;
    }
    return Cut(PathKind::NtDevice, PathPrefix::Device, path, c_devicePrefix.size() + size);
}

/// What follows "\\?\", "\\.\" or "\??\".
template <class Char>
PathParts<Char> ParseMarked(std::basic_string_view<Char> text, PathPrefix prefix) noexcept
{
    const std::size_t size = ComponentSize(text, prefix);
    if (size == 0)
        return {};
    const std::basic_string_view<Char> name = text.substr(0, size);
    if (size == 2 && StartsWithLetter(name))
        return Cut(PathKind::Drive, prefix, text, size);
    if (Equals(name, "UNC"))
        return ParseShare(text.substr((std::min)(size + 1, text.size())), prefix);
    if (Equals(name, "GLOBALROOT"))
        if (const PathParts<Char> device = ParseNtDevice(text.substr(size)); device.kind != PathKind::Bad)
            return device;
    return Cut(PathKind::DosDevice, prefix, text, size);
}

template <class Char>
PathParts<Char> ParsePlain(std::basic_string_view<Char> path) noexcept
{
    constexpr PathPrefix none = PathPrefix::None;
    if (StartsWithLetter(path)) {
        const bool absolute = path.size() > 2 && IsSeparator(path[2], none);
        return absolute ? Cut(PathKind::Drive, none, path, 2) : Cut(PathKind::DriveRelative, none, path, 0);
    }
    if (path.size() >= 2 && IsSeparator(path[0], none) && IsSeparator(path[1], none))
        return ParseShare(path.substr(2), none);
    if (path.empty())
        return {};
    return Cut(IsSeparator(path[0], none) ? PathKind::Rooted : PathKind::Relative, none, path, 0);
}

template <class Char>
void Append(std::basic_string<Char>& text, std::string_view piece)
{
    text.append(piece.begin(), piece.end());
}

template <class Char>
std::basic_string<Char> Assemble(std::string_view prefix, const PathParts<Char>& parts)
{
    std::basic_string<Char> path;
    path.reserve(prefix.size() + parts.root.size() + parts.rest.size());
    Append(path, prefix);
    return path.append(parts.root).append(parts.rest);
}

/// What stands before the root in a verbatim path; empty where there is no such form.
std::string_view VerbatimPrefix(PathKind kind) noexcept
{
    switch (kind) {
    case PathKind::Drive:
    case PathKind::DosDevice:
        return "\\\\?\\";
    case PathKind::Unc:
        return "\\\\?\\UNC\\";
    case PathKind::NtDevice:
        return "\\\\?\\GLOBALROOT";
    default:
        return {};
    }
}

/// Takes `start` off `path`: the rest is empty or begins with a separator, so that "\Device\Disk1" does not
/// stand for "\Device\Disk10".
template <class Char>
bool RestAfter(std::basic_string_view<Char> path, std::basic_string_view<Char> start,
               std::basic_string_view<Char>& rest) noexcept
{
    if (!StartsWith(path, start) || (path.size() > start.size() && path[start.size()] != Char{'\\'}))
        return false;
    rest = path.substr(start.size());
    return true;
}

/// What a link leads to, without the separator that some links end in.
template <class Char>
bool FindLink(const DosDeviceTable<Char>& devices, std::basic_string_view<Char> name,
              std::basic_string<Char>& target)
{
    if (!devices.FindTarget(name, target))
        return false;
    if (!target.empty() && target.back() == Char{'\\'})
        target.pop_back();
    return true;
}

/// The letter that suits an NT path best, as far as the search has come.
template <class Char>
struct BestLetter {
    bool found = false;
    bool substituted = false;
    Char letter{};
    std::basic_string_view<Char> rest;

    void Offer(bool isSubstituted, Char name, std::basic_string_view<Char> remaining) noexcept
    {
        const bool better = !found || (substituted && !isSubstituted) ||
                            (substituted == isSubstituted && remaining.size() < rest.size());
        if (better)
            *this = {true, isSubstituted, name, remaining};
    }
};

template <class Char>
BestLetter<Char> FindLetter(std::basic_string_view<Char> ntPath, const DosDeviceTable<Char>& devices)
{
    BestLetter<Char> best;
    for (Char letter = Char{'A'}; letter <= Char{'Z'}; ++letter) {
        const Char name[] = {letter, Char{':'}};
        std::basic_string<Char> target;
        std::basic_string<Char> volume;
        std::basic_string_view<Char> rest;
        if (!FindLink(devices, {name, 2}, target) ||
            PathToNt<Char>(target, devices, volume) != PathResult::Done ||
            !RestAfter<Char>(ntPath, volume, rest))
            continue;
        best.Offer(ParsePath<Char>(target).prefix == PathPrefix::Object, letter, rest);
    }
    return best;
}

} // namespace

template <class Char>
PathParts<Char> ParsePath(std::basic_string_view<Char> path) noexcept
{
    std::basic_string_view<Char> text = path;
    if (Skip(text, "\\\\?\\"))
        return ParseMarked(text, PathPrefix::Verbatim);
    if (SkipAnySlash(text, "\\\\.\\") || SkipAnySlash(text, "\\\\?\\"))
        return ParseMarked(text, PathPrefix::Local);
    if (Skip(text, "\\??\\") || Skip(text, "\\DosDevices\\") || Skip(text, "\\GLOBAL??\\"))
        return ParseMarked(text, PathPrefix::Object);
    return StartsWith(text, c_devicePrefix) ? ParseNtDevice(text) : ParsePlain(text);
}

template <class Char>
std::basic_string<Char> VerbatimForm(std::basic_string_view<Char> path)
{
    const PathParts<Char> parts = ParsePath(path);
    const std::string_view prefix = VerbatimPrefix(parts.kind);
    if (prefix.empty())
        return std::basic_string<Char>(path);
    std::basic_string<Char> verbatim = Assemble(prefix, parts);
    if (parts.prefix == PathPrefix::None)
        std::replace(verbatim.begin(), verbatim.end(), Char{'/'}, Char{'\\'});
    return verbatim;
}

template <class Char>
PathResult PathToNt(std::basic_string_view<Char> path, const DosDeviceTable<Char>& devices,
                    std::basic_string<Char>& converted)
{
    std::basic_string<Char> current(path);
    for (int links = 0; links < c_mostLinks; ++links) {
        const PathParts<Char> parts = ParsePath<Char>(current);
        std::basic_string<Char> target;
        switch (parts.kind) {
        case PathKind::NtDevice:
            converted = Assemble("", parts);
            return PathResult::Done;
        case PathKind::Unc:
            converted = Assemble(c_sharesRoot, parts);
            return PathResult::Done;
        case PathKind::Drive:
        case PathKind::DosDevice:
            if (!FindLink(devices, parts.root, target))
                return PathResult::UnknownDevice;
            current = target.append(parts.rest);
            break;
        default:
            return PathResult::NotAbsolute;
        }
    }
    return PathResult::EndlessLinks;
}

template <class Char>
PathResult PathToDos(std::basic_string_view<Char> path, const DosDeviceTable<Char>& devices,
                     std::basic_string<Char>& converted)
{
    if (const PathParts<Char> parts = ParsePath(path); parts.kind == PathKind::Drive) {
        converted = Assemble("", parts);
        return PathResult::Done;
    }
    std::basic_string<Char> ntPath;
    if (const PathResult result = PathToNt(path, devices, ntPath); result != PathResult::Done)
        return result;
    const BestLetter<Char> best = FindLetter<Char>(ntPath, devices);
    if (!best.found)
        return ParsePath<Char>(ntPath).kind == PathKind::Unc ? PathResult::NoSuchForm
                                                             : PathResult::UnknownDevice;
    converted.assign({best.letter, Char{':'}});
    converted.append(best.rest);
    if (best.rest.empty())
        converted += Char{'\\'};
    return PathResult::Done;
}

template <class Char>
PathResult PathToUnc(std::basic_string_view<Char> path, const DosDeviceTable<Char>& devices,
                     std::basic_string<Char>& converted)
{
    std::basic_string<Char> ntPath;
    if (const PathResult result = PathToNt(path, devices, ntPath); result != PathResult::Done)
        return result;
    const PathParts<Char> parts = ParsePath<Char>(ntPath);
    if (parts.kind != PathKind::Unc)
        return PathResult::NoSuchForm;
    converted = Assemble("\\\\", parts);
    return PathResult::Done;
}

template PathParts<char16_t> ParsePath(std::u16string_view) noexcept;
template PathParts<wchar_t> ParsePath(std::wstring_view) noexcept;
template std::u16string VerbatimForm(std::u16string_view);
template std::wstring VerbatimForm(std::wstring_view);
template PathResult PathToNt(std::u16string_view, const DosDeviceTable<char16_t>&, std::u16string&);
template PathResult PathToNt(std::wstring_view, const DosDeviceTable<wchar_t>&, std::wstring&);
template PathResult PathToDos(std::u16string_view, const DosDeviceTable<char16_t>&, std::u16string&);
template PathResult PathToDos(std::wstring_view, const DosDeviceTable<wchar_t>&, std::wstring&);
template PathResult PathToUnc(std::u16string_view, const DosDeviceTable<char16_t>&, std::u16string&);
template PathResult PathToUnc(std::wstring_view, const DosDeviceTable<wchar_t>&, std::wstring&);

} // namespace kx
