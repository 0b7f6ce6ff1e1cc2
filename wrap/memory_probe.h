// Reads from addresses that may be invalid, because they come from a script.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>

class CMemoryProbe {
public:
    CMemoryProbe() noexcept {
        if (pipe2(m_ends, O_CLOEXEC | O_NONBLOCK) != 0) m_ends[0] = m_ends[1] = -1;
    }
    ~CMemoryProbe() {
        for (const int end : m_ends)
            if (end >= 0) close(end);
    }
    CMemoryProbe(const CMemoryProbe&) = delete;
    CMemoryProbe& operator=(const CMemoryProbe&) = delete;

    // Copies a few bytes; false if they cannot be read. The bytes go through a pipe, because the kernel reports an error
    // where a direct read would crash the process.
    template <class Value> bool read(const void* address, Value& value) noexcept {
        constexpr auto size = static_cast<ssize_t>(sizeof(Value));
        return write(m_ends[1], address, sizeof(Value)) == size && ::read(m_ends[0], &value, sizeof(Value)) == size;
    }

private:
    int m_ends[2];
};
