#include "Tests/torture/import_faults.h"

#include "Tests/torture/import_table.h"

#include <atomic>
#include <cstring>
#include <stdexcept>

namespace {

struct Armed {
    std::atomic<DWORD> thread{0}; ///< 0 while the place is free
    std::atomic<FaultRun*> run{nullptr};
};

Armed g_armed[2];

// Where the patched module lies; both are null while none is loaded.
std::atomic<const BYTE*> g_moduleBegin{nullptr};
std::atomic<const BYTE*> g_moduleEnd{nullptr};

// ---- the import table of a loaded module --------------------------------------------------------------

template <class T>
T* At(HMODULE module, ULONGLONG offset)
{
    return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + offset);
}

// Hands each import to `visit`: library, function, and the place that the module calls through.
template <class Visit>
void ForEachImport(HMODULE module, const Visit& visit)
{
    const auto* headers =
        At<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(At<IMAGE_DOS_HEADER>(module, 0)->e_lfanew));
    const DWORD table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* from = At<IMAGE_IMPORT_DESCRIPTOR>(module, table); from->Name != 0; ++from) {
        const auto* name = At<IMAGE_THUNK_DATA>(module, from->OriginalFirstThunk);
        for (auto* slot = At<void*>(module, from->FirstThunk); name->u1.AddressOfData != 0; ++name, ++slot)
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
                visit(At<char>(module, from->Name),
                      At<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData)->Name, slot);
    }
}

const standin::Row* FindRow(const char* dll, const char* name)
{
    for (const standin::Row& row : ImportTable())
        if (_stricmp(row.dll, dll) == 0 && std::strcmp(row.name, name) == 0)
            return &row;
    return nullptr;
}

void Redirect(void** slot, const standin::Row& row)
{
    if (*slot == row.replacement)
        return;
    DWORD protection = 0;
    if (!::VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection))
        return;
    *row.original = *slot;
    *slot = row.replacement;
    ::VirtualProtect(slot, sizeof *slot, protection, &protection);
}

// ---- the loader's announcements -----------------------------------------------------------------------

struct UnicodeText {
    USHORT bytes;
    USHORT room;
    const wchar_t* text;
};

struct LoadedModule {
    ULONG flags;
    const UnicodeText* path;
    const UnicodeText* fileName;
    void* base;
    ULONG size;
};

constexpr ULONG kLoaded = 1;
constexpr ULONG kUnloaded = 2;

const wchar_t* g_fileName = nullptr;

void CALLBACK OnModule(ULONG reason, const LoadedModule* module, void* /*context*/)
{
    const std::size_t length = module->fileName->bytes / sizeof(wchar_t);
    if (length != std::wcslen(g_fileName) || _wcsnicmp(module->fileName->text, g_fileName, length) != 0)
        return;
    if (reason == kLoaded) {
        g_moduleEnd = static_cast<const BYTE*>(module->base) + module->size;
        g_moduleBegin = static_cast<const BYTE*>(module->base);
        PatchImports(static_cast<HMODULE>(module->base));
    } else if (reason == kUnloaded) {
        g_moduleBegin = nullptr;
        g_moduleEnd = nullptr;
    }
}

template <class Function>
Function LoaderFunction(const char* name)
{
    const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), name);
    if (!found)
        throw std::runtime_error("the loader announces no modules here");
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

using Register = LONG(NTAPI*)(ULONG, void(CALLBACK*)(ULONG, const LoadedModule*, void*), void*, void**);
using Unregister = LONG(NTAPI*)(void*);

} // namespace

// Where two threads share work, numbers may shift: then it is the next call on an object that says so.
bool FaultRun::_Fails(bool isOnObject) const noexcept
{
    switch (_m_plan.mode) {
    case Mode::FailNth:
        return _m_calls == _m_plan.at;
    case Mode::FailFrom:
        return _m_calls >= _m_plan.at;
    case Mode::NoMemoryNth:
        return _m_calls >= _m_plan.at && isOnObject && !_m_failedCall;
    case Mode::CountOnly:
        break;
    }
    return false;
}

bool FaultRun::Take(const char* call) noexcept
{
    ++_m_calls;
    const bool isOnObject = std::strstr(call, "::") != nullptr;
    if (_m_plan.mode == Mode::CountOnly && isOnObject)
        _m_objectCalls.push_back(_m_calls); // the driver itself does not run out of memory
    const bool fails = _Fails(isOnObject);
    if (fails && !_m_failedCall) {
        _m_failedCall = call;
        _m_depth =
            ::RtlCaptureStackBackTrace(0, static_cast<DWORD>(_m_frames.size()), _m_frames.data(), nullptr);
    }
    return fails;
}

FaultRun* ArmedRun() noexcept
{
    const DWORD thread = ::GetCurrentThreadId();
    for (const Armed& armed : g_armed)
        if (armed.thread.load() == thread)
            return armed.run.load();
    return nullptr;
}

bool TakeFault(const char* call) noexcept
{
    FaultRun* const run = ArmedRun();
    if (!run)
        return false;
    run->lastError.Next(::GetLastError());
    return run->Take(call);
}

ArmedFaults::ArmedFaults(FaultRun& run) noexcept : _m_place(g_armed[0].thread.load() != 0)
{
    g_armed[_m_place].run = &run;
    g_armed[_m_place].thread = ::GetCurrentThreadId();
}

ArmedFaults::~ArmedFaults()
{
    g_armed[_m_place].thread = 0;
    g_armed[_m_place].run = nullptr;
}

const char* RunningFailedCall() noexcept
{
    for (const Armed& armed : g_armed)
        if (const FaultRun* const run = armed.run.load())
            if (const char* const call = run->FailedCall())
                return call;
    return nullptr;
}

bool IsInPatchedModule(const void* address) noexcept
{
    return address >= g_moduleBegin.load() && address < g_moduleEnd.load();
}

void PatchImports(HMODULE module)
{
    ForEachImport(module, [](const char* dll, const char* name, void** slot) {
        if (const standin::Row* row = FindRow(dll, name))
            Redirect(slot, *row);
    });
}

std::vector<std::string> UnknownImports(HMODULE module)
{
    std::vector<std::string> unknown;
    ForEachImport(module, [&](const char* dll, const char* name, void** /*slot*/) {
        // What else comes from the language's library computes, or ends the process.
        if (!FindRow(dll, name) && !NeedsNoStandIn(name) && _stricmp(dll, "msvcrt.dll") != 0)
            unknown.emplace_back(name);
    });
    return unknown;
}

PatchOnLoad::PatchOnLoad(const wchar_t* fileName)
{
    g_fileName = fileName;
    if (LoaderFunction<Register>("LdrRegisterDllNotification")(0, OnModule, nullptr, &_m_cookie) != 0)
        throw std::runtime_error("the loader takes no listener");
}

PatchOnLoad::~PatchOnLoad()
{
    if (_m_cookie)
        (void)LoaderFunction<Unregister>("LdrUnregisterDllNotification")(_m_cookie);
}
