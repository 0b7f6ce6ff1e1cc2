// What the program shows of the log and of scripts' text while it runs.
#include "host/cli/console_output.h"

#include "host/cli/standard_streams.h"
#include "host/state/property_table.h"
#include "host/state/text.h"

#include "kz/log.h"
#include "kz/result.h"

namespace kzhost {

namespace {

bool isOfScripts(const LogLine& line) { return line.subsystem == KZsLOG_SCRIPTS; }

// True for text that was shown when it was written, and for entries that only name the script whose text follows. If an
// interpreter does not give the origin of its entries, the name is at the top level.
bool isShownElsewhere(const LogLine& line) {
    switch (line.origin) {
    case TextOrigin::output:
    case TextOrigin::error:
    case TextOrigin::script: return true;
    case TextOrigin::host: return isOfScripts(line) && line.depth == 0 && kzSucceeded(line.level);
    default: return false;
    }
}

// Without an origin, the entries below a script's name are taken for its output.
bool isTextOfScript(const LogLine& line) {
    return line.origin == TextOrigin::host && isOfScripts(line) && kzSucceeded(line.level) && line.level != KZe_WARNING;
}

}  // namespace

bool CConsoleOutput::isHidden(const LogLine& line) const {
    if (isShownElsewhere(line)) return true;
    if (line.level == KZe_LOG_DEBUG && !m_debug && m_host.properties().get("log.debug") != "1") return true;
    const bool isNotice = !isOfScripts(line) && kzSucceeded(line.level) && line.origin != TextOrigin::report &&
                          line.origin != TextOrigin::leaks;
    return isNotice && (m_quiet || line.text.empty());
}

void CConsoleOutput::operator()(const LogLine& line) const {
    if (isHidden(line)) return;
    const std::string text = kzWithoutMarkup(line.text) + "\n";
    if (isTextOfScript(line)) CStandardStreams::get().out(text);
    else if (isOfScripts(line) || line.subsystem.empty() || line.depth > 0) CStandardStreams::get().error(text);
    else CStandardStreams::get().error(line.subsystem + ": " + text);
}

int CConsoleOutput::show(const TextPiece& piece) {
    CStandardStreams& streams = CStandardStreams::get();
    if (piece.isFlush) return streams.flush();
    if (piece.origin == TextOrigin::output) return streams.out(piece.text);
    streams.error(piece.text);
    return 0;
}

}  // namespace kzhost
