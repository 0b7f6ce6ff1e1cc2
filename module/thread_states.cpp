// Recycling the Python states of the host's threads.
#include "module/thread_states.h"

#include "module/gate.h"

#include "kz/base/forever.h"

#include <pythread.h>

#include <atomic>
#include <mutex>
#include <new>
#include <pthread.h>
#include <utility>
#include <vector>

namespace {

constexpr int noKey = -1;
std::atomic<int> theKey = noKey;  // the key of the states in the interpreter's thread-local storage
pthread_key_t theEndKey;          // its destructor runs when a thread ends; valid while theKey is set
PyThreadState* theMain = nullptr;
std::mutex theLock;
std::size_t theStateCount = 0;                     // of all states that were created here
CKzForever<std::vector<PyThreadState*>> theSpare;  // the states of threads that have ended

void recycle(PyThreadState* state) noexcept {
    const std::lock_guard lock(theLock);
    theSpare->push_back(state);
}

void threadEnds(void* own) noexcept {
    if (!CGate::enter("the end of a thread")) return;
    PyThread_delete_key_value(theKey);
    PyThreadState* state = std::exchange(*static_cast<PyThreadState**>(own), nullptr);
    if (state != theMain) recycle(state);
    CGate::leave();
}

PyThreadState* takeSpare() noexcept {
    const std::lock_guard lock(theLock);
    if (theSpare->empty()) return nullptr;
    PyThreadState* state = theSpare->back();
    theSpare->pop_back();
    return state;
}

PyThreadState* make() noexcept {
    try {
        const std::lock_guard lock(theLock);
        theSpare->reserve(theStateCount + 1);  // now, because a thread that ends could not report the lack of memory
        ++theStateCount;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    // PyThreadState_New would end the process if it could not store the state under the key, so a value is stored first.
    if (theKey == noKey) return PyThreadState_New(theMain->interp);
    if (PyThread_set_key_value(theKey, theMain) != 0) return nullptr;
    PyThreadState* state = PyThreadState_New(theMain->interp);
    PyThread_delete_key_value(theKey);
    if (state == nullptr || PyThread_set_key_value(theKey, state) == 0) return state;
    return recycle(state), nullptr;
}

}  // namespace

void CThreadStates::begin(PyThreadState* main) noexcept {
    constexpr int mostKeys = 1024;
    theMain = main;
    const PyThreadState* own = PyGILState_GetThisThreadState();
    int key = 0;
    while (key < mostKeys && PyThread_get_key_value(key) != own) ++key;
    if (key < mostKeys && pthread_key_create(&theEndKey, threadEnds) == 0) theKey = key;
}

PyThreadState* CThreadStates::take() noexcept {
    PyThreadState* state = takeSpare();
    if (state == nullptr) return make();
    if (PyThread_set_key_value(theKey, state) != 0) return recycle(state), nullptr;
    state->thread_id = PyThread_get_thread_ident();
    return state;
}

void CThreadStates::watch(PyThreadState*& own) noexcept {
    if (theKey != noKey) pthread_setspecific(theEndKey, &own);
}

void CThreadStates::end() noexcept {
    if (theKey.exchange(noKey) != noKey) pthread_key_delete(theEndKey);
    const std::lock_guard lock(theLock);
    theSpare->clear();
}
