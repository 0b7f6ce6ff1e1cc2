// Fault injection, call counts and tracing of service operations. Every operation of a service calls `enter`.
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
    // Throws the injected code, if any. Costs one relaxed load while nothing is watched.
    void enter(const char* operation) {
        if (m_watching.load(std::memory_order_relaxed)) watched(operation);
    }

    // Makes the operation ("Log.CreateEntry") fail with that code, the next `times` times or always.
    static constexpr int always = -1;
    void fail(const std::string& operation, KzResult code, int times);
    void heal();
    // Starts or stops counting calls; either resets the counts.
    void count(bool on);
    int countOf(const std::string& operation) const;

    using Tracer = std::function<void(std::string_view operation)>;
    void trace(Tracer tracer);

private:
    struct Fault {
        KzResult code = 0;
        int remaining = 0;
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
