// The thread service with real threads.
#include "tests/support/host_test.h"
#include "tests/support/threads.h"

#include "kz/result.h"
#include "kz/thread.h"

#include <atomic>
#include <mutex>
#include <set>

namespace {

class ThreadTest : public HostTest {
protected:
    ThreadTest() { threads.set(host().application()); }
    void TearDown() override {
        threads.clear();
        HostTest::TearDown();
    }
    CKzUser_ThreadService threads;
};

TEST_F(ThreadTest, TheGlobalLockIsRecursiveAndExcludesOthers) {
    int shared = 0;
    onThreads(4, 2000, [&](int) {
        threads->Enter();
        threads->Enter();
        ++shared;
        threads->Leave();
        threads->Leave();
    });
    EXPECT_EQ(shared, 8000);
    threads->Leave();  // by a thread that does not hold it
    threads->Enter();
    threads->Leave();
}

TEST_F(ThreadTest, MutexesAndCounters) {
    CKzLoc_Unknown made;
    ASSERT_EQ(threads->CreateMutex(made.out()), KZe_OK);
    const CKzUser_ThreadMutex mutex(made.raw());
    EXPECT_TRUE(mutex->TryEnter());
    EXPECT_TRUE(mutex->TryEnter());
    bool other = true;
    std::jthread([&] { other = mutex->TryEnter(); }).join();
    EXPECT_FALSE(other);
    mutex->Leave();
    mutex->Leave();
    std::uint32_t counter = 0;
    EXPECT_EQ(threads->AtomicIncrement(&counter), 1U);
    EXPECT_EQ(threads->AtomicDecrement(&counter), 0U);
    EXPECT_EQ(threads->AtomicIncrement(nullptr), 0U);
    EXPECT_TRUE(threads->IsMain());
}

struct RangeWorker final : CHosted<"range worker", RangeWorker, CKzIfc_ThreadRangeWorker> {
    KzResult rngw_Execute(std::int32_t first, std::int32_t last, IKzUnknown* /*shared*/) override {
        const std::lock_guard lock(guard);
        for (std::int32_t at = first; at <= last; ++at) EXPECT_TRUE(seen.insert(at).second) << at;
        return first == failAt ? KZe_ABORT : KZe_OK;
    }
    std::mutex guard;
    std::set<std::int32_t> seen;
    std::int32_t failAt = INT32_MAX;
};

TEST_F(ThreadTest, RangesAreCoveredOnceAndFailuresComeBack) {
    const auto worker = CHostRef<RangeWorker>::make();
    EXPECT_EQ(threads->ProcessRange(nullptr, -3, 97, worker.raw()), KZe_OK);
    EXPECT_EQ(worker->seen.size(), 101U);
    EXPECT_EQ(threads->ProcessRange(nullptr, 5, 4, worker.raw()), KZe_OK) << "an empty range";
    EXPECT_EQ(worker->seen.size(), 101U);
    worker->seen.clear();
    worker->failAt = 0;
    EXPECT_EQ(threads->ProcessRange(nullptr, 0, 9, worker.raw()), KZe_ABORT);
    EXPECT_EQ(threads->ProcessRange(nullptr, 0, 9, nullptr), KZe_INVALIDARG);
    EXPECT_EQ(threads->Sleep(-1), KZe_INVALIDARG);
}

struct SlotClient final : CHosted<"slot client", SlotClient, CKzIfc_ThreadSlotClient> {
    KzResult tsc_Alloc(void** value) override { return *value = new int(++allocated), KZe_OK; }
    void tsc_Free(void* value) override {
        delete static_cast<int*>(value);
        ++freed;
    }
    std::atomic<int> allocated = 0;
    std::atomic<int> freed = 0;
};

TEST_F(ThreadTest, SlotsKeepAValueForEachThread) {
    const auto client = CHostRef<SlotClient>::make();
    {
        CKzLoc_Unknown made;
        ASSERT_EQ(threads->CreateSlot(0, client.raw(), made.out()), KZe_OK);
        const CKzUser_ThreadSlot slot(made.raw());
        void* values[3] = {};
        EXPECT_EQ(slot->Get(&values[0]), KZe_OK);
        EXPECT_EQ(slot->Get(&values[1]), KZe_OK);
        std::jthread([&] { slot->Get(&values[2]); }).join();
        EXPECT_EQ(values[0], values[1]);
        EXPECT_NE(values[0], values[2]);
        EXPECT_EQ(slot->Clear(), KZe_OK);
        EXPECT_EQ(client->freed, 1);
    }
    EXPECT_EQ(client->allocated, 2);
    EXPECT_EQ(client->freed, 2);
}

}  // namespace
