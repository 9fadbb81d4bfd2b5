#pragma once

#include "Tools/targeting/targeting_facts.h"

#include <map>

/// A machine as a test describes it. What has no member here nobody knows.
class FakeFacts : public kx::TargetingFacts {
  public:
    template <class Fact>
    using Maybe = std::optional<Fact>;

    Maybe<std::wstring> UserName() const override { return userName; }

    Maybe<std::wstring> UserSid() const override { return userSid; }

    Maybe<std::wstring> NameOf(kx::ComputerName kind) const override
    {
        return kind == kx::ComputerName::Dns ? L"pc-7.example.net" : L"PC-7";
    }

    kx::VariableFact Variable(const std::wstring& name) const override
    {
        const auto found = variables.find(Folded(name));
        if (found == variables.end())
            return {kx::VariableFact::State::NotSet, {}};
        return {kx::VariableFact::State::Set, found->second};
    }

    kx::FileState StateOf(const std::wstring& path) const override
    {
        const auto found = files.find(path);
        return found == files.end() ? kx::FileState::Absent : found->second;
    }

    kx::FileVersionFact VersionOf(const std::wstring& /*path*/) const override { return version; }

    kx::RegistryFact ReadRegistry(const kx::RegistryPlace& place) const override
    {
        if (place.key != L"Software\\Fernhill")
            return {kx::RegistryFact::State::NoKey, {}, {}, {}};
        const auto found = registry.find(place.value);
        return found == registry.end() ? kx::RegistryFact{kx::RegistryFact::State::NoValue, {}, {}, {}}
                                       : found->second;
    }

    std::wstring Folded(std::wstring_view text) const override
    {
        std::wstring folded(text);
        for (wchar_t& unit : folded)
            unit = unit >= L'a' && unit <= L'z' ? static_cast<wchar_t>(unit - L'a' + L'A') : unit;
        return folded;
    }

    Maybe<bool> InGroup(kx::Principal whose, const kx::GroupId& group, bool /*primary*/) const override
    {
        return whose == kx::Principal::User ? Maybe<bool>(group.sid == L"S-1-5-32-545") : std::nullopt;
    }

    Maybe<std::vector<std::wstring>> DomainOf(kx::Principal /*whose*/) const override
    {
        return std::vector<std::wstring>{L"FERNHILL"};
    }

    Maybe<kx::OsRelease> Release() const override { return release; }

    Maybe<std::uint32_t> Language(kx::LanguageOf whose) const override
    {
        return whose == kx::LanguageOf::User ? 1031 : 1033;
    }

    Maybe<std::vector<std::uint64_t>> Addresses(kx::AddressKind /*kind*/) const override
    {
        return std::nullopt;
    }

    Maybe<std::uint64_t> Amount(kx::Quantity /*quantity*/) const override { return 4096; }

    Maybe<std::uint64_t> FreeBytes(wchar_t drive) const override
    {
        return drive == L'C' ? Maybe<std::uint64_t>((80ULL << 30) - 1) : std::nullopt;
    }

    Maybe<bool> Has(kx::Device /*device*/) const override { return {}; }

    Maybe<kx::PortableState> Portable() const override { return {}; }

    Maybe<kx::SessionKind> Session() const override { return kx::SessionKind::Console; }

    Maybe<bool> IsInMode(kx::ProcessingMode mode) const override
    {
        if (mode == kx::ProcessingMode::RsopEnabled)
            return {};
        return mode == kx::ProcessingMode::SlowLink;
    }

    Maybe<kx::LocalMoment> Now() const override { return {}; }

    Maybe<std::wstring> userName = L"FERNHILL\\Anna";
    Maybe<std::wstring> userSid = L"S-1-5-21-1-2-3-1001";
    Maybe<kx::OsRelease> release = kx::OsRelease{10, 0, false};
    std::map<std::wstring, std::wstring> variables = {
        {L"SITE", L"North"}, {L"ROOT", L"C:\\Tools"}, {L"PCT", L"%SITE%"}, {L"SYSTEMDRIVE", L"C:"}};
    std::map<std::wstring, kx::FileState> files = {{L"C:\\Tools\\a.exe", kx::FileState::File},
                                                   {L"C:\\Tools", kx::FileState::Folder},
                                                   {L"C:\\locked", kx::FileState::CannotTell}};
    kx::FileVersionFact version{kx::FileVersionFact::State::Known, {2, 5, 0, 0}};
    std::map<std::wstring, kx::RegistryFact> registry;
};
