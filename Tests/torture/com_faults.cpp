#include "Tests/torture/com_faults.h"

#include "Common_CPP/util/last_error.h"
#include "Tests/torture/import_faults.h"
#include "Tests/torture/resource_watch.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <set>

namespace com {
namespace {

constexpr std::size_t kMostTables = 32;
constexpr std::size_t kMostSlots = 96;

// A table of methods whose slots lead to stand-ins. Entries are added only, and complete when counted.
struct Table {
    void** slots = nullptr;
    std::size_t patched = 0; ///< slots from the first on whose calls are seen
    std::array<void*, kMostSlots> originals{};
};

std::array<Table, kMostTables> g_tables;
std::atomic<std::size_t> g_tableCount{0};
std::mutex g_lock;               // of whoever adds to the tables
std::set<std::string> g_unknown; // guarded by g_lock

Table* FindTable(void** slots) noexcept
{
    const std::size_t count = g_tableCount.load(std::memory_order_acquire);
    const auto end = g_tables.begin() + static_cast<std::ptrdiff_t>(count);
    const auto found =
        std::find_if(g_tables.begin(), end, [&](const Table& table) { return table.slots == slots; });
    return found == end ? nullptr : &*found;
}

void** SlotsOf(const void* object) noexcept
{
    return *static_cast<void** const*>(object);
}

void Write(void** slot, void* method) noexcept
{
    DWORD protection = 0;
    if (!::VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection))
        return;
    *slot = method;
    ::VirtualProtect(slot, sizeof *slot, protection, &protection);
}

// ---- methods that no row knows ---------------------------------------------------------------------------

void NoteUnknown(const std::string& what) noexcept
{
    const CkxLastErrorKeeper keeper;
    const std::lock_guard<std::mutex> turn(g_lock);
    g_unknown.insert(what);
}

// Goes on to a method of any type: more arguments than any has, none of which is a floating-point number.
using Word = ULONG_PTR;
using AnyMethod = Word(WINAPI*)(const void*, Word, Word, Word, Word, Word, Word, Word, Word, Word);

template <std::size_t Slot>
Word WINAPI Unlisted(const void* object, Word a, Word b, Word c, Word d, Word e, Word f, Word g, Word h,
                     Word i)
{
    if (IsInPatchedModule(KX_CALLER))
        NoteUnknown("slot" + std::to_string(Slot));
    return reinterpret_cast<AnyMethod>(Original(object, Slot))(object, a, b, c, d, e, f, g, h, i);
}

template <std::size_t... Slots>
constexpr std::array<void*, sizeof...(Slots)> AllUnlisted(std::index_sequence<Slots...> /*all*/)
{
    return {reinterpret_cast<void*>(&Unlisted<Slots>)...};
}

const auto kUnlisted = AllUnlisted(std::make_index_sequence<kMostSlots>());

void* StandInOf(const Interface& face, std::size_t slot) noexcept
{
    for (const Interface* own = &face; own; own = own->base)
        for (const Row& row : own->rows)
            if (row.slot == slot)
                return row.replacement;
    return kUnlisted[slot];
}

} // namespace

void* Original(const void* object, std::size_t slot) noexcept
{
    return FindTable(SlotsOf(object))->originals[slot]; // cppcheck-suppress CastIntegerToAddressAtReturn
}

void Meet(void* object, const Interface& face) noexcept
{
    void** const slots = SlotsOf(object);
    if (const Table* const known = FindTable(slots); known && known->patched >= face.slots)
        return;
    const CkxLastErrorKeeper keeper;
    const std::lock_guard<std::mutex> turn(g_lock);
    Table* table = FindTable(slots);
    if (!table) {
        table = &g_tables.at(g_tableCount.load());
        table->slots = slots;
        g_tableCount.fetch_add(1, std::memory_order_release);
    }
    for (; table->patched < face.slots; ++table->patched) {
        table->originals[table->patched] = slots[table->patched];
        Write(&slots[table->patched], StandInOf(face, table->patched));
    }
}

void HandedOut(void* object, const Interface& face, const char* call) noexcept
{
    if (!object)
        return;
    Meet(object, face);
    watch::Opened(watch::Kind::Reference, object, call);
}

void HandedOut(void* object, REFIID id, const char* call) noexcept
{
    if (const Interface* const face = FindInterface(id))
        HandedOut(object, *face, call);
    else
        NoteUnknown(std::string("interface-by-") + call);
}

std::string UnknownCalls()
{
    const std::lock_guard<std::mutex> turn(g_lock);
    std::string calls;
    for (const std::string& call : g_unknown)
        calls += (calls.empty() ? "" : " ") + call;
    return calls;
}

void RestoreTables() noexcept
{
    for (std::size_t table = 0; table < g_tableCount; ++table)
        for (; g_tables[table].patched != 0; --g_tables[table].patched)
            Write(&g_tables[table].slots[g_tables[table].patched - 1],
                  g_tables[table].originals[g_tables[table].patched - 1]);
}

} // namespace com
