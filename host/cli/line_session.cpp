// A conversation with a line interpreter.
#include "host/cli/line_session.h"

#include "host/cli/console_output.h"
#include "host/cli/interrupt.h"
#include "host/cli/script_end.h"
#include "host/cli/standard_streams.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/values.h"
#include "host/state/property_table.h"
#include "host/state/text.h"

#include "kz/block_io.h"
#include "kz/result.h"
#include "kz/value.h"

#include <utility>

namespace kzhost {

namespace {

// Takes what a line gives. Text that comes without its origin is what the user asked for.
class CLineExecution final
    : public CHosted<"line", CLineExecution, CKzIfc_LineExecution, CKzIfc_TextOutput, CHeardOutcome> {
public:
    // Without a view nothing is shown, and to the interpreter the results were only looked up.
    explicit CLineExecution(CResultView* view) : m_view(view) {}

    KzResult lin_Results(IKzUnknown* values) override;
    KzResult lin_Info(const char* text) override;
    KzResult lin_Message(IKzUnknown* /*message*/) override { return KZe_OK; }
    KzResult lin_Flags(std::uint32_t* flags) override {
        *flags = 0;
        return KZe_OK;
    }
    KzResult lin_Progress(double /*fraction*/) override { return KZe_OK; }

    KzResult textoutput_Write(const char* origin, std::uint32_t level, std::uint64_t size, const void* text) override {
        return show({kzOriginOf(kzTextOf(origin)), level, {static_cast<const char*>(text), size}});
    }
    KzResult textoutput_Flush(const char* origin) override {
        return show({kzOriginOf(kzTextOf(origin)), KZe_OK, {}, true});
    }
    std::int32_t textoutput_Failure() override { return m_failure; }

    const std::vector<std::string>& results() const { return m_results; }

private:
    KzResult show(const TextPiece& piece) {
        m_failure = m_view != nullptr ? CConsoleOutput::show(piece) : 0;
        return m_failure == 0 ? KZe_OK : KZe_IO_ERROR;
    }

    CResultView* m_view;
    int m_failure = 0;
    std::vector<std::string> m_results;
};

KzResult CLineExecution::lin_Results(IKzUnknown* values) {
    const CKzUser_ValueArray held(values);
    if (!held) return KZe_INVALIDARG;
    for (std::uint32_t index = 0; index < held->Count(); ++index)
        kzReadText(m_results.emplace_back(),
                   [&](char* text, std::uint32_t length) { return held->GetString(index, text, length); });
    if (m_view == nullptr) return KZe_FALSE;
    m_view->show(m_results);
    return KZe_OK;
}

KzResult CLineExecution::lin_Info(const char* text) {
    return show({TextOrigin::output, KZe_INFO, kzWithoutMarkup(kzTextOf(text)) + "\n"});
}

}  // namespace

int CLineSession::open() {
    CKzHost& host = m_program.host();
    host.properties().set("script.interrupt", "signal");
    const auto servers = host.modules().servers(KZa_LINEINTERPRETER);
    if (servers.empty()) {
        CProgram::say("the module offers no line interpreter");
        return exitNoModule;
    }
    if (!m_program.wakeInterpreter(servers.front().name)) {
        CProgram::say("the interpreter \"" + servers.front().name + "\" failed to start");
        return exitNoInterpreter;
    }
    m_language = servers.front().name;
    CKzLoc_Unknown interpreter, asked;
    m_interpreter.set(CModuleTable::spawn(servers.front(), interpreter).raw());
    m_asked.set(CModuleTable::spawn(servers.front(), asked).raw());
    return m_interpreter && m_asked ? exitOk : exitNoInterpreter;
}

std::string CLineSession::promptFor(bool continued) {
    const char* text = nullptr;
    return kzSucceeded(m_interpreter.Prompt(continued ? 1 : 0, &text)) && text != nullptr ? text : "> ";
}

std::string CLineSession::prompt() { return promptFor(!m_pending && !m_open.empty()); }

// The interpreter compiles all of an unfinished statement again with each line that it is given. It is given little by
// little while the statement is short, as somebody types it, and then only when there is as much again, so that a paste of
// any length costs in proportion to it.
bool CLineSession::isDue(std::size_t size) const {
    constexpr std::size_t shortText = 1000;
    return size < shortText || size >= 2 * m_passedSize;
}

int CLineSession::execute(const std::string& line) {
    m_results.forget();
    if (!isContinued()) m_passedSize = 0;
    m_open.add(line);
    if (m_open.isOpen()) return tryOpen();
    if (!m_pending) return passOpen();
    const bool endsBlock = m_open.text().empty();
    moveToBlock();
    return endsBlock ? endBlock() : passBlock();
}

// The interpreter takes a line of the program at a time, so one that is typed as several is put together first: to the
// interpreter an open string that goes on in the next line would be the same as a block that does. It is shown what is open
// all the same, because text that can no longer become right is better told at once. Not so after a backslash, where what
// stands before it may be whole and would run, nor inside a block, which would be lost.
int CLineSession::tryOpen() {
    if (m_pending || !m_open.isInside() || m_open.endsInBackslash() || !isDue(m_open.text().size())) return exitOk;
    m_passedSize = m_open.text().size();
    const int status = pass(m_open.text());
    if (m_pending) m_interpreter.Reset();
    else m_open.clear();
    m_pending = false;
    return status;
}

int CLineSession::passOpen() {
    const std::string text = m_open.text();
    m_open.clear();
    m_passedSize = text.size();
    return pass(text);
}

void CLineSession::moveToBlock() {
    if (!m_block.empty() && !m_open.text().empty()) m_block += '\n';
    m_block += m_open.text();
    m_open.clear();
}

int CLineSession::passBlock() {
    if (!isDue(m_passedSize + m_block.size())) return exitOk;
    m_passedSize += m_block.size();
    return pass(std::exchange(m_block, {}));
}

// The interpreter ends a block with an empty line, unless it has already found it wrong.
int CLineSession::endBlock() {
    if (!m_block.empty())
        if (const int status = pass(std::exchange(m_block, {})); !m_pending) return status;
    return pass("");
}

int CLineSession::pass(const std::string& text) {
    const auto execution = CHostRef<CLineExecution>::make(&m_results);
    CInterruptScope::takeInterrupt();
    const KzResult code = m_interpreter.Execute(text.c_str(), execution.raw());
    m_pending = promptFor(false).starts_with("..");
    if (kzSucceeded(code)) return exitOk;
    const ScriptOutcome& end = execution->outcome();
    if (end.kind == ScriptOutcome::Kind::exit) return *(m_leaving = kzStatusOfExit("the line", end));
    m_failed = true;
    return end.kind == ScriptOutcome::Kind::interrupted ? exitInterrupted : exitFailed;
}

void CLineSession::finish() {
    if (m_pending) moveToBlock();
    else if (!m_open.empty()) passOpen();
    if (m_pending) endBlock();
}

void CLineSession::reset() {
    m_interpreter.Reset();
    m_open.clear();
    m_block.clear();
    m_pending = false;
}

std::optional<std::vector<std::string>> CLineSession::ask(const std::string& expression) {
    const auto execution = CHostRef<CLineExecution>::make(nullptr);
    const KzResult code = m_asked.Execute(expression.c_str(), execution.raw());
    m_asked.Reset();
    if (kzFailed(code)) return {};
    return execution->results();
}

}  // namespace kzhost
