#include "Tests/torture/import_table.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include <objbase.h>
#include <oleauto.h>
#include <sddl.h>

namespace {

using namespace standin;
using watch::Kind;

// A row whose type is the declared function's.
#define KX_IMPORT(dll, name, ...) MakeRow<#name, decltype(::name), __VA_ARGS__>(dll)

constexpr const char* kKernel = "kernel32.dll";
constexpr const char* kSecurity = "advapi32.dll";
constexpr const char* kOle = "ole32.dll";
constexpr const char* kAutomation = "oleaut32.dll";
constexpr const char* kLanguage = "msvcrt.dll";

using NoAccess = Fails<ERROR_ACCESS_DENIED>;
using NoMemory = Fails<ERROR_NOT_ENOUGH_MEMORY>;
using NoFile = Invalid<ERROR_SHARING_VIOLATION>;
using NoKey = Returns<ERROR_ACCESS_DENIED>;
using NoResources = Fails<ERROR_NO_SYSTEM_RESOURCES>;

const Row kRows[] = {
    // Files
    KX_IMPORT(kKernel, CreateDirectoryW, NoAccess),
    KX_IMPORT(kKernel, CreateFileW, NoFile, Opens<Kind::Handle>),
    KX_IMPORT(kKernel, DeleteFileW, NoAccess),
    KX_IMPORT(kKernel, FindFirstFileW, NoFile, Opens<Kind::Find>),
    KX_IMPORT(kKernel, FindNextFileW, NoResources),
    KX_IMPORT(kKernel, GetFileAttributesExW, NoAccess),
    KX_IMPORT(kKernel, GetFileAttributesW, Invalid<ERROR_ACCESS_DENIED>),
    KX_IMPORT(kKernel, GetFileInformationByHandle, NoResources),
    KX_IMPORT(kKernel, GetFileInformationByHandleEx, NoResources),
    KX_IMPORT(kKernel, GetFileSizeEx, NoResources),
    KX_IMPORT(kKernel, GetFileTime, NoResources),
    KX_IMPORT(kKernel, GetFinalPathNameByHandleW, NoMemory),
    KX_IMPORT(kKernel, GetFullPathNameW, NoMemory),
    KX_IMPORT(kKernel, MoveFileW, NoAccess),
    KX_IMPORT(kKernel, ReadFile, Fails<ERROR_NETNAME_DELETED>),
    KX_IMPORT(kKernel, WriteFile, Fails<ERROR_DISK_FULL>),
    // Pipes, events, mutexes
    KX_IMPORT(kKernel, CreateEventA, NoResources, Opens<Kind::Handle>),
    KX_IMPORT(kKernel, CreateMutexW, NoAccess, Opens<Kind::Handle>),
    KX_IMPORT(kKernel, CreateSemaphoreA, NoResources, Opens<Kind::Handle>),
    KX_IMPORT(kKernel, OpenEventW, NoAccess, Opens<Kind::Handle>),
    KX_IMPORT(kKernel, SetEvent, NoAccess),
    KX_IMPORT(kKernel, WaitForSingleObjectEx, Gives<LONG_PTR{0xFFFFFFFF}, ERROR_INVALID_HANDLE>),
    KX_IMPORT(kKernel, WaitNamedPipeW, Fails<ERROR_SEM_TIMEOUT>),
    KX_IMPORT(kKernel, CloseHandle, Never, Closes<Kind::Handle>),
    KX_IMPORT(kKernel, FindClose, Never, Closes<Kind::Find>),
    // Text
    KX_IMPORT(kKernel, CompareStringW, Fails<ERROR_INVALID_FLAGS>),
    // The process, its modules and its environment
    KX_IMPORT(kKernel, GetEnvironmentVariableW, NoResources),
    KX_IMPORT(kKernel, GetModuleFileNameW, NoMemory),
    KX_IMPORT(kKernel, GetModuleHandleW, Fails<ERROR_MOD_NOT_FOUND>),
    KX_IMPORT(kKernel, GetProcAddress, Fails<ERROR_PROC_NOT_FOUND>),
    KX_IMPORT(kKernel, LoadLibraryW, Fails<ERROR_MOD_NOT_FOUND>, Opens<Kind::Module>),
    KX_IMPORT(kKernel, FreeLibrary, Never, Closes<Kind::Module>),
    KX_IMPORT(kKernel, TlsAlloc, Gives<LONG_PTR{0xFFFFFFFF}, ERROR_NOT_ENOUGH_MEMORY>),
    KX_IMPORT(kKernel, TlsSetValue, NoMemory),
    KX_IMPORT(kKernel, VirtualProtect, NoResources),
    // Times
    KX_IMPORT(kKernel, FileTimeToSystemTime, Fails<ERROR_INVALID_PARAMETER>),
    KX_IMPORT(kKernel, SystemTimeToFileTime, Fails<ERROR_INVALID_PARAMETER>),
    KX_IMPORT(kKernel, SystemTimeToTzSpecificLocalTime, NoResources),
    KX_IMPORT(kKernel, TzSpecificLocalTimeToSystemTime, NoResources),
    // Text
    KX_IMPORT(kKernel, MultiByteToWideChar, NoMemory),
    KX_IMPORT(kKernel, WideCharToMultiByte, NoMemory),
    // Tokens and access
    KX_IMPORT(kSecurity, AddAccessAllowedAceEx, Fails<ERROR_ALLOTTED_SPACE_EXCEEDED>),
    KX_IMPORT(kSecurity, ConvertSidToStringSidW, NoMemory),
    KX_IMPORT(kSecurity, ConvertStringSecurityDescriptorToSecurityDescriptorW, NoMemory),
    KX_IMPORT(kSecurity, CopySid, NoMemory),
    KX_IMPORT(kSecurity, CreateWellKnownSid, NoMemory),
    KX_IMPORT(kSecurity, DuplicateTokenEx, NoAccess, OpensInto<Kind::Handle, 5, TRUE>),
    KX_IMPORT(kSecurity, GetKernelObjectSecurity, NoAccess),
    KX_IMPORT(kSecurity, GetSecurityDescriptorOwner, Fails<ERROR_INVALID_SECURITY_DESCR>),
    KX_IMPORT(kSecurity, GetTokenInformation, NoAccess),
    KX_IMPORT(kSecurity, InitializeAcl, Fails<ERROR_INSUFFICIENT_BUFFER>),
    KX_IMPORT(kSecurity, InitializeSecurityDescriptor, Fails<ERROR_UNKNOWN_REVISION>),
    KX_IMPORT(kSecurity, IsValidSid, Fails<ERROR_INVALID_SID>),
    KX_IMPORT(kSecurity, LookupAccountSidW, Fails<ERROR_NONE_MAPPED>),
    KX_IMPORT(kSecurity, OpenProcessToken, NoAccess, OpensInto<Kind::Handle, 2, TRUE>),
    KX_IMPORT(kSecurity, OpenThreadToken, NoAccess, OpensInto<Kind::Handle, 3, TRUE>),
    KX_IMPORT(kSecurity, SetSecurityDescriptorDacl, Fails<ERROR_INVALID_SECURITY_DESCR>),
    KX_IMPORT(kSecurity, SetThreadToken, NotWhenReverting),
    // Registry
    KX_IMPORT(kSecurity, RegCreateKeyExW, NoKey, OpensInto<Kind::Key, 7, ERROR_SUCCESS>),
    KX_IMPORT(kSecurity, RegDeleteKeyW, NoKey),
    KX_IMPORT(kSecurity, RegDeleteTreeW, NoKey),
    KX_IMPORT(kSecurity, RegDeleteValueW, NoKey),
    KX_IMPORT(kSecurity, RegOpenKeyExW, NoKey, OpensInto<Kind::Key, 4, ERROR_SUCCESS>),
    KX_IMPORT(kSecurity, RegQueryValueExW, Returns<ERROR_NO_SYSTEM_RESOURCES>),
    KX_IMPORT(kSecurity, RegSetValueExW, NoKey),
    KX_IMPORT(kSecurity, RegCloseKey, Never, Closes<Kind::Key>),
    // COM
    KX_IMPORT(kOle, CoCreateGuid, Returns<E_FAIL>),
    KX_IMPORT(kOle, CoCreateInstance, Returns<E_OUTOFMEMORY>, CreatesObject),
    KX_IMPORT(kOle, CoGetClassObject, Returns<REGDB_E_CLASSNOTREG>, CreatesObject),
    KX_IMPORT(kAutomation, SafeArrayCreateVector, Returns<0>),
    KX_IMPORT(kAutomation, SysAllocString, Returns<0>, OpensText),
    KX_IMPORT(kAutomation, SysAllocStringByteLen, Returns<0>, OpensText),
    KX_IMPORT(kAutomation, SysAllocStringLen, Returns<0>, OpensText),
    KX_IMPORT(kAutomation, SysFreeString, Never, Closes<Kind::Text>),
    KX_IMPORT(kAutomation, VariantClear, Never, ClearsVariant),
    KX_IMPORT(kAutomation, VariantCopy, Returns<E_OUTOFMEMORY>, CopiesVariant),
    // What trace statements show of themselves
    KX_IMPORT(kKernel, InitializeCriticalSectionAndSpinCount, Never, MakesTraceLock),
    KX_IMPORT(kKernel, EnterCriticalSection, Never, EntersLock),
    KX_IMPORT(kKernel, LeaveCriticalSection, Never, LeavesLock),
    KX_IMPORT(kKernel, GetLastError, Never, ReadsLastError),
    KX_IMPORT(kKernel, SetLastError, Never, SetsLastError),
    // Memory: "operator new" comes this way too. Declared by hand, for the library's own declarations carry
    // attributes.
    MakeRow<"calloc", void*(std::size_t, std::size_t), NoMemory, Opens<Kind::Memory>>(kLanguage),
    MakeRow<"malloc", void*(std::size_t), NoMemory, AllocatesMemory>(kLanguage),
    MakeRow<"realloc", void*(void*, std::size_t), NoMemory, Reallocates>(kLanguage),
    MakeRow<"_strdup", char*(const char*), NoMemory, Opens<Kind::Memory>>(kLanguage),
    MakeRow<"free", void(void*), Never, Closes<Kind::Memory>>(kLanguage),
};

#undef KX_IMPORT

constexpr std::string_view kNoStandIn[] = {
    // Answers that are no failures
    "CompareFileTime",
    "EqualSid",
    "GetStdHandle",
    "IsDBCSLeadByteEx",
    "IsDebuggerPresent",
    "IsWellKnownSid",
    "TryEnterCriticalSection",
    // Cannot fail with what they are given
    "AcquireSRWLockExclusive",
    "DisableThreadLibraryCalls",
    "GetCurrentProcess",
    "GetCurrentProcessId",
    "GetCurrentThread",
    "GetCurrentThreadId",
    "GetLengthSid",
    "GetLocalTime",
    "GetSidIdentifierAuthority",
    "GetSidSubAuthority",
    "GetSidSubAuthorityCount",
    "GetSystemTimeAsFileTime",
    "GetTickCount64",
    "IIDFromString",
    "InitializeCriticalSection",
    "OutputDebugStringA",
    "Sleep",
    "StringFromGUID2",
    "SwitchToThread",
    "SysStringByteLen",
    "SysStringLen",
    "TlsGetValue",
    "VariantInit",
    // Give back
    "DeleteCriticalSection",
    "LocalFree",
    "ReleaseMutex",
    "ReleaseSRWLockExclusive",
    "ReleaseSemaphore",
    "ResetEvent",
    "RevertToSelf",
    "TlsFree",
    // The language's run-time library: exceptions, threads that are never started, debugging aids
    "AddVectoredExceptionHandler",
    "DuplicateHandle",
    "GetEnvironmentVariableA",
    "GetHandleInformation",
    "GetProcessAffinityMask",
    "GetThreadContext",
    "GetThreadPriority",
    "OpenProcess",
    "RaiseException",
    "RemoveVectoredExceptionHandler",
    "ResumeThread",
    "RtlCaptureContext",
    "RtlLookupFunctionEntry",
    "RtlUnwindEx",
    "RtlVirtualUnwind",
    "SetProcessAffinityMask",
    "SetThreadContext",
    "SetThreadPriority",
    "SuspendThread",
    "VirtualQuery",
    "WaitForMultipleObjects",
    "WaitForSingleObject",
    "__C_specific_handler",
    "_beginthreadex",
    // Builds that count what runs write it down when the module goes
    "_access",
    "_fdopen",
    "_getpid",
    "_locking",
    "_mkdir",
    "_open",
    "_wassert",
    "atoi",
    "exit",
    "fclose",
    "fopen",
    "fread",
    "fseek",
    "getenv",
    "strcat",
    "strchr",
};

} // namespace

std::span<const Row> ImportTable()
{
    return kRows;
}

bool NeedsNoStandIn(std::string_view name)
{
    return std::find(std::begin(kNoStandIn), std::end(kNoStandIn), name) != std::end(kNoStandIn);
}
