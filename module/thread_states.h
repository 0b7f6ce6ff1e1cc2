// Thread states for the threads that the host makes.
#pragma once

#include "module/python.h"

// The interpreter looks a thread's state up by the system's number for the thread, and the system reuses the number of a
// thread that has ended. The interpreter knows when its own threads end, but not when those of the host do. A new Python
// thread with such a reused number would be given the state of the dead one, and deadlock on itself. So this class watches
// for the end of the host's threads, removes their entries, and recycles their states for new threads. It never deletes
// a state, because code that the thread ran may have kept a pointer to it.
class CThreadStates {
public:
    // Called on the main thread when Python has started and no other thread can have entered.
    static void begin(PyThreadState* main) noexcept;
    // A state for the calling thread, which has none; null if memory is short. A recycled state has to be cleared.
    static PyThreadState* take() noexcept;
    // Watches for the end of the calling thread. `own` is the thread-local variable with its state; it is set to null then.
    static void watch(PyThreadState*& own) noexcept;
    // Called when no thread can enter any more.
    static void end() noexcept;
};
