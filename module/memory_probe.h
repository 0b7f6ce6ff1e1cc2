// Reads from addresses that may be invalid, because they come from a script, or whose memory may be gone.
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

    // Copies at most a page; false if not all of it can be read. The bytes go through a pipe, because the kernel reports an
    // error where a direct read would crash the process.
    bool copy(const void* from, void* to, std::size_t size) const noexcept {
        if (from == nullptr || size == 0) return false;
        const ssize_t written = write(m_ends[1], from, size);
        return written > 0 && ::read(m_ends[0], to, static_cast<std::size_t>(written)) == written &&
               static_cast<std::size_t>(written) == size;
    }
    template <class Value> bool read(const void* address, Value& value) const noexcept {
        return copy(address, &value, sizeof(Value));
    }

private:
    int m_ends[2];
};
