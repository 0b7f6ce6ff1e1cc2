// The console: collects lines until they form a statement, and runs it in the main dictionaries.
#include "script/line_interpreter.h"

#include "kz/base/object_output.h"
#include "module/checks.h"
#include "module/crossing_watch.h"
#include "module/output.h"
#include "module/pending_exception.h"
#include "module/py_lock.h"
#include "module/runtime.h"
#include "module/stop.h"
#include "script/outcome.h"
#include "script/statement.h"
#include "script/static_tags.h"
#include "wrap/result_codes.h"

#include "kz/base/forever.h"
#include "kz/base/global_cache.h"
#include "kz/command.h"
#include "kz/result.h"
#include "kz/script.h"
#include "kz/value.h"

#include <memory>
#include <mutex>

namespace Python_LineInterp {

namespace {

constexpr KzTagRecord tags[] = {{"server.username", "Python", nullptr}};

// Writes the output of a line to the console.
class CExecOutput : public COutput {
public:
    explicit CExecOutput(IKzUnknown* execution) {
        m_execution.set(execution);
        if (m_execution) m_stream.set(execution);
    }
    void trace(const char* name, const char* message, KzResult code) override {
        inform(kzFromModule, std::string(kzFailed(code) ? "trace error: " : "trace: ") + name + " - " + message, code);
    }
    void write(const char* text, KzResult code) override { writeFrom(kzFromModule, text, code); }
    void writeFrom(const char* origin, const char* text, KzResult code) override {
        if (m_stream && (origin == kzFromOutput || origin == kzFromError)) return;  // the stream has shown it
        inform(origin, kzFailed(code) ? std::string("ERROR: ") + text : text, code);
    }
    IKzTextOutput* stream() override { return m_stream.ptr(); }
    IKzLineExecution* console() const { return m_execution.ptr(); }

private:
    // What the console does not accept goes to the sink below: while a sink is being called, writing bypasses it.
    void inform(const char* origin, const std::string& text, KzResult code) {
        if (!m_execution) return;
        const std::string line = text + "\n";
        const KzResult result =
            m_stream ? m_stream->Write(origin, code, line.size(), line.data()) : m_execution->Info(text.c_str());
        if (kzFailed(result)) kzWriteFrom(origin, text.c_str(), code);
    }

    CKzLoc_LineExecution m_execution;
    CKzLoc_TextOutput m_stream;
};

class CLineInterpreter : public CKzImpl_LineInterpreter, public CStaticTags<tags> {
public:
    CLineInterpreter();
    KzResult lin_Prompt(std::int32_t continued, const char** prompt) override;
    KzResult lin_Execute(const char* line, IKzUnknown* execution) override;
    KzResult lin_Reset() override;

private:
    static void endPrintedLine();
    static KzResult endByException(IKzLineExecution* console);
    std::string pending();
    void setPending(std::string statement);
    bool needsMoreLines(std::string& statement, bool wasPending, bool isEmptyLine) const;
    KzResult run(const std::string& statement, IKzUnknown* execution);
    void passResults(PyObject* result, IKzLineExecution* console);

    std::mutex m_lock;      // of what is pending, which is asked for without Python's lock
    std::string m_pending;  // the lines of a statement that is not complete
    int m_futures = 0;      // the compiler's flags of what was imported from __future__
    CKzUser_CommandService m_commands;
};

void reportStartFailure(KzResult code) {
    const PythonRuntime* runtime = PythonRuntime::current();
    const std::string step = runtime != nullptr ? runtime->progress() : std::string();
    kzWrite(step.empty() ? "error thrown on startup" : ("init failed: " + step).c_str(), code);
}

// Starts Python at once, so that a failure is reported before the first line is typed.
CLineInterpreter::CLineInterpreter() {
    if (CKzGlobalCache* cache = CKzGlobalCache::current()) m_commands.take(cache->service(KZu_COMMANDSERVICE));
    try {
        const CPyLock lock("a new console");
        return;
    } catch (KzResult code) {
        reportStartFailure(code);
    } catch (const std::exception& error) {
        kzWrite(error.what(), KZe_STARTUP);
    }
    kzWriteFrom(kzFromStartup, "Python subsystem failed to start", KZe_STARTUP);
}

KzResult CLineInterpreter::lin_Prompt(std::int32_t continued, const char** prompt) {
    *prompt = pending().empty() != (continued != 0) ? ">>> " : "... ";
    return KZe_OK;
}

std::string CLineInterpreter::pending() {
    const std::lock_guard lock(m_lock);
    return m_pending;
}

void CLineInterpreter::setPending(std::string statement) {
    const std::lock_guard lock(m_lock);
    m_pending.swap(statement);
}

KzResult CLineInterpreter::lin_Reset() {
    setPending({});
    return KZe_OK;
}

KzResult CLineInterpreter::lin_Execute(const char* line, IKzUnknown* execution) {
    const std::string_view text = line != nullptr ? line : "";
    if (text.empty() && pending().empty()) return KZe_SCRIPT_LINEISCOMMENT;
    CPyLock lock("a console line");
    const CStoppableRun stoppable;
    kzSetQuiet(false);
    std::string statement = pending();
    const bool wasPending = !statement.empty();
    if (wasPending) statement += '\n';
    statement += text;
    const bool isPending = needsMoreLines(statement, wasPending, text.empty());
    setPending(isPending ? statement : std::string());
    return isPending ? KZe_OK : run(statement, execution);
}

// A block that is complete goes on until an empty line ends it.
bool CLineInterpreter::needsMoreLines(std::string& statement, bool wasPending, bool isEmptyLine) const {
    switch (checkCompleteness(statement, m_futures)) {
    case Completeness::incomplete: return true;
    case Completeness::complete: return wasPending && !isEmptyLine;
    case Completeness::error: return false;
    }
    return false;
}

KzResult CLineInterpreter::run(const std::string& statement, IKzUnknown* execution) {
    const auto output = std::make_shared<CExecOutput>(execution);
    const COutputScope scope(output);
    MainInterpreter& interpreter = *kzNonNull(PythonRuntime::current()->interpreter(), KZe_NOTAVAILABLE);
    CPyRefNull code(compileStatement(statement, Py_eval_input, m_futures));
    if (code.get() == nullptr) {
        PyErr_Clear();
        code.adopt(compileStatement(statement, Py_file_input, m_futures));
    }
    const CPyRefNull result(code.get() == nullptr ? nullptr : kzWatchedEntry("console", "line", nullptr, [&] {
        return PyEval_EvalCode(reinterpret_cast<PyCodeObject*>(code.get()), interpreter.globals, interpreter.locals);
    }));
    if (output->stream() != nullptr) endPrintedLine();
    if (result.get() == nullptr) return endByException(output->console());
    if (result.get() != Py_None) passResults(result, output->console());
    return KZe_OK;
}

// As at Python's own prompt, a line that a print statement with a trailing comma has left open ends here.
void CLineInterpreter::endPrintedLine() {
    const CPendingException pending;
    if (Py_FlushLine() != 0) PyErr_Clear();
}

// Where pdb.pm() looks, as at Python's own prompt.
void keepForDebugger(const KzException& exception) {
    const std::pair<const char*, PyObject*> kept[] = {
        {"last_type", exception.type}, {"last_value", exception.value}, {"last_traceback", exception.traceback}};
    for (const auto& [name, object] : kept)
        if (PySys_SetObject(kzText(name), object != nullptr ? object : Py_None) != 0) PyErr_Clear();
}

// A host that hears how lines end is told of sys.exit(), and does what was asked; to others it is an exception.
KzResult CLineInterpreter::endByException(IKzLineExecution* console) {
    const CScriptOutcome outcome(console);
    KzException exception = KzException::fetch();
    if (outcome && exception.type.get() != nullptr &&
        PyErr_GivenExceptionMatches(exception.type, PyExc_SystemExit) != 0) {
        outcome.exit(exception, kzResultOfText(exception.value).code);
        return kzResultOfException(exception.type, exception.value);
    }
    outcome.fail(exception);
    const std::string source = markedSource(exception);
    keepForDebugger(exception);
    exception.restore();
    const KzResult code = kzResultOfPending();
    if (!source.empty()) kzWriteFrom(kzFromReport, kzVisible(source).c_str(), KZe_INFO);
    return code;
}

std::vector<std::string> textsOf(PyObject* result) {
    if (PyString_Check(result) || PyUnicode_Check(result) || PySequence_Check(result) == 0) return {kzStringOf(result)};
    const CPyRefNull items(PySequence_List(result));  // a copy: str() may run code that changes the sequence
    kzNonNull(items.get());
    std::vector<std::string> texts;
    for (Py_ssize_t index = 0; index < PyList_GET_SIZE(items.get()); ++index) {
        const CPyRef item(PyList_GET_ITEM(items.get(), index));
        texts.push_back(kzStringOf(item));
    }
    return texts;
}

void CLineInterpreter::passResults(PyObject* result, IKzLineExecution* console) {
    std::vector<std::string> texts;
    try {
        texts = textsOf(result);
    } catch (KzResult) {
        if (PyErr_Occurred() != nullptr) kzTellException();
        throw;
    }
    if (!m_commands) throw KZe_FAILED;
    CKzLoc_ValueArray values;
    kzTrue(kzSucceeded(
        kzObtain(values, [&](IKzUnknown** array) { return m_commands->CreateQueryObject("string", array); })));
    for (const std::string& text : texts) kzTrue(kzSucceeded(values->AddString(kzVisible(text).c_str())));
    if (console == nullptr || console->Results(values.raw()) != KZe_OK) return;
    // As at Python's own prompt, "_" is the last result that was shown. A console that only looks something up answers
    // with another success.
    if (PyDict_SetItemString(PyEval_GetBuiltins(), "_", result) != 0) PyErr_Clear();
}

}  // namespace

void registerServer(CKzThisModule& module) {
    static CKzForever<CKzPolymorph<CLineInterpreter>> polymorph;
    if (polymorph->recordCount() == 0) {  // a failed initialisation may have come this far
        polymorph->append(kzMakeRecord<CKzIfc_LineInterpreter<CLineInterpreter>>());
        polymorph->append(kzMakeRecord<CKzIfc_TagDescription<CLineInterpreter>>());
    }
    module.addServer("python", &*polymorph);
}

}  // namespace Python_LineInterp
