// The gate in front of Python. Python can be finalised only when no thread runs it or is about to, and the interpreter
// lock alone cannot ensure that: a thread that waits for the lock would wake up in an interpreter that no longer exists.
// So every thread passes this gate before it asks for the lock, and leaves it after it has released the lock. Unload
// closes the gate, which turns newcomers away, and waits until the count of those inside is zero. A thread that is inside
// may always enter again, even while the gate is closing, because what it does inside may need a nested call to finish.
// When unload has waited long enough, the gate can say which threads are inside and what they are doing.
#pragma once

#include <cstddef>

// Nothing here allocates memory.
class CGate {
public:
    // False if the gate is closed and the calling thread is not inside. `what` describes what the thread is about to do;
    // the text is not copied.
    static bool enter(const char* what) noexcept;
    static void leave() noexcept;
    // Changes the description of what the calling thread, which is inside, is doing.
    static void rename(const char* what) noexcept;

    static void close() noexcept;
    static bool isClosed() noexcept;
    static bool isEmpty() noexcept;
    // Whether the calling thread is inside.
    static bool isInside() noexcept;

    // Writes which threads are inside, as `thread 4711 "render" (cmd_Execute), ...`, truncated to the buffer's size.
    static void describe(char* text, std::size_t size) noexcept;
};
