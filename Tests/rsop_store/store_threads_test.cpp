#include "Tests/rsop_store/store_fixture.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

namespace {

using ::testing::ElementsAre;

/// Runs a piece of work on a thread of its own and waits for it.
void OnThread(const std::function<void()>& work)
{
    std::thread(work).join();
}

class StoreThreads : public StoreTest {
  protected:
    /// What a session does with its classes: deletes both under the lock, and defines them under it later.
    void Session(std::mutex& lock) const
    {
        {
            const std::lock_guard held(lock);
            (void)DeleteClass(L"First");
            (void)DeleteClass(L"Second");
        }
        for (const wchar_t* const name : {L"First", L"Second"}) {
            const std::lock_guard held(lock);
            Object present;
            if (FAILED(Find(name, present)))
                (void)Register(name);
        }
    }
};

TEST_F(StoreThreads, NeverReportsWorkUnderOneLock)
{
    std::mutex lock;
    const auto sessions = [&] {
        for (int i = 0; i < 100; ++i) {
            Session(lock);
            (void)Get(L"__NAMESPACE"); // asked for without the lock
        }
    };
    std::thread other(sessions);
    sessions();
    other.join();
    EXPECT_FALSE(store.SchemaWorkOverlapped());
}

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
        {"spawned meanwhile", nothing,
         [](StoreUser&, const Object& base) {
             Object other;
             EXPECT_EQ(S_OK, base->SpawnDerivedClass(0, &other));
         },
         true},
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
        OnThread([&] { row.meanwhile(user, base); });
        EXPECT_EQ(row.overlap, user.store.SchemaWorkOverlapped()) << row.why;
    }
}

TEST(StoreOverlap, CountsACallForAsLongAsItRuns)
{
    StoreUser user;
    std::atomic<bool> nested = false;
    user.store.OnCall([&](const CkxStoreCall&) {
        if (!nested.exchange(true))
            OnThread([&] { (void)user.DeleteClass(L"Other"); });
        return S_OK;
    });
    (void)user.DeleteClass(L"One");
    EXPECT_TRUE(user.store.SchemaWorkOverlapped());
}

TEST(StoreObserver, AnswersInPlaceOfACall)
{
    StoreUser user;
    std::vector<std::string> calls;
    HRESULT answer = S_OK;
    user.store.OnCall([&](const CkxStoreCall& call) {
        calls.push_back(std::string(call.interfaceName) + "." + call.method);
        return answer;
    });
    const Object base = user.Get(L"RSOP_PolicySetting");
    Object derived;
    CComPtr<IWbemQualifierSet> set;
    CComPtr<IEnumWbemClassObject> found;
    EXPECT_EQ(S_OK, base->GetPropertyQualifierSet(L"id", &set));
    EXPECT_EQ(S_OK, user.Query(L"SELECT * FROM RSOP_PolicySetting", found));
    EXPECT_EQ(HRESULT{WBEM_S_FALSE}, found->Skip(0, 1));
    for (const HRESULT injected : {Code(0x80041003), Code(0x8007000E), S_FALSE}) {
        answer = injected;
        EXPECT_EQ(answer, base->SpawnDerivedClass(0, &derived));
        EXPECT_EQ(nullptr, derived.p);
        EXPECT_EQ(answer, set->Delete(L"Required"));
        EXPECT_EQ(answer, user.DeleteClass(L"RSOP_PolicySetting"));
    }
    EXPECT_THAT(calls, ElementsAre("IWbemServices.GetObject", "IWbemClassObject.GetPropertyQualifierSet",
                                   "IWbemServices.ExecQuery", "IEnumWbemClassObject.Skip",
                                   "IWbemClassObject.SpawnDerivedClass", "IWbemQualifierSet.Delete",
                                   "IWbemServices.DeleteClass", "IWbemClassObject.SpawnDerivedClass",
                                   "IWbemQualifierSet.Delete", "IWbemServices.DeleteClass",
                                   "IWbemClassObject.SpawnDerivedClass", "IWbemQualifierSet.Delete",
                                   "IWbemServices.DeleteClass"));
    EXPECT_THAT(user.store.Classes(), ElementsAre(L"RSOP_PolicySetting"));
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
    CComPtr<IWbemServices> services;
    {
        StoreUser user;
        EXPECT_EQ(S_OK, user.Get(L"RSOP_PolicySetting")->GetPropertyQualifierSet(L"id", &set));
        EXPECT_EQ(3u, user.store.LiveObjects()) << "services, set, and the class that the set shows";
        services = user.services;
    }
    EXPECT_EQ(S_OK, set->Get(L"Required", 0, nullptr, nullptr));
    CComPtr<IEnumWbemClassObject> found;
    EXPECT_EQ(S_OK, services->CreateClassEnum(nullptr, 0, nullptr, &found));
    EXPECT_EQ(3u, StoreUser::Rest(found, L"__CLASS").size());
}

TEST_F(StoreThreads, ServesThreadsAtOnce)
{
    constexpr int kEach = 500;
    const Object shared = Get(L"Policy");
    std::atomic<int> failures = 0;
    const auto write = [&](const wchar_t letter) {
        for (int i = 0; i < kEach; ++i) {
            Object instance;
            const bool written = shared->SpawnInstance(0, &instance) == S_OK &&
                                 Put(instance, L"id", Numbered(letter, i).c_str()) == S_OK &&
                                 Put(instance, L"precedence", i) == S_OK && PutInstance(instance) == S_OK &&
                                 Put(instance, L"name", L"changed after it was put") == S_OK;
            failures += written ? 0 : 1;
        }
    };
    std::thread one(write, L'a');
    std::thread two(write, L'b');
    for (int i = 0; i < 20; ++i) { // everything that is found is whole
        CComPtr<IEnumWbemClassObject> found;
        ASSERT_EQ(S_OK, Query(L"SELECT * FROM Policy WHERE name = NULL", found));
        for (const std::wstring& id : Rest(found, L"id"))
            failures += id.size() < 2 ? 1 : 0;
    }
    one.join();
    two.join();
    EXPECT_EQ(0, failures);
    EXPECT_EQ(2u * kEach, store.Instances().size());
    for (const auto& instance : store.Instances())
        ASSERT_EQ(VT_NULL, instance.Find(L"name")->vt) << "put instances do not change";
}

} // namespace
