// The threads that run the jobs of groups.
#include "host/core/job_threads.h"

#include <exception>
#include <iterator>
#include <pthread.h>
#include <utility>

namespace kzhost {

bool CJobThreads::start(std::function<void()> work) noexcept {
    std::list<Thread> over;  // joined on return, without the lock
    const std::lock_guard lock(m_lock);
    for (auto each = m_threads.begin(); each != m_threads.end();) {
        const auto next = std::next(each);
        if (each->isOver) over.splice(over.end(), m_threads, each);
        each = next;
    }
    std::list<Thread> started;
    try {
        Thread& mine = started.emplace_back();
        mine.thread = std::jthread([&mine, work = std::move(work)]() mutable {
            pthread_setname_np(pthread_self(), "job");
            work();
            work = nullptr;
            mine.isOver = true;
        });
    } catch (const std::exception&) {
        return false;
    }
    m_threads.splice(m_threads.end(), started);
    return true;
}

void CJobThreads::finish() {
    std::list<Thread> all;
    {
        const std::lock_guard lock(m_lock);
        all.swap(m_threads);
    }
}

}  // namespace kzhost
