// The outcome of an enumeration or of a query.
#pragma once

#include "Tools/rsop_store/com_object.h"
#include "Tools/rsop_store/property_list.h"

/// An IEnumWbemClassObject over what was there when it was made. Thread-safe.
class CkxObjectEnum final : public CkxComObject<IEnumWbemClassObject> {
  public:
    using Items = std::vector<kx::ObjectView>;

    /// Begins at `next`. A forward-only enumerator refuses Reset and Clone.
    CkxObjectEnum(std::shared_ptr<CkxNamespace> space, std::shared_ptr<const Items> items, bool forwardOnly,
                  std::size_t next = 0);

    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Next(LONG timeout, ULONG count, IWbemClassObject** objects,
                                   ULONG* returned) override;
    HRESULT STDMETHODCALLTYPE NextAsync(ULONG count, IWbemObjectSink* sink) override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumWbemClassObject** copy) override;
    HRESULT STDMETHODCALLTYPE Skip(LONG timeout, ULONG count) override;

  private:
    /// Takes the next `count` places, or as many as are left: the first of them, and how many.
    [[nodiscard]] std::pair<std::size_t, ULONG> _Take(ULONG count);
    [[nodiscard]] ATL::CComPtr<IWbemClassObject> _Make(const kx::ObjectView& item) const;

    const std::shared_ptr<const Items> _m_items;
    const bool _m_forwardOnly;

    std::mutex _m_lock;
    std::size_t _m_next;
};
