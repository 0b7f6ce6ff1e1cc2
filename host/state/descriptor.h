// A file descriptor that is closed at the end.
#pragma once

#include <unistd.h>

#include <utility>

namespace kzhost {

class CDescriptor {
public:
    explicit CDescriptor(int file) : m_file(file) {}
    ~CDescriptor() { close(); }
    CDescriptor(const CDescriptor&) = delete;
    CDescriptor& operator=(const CDescriptor&) = delete;
    int get() const { return m_file; }
    void close() {
        if (const int file = std::exchange(m_file, -1); file >= 0) ::close(file);
    }

private:
    int m_file;
};

}  // namespace kzhost
