#pragma once

#include "Tools/targeting/facts_file.h"
#include "Tools/targeting/targeting_facts.h"

namespace kx {

/// Facts as a file states them; what it does not state is asked of the machine, as long as the machine can
/// know. It cannot know of the user where the file names another one, of the computer likewise, and of
/// nothing where the file is not understood.
class StatedFacts final : public TargetingFacts {
  public:
    /// Both stay the caller's, and must live longer.
    StatedFacts(const FactsFile& file, const TargetingFacts& machine);

    [[nodiscard]] std::optional<std::wstring> UserName() const override;
    [[nodiscard]] std::optional<std::wstring> UserSid() const override;
    [[nodiscard]] std::optional<std::wstring> NameOf(ComputerName kind) const override;
    [[nodiscard]] VariableFact Variable(const std::wstring& name) const override;
    [[nodiscard]] FileState StateOf(const std::wstring& path) const override;
    [[nodiscard]] FileVersionFact VersionOf(const std::wstring& path) const override;
    [[nodiscard]] RegistryFact ReadRegistry(const RegistryPlace& place) const override;
    [[nodiscard]] std::wstring Folded(std::wstring_view text) const override;
    [[nodiscard]] std::optional<bool> InGroup(Principal whose, const GroupId& group,
                                              bool primary) const override;
    [[nodiscard]] std::optional<std::vector<std::wstring>> DomainOf(Principal whose) const override;
    [[nodiscard]] std::optional<std::wstring> UnitOf(Principal whose) const override;
    [[nodiscard]] std::optional<std::wstring> Site() const override;
    [[nodiscard]] std::optional<std::wstring> OsPartOf(OsPart part) const override;
    [[nodiscard]] std::optional<OsRelease> Release() const override;
    [[nodiscard]] std::optional<std::uint32_t> Language(LanguageOf whose) const override;
    [[nodiscard]] std::optional<std::vector<std::uint64_t>> Addresses(AddressKind kind) const override;
    [[nodiscard]] std::optional<std::uint64_t> Amount(Quantity quantity) const override;
    [[nodiscard]] std::optional<std::uint64_t> FreeBytes(wchar_t drive) const override;
    [[nodiscard]] std::optional<bool> Has(Device device) const override;
    [[nodiscard]] std::optional<PortableState> Portable() const override;
    [[nodiscard]] std::optional<SessionKind> Session() const override;
    [[nodiscard]] std::optional<bool> IsInMode(ProcessingMode mode) const override;
    [[nodiscard]] std::optional<LocalMoment> Now() const override;
    [[nodiscard]] std::optional<bool> Finds(QueryLanguage language, const std::wstring& query) const override;
    [[nodiscard]] std::optional<bool> RanBefore(const std::wstring& id) const override;

  private:
    /// The one value of a key, if it is stated.
    [[nodiscard]] std::optional<std::wstring> _Text(std::wstring_view key) const;

    /// The same, read as a number.
    [[nodiscard]] std::optional<std::uint64_t> _Number(std::wstring_view key) const;

    /// Whether the key's values hold the text, case aside; nullopt where nothing is stated.
    [[nodiscard]] std::optional<bool> _Lists(std::wstring_view key, std::wstring_view text) const;

    /// Whether what is stated under the key differs from what the machine says.
    [[nodiscard]] bool _IsOther(std::wstring_view key, const std::optional<std::wstring>& ofMachine) const;

    /// Whether the machine can know of the user, or of the computer.
    [[nodiscard]] bool _Knows(Principal whom) const
    {
        return whom == Principal::User ? _m_knowsUser : _m_knowsComputer;
    }

    const FactsFile& _m_file;
    const TargetingFacts& _m_machine;
    bool _m_knowsAnything;
    bool _m_knowsUser;
    bool _m_knowsComputer;
};

} // namespace kx
