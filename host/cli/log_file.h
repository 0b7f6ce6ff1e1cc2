// The event log as a file of JSON lines.
#pragma once

#include "host/core/log_store.h"

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

namespace kzhost {

// Each row is appended to the file in a single write. So nothing is lost, however the process ends, and any number of
// processes can share a file.
class CLogFile {
public:
    CLogFile() = default;
    ~CLogFile();
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;

    // "-" is standard output. On failure false, with the reason in `why`.
    bool open(const std::string& path, std::string& why);
    void operator()(const LogLine& line);
    // Called before anything runs: the script, empty for none, and its arguments, which tell runs that share a file
    // apart.
    void setJob(std::string script, std::vector<std::string> arguments);
    // Writes the last row: the job, its exit status and its run time. Returns the status, or that of a lost log.
    int end(int status);

private:
    void write(const std::string& row);

    std::string m_path;
    int m_file = -1;
    bool m_hasFailed = false;
    std::string m_script;
    std::vector<std::string> m_arguments;
    std::mutex m_lock;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

}  // namespace kzhost
