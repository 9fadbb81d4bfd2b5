// What all COM objects of the store share: counting, the barrier around each call, and the observer.
#pragma once

#include "Tools/rsop_store/counted_object.h"
#include "Tools/rsop_store/namespace_data.h"

#include <atomic>
#include <memory>
#include <new>
#include <utility>

namespace kx {

/// The name by which calls of an interface are told.
template <class Interface>
inline constexpr const char* kInterfaceName = nullptr;
template <>
inline constexpr const char* kInterfaceName<IWbemServices> = "IWbemServices";
template <>
inline constexpr const char* kInterfaceName<IWbemClassObject> = "IWbemClassObject";
template <>
inline constexpr const char* kInterfaceName<IWbemQualifierSet> = "IWbemQualifierSet";
template <>
inline constexpr const char* kInterfaceName<IEnumWbemClassObject> = "IEnumWbemClassObject";

} // namespace kx

/// Base of a counted COM object with one interface, made by MakeComObject(). It keeps its namespace alive and
/// counts as live until its last reference is gone.
template <class Interface>
class CkxComObject : public CkxCountedObject<Interface> {
  protected:
    explicit CkxComObject(std::shared_ptr<CkxNamespace> space) : _m_namespace(std::move(space))
    {
        ++_m_namespace->State().liveObjects;
    }

    ~CkxComObject() override { --_m_namespace->State().liveObjects; }

    /// The namespace that the object belongs to.
    [[nodiscard]] const std::shared_ptr<CkxNamespace>& _Namespace() const noexcept { return _m_namespace; }

    [[nodiscard]] CkxSchemaWatch& _SchemaWatch() const noexcept { return _m_namespace->State().schemaWatch; }

    /// Runs one COM call: the observer may answer in its place, and no exception leaves it.
    template <class Action>
    [[nodiscard]] HRESULT _Call(const char* method, Action&& action) const noexcept
    {
        try {
            const auto& observer = _m_namespace->State().observer;
            if (observer) {
                const HRESULT answer = observer({kx::kInterfaceName<Interface>, method});
                if (answer != S_OK)
                    return answer;
            }
            return action();
        } catch (const std::bad_alloc&) {
            return kx::kWbemOutOfMemory;
        } catch (const ATL::CAtlException& failure) {
            return failure.m_hr == E_OUTOFMEMORY ? kx::kWbemOutOfMemory : failure.m_hr;
        } catch (...) {
            return kx::kWbemFailed;
        }
    }

    /// The same for a call that is schema work, when `schema` says so.
    template <class Action>
    [[nodiscard]] HRESULT _SchemaCall(const char* method, bool schema, Action&& action) const noexcept
    {
        const CkxSchemaWatch::Call mark(schema ? &_SchemaWatch() : nullptr);
        return _Call(method, std::forward<Action>(action));
    }

  private:
    const std::shared_ptr<CkxNamespace> _m_namespace;
};

/// A new object with its first reference. Throws std::bad_alloc.
template <class Object, class... Arguments>
[[nodiscard]] ATL::CComPtr<Object> MakeComObject(Arguments&&... arguments)
{
    return new Object(std::forward<Arguments>(arguments)...);
}

/// Shares data that is copied only when somebody else has it too. One object writes; guard it.
template <class T>
class CkxCopyOnWrite {
  public:
    explicit CkxCopyOnWrite(std::shared_ptr<const T> data) : _m_data(std::move(data)) {}

    /// The data; it does not change while the caller keeps it.
    [[nodiscard]] const std::shared_ptr<const T>& Read() const noexcept { return _m_data; }

    /// The data, to be changed. Every T here is made as a changeable one.
    [[nodiscard]] T& Edit()
    {
        if (_m_data.use_count() != 1)
            _m_data = std::make_shared<T>(*_m_data);
        std::atomic_thread_fence(std::memory_order_acquire); // former readers on other threads are done
        return const_cast<T&>(*_m_data);
    }

    void Share(std::shared_ptr<const T> data) noexcept { _m_data = std::move(data); }

  private:
    std::shared_ptr<const T> _m_data;
};
