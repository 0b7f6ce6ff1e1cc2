// The thread service: the global lock, atomic counters, mutexes, groups of jobs and values for each thread.
#include "host/services/thread_service.h"

#include "host/core/job_threads.h"
#include "host/core/object.h"
#include "host/core/service_base.h"
#include "host/services/shared_work.h"

#include "kz/result.h"
#include "kz/thread.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

class CThreadMutex final : public CHosted<"mutex", CThreadMutex, CKzIfc_ThreadMutex> {
public:
    void threadmutex_Enter() override {
        m_mutex.lock();
        ++m_depth;
        m_holder = std::this_thread::get_id();
    }
    void threadmutex_Leave() override { leave(); }
    bool threadmutex_TryEnter() override {
        if (!m_mutex.try_lock()) return false;
        ++m_depth;
        m_holder = std::this_thread::get_id();
        return true;
    }

private:
    // A no-op for a thread that does not hold the mutex, as unlocking it would be undefined behaviour.
    void leave() {
        if (m_holder.load() != std::this_thread::get_id()) return;
        if (--m_depth == 0) m_holder = std::thread::id();
        m_mutex.unlock();
    }

    std::recursive_mutex m_mutex;
    std::atomic<std::thread::id> m_holder;
    std::uint32_t m_depth = 0;
};

// The queue of a group's jobs, shared with the threads that run them.
class CGroupWork {
public:
    void add(IKzUnknown* job) {
        const std::lock_guard lock(m_lock);
        m_queue.emplace_back(job);
    }
    std::size_t queueLength() {
        const std::lock_guard lock(m_lock);
        return m_queue.size();
    }
    void drop() {
        std::deque<CKzUser_ThreadJob> jobs;
        const std::lock_guard lock(m_lock);
        jobs.swap(m_queue);
    }
    std::uint32_t threadCount() const { return m_threadCount; }

    // Count the threads that run the jobs.
    void enter() { ++m_threadCount; }
    void leave();
    void run();
    // Waits until all running threads are themselves waiting here: a job may wait for the other jobs.
    void wait();

private:
    bool take(CKzUser_ThreadJob& job);

    static thread_local const CGroupWork* theCurrent;

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<CKzUser_ThreadJob> m_queue;
    std::atomic<std::uint32_t> m_threadCount = 0;
    std::uint32_t m_waitingInside = 0;
};

thread_local const CGroupWork* CGroupWork::theCurrent = nullptr;

void CGroupWork::leave() {
    const std::lock_guard lock(m_lock);
    --m_threadCount;
    m_changed.notify_all();
}

bool CGroupWork::take(CKzUser_ThreadJob& job) {
    const std::lock_guard lock(m_lock);
    if (m_queue.empty()) return false;
    job.copy(m_queue.front());
    m_queue.pop_front();
    return true;
}

void CGroupWork::run() {
    theCurrent = this;
    for (;;) {
        CKzUser_ThreadJob job;
        if (!take(job)) break;
        job->Execute();
    }
    leave();
}

void CGroupWork::wait() {
    std::unique_lock lock(m_lock);
    const std::uint32_t mine = theCurrent == this ? 1 : 0;
    m_waitingInside += mine;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_threadCount <= m_waitingInside; });
    m_waitingInside -= mine;
}

class CThreadGroup final : public CHosted<"thread group", CThreadGroup, CKzIfc_ThreadGroup> {
public:
    explicit CThreadGroup(std::shared_ptr<CJobThreads> threads) : m_threads(std::move(threads)) {}
    ~CThreadGroup() override { m_work->drop(); }

    KzResult threadgroup_AddJob(IKzUnknown* job) override;
    KzResult threadgroup_Execute() override;
    KzResult threadgroup_Wait() override {
        m_work->wait();
        return KZe_OK;
    }
    // Running jobs cannot be stopped: drops those that have not started, and waits for the others.
    KzResult threadgroup_Kill() override {
        m_work->drop();
        m_work->wait();
        return KZe_OK;
    }
    bool threadgroup_Running() override { return m_work->threadCount() != 0; }
    std::uint32_t threadgroup_JobCount() override { return m_jobCount; }
    std::uint32_t threadgroup_RunningCount() override { return m_work->threadCount(); }

private:
    std::shared_ptr<CJobThreads> m_threads;
    std::shared_ptr<CGroupWork> m_work = std::make_shared<CGroupWork>();
    std::atomic<std::uint32_t> m_jobCount = 0;
};

KzResult CThreadGroup::threadgroup_AddJob(IKzUnknown* job) {
    const CKzUser_ThreadJob asThreadJob(job);
    if (!asThreadJob) return KZe_INVALIDARG;
    m_work->add(asThreadJob.raw());
    ++m_jobCount;
    return KZe_OK;
}

KzResult CThreadGroup::threadgroup_Execute() {
    const std::size_t threads = std::min<std::size_t>(m_work->queueLength(), kzProcessorCount());
    for (std::size_t started = 0; started < threads; ++started) {
        std::function<void()> run = [work = m_work] { work->run(); };
        m_work->enter();
        if (m_threads->start(std::move(run))) continue;
        m_work->leave();
        return started == 0 ? KZe_NOTAVAILABLE : KZe_OK;  // the started threads run all jobs
    }
    return KZe_OK;
}

class CThreadSlot final : public CHosted<"thread slot", CThreadSlot, CKzIfc_ThreadSlot> {
public:
    CThreadSlot(std::uint32_t size, IKzUnknown* client) : m_size(size), m_client(client) {}
    ~CThreadSlot() override {
        for (const auto& [thread, value] : m_values) free(value);
    }

    KzResult threadslot_Set(void* value) override {
        exchange(value);
        return KZe_OK;
    }
    KzResult threadslot_Get(void** value) override;
    KzResult threadslot_Clear() override {
        exchange(nullptr);
        return KZe_OK;
    }

private:
    void exchange(void* value);
    void* allocate();
    void free(void* value) noexcept;

    std::uint32_t m_size;
    CKzUser_ThreadSlotClient m_client;
    std::mutex m_lock;
    std::map<std::thread::id, void*> m_values;
    std::map<void*, std::unique_ptr<std::byte[]>> m_blocks;  // values allocated by the host
};

KzResult CThreadSlot::threadslot_Get(void** value) {
    {
        const std::lock_guard lock(m_lock);
        const auto entry = m_values.find(std::this_thread::get_id());
        if (entry != m_values.end()) {
            *value = entry->second;
            return KZe_OK;
        }
    }
    *value = allocate();  // without the lock, as the client may use its own slot
    exchange(*value);
    return KZe_OK;
}

void CThreadSlot::exchange(void* value) {
    void* former = nullptr;
    {
        const std::lock_guard lock(m_lock);
        const auto entry = m_values.find(std::this_thread::get_id());
        if (entry != m_values.end()) former = entry->second;
        if (value != nullptr) m_values[std::this_thread::get_id()] = value;
        else m_values.erase(std::this_thread::get_id());
    }
    if (former != value) free(former);
}

void* CThreadSlot::allocate() {
    void* value = nullptr;
    if (m_client) {
        const KzResult code = m_client->Alloc(&value);
        if (kzFailed(code)) throw code;
        return value;
    }
    if (m_size == 0) return nullptr;
    auto block = std::make_unique<std::byte[]>(m_size);
    value = block.get();
    const std::lock_guard lock(m_lock);
    m_blocks[value] = std::move(block);
    return value;
}

void CThreadSlot::free(void* value) noexcept {
    if (value == nullptr) return;
    {
        const std::lock_guard lock(m_lock);
        if (m_blocks.erase(value) != 0) return;
    }
    if (m_client) m_client->Free(value);
}

class CThreadService final : public CHosted<"thread service", CThreadService, CKzIfc_ThreadService>, CServiceBase {
public:
    CThreadService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CJobThreads> jobThreads)
        : CServiceBase(std::move(context)), m_jobThreads(std::move(jobThreads)) {}

    KzResult threadservice_CreateMutex(IKzUnknown** mutex) override {
        enter("Thread.CreateMutex");
        return CHostRef<CThreadMutex>::make().give(mutex);
    }
    KzResult threadservice_CreateGroup(IKzUnknown** group) override {
        enter("Thread.CreateGroup");
        return CHostRef<CThreadGroup>::make(m_jobThreads).give(group);
    }
    KzResult threadservice_CreateSlot(std::uint32_t size, IKzUnknown* client, IKzUnknown** slot) override {
        enter("Thread.CreateSlot");
        return CHostRef<CThreadSlot>::make(size, client).give(slot);
    }
    void threadservice_Enter() override { m_global.threadmutex_Enter(); }
    void threadservice_Leave() override { m_global.threadmutex_Leave(); }
    std::uint32_t threadservice_AtomicIncrement(std::uint32_t* counter) override {
        return counter != nullptr ? std::atomic_ref(*counter).fetch_add(1) + 1 : 0;
    }
    std::uint32_t threadservice_AtomicDecrement(std::uint32_t* counter) override {
        return counter != nullptr ? std::atomic_ref(*counter).fetch_sub(1) - 1 : 0;
    }
    std::uint32_t threadservice_ProcessorCount() override { return kzProcessorCount(); }
    bool threadservice_IsMain() override { return std::this_thread::get_id() == context()->mainThread; }
    KzResult threadservice_InitThread() override {
        enter("Thread.InitThread");
        return KZe_OK;
    }
    KzResult threadservice_CleanupThread() override {
        enter("Thread.CleanupThread");
        return KZe_OK;
    }
    KzResult threadservice_ProcessRange(IKzUnknown* shared, std::int32_t first, std::int32_t last,
                                        IKzUnknown* worker) override {
        enter("Thread.ProcessRange");
        return kzProcessRange(worker, shared, first, last);
    }
    KzResult threadservice_ProcessShared(IKzUnknown* work) override {
        enter("Thread.ProcessShared");
        return kzProcessShared(work);
    }
    KzResult threadservice_Sleep(double seconds) override {
        enter("Thread.Sleep");
        constexpr double longest = 1e7;  // what the clock can count without overflow
        if (!(seconds >= 0) || seconds > longest) return KZe_INVALIDARG;
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
        return KZe_OK;
    }

private:
    CThreadMutex m_global;

    std::shared_ptr<CJobThreads> m_jobThreads;
};

}  // namespace

decltype(kzMakeThreadService) kzMakeThreadService = kzMakeService<CThreadService>;

}  // namespace kzhost
