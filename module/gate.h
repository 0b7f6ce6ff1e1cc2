// The gate in front of Python: lets threads in until it is closed, counts those inside, and can name them.
#pragma once

#include <cstddef>

// A thread passes the gate before it asks for the interpreter lock, and leaves when it has given it back. Unload closes
// the gate and waits for those inside; when it has waited long enough, it says who they are. Nothing here needs memory.
class CGate {
public:
    // False when the gate is closed. A thread that is inside already is always let in again, since it holds up the end
    // of Python anyway. `what` says what the thread is about to do; it is not copied.
    static bool enter(const char* what) noexcept;
    static void leave() noexcept;
    // What the calling thread, which is inside, does from now on.
    static void rename(const char* what) noexcept;

    static void close() noexcept;
    static bool isClosed() noexcept;
    static bool isEmpty() noexcept;
    // Whether the calling thread is inside.
    static bool isInside() noexcept;

    // Writes who is inside, as `thread 4711 "render" (cmd_Execute), ...`, cut to the size of the buffer.
    static void describe(char* text, std::size_t size) noexcept;
};
