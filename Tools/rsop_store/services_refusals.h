// The calls of IWbemServices that the store does not offer.
#pragma once

#include "Tools/rsop_store/com_object.h"

/// Refuses asynchronous calls, events and methods with WBEM_E_NOT_SUPPORTED; the rest is the derived class's.
class CkxServicesRefusals : public CkxComObject<IWbemServices> {
  public:
    HRESULT STDMETHODCALLTYPE CancelAsyncCall(IWbemObjectSink*) override
    {
        return _Refuse("CancelAsyncCall");
    }

    HRESULT STDMETHODCALLTYPE QueryObjectSink(LONG, IWbemObjectSink** sink) override
    {
        return _Refuse("QueryObjectSink", sink);
    }

    HRESULT STDMETHODCALLTYPE GetObjectAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return _Refuse("GetObjectAsync");
    }

    HRESULT STDMETHODCALLTYPE PutClassAsync(IWbemClassObject*, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return _Refuse("PutClassAsync");
    }

    HRESULT STDMETHODCALLTYPE DeleteClassAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return _Refuse("DeleteClassAsync");
    }

    HRESULT STDMETHODCALLTYPE CreateClassEnumAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return _Refuse("CreateClassEnumAsync");
    }

    HRESULT STDMETHODCALLTYPE PutInstanceAsync(IWbemClassObject*, LONG, IWbemContext*,
                                               IWbemObjectSink*) override
    {
        return _Refuse("PutInstanceAsync");
    }

    HRESULT STDMETHODCALLTYPE DeleteInstanceAsync(const BSTR, LONG, IWbemContext*, IWbemObjectSink*) override
    {
        return _Refuse("DeleteInstanceAsync");
    }

    HRESULT STDMETHODCALLTYPE CreateInstanceEnumAsync(const BSTR, LONG, IWbemContext*,
                                                      IWbemObjectSink*) override
    {
        return _Refuse("CreateInstanceEnumAsync");
    }

    HRESULT STDMETHODCALLTYPE ExecQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                             IWbemObjectSink*) override
    {
        return _Refuse("ExecQueryAsync");
    }

    HRESULT STDMETHODCALLTYPE ExecNotificationQuery(const BSTR, const BSTR, LONG, IWbemContext*,
                                                    IEnumWbemClassObject** events) override
    {
        return _Refuse("ExecNotificationQuery", events);
    }

    HRESULT STDMETHODCALLTYPE ExecNotificationQueryAsync(const BSTR, const BSTR, LONG, IWbemContext*,
                                                         IWbemObjectSink*) override
    {
        return _Refuse("ExecNotificationQueryAsync");
    }

    HRESULT STDMETHODCALLTYPE ExecMethod(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                         IWbemClassObject** out, IWbemCallResult** result) override
    {
        if (result != nullptr)
            *result = nullptr;
        return _Refuse("ExecMethod", out);
    }

    HRESULT STDMETHODCALLTYPE ExecMethodAsync(const BSTR, const BSTR, LONG, IWbemContext*, IWbemClassObject*,
                                              IWbemObjectSink*) override
    {
        return _Refuse("ExecMethodAsync");
    }

  protected:
    using CkxComObject::CkxComObject;

  private:
    template <class Out = IUnknown>
    [[nodiscard]] HRESULT _Refuse(const char* method, Out** out = nullptr) const noexcept
    {
        if (out != nullptr)
            *out = nullptr;
        return _Call(method, []() -> HRESULT { return kx::kWbemNotSupported; });
    }
};
