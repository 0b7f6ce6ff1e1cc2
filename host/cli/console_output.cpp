// Where lines of the log go while the program runs.
#include "host/cli/console_output.h"

#include "host/core/log_store.h"
#include "host/core/scripts.h"
#include "host/state/property_table.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>

namespace {

constexpr std::string_view scripts = "scripts";
constexpr std::string_view tracebackMark = " .. ";
constexpr std::string_view italicMark = "\x03(f:FONT_ITALIC)";

void writeLine(std::FILE* file, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), file);
    std::fputc('\n', file);
    std::fflush(file);
}

}  // namespace

// An entry that only says which script the entries below it come from.
bool CConsoleOutput::isHeading(const LogLine& line) {
    if (line.subsystem != scripts || kzFailed(line.level)) return false;
    return line.depth == 0 || m_host.scripts().takesAsHeading(line.text);
}

// What a script prints are entries of success below its heading. Remarks in italics, and the lines of a traceback that
// follow the error they belong to, are none of its output.
bool CConsoleOutput::isForError(const LogLine& line) {
    const bool isTraceback = m_afterError && line.text.starts_with(tracebackMark);
    m_afterError = kzFailed(line.level) || isTraceback;
    return line.subsystem != scripts || kzFailed(line.level) || line.level == KZe_WARNING || isTraceback ||
           line.text.starts_with(italicMark);
}

bool CConsoleOutput::showsDebug() const { return m_debug || m_host.properties().get("log.debug") == "1"; }

void CConsoleOutput::operator()(const LogLine& line) {
    const std::lock_guard lock(m_lock);
    if (isHeading(line)) {
        m_afterError = false;
        return;
    }
    const bool isError = isForError(line);
    const bool isNotice = line.subsystem != scripts && kzSucceeded(line.level) && !line.text.starts_with(tracebackMark);
    if ((isNotice && (m_quiet || line.text.empty())) || (line.level == KZe_LOG_DEBUG && !showsDebug())) return;
    std::string text = kzWithoutMarkup(line.text);
    if (isError && line.subsystem != scripts && !line.subsystem.empty() && line.depth == 0)
        text = line.subsystem + ": " + text;
    writeLine(isError ? m_error : m_out, text);
}

CLogFile::~CLogFile() {
    if (m_file != nullptr) std::fclose(m_file);
}

bool CLogFile::open(const std::string& path, std::string& why) {
    m_file = std::fopen(path.c_str(), "we");
    if (m_file == nullptr) why = "the log file " + path + " cannot be written: " + std::strerror(errno);
    return m_file != nullptr;
}

void CLogFile::operator()(const LogLine& line) {
    nlohmann::ordered_json row;
    row["subsystem"] = line.subsystem;
    row["entry"] = line.entry;
    row["level"] = line.level;
    row["text"] = line.text;
    row["depth"] = line.depth;
    const std::lock_guard lock(m_lock);
    writeLine(m_file, row.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}
