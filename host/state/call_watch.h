// What passes between module and host, for tests and tracing: every service operation announces itself here, and can be
// made to fail.
#pragma once

#include "kz/base/types.h"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace kzhost {

class CCallWatch {
public:
    // Throws the code that the operation is to fail with, if any. Costs one load while nobody watches.
    void enter(const char* operation) {
        if (m_watching.load(std::memory_order_relaxed)) watched(operation);
    }

    // The operation ("Log.CreateEntry") fails with that code: the next `times` times, or always.
    static constexpr int always = -1;
    void fail(const std::string& operation, KzResult code, int times);
    void heal();
    // Counts calls from now on.
    void count(bool on);
    int countOf(const std::string& operation) const;

    using Tracer = std::function<void(std::string_view operation)>;
    void trace(Tracer tracer);

private:
    struct Fault {
        KzResult code = 0;
        int left = 0;
    };
    void watched(const char* operation);
    void updateWatching();

    std::atomic<bool> m_watching = false;
    mutable std::mutex m_lock;
    std::map<std::string, Fault, std::less<>> m_faults;
    std::map<std::string, int, std::less<>> m_counts;
    bool m_counting = false;
    Tracer m_tracer;
};

}  // namespace kzhost
