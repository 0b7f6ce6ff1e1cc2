// Thread states for the threads that the host makes.
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
std::atomic<int> theKey = noKey;  // what the interpreter's thread-local storage keeps the states under
pthread_key_t theEndKey;          // with a destructor, which runs when a thread ends; there while the other is
PyThreadState* theMain = nullptr;
std::mutex theLock;
std::size_t theMade = 0;
CKzForever<std::vector<PyThreadState*>> theSpare;  // states of threads that are over

void putAside(PyThreadState* state) noexcept {
    const std::lock_guard lock(theLock);
    theSpare->push_back(state);
}

void threadEnds(void* own) noexcept {
    if (!CGate::enter("the end of a thread")) return;
    PyThread_delete_key_value(theKey);
    PyThreadState* state = std::exchange(*static_cast<PyThreadState**>(own), nullptr);
    if (state != theMain) putAside(state);
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
        theSpare->reserve(theMade + 1);  // here, for a thread that ends cannot say that memory is short
        ++theMade;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    // The interpreter would end the process if it could not note whose state this is, so that place is made first.
    if (theKey == noKey) return PyThreadState_New(theMain->interp);
    if (PyThread_set_key_value(theKey, theMain) != 0) return nullptr;
    PyThreadState* state = PyThreadState_New(theMain->interp);
    PyThread_delete_key_value(theKey);
    if (state == nullptr || PyThread_set_key_value(theKey, state) == 0) return state;
    return putAside(state), nullptr;
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
    if (PyThread_set_key_value(theKey, state) != 0) return putAside(state), nullptr;
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
