// One running script.
#include "script/interpreter_script.h"

#include "kz/base/object_output.h"
#include "module/checks.h"
#include "module/crossing_watch.h"
#include "module/root_output.h"
#include "script/outcome.h"
#include "script/script_surroundings.h"

#include "kz/base/global_cache.h"
#include "kz/result.h"

#include <cctype>

namespace Python_Script {

namespace {

CPyRef textObject(const std::string& text) {
    return CPyRef(PyString_FromStringAndSize(text.data(), static_cast<Py_ssize_t>(text.size())), CPyRef::owned);
}

CPyRef tupleOf(const std::vector<std::string>& texts) {
    CPyRef tuple(PyTuple_New(static_cast<Py_ssize_t>(texts.size())), CPyRef::owned);
    for (std::size_t index = 0; index < texts.size(); ++index)
        PyTuple_SET_ITEM(tuple.get(), static_cast<Py_ssize_t>(index), CPyRef(textObject(texts[index])).release());
    return tuple;
}

// Whether a line contains no code, only white space and perhaps a comment.
bool isIdle(const char* at) {
    while (*at != '\0' && *at != '\n' && *at != '#') {
        if (std::isspace(static_cast<unsigned char>(*at)) == 0) return false;
        ++at;
    }
    return true;
}

// Runs a step that is not part of the script itself. If it throws, the host's message, which may be null, gets the
// reason, the pending exception is cleared, and the code is rethrown.
template <class Step> auto reporting(IKzMessage* message, Step&& step) {
    try {
        return step();
    } catch (KzResult) {
        kzValueBoundary([message] { kzReportToMessage(KzException::fetch(), message); });
        PyErr_Clear();
        throw;
    }
}

}  // namespace

CScriptOutput::CScriptOutput(std::string label) : m_label(std::move(label)) {
    if (CKzGlobalCache* cache = CKzGlobalCache::current()) m_log.take(cache->service(KZu_LOGSERVICE));
    m_stream.set(m_log.raw());
}

void CScriptOutput::place(IKzUnknown* entry) {
    const std::shared_ptr<COutput> below = m_below;  // the call may pop that sink
    if (IKzLogEntry* parent = below ? below->entry() : nullptr) {
        parent->AddEntry(entry);
        return;
    }
    CKzLoc_Log scripts;
    if (kzSucceeded(
            kzObtain(scripts, [&](IKzUnknown** subsystem) { return m_log->SubSystemLookup("scripts", subsystem); })))
        scripts->AddEntry(entry);
}

IKzLogEntry* CScriptOutput::entry() {
    if (m_entry || !m_log) return m_entry.ptr();
    CKzLoc_Unknown newEntry;
    kzMakeEntry(newEntry, m_log.ptr(), kzFromScript, m_label.c_str(), KZe_INFO);
    if (!m_entry.set(newEntry.raw())) return nullptr;
    place(m_entry.raw());
    return m_entry.ptr();
}

void CScriptOutput::writeFrom(const char* origin, const char* text, KzResult code) {
    IKzLogEntry* parent = entry();
    CKzLoc_Unknown newEntry;
    if (m_log) kzMakeEntry(newEntry, m_log.ptr(), origin, text, code);
    if (parent != nullptr && newEntry) parent->AddEntry(newEntry.raw());
}

void CScriptOutput::trace(const char* name, const char* message, KzResult code) {
    write(kzTraceMarkup(name, message).c_str(), code);
}

CInterpreterScript::CInterpreterScript(const std::string& name, std::uint32_t executionFlags)
    : m_interpreter(PythonRuntime::running()), m_name(name), m_status(KZe_STARTUP),
      m_savedArgument(m_interpreter.argument), m_savedArguments(m_interpreter.arguments),
      m_savedFlags(m_interpreter.executionFlags), m_savedAngles(m_interpreter.anglesInDegrees),
      m_savedRunFlag(m_interpreter.runFlag) {
    m_interpreter.executionFlags = executionFlags;
    m_interpreter.anglesInDegrees = false;
    m_interpreter.runFlag = 0;
    m_scope.emplace(std::make_shared<CScriptOutput>(name));
}

CInterpreterScript::~CInterpreterScript() {
    m_interpreter.releaseMonitors();
    m_scope.reset();
    m_interpreter.executionFlags = m_savedFlags;
    m_interpreter.runFlag = m_savedRunFlag;
    m_interpreter.anglesInDegrees = m_savedAngles;
    m_interpreter.argument = m_savedArgument;
    m_interpreter.arguments = m_savedArguments;
}

void CInterpreterScript::prepare(IKzMessage* message, const char* arguments) {
    m_message = message;
    const char* text = arguments != nullptr ? arguments : "";
    reporting(message, [&] {
        m_interpreter.argument = textObject(text);
        m_interpreter.arguments = tupleOf(splitArguments(text));
    });
    m_status = KZe_OK;
}

KzResult CInterpreterScript::execute(const char* text, std::vector<std::string> words) {
    if (kzFailed(m_status)) {
        char line[64];
        std::snprintf(line, sizeof line, "execution error %08x\n", m_status);
        kzWrite(line, KZe_FAILED);
        return m_status;
    }
    const CPyRef names(PyDict_Copy(m_interpreter.globals), CPyRef::owned);
    if (words.empty()) {
        words = splitArguments(PyString_AS_STRING(m_interpreter.argument.get()));
        words.insert(words.begin(), m_name);
    } else {
        m_interpreter.arguments = tupleOf({words.begin() + 1, words.end()});
    }
    const CScriptSurroundings surroundings(m_name, names, words);
    // Compiled under the script's own name, so that tracebacks say where they come from.
    const CPyRefNull code(Py_CompileString(text, m_name.c_str(), Py_file_input));
    const auto run = [&] { return PyEval_EvalCode(reinterpret_cast<PyCodeObject*>(code.get()), names, names); };
    const CPyRefNull result(code.get() == nullptr
                                ? nullptr
                                : kzWatchedEntry(m_name.c_str(), "script", nullptr, run, m_interpreter.argument.get(),
                                                 m_interpreter.arguments.get()));
    return result.get() != nullptr ? KZe_OK : analyseEnd();
}

KzResult CInterpreterScript::analyseEnd() {
    if (PyErr_Occurred() == nullptr) {
        kzWrite("no reason for script termination (?)", KZe_FAILED);
        return KZe_FAILED;
    }
    const KzException exception = KzException::fetch();
    if (exception.type.get() == nullptr) {
        kzWrite(kzTracebackText(exception.traceback, "/").c_str(), KZe_FAILED);
        return KZe_FAILED;
    }
    if (PyErr_GivenExceptionMatches(exception.type, PyExc_SystemExit) != 0) return reportExit(exception);
    return reportFailure(exception);
}

KzResult CInterpreterScript::reportExit(const KzException& exception) {
    const KzCodeText end = reporting(m_message, [&] { return kzResultOfText(exception.value); });
    const char* name = kzResultName(end.code);
    if (end.hasCode && end.message.empty()) tell("exit_code", name);
    else if (end.hasCode) tell("exit_code_msg", name, end.message.c_str());
    else if (!end.message.empty()) tell("exit_msg", end.message.c_str());
    CScriptOutcome(m_message).exit(exception, end.code);
    return end.code;
}

KzResult CInterpreterScript::reportFailure(const KzException& exception) {
    std::string text = "Unhandled exception";
    if (PyType_Check(exception.type.get()) != 0)
        if (const std::string name = kzExceptionName(exception.type, exception.value); !name.empty())
            text += " \"" + name + "\"";
    if (const std::string trace = kzTracebackText(exception.traceback, " / "); !trace.empty()) text += " @ " + trace;
    if (exception.hasValue())
        if (const std::optional<std::string> value = kzReadableText(exception.value)) text += "; " + *value;
    tell("script_err", kzVisible(std::move(text)).c_str());
    CScriptOutcome(m_message).fail(exception);
    kzReportException(exception);
    return KZe_FAILED;
}

void CInterpreterScript::tell(const char* key, const char* first, const char* second) {
    if (m_message == nullptr) return;
    m_message->SetCode(m_status);
    m_message->SetMessage("pythonintr", key, 0);
    m_message->SetArgumentString(1, first);
    if (second != nullptr) m_message->SetArgumentString(2, second);
}

std::vector<std::string> splitArguments(const char* text) {
    std::vector<std::string> tokens;
    const std::string_view all(text);
    std::size_t at = 0;
    while ((at = all.find_first_not_of(' ', at)) != std::string_view::npos) {
        const bool quoted = all[at] == '"';
        const std::size_t start = quoted ? at + 1 : at;
        const std::size_t end = std::min(all.find(quoted ? '"' : ' ', start), all.size());
        if (end > start) tokens.emplace_back(all.substr(start, end - start));
        at = std::min(end + 1, all.size());
    }
    return tokens;
}

void trimTrailingLines(std::string& text) {
    for (std::size_t at = text.size(); at-- > 1;) {
        if (text[at] != '\n') continue;
        if (!isIdle(text.c_str() + at + 1)) return;
        text.resize(at);
    }
}

}  // namespace Python_Script
