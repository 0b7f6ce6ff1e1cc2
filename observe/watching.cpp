// The flag of each thread that is inside of a watch.
#include "observe/watching.h"

#include "kz/base/forever.h"

#include <utility>

namespace {

KZ_THREAD_LOCAL thread_local bool t_isWatching = false;

}  // namespace

CWatching::CWatching() noexcept : m_isFirst(!std::exchange(t_isWatching, true)) {}
CWatching::~CWatching() {
    if (m_isFirst) t_isWatching = false;
}

CWatchedAgain::CWatchedAgain() noexcept { t_isWatching = false; }
CWatchedAgain::~CWatchedAgain() { t_isWatching = true; }
