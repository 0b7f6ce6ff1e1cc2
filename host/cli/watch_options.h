// The options of the program that have the module watch the calls between Python and the host.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace kzhost {

struct WatchOptions {
    std::string trace;    // a file, or empty
    std::string profile;  // a file, - for standard error, or empty
    std::string leaks;    // "report", "error", or empty
    std::string record;   // a file, or empty
    std::string replay;   // a recording that is played, or empty

    void addTo(CLI::App& app);
};

// The words that a recording's script ran with.
std::vector<std::string> kzRecordedWords(const std::string& file);

// Sets the module's variables, from which it learns while it is loaded what to watch, and restores the environment in the
// end, so that child processes do not write to the same files.
class CWatchVariables {
public:
    // `why` becomes a full sentence if a file cannot be written.
    CWatchVariables(const WatchOptions& options, std::string& why);
    ~CWatchVariables();
    CWatchVariables(const CWatchVariables&) = delete;
    CWatchVariables& operator=(const CWatchVariables&) = delete;

private:
    void set(const char* variable, const std::string& value);

    std::vector<std::pair<const char*, std::optional<std::string>>> m_former;
};

}  // namespace kzhost
