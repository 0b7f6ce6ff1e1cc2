// The threads that run the jobs of groups. It is the host that waits for them at its end, not their group: whoever lets
// go of a group may hold a lock without which its jobs cannot end.
#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace kzhost {

class CJobThreads {
public:
    // Runs the work on a thread of its own. False when there is none to be had.
    bool start(std::function<void()> work) noexcept;
    // Waits for all work that was started.
    void finish();

private:
    struct Thread {
        std::atomic<bool> isOver = false;
        std::jthread thread;
    };

    std::mutex m_lock;
    std::list<Thread> m_threads;
};

}  // namespace kzhost
