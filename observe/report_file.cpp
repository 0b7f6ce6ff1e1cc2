// Files of reports.
#include "observe/report_file.h"

#include "kz/base/codes.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {

std::string reason(const std::string& path) { return path + " cannot be written: " + std::strerror(errno); }

}  // namespace

void kzTellUnusable(const std::string& text) noexcept {
    std::fprintf(stderr, "kzPython2: %s\n", text.c_str());  // the host may not have passed its log yet
}

CReportFile::CReportFile(const std::string& path)
    : m_path(path), m_owner(getpid()),
      m_file(path == "-" ? dup(STDERR_FILENO) : open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
    if (m_file >= 0) return;
    kzTellUnusable(reason(path));
    throw kzFailedCode;
}

CReportFile::~CReportFile() {
    if (m_file >= 0) close(m_file);
}

void CReportFile::write(const std::string& text) noexcept {
    std::size_t at = 0;
    while (m_file >= 0 && at < text.size() && getpid() == m_owner) {
        const ssize_t written = ::write(m_file, text.data() + at, text.size() - at);
        if (written >= 0) at += static_cast<std::size_t>(written);
        else if (errno != EINTR) {
            kzTellUnusable(reason(m_path));
            close(std::exchange(m_file, -1));
        }
    }
}
