#pragma once

#include "Common_CPP/atl/kx_atl.h"

#include <atomic>

/// Base of a counted COM object, made with new, with one interface and those that it derives from beyond
/// IUnknown. Without a reference yet; the release of its last one deletes it.
template <class Interface, class... Bases>
class CkxCountedObject : public Interface {
  public:
    CkxCountedObject(const CkxCountedObject&) = delete;
    CkxCountedObject& operator=(const CkxCountedObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID interfaceId, void** object) noexcept override
    {
        if (object == nullptr)
            return E_POINTER;
        const bool isOurs = interfaceId == __uuidof(IUnknown) || interfaceId == __uuidof(Interface) ||
                            (... || (interfaceId == __uuidof(Bases)));
        *object = isOurs ? static_cast<Interface*>(this) : nullptr;
        if (!isOurs)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++_m_references; }

    STDMETHODIMP_(ULONG) Release() noexcept override
    {
        const ULONG left = --_m_references;
        if (left == 0)
            delete this;
        return left;
    }

  protected:
    CkxCountedObject() noexcept = default;
    virtual ~CkxCountedObject() = default;

  private:
    std::atomic<ULONG> _m_references = 0;
};
