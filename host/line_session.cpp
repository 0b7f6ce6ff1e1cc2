// A conversation with a line interpreter.
#include "host/line_session.h"

#include "host/interrupt.h"
#include "host/open_text.h"
#include "host/values.h"

#include "kz/result.h"
#include "kz/value.h"

#include <cstdio>
#include <utility>

namespace {

// Takes what a line gives. Errors go where errors go; the rest is what the user asked for.
class CLineExecution final : public CHosted<"line", CLineExecution, CKzIfc_LineExecution> {
public:
    explicit CLineExecution(bool shows) : m_shows(shows) {}

    KzResult lin_Results(IKzUnknown* values) override;
    KzResult lin_Info(const char* text) override;
    KzResult lin_Message(IKzUnknown* /*message*/) override { return KZe_OK; }
    KzResult lin_Flags(std::uint32_t* flags) override {
        *flags = 0;
        return KZe_OK;
    }
    KzResult lin_Progress(double /*fraction*/) override { return KZe_OK; }

    const std::vector<std::string>& results() const { return m_results; }
    bool interrupted() const { return m_interrupted; }

private:
    bool m_shows;
    bool m_afterError = false;
    bool m_interrupted = false;
    std::vector<std::string> m_results;
};

KzResult CLineExecution::lin_Results(IKzUnknown* values) {
    const CKzUser_ValueArray held(values);
    if (!held) return KZe_INVALIDARG;
    for (std::uint32_t index = 0; index < held->Count(); ++index)
        kzReadText(m_results.emplace_back(),
                   [&](char* text, std::uint32_t length) { return held->GetString(index, text, length); });
    if (!m_shows) return KZe_OK;
    for (const std::string& text : m_results) std::printf("%s\n", text.c_str());
    std::fflush(stdout);
    return KZe_OK;
}

KzResult CLineExecution::lin_Info(const char* text) {
    const std::string plain = kzWithoutMarkup(kzTextOf(text));
    const bool isError =
        plain.starts_with("ERROR: ") || plain.starts_with("trace") || (m_afterError && plain.starts_with(" .. "));
    m_afterError = isError;
    if (plain.find("\"KeyboardInterrupt\"") != std::string::npos && isError) m_interrupted = true;
    if (!m_shows) return KZe_OK;
    std::fprintf(isError ? stderr : stdout, "%s\n", plain.c_str());
    std::fflush(isError ? stderr : stdout);
    return KZe_OK;
}

}  // namespace

int CLineSession::open() {
    CHostCore& core = m_program.host().core();
    core.properties.set("script.interrupt", "signal");
    const auto servers = core.modules.servers(KZa_LINEINTERPRETER);
    if (servers.empty()) {
        CProgram::say("the module offers no line interpreter");
        return exitNoModule;
    }
    if (!m_program.wakeInterpreter(servers.front().name)) {
        CProgram::say("the interpreter \"" + servers.front().name + "\" failed to start");
        return exitNoInterpreter;
    }
    CKzLoc_Unknown made;
    m_interpreter.set(CModuleTable::spawn(servers.front(), made).raw());
    return m_interpreter ? exitOk : exitNoInterpreter;
}

std::string CLineSession::prompt() {
    const char* text = nullptr;
    const std::int32_t continued = !m_pending && !m_open.empty() ? 1 : 0;
    return kzSucceeded(m_interpreter.Prompt(continued, &text)) && text != nullptr ? text : "> ";
}

int CLineSession::execute(const std::string& line) {
    m_open += line;
    if (isStillOpen()) {
        m_open += '\n';
        return exitOk;
    }
    return pass(std::exchange(m_open, {}));
}

// The interpreter takes a line of the program at a time, so one that is typed as several is put together first: to the
// interpreter an open string that goes on in the next line would be the same as a block that does. It is asked all the
// same, where it has no block to lose, because text that can no longer become right is better told at once.
bool CLineSession::isStillOpen() {
    if (!kzIsOpen(m_open)) return false;
    if (m_pending) return true;
    const auto silent = CHostRef<CLineExecution>::make(false);
    const bool fails = kzFailed(m_interpreter.Execute(m_open.c_str(), silent.raw()));
    m_interpreter.Reset();
    return !fails;
}

int CLineSession::pass(const std::string& text) {
    const auto execution = CHostRef<CLineExecution>::make(true);
    CInterruptScope::takeInterrupt();
    const KzResult code = m_interpreter.Execute(text.c_str(), execution.raw());
    m_pending = prompt().starts_with("..");
    if (kzSucceeded(code)) return exitOk;
    m_failed = true;
    return execution->interrupted() ? exitInterrupted : exitFailed;
}

void CLineSession::finish() {
    if (!m_open.empty()) pass(std::exchange(m_open, {}));
    if (m_pending) pass("");
}

void CLineSession::reset() {
    m_interpreter.Reset();
    m_open.clear();
    m_pending = false;
}

std::optional<std::vector<std::string>> CLineSession::ask(const std::string& line) {
    const auto execution = CHostRef<CLineExecution>::make(false);
    if (kzFailed(m_interpreter.Execute(line.c_str(), execution.raw()))) return {};
    return execution->results();
}
