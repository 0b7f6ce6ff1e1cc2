// The exit status for the end of a script or line.
#include "host/cli/script_end.h"

#include "host/cli/exit_status.h"
#include "host/cli/program.h"
#include "host/core/message_tables.h"
#include "host/state/text.h"

#include <fmt/format.h>

namespace kzhost {

int kzStatusOfCode(const std::string& name, KzResult code) {
    if (code <= exitMostOfScript) return static_cast<int>(code);
    CProgram::say(fmt::format("{}: ended with {} (0x{:08x}), which is no exit status; it becomes {}", name, code, code,
                              static_cast<int>(exitMostOfScript)));
    return exitMostOfScript;
}

int kzStatusOfExit(const std::string& name, const ScriptOutcome& end) {
    const std::size_t colon = end.text.find(':');
    const std::string message = colon != std::string::npos ? end.text.substr(colon + 1) : std::string();
    const std::string text = message.substr(std::min(message.find_first_not_of(' '), message.size()));
    if (kzFailed(end.code)) {
        const std::string reason = text.empty() ? CMessageTables::codeText(end.code) : text;
        CProgram::say(fmt::format("{}: 0x{:08x} {}: {}", name, end.code, kzCodeName(end.code), reason));
        return exitFailed;
    }
    if (!end.isCode)
        CProgram::say(fmt::format("{}: {} (the status is {}, because this text is no code)", name, end.text, end.code));
    else if (!text.empty()) CProgram::say(name + ": " + text);
    return kzStatusOfCode(name, end.code);
}

}  // namespace kzhost
