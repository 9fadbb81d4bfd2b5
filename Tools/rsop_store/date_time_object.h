#pragma once

#include "Common_CPP/util/kx_time.h"
#include "Tools/rsop_store/counted_object.h"
#include "Tools/rsop_store/wmi_time_fields.h"

#include <wbemdisp.h>

/// A date-time as scripts know it, with the system's codes: wbemErrInvalidSyntax for text that is no
/// date-time or no number, wbemErrValueOutOfRange for what does not fit, wbemErrFailed where a complete point
/// in time is needed, E_POINTER without a place for the result. Late binding is not implemented. A new object
/// is the first of January 0 in UTC. Several threads may hold references, one at a time may use the object.
///
/// Where a method has the flag "local", the moment itself is the same either way: SetFileTime takes UTC and
/// the flag makes the value tell wall time here with its offset; GetFileTime and both VarDate methods count
/// wall time here instead of UTC.
class CkxDateTime final : public CkxCountedObject<ISWbemDateTime, IDispatch> {
    using Part = kx::WmiTimePart;

  public:
    CkxDateTime() noexcept;

    /// Objects that are still referenced.
    [[nodiscard]] static long LiveObjects() noexcept;

    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) noexcept override;
    STDMETHODIMP GetIDsOfNames(REFIID interfaceId, LPOLESTR* names, UINT count, LCID locale,
                               DISPID* ids) noexcept override;
    STDMETHODIMP Invoke(DISPID member, REFIID interfaceId, LCID locale, WORD flags, DISPPARAMS* arguments,
                        VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) noexcept override;

    STDMETHODIMP get_Value(BSTR* value) noexcept override;
    STDMETHODIMP put_Value(BSTR value) noexcept override;

    STDMETHODIMP get_Year(LONG* value) noexcept override { return _Get(Part::Year, value); }

    STDMETHODIMP put_Year(LONG value) noexcept override { return _Set(Part::Year, value); }

    STDMETHODIMP get_YearSpecified(VARIANT_BOOL* isKnown) noexcept override
    {
        return _GetKnown(Part::Year, isKnown);
    }

    STDMETHODIMP put_YearSpecified(VARIANT_BOOL isKnown) noexcept override
    {
        return _SetKnown(Part::Year, isKnown);
    }

    STDMETHODIMP get_Month(LONG* value) noexcept override { return _Get(Part::Month, value); }

    STDMETHODIMP put_Month(LONG value) noexcept override { return _Set(Part::Month, value); }

    STDMETHODIMP get_MonthSpecified(VARIANT_BOOL* isKnown) noexcept override
    {
        return _GetKnown(Part::Month, isKnown);
    }

    STDMETHODIMP put_MonthSpecified(VARIANT_BOOL isKnown) noexcept override
    {
        return _SetKnown(Part::Month, isKnown);
    }

    STDMETHODIMP get_Day(LONG* value) noexcept override { return _Get(Part::Day, value); }

    STDMETHODIMP put_Day(LONG value) noexcept override { return _Set(Part::Day, value); }

    STDMETHODIMP get_DaySpecified(VARIANT_BOOL* isKnown) noexcept override
    {
        return _GetKnown(Part::Day, isKnown);
    }

    STDMETHODIMP put_DaySpecified(VARIANT_BOOL isKnown) noexcept override
    {
        return _SetKnown(Part::Day, isKnown);
    }

    STDMETHODIMP get_Hours(LONG* value) noexcept override { return _Get(Part::Hours, value); }

    STDMETHODIMP put_Hours(LONG value) noexcept override { return _Set(Part::Hours, value); }

    STDMETHODIMP get_HoursSpecified(VARIANT_BOOL* isKnown) noexcept override
    {
        return _GetKnown(Part::Hours, isKnown);
    }

    STDMETHODIMP put_HoursSpecified(VARIANT_BOOL isKnown) noexcept override
    {
        return _SetKnown(Part::Hours, isKnown);
    }

    STDMETHODIMP get_Minutes(LONG* value) noexcept override { return _Get(Part::Minutes, value); }

    STDMETHODIMP put_Minutes(LONG value) noexcept override { return _Set(Part::Minutes, value); }

    STDMETHODIMP get_MinutesSpecified(VARIANT_BOOL* isKnown) noexcept override
    {
        return _GetKnown(Part::Minutes, isKnown);
    }

    STDMETHODIMP put_MinutesSpecified(VARIANT_BOOL isKnown) noexcept override
    {
        return _SetKnown(Part::Minutes, isKnown);
    }

    STDMETHODIMP get_Seconds(LONG* value) noexcept override { return _Get(Part::Seconds, value); }

    STDMETHODIMP put_Seconds(LONG value) noexcept override { return _Set(Part::Seconds, value); }

    STDMETHODIMP get_SecondsSpecified(VARIANT_BOOL* isKnown) noexcept override
    {
        return _GetKnown(Part::Seconds, isKnown);
    }

    STDMETHODIMP put_SecondsSpecified(VARIANT_BOOL isKnown) noexcept override
    {
        return _SetKnown(Part::Seconds, isKnown);
    }

    STDMETHODIMP get_Microseconds(LONG* value) noexcept override { return _Get(Part::Microseconds, value); }

    STDMETHODIMP put_Microseconds(LONG value) noexcept override { return _Set(Part::Microseconds, value); }

    STDMETHODIMP get_MicrosecondsSpecified(VARIANT_BOOL* isKnown) noexcept override
    {
        return _GetKnown(Part::Microseconds, isKnown);
    }

    STDMETHODIMP put_MicrosecondsSpecified(VARIANT_BOOL isKnown) noexcept override
    {
        return _SetKnown(Part::Microseconds, isKnown);
    }

    STDMETHODIMP get_UTC(LONG* value) noexcept override { return _Get(Part::Offset, value); }

    STDMETHODIMP put_UTC(LONG value) noexcept override { return _Set(Part::Offset, value); }

    STDMETHODIMP get_UTCSpecified(VARIANT_BOOL* isKnown) noexcept override
    {
        return _GetKnown(Part::Offset, isKnown);
    }

    STDMETHODIMP put_UTCSpecified(VARIANT_BOOL isKnown) noexcept override
    {
        return _SetKnown(Part::Offset, isKnown);
    }

    STDMETHODIMP get_IsInterval(VARIANT_BOOL* value) noexcept override;
    STDMETHODIMP put_IsInterval(VARIANT_BOOL value) noexcept override;

    STDMETHODIMP GetVarDate(VARIANT_BOOL isLocal, DATE* date) noexcept override;
    STDMETHODIMP SetVarDate(DATE date, VARIANT_BOOL isLocal) noexcept override;
    STDMETHODIMP GetFileTime(VARIANT_BOOL isLocal, BSTR* text) noexcept override;
    STDMETHODIMP SetFileTime(BSTR text, VARIANT_BOOL isLocal) noexcept override;

  private:
    ~CkxDateTime() override;

    HRESULT _Get(Part part, LONG* value) const noexcept;
    HRESULT _Set(Part part, LONG value) noexcept;
    HRESULT _GetKnown(Part part, VARIANT_BOOL* isKnown) const noexcept;
    HRESULT _SetKnown(Part part, VARIANT_BOOL isKnown) noexcept;
    /// The moment, counted as wall time here when `isLocal`.
    HRESULT _GetMoment(bool isLocal, CkxTime& moment) const noexcept;
    /// Becomes the text of the moment, told as wall time here when `isLocal`.
    HRESULT _SetMoment(CkxTime moment, bool isLocal) noexcept;

    kx::WmiTimeFields _m_fields;
};
