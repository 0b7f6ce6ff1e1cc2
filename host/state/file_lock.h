// A lock that processes share, as a file beside the one that they change, which may be replaced by another.
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>

namespace kzhost {

// Best effort: where no lock can be had, the holder goes on without one.
class CFileLock {
public:
    explicit CFileLock(const std::string& path)
        : m_file(open((path + ".lock").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600)) {
        while (m_file >= 0 && flock(m_file, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ~CFileLock() {
        if (m_file >= 0) close(m_file);
    }
    CFileLock(const CFileLock&) = delete;
    CFileLock& operator=(const CFileLock&) = delete;

private:
    int m_file;
};

}  // namespace kzhost
