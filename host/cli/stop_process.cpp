// kzhost stop.
#include "host/cli/stop_process.h"

#include "host/cli/exit_status.h"
#include "host/cli/program.h"
#include "host/cli/stop_watch.h"
#include "host/state/path_aliases.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace kzhost {

namespace {

// Whether the process handles that signal, which would kill it otherwise.
bool handles(pid_t process, int signal) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    constexpr std::string_view key = "SigCgt:";
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(key))
            return ((std::strtoull(line.c_str() + key.size(), nullptr, 16) >> static_cast<unsigned>(signal - 1)) &
                    1U) != 0;
    return false;
}

// A full sentence that says why the process cannot be stopped, or nothing.
std::string obstacle(pid_t process) {
    const std::string name = "process " + std::to_string(process);
    if (kill(process, 0) != 0) return errno == EPERM ? name + " belongs to another user" : "there is no " + name;
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", error);
    if (error) return error == std::errc::permission_denied ? name + " belongs to another user" : name + " has ended";
    const auto own = std::filesystem::path(CPathAliases::programPath()).filename();
    if (program.filename() != own) return name + " is " + program.string() + ", and no " + own.string();
    if (!handles(process, CStopWatch::signalNumber())) return name + " does not run anything yet";
    return {};
}

}  // namespace

int kzStopProcess(const std::string& process) {
    pid_t number = 0;
    const char* end = process.data() + process.size();
    const auto [at, error] = std::from_chars(process.data(), end, number);
    std::string why = "\"" + process + "\" should be the number of a process, as ps shows it";
    if (error == std::errc() && at == end && number > 0) why = obstacle(number);
    if (why.empty() && kill(number, CStopWatch::signalNumber()) == 0) return exitOk;
    CProgram::say(why.empty() ? "process " + process + " has ended" : why);
    return exitUsage;
}

}  // namespace kzhost
