#include "Tools/targeting/stated_facts.h"

#include "Tools/targeting/group_list.h"
#include "Tools/targeting/plain_values.h"

#include <algorithm>

namespace kx {

using std::optional;
using std::wstring;
using std::wstring_view;

StatedFacts::StatedFacts(const FactsFile& file, const TargetingFacts& machine)
    : _m_file(file),
      _m_machine(machine),
      _m_knowsAnything(file.problem.empty()),
      _m_knowsUser(_m_knowsAnything && !_IsOther(L"user.name", machine.UserName()) &&
                   !_IsOther(L"user.sid", machine.UserSid())),
      _m_knowsComputer(_m_knowsAnything &&
                       !_IsOther(L"computer.name", machine.NameOf(ComputerName::NetBios)) &&
                       !_IsOther(L"computer.dns", machine.NameOf(ComputerName::Dns)))
{
}

bool StatedFacts::_IsOther(wstring_view key, const optional<wstring>& ofMachine) const
{
    const auto stated = _Text(key);
    return stated && (!ofMachine || Folded(*stated) != Folded(*ofMachine));
}

optional<wstring> StatedFacts::_Text(wstring_view key) const
{
    const auto* const values = _m_file.Find(key);
    return values == nullptr ? std::nullopt : optional(values->front());
}

optional<std::uint64_t> StatedFacts::_Number(wstring_view key) const
{
    const auto text = _Text(key);
    return text ? ParseNumber(*text, UINT32_MAX) : std::nullopt;
}

optional<bool> StatedFacts::_Lists(wstring_view key, wstring_view text) const
{
    const auto* const values = _m_file.Find(key);
    if (values == nullptr)
        return std::nullopt;
    const wstring wanted = Folded(text);
    return std::any_of(values->begin(), values->end(),
                       [&](const wstring& value) { return Folded(value) == wanted; });
}

optional<wstring> StatedFacts::UserName() const
{
    if (auto stated = _Text(L"user.name"))
        return stated;
    return _m_knowsUser ? _m_machine.UserName() : std::nullopt;
}

optional<wstring> StatedFacts::UserSid() const
{
    if (auto stated = _Text(L"user.sid"))
        return stated;
    return _m_knowsUser ? _m_machine.UserSid() : std::nullopt;
}

optional<wstring> StatedFacts::NameOf(ComputerName kind) const
{
    if (auto stated = _Text(kind == ComputerName::Dns ? L"computer.dns" : L"computer.name"))
        return stated;
    return _m_knowsComputer ? _m_machine.NameOf(kind) : std::nullopt;
}

VariableFact StatedFacts::Variable(const wstring& name) const
{
    constexpr wstring_view prefix = L"variable.";
    const wstring wanted = Folded(name);
    for (auto fact = _m_file.values.lower_bound(prefix);
         fact != _m_file.values.end() && fact->first.starts_with(prefix); ++fact)
        if (Folded(wstring_view(fact->first).substr(prefix.size())) == wanted)
            return {VariableFact::State::Set, fact->second.front()};
    return _m_knowsUser && _m_knowsComputer ? _m_machine.Variable(name) : VariableFact{};
}

FileState StatedFacts::StateOf(const wstring& path) const
{
    if (_Lists(L"file", path) == true)
        return FileState::File;
    if (_Lists(L"folder", path) == true)
        return FileState::Folder;
    if (_Lists(L"absent", path) == true)
        return FileState::Absent;
    return _m_knowsComputer ? _m_machine.StateOf(path) : FileState::CannotTell;
}

// A file that is only stated has no version that anybody could read.
FileVersionFact StatedFacts::VersionOf(const wstring& path) const
{
    const bool asks = _m_knowsComputer && _Lists(L"file", path) != true;
    return asks ? _m_machine.VersionOf(path) : FileVersionFact{};
}

RegistryFact StatedFacts::ReadRegistry(const RegistryPlace& place) const
{
    const bool ofUser = place.hive == RegistryHive::CurrentUser;
    return _m_knowsComputer && (!ofUser || _m_knowsUser) ? _m_machine.ReadRegistry(place) : RegistryFact{};
}

wstring StatedFacts::Folded(wstring_view text) const
{
    return _m_machine.Folded(text);
}

optional<bool> StatedFacts::InGroup(Principal whose, const GroupId& group, bool primary) const
{
    const bool ofUser = whose == Principal::User;
    const wstring key = wstring(ofUser ? L"user." : L"computer.") + (primary ? L"primaryGroup" : L"group");
    if (const auto* const groups = _m_file.Find(key))
        return IsInGroups(*groups, group, *this);
    return _Knows(whose) ? _m_machine.InGroup(whose, group, primary) : std::nullopt;
}

// A user's full name begins with the NetBIOS name of the domain.
optional<std::vector<wstring>> StatedFacts::DomainOf(Principal whose) const
{
    const bool ofUser = whose == Principal::User;
    if (const auto* const names = _m_file.Find(ofUser ? L"user.domain" : L"computer.domain"))
        return *names;
    if (const auto user = ofUser ? _Text(L"user.name") : std::nullopt)
        return std::vector<wstring>{user->substr(0, user->find(L'\\'))};
    return _Knows(whose) ? _m_machine.DomainOf(whose) : std::nullopt;
}

optional<wstring> StatedFacts::UnitOf(Principal whose) const
{
    return _Text(whose == Principal::User ? L"user.ou" : L"computer.ou");
}

optional<wstring> StatedFacts::Site() const
{
    return _Text(L"computer.site");
}

optional<wstring> StatedFacts::OsPartOf(OsPart part) const
{
    switch (part) {
    case OsPart::Version:
        return _Text(L"os.version");
    case OsPart::Type:
        return _Text(L"os.type");
    case OsPart::Edition:
        return _Text(L"os.edition");
    case OsPart::ServicePack:
        return _Text(L"os.sp");
    }
    return std::nullopt;
}

optional<OsRelease> StatedFacts::Release() const
{
    return _m_knowsComputer ? _m_machine.Release() : std::nullopt;
}

optional<std::uint32_t> StatedFacts::Language(LanguageOf whose) const
{
    const bool ofUser = whose == LanguageOf::User;
    const wstring_view key = ofUser                        ? L"language.user"
                             : whose == LanguageOf::System ? L"language.system"
                                                           : L"language.native";
    if (const auto stated = _Number(key))
        return static_cast<std::uint32_t>(*stated);
    return _m_knowsComputer && (!ofUser || _m_knowsUser) ? _m_machine.Language(whose) : std::nullopt;
}

optional<std::vector<std::uint64_t>> StatedFacts::Addresses(AddressKind kind) const
{
    const bool isIp = kind == AddressKind::Ipv4;
    if (const auto* const values = _m_file.Find(isIp ? L"computer.ip" : L"computer.mac")) {
        std::vector<std::uint64_t> addresses;
        for (const wstring& value : *values)
            addresses.push_back((isIp ? ParseIpv4(value) : ParseMac(value)).value_or(0));
        return addresses;
    }
    return _m_knowsComputer ? _m_machine.Addresses(kind) : std::nullopt;
}

optional<std::uint64_t> StatedFacts::Amount(Quantity quantity) const
{
    if (auto stated = _Number(quantity == Quantity::RamMegabytes ? L"computer.ramMB" : L"computer.cpuMHz"))
        return stated;
    return _m_knowsComputer ? _m_machine.Amount(quantity) : std::nullopt;
}

optional<std::uint64_t> StatedFacts::FreeBytes(wchar_t drive) const
{
    constexpr unsigned bitsOfGigabyte = 30;
    if (const auto stated = _Number(wstring(L"computer.freeGB.") + drive))
        return *stated << bitsOfGigabyte;
    return _m_knowsComputer ? _m_machine.FreeBytes(drive) : std::nullopt;
}

optional<bool> StatedFacts::Has(Device device) const
{
    if (const auto stated = _Text(device == Device::Battery ? L"computer.battery" : L"computer.pcCard"))
        return ParseWord(kYesNo, *stated);
    return _m_knowsComputer ? _m_machine.Has(device) : std::nullopt;
}

optional<PortableState> StatedFacts::Portable() const
{
    if (const auto stated = _Text(L"computer.portable"))
        return ParseWord(kPortableStates, *stated);
    return _m_knowsComputer ? _m_machine.Portable() : std::nullopt;
}

optional<SessionKind> StatedFacts::Session() const
{
    if (const auto stated = _Text(L"session"))
        return ParseWord(kSessionKinds, *stated);
    return _m_knowsUser && _m_knowsComputer ? _m_machine.Session() : std::nullopt;
}

// The modes that are stated are all that hold.
optional<bool> StatedFacts::IsInMode(ProcessingMode mode) const
{
    const auto* const names = _m_file.Find(L"processing");
    if (names == nullptr)
        return _m_knowsAnything ? _m_machine.IsInMode(mode) : std::nullopt;
    return std::any_of(names->begin(), names->end(),
                       [&](const wstring& name) { return ParseWord(kProcessingModes, name) == mode; });
}

optional<LocalMoment> StatedFacts::Now() const
{
    if (const auto stated = _Text(L"time"))
        return ParseMoment(*stated);
    return _m_knowsAnything ? _m_machine.Now() : std::nullopt;
}

optional<bool> StatedFacts::Finds(QueryLanguage language, const wstring& query) const
{
    const wstring prefix = language == QueryLanguage::Ldap ? L"ldap." : L"wmi.";
    const bool yes = _Lists(prefix + L"yes", query) == true;
    const bool no = _Lists(prefix + L"no", query) == true;
    return yes == no ? std::nullopt : optional(yes);
}

optional<bool> StatedFacts::RanBefore(const wstring& id) const
{
    return _Lists(L"ranOnce", id);
}

} // namespace kx
