// The event log as a file of JSON lines.
#pragma once

#include "host/core/log_store.h"

#include <chrono>
#include <mutex>
#include <string>

namespace kzhost {

// Each row goes to the end of the file in one write, so that nothing is lost however the process ends, and that any number
// of processes may share a file.
class CLogFile {
public:
    CLogFile() = default;
    ~CLogFile();
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;

    // "-" is standard output. False, with the reason in `why`.
    bool open(const std::string& path, std::string& why);
    void operator()(const LogLine& line);
    // The last row: how the program ends, and how long it took. Answers the status, or that of a log that was lost.
    int end(int status);

private:
    void write(std::string row);

    std::string m_path;
    int m_file = -1;
    bool m_hasFailed = false;
    std::mutex m_lock;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}  // namespace kzhost
