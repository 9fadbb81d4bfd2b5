// The function that a method of a COM object is led to: made from the method's own type.
#pragma once

#include "Tests/torture/com_faults.h"
#include "Tests/torture/stand_in.h"

namespace com {

/// What a method gives that fails alone, and what one gives where memory is gone, as it is when everything
/// fails.
template <HRESULT Alone, HRESULT NoMemory>
struct Failure {
    static HRESULT Of(const FaultRun* run) noexcept
    {
        return run && run->Plan().mode != FaultPlan::Mode::FailNth ? NoMemory : Alone;
    }
};

/// The description of an interface; null for one that the table of calls does not know.
template <class T>
inline constexpr const Interface* kInterfaceOf = nullptr;

// ---- what a call puts through its arguments --------------------------------------------------------------

template <class T>
void Empty(T /*in*/) noexcept
{
}

template <class T>
void Empty(T** object) noexcept
{
    if (object)
        *object = nullptr;
}

inline void Empty(VARIANT* value) noexcept
{
    if (value)
        value->vt = VT_EMPTY;
}

template <class T>
void Note(const char* /*call*/, T /*in*/) noexcept
{
}

template <class T>
void Note(const char* call, T** object) noexcept
{
    if (object && *object && kInterfaceOf<T>)
        HandedOut(*object, *kInterfaceOf<T>, call);
}

inline void Note(const char* call, BSTR* text) noexcept
{
    if (text)
        watch::Opened(watch::Kind::Text, *text, call);
}

inline void Note(const char* call, VARIANT* value) noexcept
{
    if (value && value->vt == VT_BSTR)
        watch::Opened(watch::Kind::Text, value->bstrVal, call);
}

/// Whether a method puts anything through its arguments, or only reads them.
enum class Arguments { MayBeFilled, AreRead };

/// `Run` numbers the call where the module makes it, and fails when it is its turn; everything else goes on
/// to the method.
template <standin::Name Call, std::size_t Slot, class Fails, Arguments Use, class Function>
struct StandIn;

template <standin::Name Call, std::size_t Slot, class Fails, Arguments Use, class Object, class... Rest>
struct StandIn<Call, Slot, Fails, Use, HRESULT(WINAPI*)(Object*, Rest...)> {
    static HRESULT WINAPI Run(Object* object, Rest... arguments)
    {
        const bool isOurs = IsInPatchedModule(KX_CALLER);
        if (isOurs && TakeFault(Call.text)) {
            if constexpr (Use == Arguments::MayBeFilled)
                (Empty(arguments), ...);
            return Fails::Of(ArmedRun());
        }
        const auto onward = reinterpret_cast<HRESULT(WINAPI*)(Object*, Rest...)>(Original(object, Slot));
        const HRESULT result = onward(object, arguments...);
        if constexpr (Use == Arguments::MayBeFilled)
            if (isOurs && SUCCEEDED(result))
                (Note(Call.text, arguments), ...);
        return result;
    }
};

template <standin::Name Call, std::size_t Slot, class Fails, Arguments Use, class Function>
Row MakeRow()
{
    static constexpr standin::Name kept = Call;
    return {kept.text, Slot, reinterpret_cast<void*>(&StandIn<Call, Slot, Fails, Use, Function>::Run)};
}

} // namespace com
