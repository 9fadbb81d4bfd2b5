#include "Tests/rsop_store/store_fixture.h"

#include <atomic>
#include <functional>
#include <thread>

namespace {

/// One class being built on this thread, and what another thread does meanwhile.
struct OverlapRow {
    const char* why;
    std::function<void(StoreUser&, Object& built)> before; // on this thread
    std::function<void(StoreUser&, const Object& base)> meanwhile;
    bool overlap;
};

TEST(StoreOverlap, CountsAClassAsWorkUntilItIsPutOrGivenUp)
{
    const auto nothing = [](StoreUser&, Object&) {};
    const auto remove = [](StoreUser& user, const Object&) { (void)user.DeleteClass(L"Other"); };
    const OverlapRow rows[] = {
        {"being built", nothing, remove, true},
        {"read meanwhile", nothing,
         [](StoreUser& user, const Object&) { (void)user.Get(L"RSOP_PolicySetting"); }, true},
        {"put", [](StoreUser& user, Object& built) { EXPECT_EQ(S_OK, user.PutClass(built)); }, remove, false},
        {"refused", [](StoreUser& user, Object& built) { EXPECT_NE(S_OK, user.PutClass(built, 3)); }, remove,
         false},
        {"given up", [](StoreUser&, Object& built) { built.Release(); }, remove, false},
        {"an instance meanwhile", nothing,
         [](StoreUser&, const Object& base) {
             Object instance;
             EXPECT_EQ(S_OK, base->SpawnInstance(0, &instance));
             EXPECT_EQ(S_OK, Put(instance, L"id", L"a"));
         },
         false},
        {"WMI's own class meanwhile", nothing,
         [](StoreUser& user, const Object&) { (void)user.Get(L"__NAMESPACE"); }, false},
    };
    for (const OverlapRow& row : rows) {
        StoreUser user;
        const Object base = user.Get(L"RSOP_PolicySetting");
        Object built = user.Build(L"Next");
        row.before(user, built);
        std::thread([&] { row.meanwhile(user, base); }).join();
        EXPECT_EQ(row.overlap, user.store.SchemaWorkOverlapped()) << row.why;
    }
}

TEST(StoreOverlap, CountsACallForAsLongAsItRuns)
{
    StoreUser user;
    std::atomic<bool> nested = false;
    user.store.OnCall([&](const CkxStoreCall&) {
        if (!nested.exchange(true))
            std::thread([&] { (void)user.DeleteClass(L"Other"); }).join();
        return S_OK;
    });
    (void)user.DeleteClass(L"One");
    EXPECT_TRUE(user.store.SchemaWorkOverlapped());
}

TEST(StoreObserver, MayThrowWithoutHarm)
{
    StoreUser user;
    user.store.OnCall([](const CkxStoreCall&) -> HRESULT { throw std::bad_alloc(); });
    EXPECT_EQ(Code(0x80041006), user.DeleteClass(L"Other"));
    user.store.OnCall([](const CkxStoreCall&) -> HRESULT { throw 5; });
    EXPECT_EQ(Code(0x80041001), user.DeleteClass(L"Other"));
}

TEST(StoreLife, DataLivesAsLongAsAnObject)
{
    CComPtr<IWbemQualifierSet> set;
    {
        StoreUser user;
        EXPECT_EQ(S_OK, user.Get(L"RSOP_PolicySetting")->GetPropertyQualifierSet(L"id", &set));
        EXPECT_EQ(3u, user.store.LiveObjects()) << "services, set, and the class that the set shows";
    }
    EXPECT_EQ(S_OK, set->Get(L"Required", 0, nullptr, nullptr));
}

} // namespace
