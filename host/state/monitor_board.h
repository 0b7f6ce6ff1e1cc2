// The state of progress monitors, and the callback that shows it.
#pragma once

#include "kz/base/types.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

namespace kzhost {

// The progress of a task. A monitor that was never initialised has no steps.
struct MonitorState {
    std::string title;
    std::uint64_t steps = 0;
    std::uint64_t done = 0;
    bool ended = false;
};

class CMonitorBoard {
public:
    using Viewer = std::function<void(const MonitorState&)>;
    void setViewer(Viewer viewer) {
        const std::lock_guard lock(m_lock);
        m_viewer = std::move(viewer);
    }
    void show(const MonitorState& state) {
        const std::lock_guard lock(m_lock);
        if (m_viewer) m_viewer(state);
    }
    // Asks the tasks of all monitors that exist to abort, in every host of the process, as the user's interrupt means
    // the process. It may be called in a signal handler.
    static void abortAll() noexcept { ++theAborts; }
    static std::uint32_t aborts() noexcept { return theAborts; }
    std::atomic<std::uint32_t> alive = 0;

private:
    std::mutex m_lock;
    Viewer m_viewer;
    static inline std::atomic<std::uint32_t> theAborts = 0;
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
};

}  // namespace kzhost
