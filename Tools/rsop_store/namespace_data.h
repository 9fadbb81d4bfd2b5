// One WMI namespace: its classes, its instances and its child namespaces, and the rules that they obey. The
// COM objects carry requests here and answers back.
#pragma once

#include "Tools/rsop_store/class_definition.h"
#include "Tools/rsop_store/instance_table.h"
#include "Tools/rsop_store/object_path.h"
#include "Tools/rsop_store/rsop_store.h"
#include "Tools/rsop_store/schema_watch.h"
#include "Tools/rsop_store/wbem_code.h"

#include <atomic>
#include <map>
#include <mutex>

/// What all namespaces and COM objects of one store share.
struct CkxStoreState {
    std::wstring server;
    std::function<HRESULT(const CkxStoreCall&)> observer;
    std::atomic<std::size_t> liveObjects{0};
    CkxSchemaWatch schemaWatch;
};

/// A namespace. Thread-safe; answers are the codes that IWbemServices documents. Throws std::bad_alloc only.
class CkxNamespace {
  public:
    /// A namespace with these classes and no instances. REQUIRES: a class stands after its parent.
    CkxNamespace(std::shared_ptr<CkxStoreState> state, std::wstring path,
                 const std::vector<kx::ClassPointer>& classes);

    [[nodiscard]] CkxStoreState& State() const noexcept { return *_m_state; }

    /// Such as `ROOT\RSOP\Computer`.
    [[nodiscard]] const std::wstring& Path() const noexcept { return _m_path; }

    /// The class of that name, or null.
    [[nodiscard]] kx::ClassPointer FindClass(std::wstring_view name) const;

    /// Registers `draft`, or replaces the class of that name; `registered` is what the table then holds.
    [[nodiscard]] HRESULT PutClass(const kx::ClassDefinition& draft, long flags,
                                   kx::ClassPointer& registered);

    /// Removes a class, the classes derived from it, and all their instances.
    [[nodiscard]] HRESULT DeleteClass(std::wstring_view name);

    /// All classes that satisfy `wanted`, a class after its parent.
    [[nodiscard]] std::vector<kx::ClassPointer>
    Classes(const std::function<bool(const kx::ClassDefinition&)>& wanted) const;

    /// Stores an instance; one of `__NAMESPACE` also makes that child namespace.
    [[nodiscard]] HRESULT PutInstance(const kx::ClassPointer& definition, const kx::ValuesPointer& values,
                                      long flags);

    /// Looks an instance up; the path's server and namespace have been dealt with.
    [[nodiscard]] HRESULT FindInstance(const kx::ObjectPath& path, kx::InstanceRecord& found) const;

    /// Removes an instance; with one of `__NAMESPACE` goes that child namespace.
    [[nodiscard]] HRESULT DeleteInstance(const kx::ObjectPath& path);

    /// The instances whose class satisfies `wanted`, by order of first writing.
    [[nodiscard]] std::vector<kx::InstanceRecord>
    Instances(const std::function<bool(const kx::ClassDefinition&)>& wanted) const;

    /// The namespace at a relative path such as `child\grandchild`, or null.
    [[nodiscard]] std::shared_ptr<CkxNamespace> Child(std::wstring_view path) const;

  private:
    [[nodiscard]] kx::ClassPointer _FindClass(std::wstring_view name) const;
    [[nodiscard]] HRESULT _CheckClass(const kx::ClassDefinition& draft) const;
    [[nodiscard]] HRESULT _CheckReplacement(const kx::ClassDefinition& draft,
                                            const kx::ClassDefinition& current) const;
    [[nodiscard]] bool _HasChildren(std::wstring_view name) const;
    [[nodiscard]] HRESULT _FindKey(const kx::ObjectPath& path, kx::ClassPointer& definition,
                                   std::wstring& key) const;
    [[nodiscard]] HRESULT _FindRecord(const kx::ObjectPath& path, kx::ClassPointer& definition,
                                      std::wstring& key, const kx::InstanceRecord*& record) const;
    [[nodiscard]] HRESULT _PutChild(const kx::ClassDefinition& definition, const kx::Values& values);

    const std::shared_ptr<CkxStoreState> _m_state;
    const std::wstring _m_path;

    mutable std::mutex _m_lock;               // guards what follows
    std::vector<kx::ClassPointer> _m_classes; // a class after its parent
    kx::CkxInstanceTable _m_instances;
    std::map<std::wstring, std::shared_ptr<CkxNamespace>> _m_children; // by folded name
};

/// The path of an instance; without server and namespace. Empty while a key is null.
[[nodiscard]] std::wstring RelativePath(const kx::ClassDefinition& definition, const kx::Values& values);
