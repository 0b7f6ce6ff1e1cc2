// Passes the calls on to a recorder or a player in Python, from the start of the outermost script to its end.
#include "observe/python_watch.h"

#include "observe/ghost.h"
#include "observe/short_text.h"
#include "observe/watching.h"

#include "module/checks.h"
#include "module/error_report.h"
#include "module/output.h"
#include "module/pending_exception.h"
#include "script/interpreter_script.h"
#include "wrap/wrapper.h"

#include "kz/base/text_output.h"
#include "kz/result.h"

#include <cstring>

namespace {

PyObject* orNone(PyObject* object) noexcept { return object != nullptr ? object : Py_None; }

// RAII guard under which neither a debugger nor a profiler of Python sees what runs.
class CUntraced {
public:
    CUntraced() noexcept { ++PyThreadState_GET()->tracing; }
    ~CUntraced() { --PyThreadState_GET()->tracing; }
    CUntraced(const CUntraced&) = delete;
    CUntraced& operator=(const CUntraced&) = delete;
};

class CPythonWatch final : public CCallWatcher {
public:
    CPythonWatch(std::string mode, std::string file) : m_mode(std::move(mode)), m_file(std::move(file)) {}

    bool begin(const KzCrossing& crossing, PyObject*& answer) override {
        const CPendingException pending;
        const CUntraced untraced;
        if (m_watcher.get() == nullptr && !start(crossing)) return endScript(crossing, answer);
        const CPyRef arguments(PyTuple_New(crossing.count), CPyRef::owned);
        for (Py_ssize_t at = 0; at < crossing.count; ++at) {
            Py_INCREF(crossing.arguments[at]);
            PyTuple_SET_ITEM(arguments.get(), at, crossing.arguments[at]);
        }
        const CPyRefNull result(PyObject_CallMethod(
            m_watcher, kzText("begin"), kzText("issOOO"), crossing.direction == KzCrossing::toHost ? 1 : 0,
            crossing.owner, crossing.method, orNone(crossing.self), arguments.get(), orNone(crossing.keywords)));
        return isAnswer(crossing, result, answer);
    }

    void end(const KzCrossing& crossing, PyObject* result) override {
        if (m_watcher.get() == nullptr) return;
        const CUntraced untraced;
        KzException raised;
        if (result == nullptr) raised = KzException::fetch();
        const CPyRefNull told(PyObject_CallMethod(m_watcher, kzText("end"), kzText("iOO"),
                                                  crossing.direction == KzCrossing::toHost ? 1 : 0, orNone(result),
                                                  orNone(raised.value.get())));
        if (told.get() == nullptr) tellFailure();
        raised.restore();
    }

    void made(PyObject* object, bool isServed) override {
        if (!isServed) return;
        if (m_watcher.get() == nullptr) return m_living.push_back(object);
        const CPendingException pending;
        const CUntraced untraced;
        const CPyRefNull told(PyObject_CallMethod(m_watcher, kzText("made"), kzText("O"), object));
        if (told.get() == nullptr) tellFailure();
    }

    void gone(PyObject* object) override {
        if (m_watcher.get() == nullptr) return static_cast<void>(std::erase(m_living, object));
        const CPendingException pending;
        const CUntraced untraced;
        // By its address: the object may be past being passed to anybody.
        const CPyRefNull told(PyObject_CallMethod(m_watcher, kzText("gone"), kzText("N"), PyLong_FromVoidPtr(object)));
        if (told.get() == nullptr) tellFailure();
    }

private:
    // The meta objects of classes that were blessed before, which the host passes to each instance.
    void rememberMeta(const KzCrossing& crossing) {
        if (crossing.direction == KzCrossing::toHost && std::strcmp(crossing.method, "bless") == 0 &&
            crossing.count > 3)
            m_metas.emplace_back(crossing.arguments[3]);
    }

    // True once the recorder or player is there. The outermost script is what it begins with.
    bool start(const KzCrossing& crossing) {
        const bool isScript = crossing.direction == KzCrossing::toPython && std::strcmp(crossing.method, "script") == 0;
        if (!isScript || m_hasFailed) return rememberMeta(crossing), false;
        const CPyRefNull package(PyImport_ImportModule("kzserv.recording"));
        const CPyRef living(PyList_New(0), CPyRef::owned);
        for (PyObject* each : m_living) kzNonNegative(PyList_Append(living, each));
        for (const CPyRef& each : std::exchange(m_metas, {})) kzNonNegative(PyList_Append(living, each));
        if (package.get() != nullptr)
            m_watcher.adopt(PyObject_CallMethod(package, kzText("start"), kzText("sssOOO"), m_mode.c_str(),
                                                m_file.c_str(), crossing.owner, crossing.arguments[0],
                                                crossing.arguments[1], living.get()));
        if (m_watcher.get() == nullptr) tellFailure();
        return false;  // the script itself is no call of a script
    }

    // A script whose recording cannot be played must not go on with the host that plays it.
    bool endScript(const KzCrossing& crossing, PyObject*& answer) const {
        if (!m_hasFailed || m_mode != "replay" || crossing.direction == KzCrossing::toPython) return false;
        PyErr_SetObject(PyExc_SystemExit, CPyRef(PyInt_FromLong(1), CPyRef::owned));
        answer = nullptr;
        return true;
    }

    // What the player returns is None to go on, (value,) for a result, and (None, exception) for a failure. What it raises
    // ends the script: the recording does not say what would have happened.
    bool isAnswer(const KzCrossing& crossing, PyObject* result, PyObject*& answer) {
        if (result == Py_None) return false;
        if (result == nullptr && (m_mode == "record" || crossing.direction == KzCrossing::toPython))
            return tellFailure();
        answer = nullptr;
        if (result == nullptr) return true;
        const bool isTuple = PyTuple_Check(result) && PyTuple_GET_SIZE(result) != 0;
        if (isTuple && PyTuple_GET_SIZE(result) == 1) {
            answer = PyTuple_GET_ITEM(result, 0);
            Py_INCREF(answer);
        } else if (isTuple) {
            PyObject* exception = PyTuple_GET_ITEM(result, 1);
            PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception)), exception);
        } else {
            PyErr_SetString(PyExc_TypeError, "a player answers with a tuple");
        }
        return true;
    }

    // Gives up; a recorder that has failed must not harm the script. A player that ends the script has said why. Always
    // false.
    bool tellFailure() {
        m_hasFailed = true;
        if (PyErr_ExceptionMatches(PyExc_SystemExit) != 0) PyErr_Clear();
        else kzTellException(("the " + m_mode + " has failed").c_str());
        m_watcher.adopt(nullptr);
        return false;
    }

    std::string m_mode;
    std::string m_file;
    std::vector<PyObject*> m_living;  // borrowed: what the host held before the script began
    std::vector<CPyRef> m_metas;
    CPyRefNull m_watcher;  // null until a script has begun
    bool m_hasFailed = false;
};

// The functions of _kzobserve.

PyObject* ghostFunction(PyObject* /*self*/, PyObject* args) {
    PyTypeObject* type = nullptr;
    long number = 0;
    if (PyArg_ParseTuple(args, "O!l", &PyType_Type, &type, &number) == 0) return nullptr;
    if (kzIsWrapperType(type)) return kzMakeGhost(type, number);
    PyErr_Format(PyExc_TypeError, "%s is no type of wrappers", type->tp_name);
    return nullptr;
}

PyObject* fillFunction(PyObject* /*self*/, PyObject* args) {
    PyObject* wrapper = nullptr;
    long number = 0;
    if (PyArg_ParseTuple(args, "Ol", &wrapper, &number) == 0) return nullptr;
    if (!kzIsWrapperType(Py_TYPE(wrapper))) Py_RETURN_FALSE;
    return kzFillWithGhost(wrapper, number) ? PyBool_FromLong(1) : nullptr;
}

PyObject* numberFunction(PyObject* /*self*/, PyObject* object) {
    return PyInt_FromLong(kzIsWrapperType(Py_TYPE(object)) ? kzNumberOfGhost(object) : 0);
}

PyObject* writeFunction(PyObject* /*self*/, PyObject* args) {
    const char* origin = nullptr;
    const char* text = nullptr;
    unsigned long code = 0;
    int isForLog = 0;
    if (PyArg_ParseTuple(args, "ssk|i", &origin, &text, &code, &isForLog) == 0) return nullptr;
    if (isForLog != 0) kzLog(text, static_cast<KzResult>(code));
    else kzWriteFrom(origin, text, static_cast<KzResult>(code));
    Py_RETURN_NONE;
}

PyObject* enterFunction(PyObject* /*self*/, PyObject* args) {
    if (PyTuple_GET_SIZE(args) == 0) return PyErr_Format(PyExc_TypeError, "enter expects a callable");
    const CPyRefNull rest(PyTuple_GetSlice(args, 1, PyTuple_GET_SIZE(args)));
    if (rest.get() == nullptr) return nullptr;
    const CWatchedAgain again;
    const int depth = std::exchange(PyThreadState_GET()->tracing, 0);
    PyObject* result = PyObject_CallObject(PyTuple_GET_ITEM(args, 0), rest);
    PyThreadState_GET()->tracing = depth;
    return result;
}

PyObject* runFunction(PyObject* /*self*/, PyObject* args) {
    const char* name = nullptr;
    const char* text = nullptr;
    const char* argument = nullptr;
    PyObject* words = nullptr;
    if (PyArg_ParseTuple(args, "sssO!", &name, &text, &argument, &PyTuple_Type, &words) == 0) return nullptr;
    return kzPythonEntry([=] {
        std::vector<std::string> all{name};
        for (Py_ssize_t at = 0; at < PyTuple_GET_SIZE(words); ++at)
            all.push_back(kzStringOf(PyTuple_GET_ITEM(words, at)));
        std::string source = text;
        Python_Script::trimTrailingLines(source);
        Python_Script::CInterpreterScript run(name, 0);
        run.prepare(nullptr, argument);
        return PyLong_FromUnsignedLong(run.execute(source.c_str(), all));
    });
}

PyMethodDef functions[] = {
    {"ghost", ghostFunction, METH_VARARGS, "wrapper = ghost(type, number)\n\nA wrapper around a ghost."},
    {"fill", fillFunction, METH_VARARGS,
     "done = fill(wrapper, number)\n\nMakes a new wrapper refer to a ghost. False for what is no wrapper."},
    {"number", numberFunction, METH_O, "number = number(object)\n\nThe number of its ghost, or 0."},
    {"write", writeFunction, METH_VARARGS,
     "write(origin, text, code, is_for_log=0)\n\nWrites where the script's output goes, or to the log itself."},
    {"enter", enterFunction, METH_VARARGS,
     "result = enter(callable, *args)\n\nCalls as the host would: what is called is watched."},
    {"run", runFunction, METH_VARARGS, "code = run(name, text, argument, words)\n\nRuns a script as the host would."},
    {nullptr, nullptr, 0, nullptr},
};

}  // namespace

std::unique_ptr<CCallWatcher> kzMakeRecorder(const std::string& file) {
    return std::make_unique<CPythonWatch>("record", file);
}

std::unique_ptr<CCallWatcher> kzMakePlayer(const std::string& file) {
    return std::make_unique<CPythonWatch>("replay", file);
}

void kzAddObserveModule() {
    kzNonNull(Py_InitModule3("_kzobserve", functions, "What the package kzserv.recording needs."));
}
