// Ending Python code from outside.
//
// A request must not wait and may come from a signal handler, so it only wakes a thread that exists already. For each stop
// this thread starts another one, which takes the interpreter lock and interrupts every Python thread with KeyboardInterrupt.
// After a second or a further request, a trace function raises it at every line, so that no handler goes on for long. If the lock cannot be had, because code in C keeps it, the first thread reports where Python is all the same.
#pragma once

#include "module/python.h"

#include "kz/base/types.h"

#include <cstdint>

class CStopper {
public:
    // Makes the thread. Needs no Python, and is a no-op when repeated. Throws NOTAVAILABLE after the end.
    static void prepare();
    // Asks for the end of everything that Python runs now. For any thread, and for signal handlers. False if there is no
    // such thread, because nobody has prepared for it or in a forked child.
    static bool request() noexcept;

    // Called when Python has started, on a thread that has a state of its own.
    static void begin(PyInterpreterState* interpreter) noexcept;
    // Called before Python is finalised, without the interpreter lock: no stop begins any more, and none is in work.
    static void end() noexcept;
};

// RAII guard for a script or a console line. A stop goes on as long as one is running that it is to end, and leaves alone
// those that have begun since. Needs the interpreter lock.
class CStoppableRun {
public:
    CStoppableRun() noexcept;
    ~CStoppableRun();
    CStoppableRun(const CStoppableRun&) = delete;
    CStoppableRun& operator=(const CStoppableRun&) = delete;

    // Whether one is running that began before there were so many requests.
    static bool isAnyOlderThan(std::uint32_t requests) noexcept;
    // Whether that thread is inside of one that has begun since the last request.
    static bool isNewOn(const PyThreadState* thread) noexcept;

private:
    PyThreadState* m_thread;
    std::uint32_t m_requestsBefore;
    CStoppableRun* m_below;
};
