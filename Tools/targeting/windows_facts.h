#pragma once

#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/unique_handle.h"
#include "Tools/targeting/targeting_facts.h"

#include <windows.h>

namespace kx {

/// A block of environment variables that the system made for a user.
struct EnvironmentTraits {
    using Value = void*;

    static Value Empty() noexcept { return nullptr; }

    static void Close(Value value) noexcept;
};

} // namespace kx

/// The machine as the system describes it, and the user of one token.
class CkxWindowsFacts final : public kx::TargetingFacts {
  public:
    /// `token` stays the caller's, must live longer, and may be null; it needs TOKEN_QUERY, and
    /// TOKEN_DUPLICATE for the user's variables. `flags` are the engine's: in machine scope variables are
    /// those of the process; else those of the user come first.
    CkxWindowsFacts(HANDLE token, DWORD flags);

    [[nodiscard]] std::optional<std::wstring> UserName() const override;
    [[nodiscard]] std::optional<std::wstring> UserSid() const override;
    [[nodiscard]] std::optional<std::wstring> NameOf(kx::ComputerName kind) const override;
    [[nodiscard]] kx::VariableFact Variable(const std::wstring& name) const override;
    [[nodiscard]] kx::FileState StateOf(const std::wstring& path) const override;
    [[nodiscard]] kx::FileVersionFact VersionOf(const std::wstring& path) const override;
    [[nodiscard]] kx::RegistryFact ReadRegistry(const kx::RegistryPlace& place) const override;
    [[nodiscard]] std::wstring Folded(std::wstring_view text) const override;

    /// Of the user as far as the token tells; of the computer nothing.
    [[nodiscard]] std::optional<bool> InGroup(kx::Principal whose, const kx::GroupId& group,
                                              bool primary) const override;

    [[nodiscard]] std::optional<std::vector<std::wstring>> DomainOf(kx::Principal whose) const override;
    [[nodiscard]] std::optional<kx::OsRelease> Release() const override;
    [[nodiscard]] std::optional<std::uint32_t> Language(kx::LanguageOf whose) const override;

    /// Those of all adapters but the loopback.
    [[nodiscard]] std::optional<std::vector<std::uint64_t>> Addresses(kx::AddressKind kind) const override;

    [[nodiscard]] std::optional<std::uint64_t> Amount(kx::Quantity quantity) const override;
    [[nodiscard]] std::optional<std::uint64_t> FreeBytes(wchar_t drive) const override;
    [[nodiscard]] std::optional<bool> Has(kx::Device device) const override;

    /// Only a computer that left its station is certain to be portable; the system says of any other one that
    /// it stands in one.
    [[nodiscard]] std::optional<kx::PortableState> Portable() const override;

    [[nodiscard]] std::optional<kx::SessionKind> Session() const override;
    [[nodiscard]] std::optional<bool> IsInMode(kx::ProcessingMode mode) const override;
    [[nodiscard]] std::optional<kx::LocalMoment> Now() const override;

  private:
    [[nodiscard]] std::optional<std::wstring> _UserVariable(const std::wstring& name) const;

    HANDLE _m_token;
    DWORD _m_flags;
    CSid _m_user;
    CkxUniqueHandle<kx::EnvironmentTraits> _m_variables; ///< empty in machine scope, or where there are none
};
