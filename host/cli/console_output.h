// Where lines of the log go while the program runs: scripts' output to standard output, the rest to standard error, and
// all of it to a file of JSON lines.
#pragma once

#include "host/core/log_store.h"
#include "host/kz_host.h"

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

class CConsoleOutput {
public:
    CConsoleOutput(CKzHost& host, bool quiet, bool debug, std::FILE* out = stdout, std::FILE* error = stderr)
        : m_host(host), m_quiet(quiet), m_debug(debug), m_out(out), m_error(error) {}
    void operator()(const LogLine& line);

private:
    bool isHeading(const LogLine& line);
    bool isForError(const LogLine& line);
    bool showsDebug() const;

    CKzHost& m_host;
    bool m_quiet;
    bool m_debug;
    std::FILE* m_out;
    std::FILE* m_error;
    std::mutex m_lock;
    bool m_afterError = false;
};

// Writes each line at once, so that nothing is lost however the process ends.
class CLogFile {
public:
    ~CLogFile();
    // False, with the reason in `why`.
    bool open(const std::string& path, std::string& why);
    void operator()(const LogLine& line);

private:
    std::FILE* m_file = nullptr;
    std::mutex m_lock;
};
