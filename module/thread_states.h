// Thread states for the threads that the host makes.
#pragma once

#include "module/python.h"

// The interpreter finds a thread's state by the number of the thread, which the system gives to another one when the
// thread is over. It hears of the end of its own threads but not of the host's, and would take a Python thread with the
// number of one that is gone for that one: the thread would then wait for itself. So the ends of the host's threads are
// watched here. Their states are never deleted; new threads get them.
class CThreadStates {
public:
    // On the main thread, when Python has started and nobody else can have entered.
    static void begin(PyThreadState* main) noexcept;
    // A state for the calling thread, which has none; null when memory is short.
    static PyThreadState* take() noexcept;
    // Watches for the end of the calling thread, whose state is in `own`, a variable of the thread's own: it is null then.
    static void watch(PyThreadState*& own) noexcept;
    // When no thread may enter any more.
    static void end() noexcept;
};
