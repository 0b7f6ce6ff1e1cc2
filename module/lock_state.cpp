// Whether the calling thread holds the interpreter lock.
#include "module/lock_state.h"

KZ_THREAD_LOCAL thread_local PyThreadState* CLockState::t_own = nullptr;
std::atomic<bool> CLockState::s_isOurs{false};

namespace {

bool isCurrent(PyThreadState* state) noexcept { return state != nullptr && state == _PyThreadState_Current; }

}  // namespace

bool CLockState::isHeld() noexcept {
    if (!isOurs() || _PyThreadState_Current == nullptr) return false;
    return isCurrent(t_own) || isCurrent(PyGILState_GetThisThreadState());
}
