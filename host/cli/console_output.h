// What the program shows of the log and of scripts' text while it runs.
#pragma once

#include "host/core/log_store.h"
#include "host/kz_host.h"

namespace kzhost {

// The output of scripts goes to standard output unchanged. Their error output and everything else in the log goes to
// standard error.
class CConsoleOutput {
public:
    CConsoleOutput(CKzHost& host, bool quiet, bool debug) : m_host(host), m_quiet(quiet), m_debug(debug) {}

    // A line of the log.
    void operator()(const LogLine& line) const;
    // Text as a module writes it. Returns the errno of a failure, or 0.
    static int show(const TextPiece& piece);

private:
    bool isHidden(const LogLine& line) const;

    CKzHost& m_host;
    bool m_quiet;
    bool m_debug;
};

}  // namespace kzhost
