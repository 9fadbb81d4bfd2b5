#pragma once

#include "Common_CPP/kxwbem/kxwbem_class_object.h"
#include "Common_CPP/kxwbem/kxwbem_enum.h"
#include "Common_CPP/kxwbem/kxwbem_query.h"

class CkxWbemDumpFile;

/// A WMI namespace: queries, classes, instances, namespaces below it, and a dump of it all.
class CkxWbemServicesPtr : public CkxWbemPtr<IWbemServices> {
  public:
    using CkxWbemPtr::CkxWbemPtr;

    /// The instances of a class and of those derived from it.
    [[nodiscard]] HRESULT CreateInstanceEnum(const wchar_t* className,
                                             CkxEnumWbemClassObjectPtr& instances) const;
    /// All classes, or those that are or derive from `baseName`.
    [[nodiscard]] HRESULT EnumClasses(const wchar_t* baseName, CkxEnumWbemClassObjectPtr& classes) const;

    /// Runs a WQL query.
    [[nodiscard]] HRESULT ExecQuery(const wchar_t* query, CkxEnumWbemClassObjectPtr& results) const;
    /// The same for a text made as wsprintf would, from a format and its values.
    [[nodiscard]] HRESULT ExecQueryV(CkxEnumWbemClassObjectPtr& results, const wchar_t* format, ...) const;
    /// The instances of a class whose properties have all these values.
    [[nodiscard]] HRESULT ExecQuerySelect(const wchar_t* className, std::span<const WbemCondition> conditions,
                                          CkxEnumWbemClassObjectPtr& results) const;

    /// Deletes the instances of a class whose `property`, a date-time, is before `time` (UTC). S_OK when none
    /// is left; else the last failure, after all were tried. A line traces how many stayed.
    [[nodiscard]] HRESULT DeleteInstancesOlderThan(const wchar_t* className, const wchar_t* property,
                                                   const FILETIME& time) const;
    [[nodiscard]] HRESULT DeleteInstance(const CkxWbemClassObjectPtr& instance) const;

    /// Opens the namespace `name` below this one, creating it where there is none.
    [[nodiscard]] HRESULT CreateNamespace(const wchar_t* name, CkxWbemServicesPtr& created) const;
    /// "\\server\root\..." of the namespace that these services are bound to.
    [[nodiscard]] HRESULT GetNamespacePath(CString& path) const;

    /// Registers a class derived from `baseName`, or hands out the one that is there when it has that base
    /// and those properties (existence and key alone are compared).
    [[nodiscard]] HRESULT RegisterWmiClassIfRequired(const wchar_t* className, const wchar_t* baseName,
                                                     std::span<const WbemPropertyDesc> properties,
                                                     CkxWbemClassObjectPtr& registered) const;
    /// Registers a class derived from `baseName`.
    [[nodiscard]] HRESULT RegisterWmiClass(const wchar_t* className, const wchar_t* baseName,
                                           std::span<const WbemPropertyDesc> properties,
                                           CkxWbemClassObjectPtr& registered) const;
    /// Registers `spawned`, a class object that is registered nowhere yet, under that name.
    [[nodiscard]] HRESULT RegisterWmiClass(const wchar_t* className, const CkxWbemClassObjectPtr& spawned,
                                           std::span<const WbemPropertyDesc> properties) const;
    /// Registers a class without a base.
    [[nodiscard]] HRESULT RegisterWmiClass(const wchar_t* className,
                                           std::span<const WbemPropertyDesc> properties,
                                           CkxWbemClassObjectPtr& registered) const;
    /// Deletes a class, with all that derive from it and all their instances.
    [[nodiscard]] HRESULT DeleteClass(const wchar_t* className) const;

    /// Writes every instance of the classes that EnumClasses names into a text file (UTF-8), replacing it.
    /// What cannot be read is left out, and the last such failure returned; a failing file ends it.
    [[nodiscard]] HRESULT Dump(const wchar_t* baseName, const wchar_t* dumpFilePath) const;

  private:
    /// A class or instance; a failure is for the caller to trace. REQUIRES: services are held.
    [[nodiscard]] HRESULT _GetObject(const wchar_t* path, CkxWbemClassObjectPtr& object) const;
    /// `depth` is WBEM_FLAG_DEEP, or WBEM_FLAG_SHALLOW for the class's own instances only.
    [[nodiscard]] HRESULT _CreateInstanceEnum(const wchar_t* className, long depth,
                                              CkxEnumWbemClassObjectPtr& instances) const;
    [[nodiscard]] HRESULT _ExecQueryByTime(const wchar_t* className, const wchar_t* property,
                                           const wchar_t* comparison, const FILETIME& time,
                                           CkxEnumWbemClassObjectPtr& results) const;
    [[nodiscard]] HRESULT _PutNamespace(const wchar_t* name) const;
    [[nodiscard]] HRESULT _OpenNamespace(const wchar_t* name, CkxWbemServicesPtr& opened) const;
    [[nodiscard]] HRESULT _CheckClass(const wchar_t* className, const wchar_t* baseName,
                                      std::span<const WbemPropertyDesc> properties,
                                      CkxWbemClassObjectPtr& found) const;
    [[nodiscard]] HRESULT _RegisterWmiClass(const wchar_t* className, const CkxWbemClassObjectPtr& spawned,
                                            std::span<const WbemPropertyDesc> properties) const;
    /// Registers `spawned` and hands out the class as the namespace has it then.
    [[nodiscard]] HRESULT _RegisterAndRead(const wchar_t* className, const CkxWbemClassObjectPtr& spawned,
                                           std::span<const WbemPropertyDesc> properties,
                                           CkxWbemClassObjectPtr& registered) const;
    /// Writes the instances of one class; the last failure after all were tried, or that of the file.
    [[nodiscard]] HRESULT _DumpInstances(const CkxWbemClassObjectPtr& wmiClass, CkxWbemDumpFile& file) const;
};
