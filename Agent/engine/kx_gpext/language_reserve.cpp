// Memory for the language's run-time library when there is no other. It allocates for itself: for an
// exception that is being thrown, for the locks inside it when they are first taken. Where that fails, it
// throws while throwing, or ends the process; so its allocations fall back on a few blocks that stand in the
// module. Ordinary allocations do not: "operator new" fails as it should, and leaves the blocks alone.
//
// The linker leads malloc and its kin here ("--wrap"), and the originals to the names with "__real_".

#ifdef __GNUC__

#include <atomic>
#include <cstddef>
#include <cstring>
#include <functional>
#include <new>

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* memory, std::size_t size);
void __real_free(void* memory);
}

namespace {

constexpr std::size_t kBlockSize = 512; // an exception of ours with its header takes less than 256 bytes
constexpr std::size_t kBlockCount = 64;

struct alignas(16) Block {
    std::byte bytes[kBlockSize];
};

Block g_blocks[kBlockCount];
constinit std::atomic<bool> g_taken[kBlockCount]{};

void* TakeBlock(std::size_t size) noexcept
{
    if (size > kBlockSize)
        return nullptr;
    for (std::size_t i = 0; i < kBlockCount; ++i)
        if (!g_taken[i].load(std::memory_order_relaxed) && !g_taken[i].exchange(true))
            return g_blocks + i;
    return nullptr;
}

bool IsBlock(const void* memory) noexcept
{
    const std::less<const void*> before; // for pointers into different objects, unlike "<"
    return !before(memory, g_blocks) && before(memory, g_blocks + kBlockCount);
}

void GiveBlock(const void* memory) noexcept
{
    g_taken[static_cast<const Block*>(memory) - g_blocks].store(false);
}

} // namespace

extern "C" void* __wrap_malloc(std::size_t size)
{
    void* memory = __real_malloc(size);
    return memory ? memory : TakeBlock(size);
}

extern "C" void* __wrap_calloc(std::size_t count, std::size_t size)
{
    void* memory = __real_calloc(count, size);
    if (!memory && (size == 0 || count <= kBlockSize / size)) {
        memory = TakeBlock(count * size);
        if (memory)
            std::memset(memory, 0, count * size);
    }
    return memory;
}

extern "C" void* __wrap_realloc(void* memory, std::size_t size)
{
    if (!IsBlock(memory))
        return __real_realloc(memory, size);
    if (size > 0 && size <= kBlockSize)
        return memory;
    void* moved = size > 0 ? __real_malloc(size) : nullptr;
    if (moved)
        std::memcpy(moved, memory, kBlockSize);
    if (moved || size == 0)
        GiveBlock(memory);
    return moved;
}

extern "C" void __wrap_free(void* memory)
{
    if (IsBlock(memory))
        GiveBlock(memory);
    else
        __real_free(memory);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return __real_malloc(size > 0 ? size : 1);
}

void* operator new(std::size_t size)
{
    if (void* memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return operator new(size, std::nothrow);
}

#endif
