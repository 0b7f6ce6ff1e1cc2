// The event log as a file of JSON lines.
#include "host/cli/log_file.h"

#include "host/cli/standard_streams.h"
#include "host/state/text.h"

#include <fmt/chrono.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace kzhost {

namespace {

using Row = nlohmann::ordered_json;

Row newRow() {
    const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    const auto second = std::chrono::floor<std::chrono::seconds>(now);
    Row row;
    row["time"] = fmt::format("{:%FT%T}.{:03}Z", fmt::gmtime(std::chrono::system_clock::to_time_t(second)),
                              (now - second).count());
    row["process"] = getpid();
    row["thread"] = syscall(SYS_gettid);
    return row;
}

std::string textOf(const Row& row) { return row.dump(-1, ' ', false, Row::error_handler_t::replace) + "\n"; }

}  // namespace

CLogFile::~CLogFile() {
    if (m_file >= 0) close(m_file);
}

bool CLogFile::open(const std::string& path, std::string& why) {
    if (path != "-") m_file = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (m_file >= 0 || path == "-") m_path = path;
    else why = "the log file " + path + " cannot be written: " + std::strerror(errno);
    return !m_path.empty();
}

void CLogFile::operator()(const LogLine& line) {
    Row row = newRow();
    row["subsystem"] = line.subsystem;
    row["entry"] = line.entry;
    row["depth"] = line.depth;
    row["level"] = kzCodeName(line.level);
    row["code"] = line.level;
    row["origin"] = kzOriginName(line.origin);
    if (!line.script.empty()) row["script"] = line.script;
    row["text"] = line.text;
    write(textOf(row));
}

void CLogFile::setJob(std::string script, std::vector<std::string> arguments) {
    m_script = std::move(script);
    m_arguments = std::move(arguments);
}

int CLogFile::end(int status) {
    if (m_path.empty()) return status;
    Row row = newRow();
    if (!m_script.empty()) row["script"] = m_script;
    if (!m_script.empty() || !m_arguments.empty()) row["arguments"] = m_arguments;
    row["status"] = status;
    row["seconds"] = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    write(textOf(row));
    return CStandardStreams::get().finish(status);
}

void CLogFile::write(const std::string& row) {
    if (m_path == "-") {
        CStandardStreams::get().out(row);
        return;
    }
    const std::lock_guard lock(m_lock);
    for (std::string_view rest = row; !rest.empty();) {
        const ssize_t size = ::write(m_file, rest.data(), rest.size());
        if (size >= 0) rest.remove_prefix(static_cast<std::size_t>(size));
        else if (errno != EINTR) {
            if (!std::exchange(m_hasFailed, true))
                CStandardStreams::get().fail("the log file " + m_path + " cannot be written: " + std::strerror(errno));
            return;
        }
    }
}

}  // namespace kzhost
