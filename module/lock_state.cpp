// Whether the calling thread holds the interpreter lock.
#include "module/lock_state.h"

#include <chrono>
#include <thread>

KZ_THREAD_LOCAL thread_local PyThreadState* CLockState::t_own = nullptr;
std::atomic<bool> CLockState::s_isOurs{false};

namespace {

std::atomic<int> theLookups{0};
std::atomic<bool> theLookupsEnded{false};

// The thread's state in the interpreter's own table, which threads that have not passed the gate look into, too.
PyThreadState* lookUp() noexcept {
    ++theLookups;
    PyThreadState* const state = theLookupsEnded ? nullptr : PyGILState_GetThisThreadState();
    --theLookups;
    return state;
}

}  // namespace

bool CLockState::isHeld() noexcept {
    if (!isOurs()) return false;
    const PyThreadState* const holder = current();
    return holder != nullptr && (holder == t_own || holder == lookUp());
}

void CLockState::endLookups(PyThreadState* state) noexcept {
    t_own = state;
    theLookupsEnded = true;
    // A lookup takes no time. One that does not end belongs to a thread that this process, a forked child, does not have.
    for (int wait = 0; theLookups != 0 && wait < 1000; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}
