// Locks a mutex for a scope that may fail.
#pragma once

#include "host/core/reason_delay.h"

#include <mutex>

namespace kzhost {

// Reasons that are given while it lives reach the log once the mutex is free again, as a listener of the log may want it.
template <class Mutex> class CReasonGuard {
public:
    explicit CReasonGuard(Mutex& mutex) : m_lock(mutex) {}
    CReasonGuard(const CReasonGuard&) = delete;
    CReasonGuard& operator=(const CReasonGuard&) = delete;

private:
    CReasonDelay m_delay;  // ends after the lock
    std::lock_guard<Mutex> m_lock;
};

}  // namespace kzhost
