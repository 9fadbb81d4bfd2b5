#pragma once

#include "Tools/targeting/fact_types.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

/// What filters ask about the machine and the user. Texts come as the system has them; nullopt means that
/// nobody knows. What has an answer here is known only where it was stated. Everything may throw
/// std::bad_alloc.
class TargetingFacts {
  public:
    TargetingFacts() = default;
    TargetingFacts(const TargetingFacts&) = delete;
    TargetingFacts& operator=(const TargetingFacts&) = delete;
    virtual ~TargetingFacts() = default;

    /// The user whom the call is about, as DOMAIN\name.
    [[nodiscard]] virtual std::optional<std::wstring> UserName() const = 0;

    /// The same user as S-1-...
    [[nodiscard]] virtual std::optional<std::wstring> UserSid() const = 0;

    /// A name of this computer.
    [[nodiscard]] virtual std::optional<std::wstring> NameOf(ComputerName kind) const = 0;

    /// An environment variable.
    [[nodiscard]] virtual VariableFact Variable(const std::wstring& name) const = 0;

    /// What stands at an absolute path.
    [[nodiscard]] virtual FileState StateOf(const std::wstring& path) const = 0;

    /// The version of a file that is there.
    [[nodiscard]] virtual FileVersionFact VersionOf(const std::wstring& path) const = 0;

    /// What stands at a place in the registry.
    [[nodiscard]] virtual RegistryFact ReadRegistry(const RegistryPlace& place) const = 0;

    /// The text in the case in which the system compares names.
    [[nodiscard]] virtual std::wstring Folded(std::wstring_view text) const = 0;

    /// Whether the user or the computer is in the group, directly or through others; with `primary`: whether
    /// it is the primary group.
    [[nodiscard]] virtual std::optional<bool> InGroup(Principal whose, const GroupId& group,
                                                      bool primary) const = 0;

    /// The names of the domain that the user or the computer belongs to, NetBIOS and DNS. Empty: none; where
    /// there is no name of a kind, that name is not known.
    [[nodiscard]] virtual std::optional<std::vector<std::wstring>> DomainOf(Principal whose) const = 0;

    /// The directory's container that the user or the computer stands in, as a distinguished name.
    [[nodiscard]] virtual std::optional<std::wstring> UnitOf(Principal /*whose*/) const { return {}; }

    /// The directory's site that the computer is in.
    [[nodiscard]] virtual std::optional<std::wstring> Site() const { return {}; }

    /// What is stated of the system, in the words of filters.
    [[nodiscard]] virtual std::optional<std::wstring> OsPartOf(OsPart /*part*/) const { return {}; }

    /// The version of the system, where none is stated in words.
    [[nodiscard]] virtual std::optional<OsRelease> Release() const = 0;

    /// A language, as a locale identifier.
    [[nodiscard]] virtual std::optional<std::uint32_t> Language(LanguageOf whose) const = 0;

    /// All addresses that the computer has of that kind.
    [[nodiscard]] virtual std::optional<std::vector<std::uint64_t>> Addresses(AddressKind kind) const = 0;

    [[nodiscard]] virtual std::optional<std::uint64_t> Amount(Quantity quantity) const = 0;

    /// Bytes that are free on the drive, `A` to `Z`.
    [[nodiscard]] virtual std::optional<std::uint64_t> FreeBytes(wchar_t drive) const = 0;

    [[nodiscard]] virtual std::optional<bool> Has(Device device) const = 0;
    [[nodiscard]] virtual std::optional<PortableState> Portable() const = 0;
    [[nodiscard]] virtual std::optional<SessionKind> Session() const = 0;

    /// Whether this call is of that mode.
    [[nodiscard]] virtual std::optional<bool> IsInMode(ProcessingMode mode) const = 0;

    [[nodiscard]] virtual std::optional<LocalMoment> Now() const = 0;

    /// Whether something is found by the query, which is compared as text.
    [[nodiscard]] virtual std::optional<bool> Finds(QueryLanguage /*language*/,
                                                    const std::wstring& /*query*/) const
    {
        return {};
    }

    /// Whether the item with that identifier was performed before.
    [[nodiscard]] virtual std::optional<bool> RanBefore(const std::wstring& /*id*/) const { return {}; }
};

} // namespace kx
