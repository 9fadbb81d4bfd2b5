#include "Common_CPP/util/unique_handle.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

constexpr DWORD c_magicError = 0x12345678;

/// A resource that is a number; closing it is recorded and, like many system calls, changes the last error.
struct RecordingTraits {
    using Value = int;

    static inline std::vector<int> closed;

    static Value Empty() noexcept { return -1; }

    static void Close(Value value)
    {
        closed.push_back(value);
        ::SetLastError(ERROR_INVALID_HANDLE);
    }
};

using Owner = CkxUniqueHandle<RecordingTraits>;

} // namespace

TEST(UniqueHandleTest, EveryOperationClosesOnceAndKeepsTheLastError)
{
    // What is done to an owner of 1, what it holds then, and what was closed on the way.
    const struct {
        const char* name;
        void (*run)(Owner& owner);
        int held;
        std::vector<int> closed;
    } rows[] = {
        {"Nothing", [](Owner&) {}, 1, {}},
        {"Release", [](Owner& owner) { EXPECT_EQ(owner.Release(), 1); }, -1, {}},
        {"Reset", [](Owner& owner) { owner.Reset(); }, -1, {1}},
        {"ResetTwice", [](Owner& owner) { (owner.Reset(), owner.Reset()); }, -1, {1}},
        {"ResetToAnother", [](Owner& owner) { owner.Reset(2); }, 2, {1}},
        {"ResetToItself", [](Owner& owner) { owner.Reset(1); }, 1, {}},
        {"Put", [](Owner& owner) { *owner.Put() = 2; }, 2, {1}},
        {"MoveFrom", [](Owner& owner) { const Owner to(std::move(owner)); }, -1, {1}},
        {"MoveAssignFrom", [](Owner& owner) { Owner(2) = std::move(owner); }, -1, {2, 1}},
        {"MoveAssignTo", [](Owner& owner) { owner = Owner(2); }, 2, {1}},
        {"MoveAssignEmpty", [](Owner& owner) { owner = Owner(); }, -1, {1}},
        {"MoveAssignItself", [](Owner& owner) { owner = std::move(static_cast<Owner&>(owner)); }, 1, {}},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        RecordingTraits::closed.clear();
        std::vector<int> closed;
        ::SetLastError(c_magicError);
        {
            Owner owner(1);
            row.run(owner);
            EXPECT_EQ(owner.Get(), row.held);
            EXPECT_EQ(static_cast<bool>(owner), row.held != -1);
            closed = RecordingTraits::closed;
        }
        const DWORD error = ::GetLastError();
        EXPECT_EQ(error, c_magicError);
        EXPECT_EQ(closed, row.closed);
        if (row.held != -1)
            closed.push_back(row.held);
        EXPECT_EQ(RecordingTraits::closed, closed) << "after destruction";
    }
}

// Handles of other kinds that stay open are seen where every call of the extension is watched.
TEST(UniqueHandleTest, EachKindIsClosedByItsOwnCall)
{
    const auto isOpen = [](HANDLE handle) {
        DWORD flags = 0;
        return ::GetHandleInformation(handle, &flags) != FALSE;
    };
    CkxHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    CkxFileHandle file(::CreateFileW(L"C:\\windows\\win.ini", GENERIC_READ, FILE_SHARE_READ, nullptr,
                                     OPEN_EXISTING, 0, nullptr));
    const HANDLE rawEvent = event.Get();
    const HANDLE rawFile = file.Get();
    ASSERT_TRUE(event && file && isOpen(rawEvent) && isOpen(rawFile));
    event.Reset();
    file.Reset();
    EXPECT_TRUE(!isOpen(rawEvent) && !isOpen(rawFile));
    EXPECT_TRUE(file.Get() == INVALID_HANDLE_VALUE && event.Get() == nullptr);

    const HLOCAL movable = ::LocalAlloc(LMEM_MOVEABLE, 16);
    ASSERT_NE(movable, nullptr);
    CkxLocalMemory<void>(movable).Reset();
    EXPECT_EQ(::LocalSize(movable), 0u);
}
