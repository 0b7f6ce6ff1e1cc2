// --trace-calls, --profile, --leaks and --record.
#include "host/cli/watch_options.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <unistd.h>

namespace kzhost {

namespace {

// A %p in a file name stands for the number of the process, as in the module's variables.
std::string withProcess(std::string file) {
    if (const std::size_t at = file.find("%p"); at != std::string::npos) file.replace(at, 2, std::to_string(getpid()));
    return file;
}

std::string whyUnwritable(const char* option, const std::string& file) {
    if (file.empty() || file == "-") return {};
    const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (opened < 0) return std::string(option) + ": " + file + " cannot be written: " + std::strerror(errno);
    close(opened);
    return {};
}

}  // namespace

void WatchOptions::addTo(CLI::App& app) {
    app.add_option("--trace-calls", trace,
                   "Write each call between Python and the host to FILE, a trace for Perfetto and Chrome's viewer")
        ->type_name("FILE");
    app.add_option("--profile", profile,
                   "Sum up these calls by method, on standard error or, after an equals sign, in FILE")
        ->type_name("[=FILE]")
        ->expected(0, 1);
    app.add_option("--record", record, "Write what the host answers to the script of run to FILE, for replay")
        ->type_name("FILE");
    app.add_option("--leaks", leaks,
                   "Say what refers to objects of the host in the end, and by which line; with error, it is a failure")
        ->type_name("report|error")
        ->check([](const std::string& mode) {
            return mode == "report" || mode == "error" ? "" : "\"" + mode + "\" should be report or error";
        });
}

// The words that a recording's script ran with; none if the file is no recording, which whoever plays it will tell.
std::vector<std::string> kzRecordedWords(const std::string& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    std::getline(stream, line);
    const auto header = nlohmann::json::parse(line, nullptr, false);
    std::vector<std::string> words;
    if (header.is_object() && header.contains("words") && header["words"].is_array())
        for (const auto& word : header["words"])
            if (word.is_string()) words.push_back(word.get<std::string>());
    return words;
}

CWatchVariables::CWatchVariables(const WatchOptions& options, std::string& why) {
    const std::string trace = withProcess(options.trace), profile = withProcess(options.profile);
    for (const auto& [option, file] :
         {std::pair("--trace-calls", trace), std::pair("--profile", profile), std::pair("--record", options.record)})
        if (why.empty()) why = whyUnwritable(option, file);
    set("KZ_TRACE_CALLS", trace);
    set("KZ_PROFILE_CALLS", profile);
    set("KZ_LEAKS", options.leaks);
    set("KZ_RECORD", options.record);
    set("KZ_REPLAY", options.replay);
}

CWatchVariables::~CWatchVariables() {
    for (const auto& [variable, former] : m_former)
        if (former) setenv(variable, former->c_str(), 1);
        else unsetenv(variable);
}

void CWatchVariables::set(const char* variable, const std::string& value) {
    if (value.empty()) return;
    const char* former = std::getenv(variable);
    m_former.emplace_back(variable, former != nullptr ? std::optional<std::string>(former) : std::nullopt);
    setenv(variable, value.c_str(), 1);
}

}  // namespace kzhost
