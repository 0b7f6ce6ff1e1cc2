// A file that a watch writes. A forked child does not write to it.
#pragma once

#include <string>

// Says on standard error what is wrong with a file or a variable.
void kzTellUnusable(const std::string& text) noexcept;

class CReportFile {
public:
    // "-" is standard error. Throws FAILED, with a line on standard error that says why, if the file cannot be opened.
    explicit CReportFile(const std::string& path);
    ~CReportFile();
    CReportFile(const CReportFile&) = delete;
    CReportFile& operator=(const CReportFile&) = delete;

    // Best effort: after the first failure, which standard error tells, nothing more is written.
    void write(const std::string& text) noexcept;

private:
    std::string m_path;
    int m_owner;  // the process that opened it
    int m_file;
};
