#include "Tools/rsop_store/object_enum.h"

#include "Tools/rsop_store/class_object.h"
#include "Tools/rsop_store/instance_object.h"

#include <algorithm>

namespace {

constexpr LONG kForever = -1; // WBEM_INFINITE, which some headers make unsigned

} // namespace

CkxObjectEnum::CkxObjectEnum(std::shared_ptr<CkxNamespace> space, std::shared_ptr<const Items> items,
                             bool forwardOnly, std::size_t next)
    : CkxComObject(std::move(space)), _m_items(std::move(items)), _m_forwardOnly(forwardOnly), _m_next(next)
{
}

HRESULT CkxObjectEnum::Reset()
{
    return _Call("Reset", [&]() -> HRESULT {
        if (_m_forwardOnly)
            return kx::kWbemInvalidOperation;
        const std::lock_guard hold(_m_lock);
        _m_next = 0;
        return S_OK;
    });
}

HRESULT CkxObjectEnum::Next(LONG timeout, ULONG count, IWbemClassObject** objects, ULONG* returned)
{
    return _Call("Next", [&]() -> HRESULT {
        if (objects == nullptr || returned == nullptr || count == 0 || timeout < kForever)
            return kx::kWbemInvalidParameter;
        *returned = 0;
        std::fill_n(objects, count, nullptr);
        const auto [first, taken] = _Take(count);
        std::vector<ATL::CComPtr<IWbemClassObject>> made; // handed out together or not at all
        for (std::size_t i = first; i < first + taken; ++i)
            made.push_back(_Make((*_m_items)[i]));
        for (ULONG i = 0; i < taken; ++i)
            objects[i] = made[i].Detach();
        *returned = taken;
        return taken == count ? HRESULT{WBEM_S_NO_ERROR} : HRESULT{WBEM_S_FALSE};
    });
}

HRESULT CkxObjectEnum::NextAsync(ULONG, IWbemObjectSink*)
{
    return _Call("NextAsync", []() -> HRESULT { return kx::kWbemNotSupported; });
}

HRESULT CkxObjectEnum::Clone(IEnumWbemClassObject** copy)
{
    return _Call("Clone", [&]() -> HRESULT {
        if (copy == nullptr)
            return kx::kWbemInvalidParameter;
        *copy = nullptr;
        if (_m_forwardOnly)
            return kx::kWbemInvalidOperation;
        const std::lock_guard hold(_m_lock);
        *copy = MakeComObject<CkxObjectEnum>(_Namespace(), _m_items, false, _m_next).Detach();
        return S_OK;
    });
}

HRESULT CkxObjectEnum::Skip(LONG timeout, ULONG count)
{
    return _Call("Skip", [&]() -> HRESULT {
        if (timeout < kForever)
            return kx::kWbemInvalidParameter;
        return _Take(count).second == count ? HRESULT{WBEM_S_NO_ERROR} : HRESULT{WBEM_S_FALSE};
    });
}

std::pair<std::size_t, ULONG> CkxObjectEnum::_Take(ULONG count)
{
    const std::lock_guard hold(_m_lock);
    const std::size_t first = _m_next;
    const auto taken = static_cast<ULONG>(std::min<std::size_t>(count, _m_items->size() - first));
    _m_next += taken;
    return {first, taken};
}

ATL::CComPtr<IWbemClassObject> CkxObjectEnum::_Make(const kx::ObjectView& item) const
{
    if (item.values == nullptr)
        return static_cast<IWbemClassObject*>(MakeComObject<CkxClassObject>(_Namespace(), item.definition));
    return static_cast<IWbemClassObject*>(
        MakeComObject<CkxInstanceObject>(_Namespace(), item.definition, item.values));
}
