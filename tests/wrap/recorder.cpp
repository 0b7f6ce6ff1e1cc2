// Recording objects and the Python module that drives them.
#include "tests/wrap/recorder.h"

#include "module/error_report.h"
#include "module/explain.h"
#include "module/output.h"
#include "module/py_lock.h"
#include "module/py_ref.h"

#include "kz/result.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Recorder {
    PyObject* calls = nullptr;    // a list
    PyObject* answers = nullptr;  // a tuple
    PyObject* during = nullptr;
    bool isOtherwise = false;
    CPluginHost* host = nullptr;
    KzResult code = KZe_OK;
    std::set<std::string> asked;
    IKzUnknown* service = nullptr;
    KzGuid serviceId{};
    std::map<std::string, std::unique_ptr<CKzStaticPolymorph>> polymorphs;
};

Recorder& recorder() {
    static auto* const theRecorder = new Recorder();  // outlives Python
    return *theRecorder;
}

void replace(PyObject*& place, PyObject* borrowed) {
    Py_XINCREF(borrowed);
    const CPyRefNull old(std::exchange(place, borrowed));
}

IKzUnknown* make(const KzRecorderRow& row) {
    std::unique_ptr<CKzStaticPolymorph>& polymorph = recorder().polymorphs[row.stem];
    if (!polymorph) {
        polymorph = std::make_unique<CKzStaticPolymorph>(&recorder());
        polymorph->nameOnce(row.stem);
        polymorph->append(row.makeRecord(*row.iid));
    }
    return polymorph->spawn(row.iid);
}

void call(PyObject* callable) {
    const CPyRefNull result(PyObject_CallObject(callable, nullptr));
    if (result.get() == nullptr) {
        ADD_FAILURE() << "a call from inside a host call raised " << kzTakeException();
    }
}

void enter(PyObject* callable) {
    const CPyLock lock;  // as every entry of a host into Python
    call(callable);
}

void callDuring() {
    CPyRefNull callable(std::exchange(recorder().during, nullptr));
    if (callable.get() == nullptr) return;
    if (!recorder().isOtherwise) return enter(callable);
    const PyGILState_STATE state = PyGILState_Ensure();
    call(callable);
    PyGILState_Release(state);
}

}  // namespace

std::string kzTakeException() {
    const KzException exception = KzException::fetch();
    return kzExceptionName(exception.type, exception.value) + ": " + kzStringOf(exception.value) + "\n" +
           kzTracebackText(exception.traceback, "\n");
}

CRecord::CRecord(IKzUnknown* object, const char* method)
    : m_method(method), m_inputs(PyList_New(0)), m_asked(recorder().asked.contains(method)) {
    if (m_asked) return;
    const CPyRefNull call(Py_BuildValue("(sNO)", method, PyLong_FromVoidPtr(object), m_inputs));
    PyList_Append(recorder().calls, call);
}

CRecord::~CRecord() { Py_DECREF(m_inputs); }

CRecord& CRecord::note(PyObject* owned) {
    const CPyRefNull item(owned);
    if (item.get() == nullptr || PyList_Append(m_inputs, item) != 0) ADD_FAILURE() << m_method << " cannot be recorded";
    return *this;
}

CRecord& CRecord::in(const char* text) { return note(Py_BuildValue("z", text)); }
CRecord& CRecord::in(IKzUnknown* object) { return address(object); }
CRecord& CRecord::address(const void* value) {
    return note(PyLong_FromUnsignedLong(reinterpret_cast<std::uintptr_t>(value)));
}

CRecord& CRecord::in(const KzTextValueHint* hints) {
    PyObject* rows = PyList_New(0);
    for (; hints->text != nullptr; ++hints) {
        const CPyRefNull row(Py_BuildValue("(is)", hints->value, hints->text));
        PyList_Append(rows, row);
    }
    return note(rows);
}

CRecord& CRecord::in(const KzBlockList* blocks) {
    PyObject* rows = PyList_New(0);
    for (std::uint32_t index = 0; index < blocks->count; ++index) {
        const KzBlock& block = blocks->blocks[index];
        const CPyRefNull row(Py_BuildValue("(Is#)", block.id, block.data, static_cast<Py_ssize_t>(block.size)));
        PyList_Append(rows, row);
    }
    return note(rows);
}

PyObject* CRecord::next() {
    if (m_answer < PyTuple_GET_SIZE(recorder().answers)) return PyTuple_GET_ITEM(recorder().answers, m_answer++);
    ADD_FAILURE() << m_method << " has no answer laid out for output " << m_answer;
    return Py_None;
}

CRecord& CRecord::out(const char** place) {
    PyObject* text = next();
    *place = text == Py_None ? nullptr : PyString_AsString(text);
    return *this;
}

// A failing operation releases no object, and leaves a pointer in its output that must not be used.
CRecord& CRecord::out(IKzUnknown** place) {
    outAddress(place);
    if (!kzFailed(recorder().code)) return *this;
    if (*place != nullptr) (*place)->Release();
    *place = reinterpret_cast<IKzUnknown*>(1);
    return *this;
}

CRecord& CRecord::outAddress(void* place) {
    std::uint64_t value = PyInt_AsUnsignedLongLongMask(next());
    if (PyErr_Occurred() != nullptr) value = 0;
    std::memcpy(place, &value, sizeof value);
    return *this;
}

CRecord& CRecord::out(const KzTextValueHint** place) {
    PyObject* rows = next();
    *place = nullptr;
    if (rows == Py_None) return *this;
    static std::vector<KzTextValueHint> hints;  // for the host to hand out; the texts are those of the answers
    hints.clear();
    for (Py_ssize_t index = 0; index < PyList_Size(rows); ++index) {
        PyObject* row = PyList_GetItem(rows, index);
        const auto value = static_cast<std::int32_t>(PyInt_AsLong(PyTuple_GetItem(row, 0)));
        hints.push_back({value, PyString_AsString(PyTuple_GetItem(row, 1))});
    }
    hints.push_back({0, nullptr});
    *place = hints.data();
    return *this;
}

// Like a host, writes what fits, and reports a short buffer if the operation returns a code.
CRecord& CRecord::text(char* buffer, std::uint32_t length) {
    PyObject* text = next();
    const std::string value(PyString_AsString(text), static_cast<std::size_t>(PyString_Size(text)));
    m_short = m_short || value.size() >= length;
    std::strncpy(buffer, value.c_str(), length - 1);
    buffer[length - 1] = '\0';
    return *this;
}

KzResult CRecord::code() {
    nothing();
    return m_short ? KZe_SHORTBUFFER : recorder().code;
}

void CRecord::nothing() {
    if (PyErr_Occurred() == nullptr) return callDuring();
    ADD_FAILURE() << m_method << " cannot give the answers laid out: " << kzTakeException();
}

IKzUnknown* kzRecordingService(const KzGuid& iid) {
    return iid == recorder().serviceId ? std::exchange(recorder().service, nullptr) : nullptr;
}

namespace {

const KzRecorderRow* findRow(PyObject* name) {
    const char* stem = PyString_AsString(name);
    for (const KzRecorderRow& row : kzRecorders)
        if (stem != nullptr && std::strcmp(row.stem, stem) == 0) return &row;
    if (stem != nullptr) PyErr_Format(PyExc_KeyError, "no interface %s", stem);
    return nullptr;
}

PyObject* makeFunction(PyObject* /*self*/, PyObject* stem) {
    const KzRecorderRow* row = findRow(stem);
    return row != nullptr ? PyLong_FromVoidPtr(make(*row)) : nullptr;
}

PyObject* releaseFunction(PyObject* /*self*/, PyObject* address) {
    reinterpret_cast<IKzUnknown*>(PyInt_AsSsize_t(address))->Release();
    Py_RETURN_NONE;
}

PyObject* answerFunction(PyObject* /*self*/, PyObject* args) {
    unsigned int code = 0;
    PyObject* values = nullptr;
    if (PyArg_ParseTuple(args, "IO!", &code, &PyTuple_Type, &values) == 0) return nullptr;
    recorder().code = code;
    replace(recorder().answers, values);
    Py_RETURN_NONE;
}

PyObject* askFunction(PyObject* /*self*/, PyObject* names) {
    recorder().asked.clear();
    for (Py_ssize_t index = 0; index < PyList_GET_SIZE(names); ++index)
        recorder().asked.insert(PyString_AsString(PyList_GET_ITEM(names, index)));
    Py_RETURN_NONE;
}

PyObject* callsFunction(PyObject* /*self*/, PyObject* /*args*/) {
    return std::exchange(recorder().calls, PyList_New(0));
}

PyObject* duringFunction(PyObject* /*self*/, PyObject* args) {
    PyObject* callable = nullptr;
    int isOtherwise = 0;
    if (PyArg_ParseTuple(args, "O|i", &callable, &isOtherwise) == 0) return nullptr;
    replace(recorder().during, callable == Py_None ? nullptr : callable);
    recorder().isOtherwise = isOtherwise != 0;
    Py_RETURN_NONE;
}

PyObject* elsewhereFunction(PyObject* /*self*/, PyObject* callable) {
    PyThreadState* state = PyEval_SaveThread();
    std::thread([callable] { enter(callable); }).join();
    PyEval_RestoreThread(state);
    Py_RETURN_NONE;
}

PyObject* reasonsFunction(PyObject* /*self*/, PyObject* /*args*/) {
    const std::string reasons = recorder().host->log("python");
    kzTellRepeatedReasons();  // so that the same reason is written again
    recorder().host->clearLog();
    kzReleaseOutput();  // it holds a part of the log
    return PyString_FromString(reasons.c_str());
}

PyObject* serveFunction(PyObject* /*self*/, PyObject* stem) {
    const KzRecorderRow* row = findRow(stem);
    if (row == nullptr) return nullptr;
    // Made first, because making an object asks the host for services, too.
    recorder().service = make(*row);
    recorder().serviceId = *row->iid;
    return PyLong_FromVoidPtr(recorder().service);
}

PyObject* aliveFunction(PyObject* /*self*/, PyObject* /*args*/) {
    return PyString_FromString(CPluginHost::alive().c_str());
}

PyObject* failFunction(PyObject* /*self*/, PyObject* text) {
    ADD_FAILURE() << PyString_AsString(text);
    Py_RETURN_NONE;
}

PyMethodDef functions[] = {
    {"make", makeFunction, METH_O, nullptr},           {"release", releaseFunction, METH_O, nullptr},
    {"answer", answerFunction, METH_VARARGS, nullptr}, {"ask", askFunction, METH_O, nullptr},
    {"calls", callsFunction, METH_NOARGS, nullptr},    {"during", duringFunction, METH_VARARGS, nullptr},
    {"elsewhere", elsewhereFunction, METH_O, nullptr}, {"reasons", reasonsFunction, METH_NOARGS, nullptr},
    {"serve", serveFunction, METH_O, nullptr},         {"alive", aliveFunction, METH_NOARGS, nullptr},
    {"fail", failFunction, METH_O, nullptr},           {nullptr, nullptr, 0, nullptr}};

}  // namespace

void kzAddRecorderModule(CPluginHost& host) {
    recorder().host = &host;
    Py_InitModule("recorder", functions);
    recorder().calls = PyList_New(0);
    recorder().answers = PyTuple_New(0);
}
