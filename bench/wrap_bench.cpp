// What a wrapper method costs, against a hand-written function that parses its arguments with the interpreter's parser
// and does the same work.
#include "bench/fake_host.h"
#include "bench/interleaved.h"
#include "bench/measure.h"
#include "bench/objects.h"

#include "module/py_lock.h"
#include "module/py_ref.h"
#include "module/runtime.h"
#include "wrap/result_codes.h"
#include "wrap/wrapper.h"

#include "kz/external_render.h"
#include "kz/message.h"
#include "kz/package.h"
#include "kz/result.h"
#include "kz/surface.h"
#include "kz/transform.h"

namespace {

// The twins: a type as somebody would write it by hand, which holds an interface and does in every method what ours do.
struct Twin {
    PyObject_HEAD IKzUnknown* held;
};

void twinDealloc(PyObject* self) {
    if (IKzUnknown* held = reinterpret_cast<Twin*>(self)->held) held->Release();
    Py_TYPE(self)->tp_free(self);
}

PyTypeObject twinType;

// Consumes the reference.
PyObject* newTwin(IKzUnknown* taken, const KzGuid& iid) {
    void* held = nullptr;
    const KzResult code = taken->QueryInterface(&iid, &held);
    taken->Release();
    if (kzFailed(code)) return kzRaise(KZe_NOINTERFACE);
    auto* made = PyObject_New(Twin, &twinType);
    if (made != nullptr) made->held = static_cast<IKzUnknown*>(held);
    return reinterpret_cast<PyObject*>(made);
}

template <class Interface> Interface* heldBy(PyObject* self) {
    kzSetQuiet(false);
    auto* held = static_cast<Interface*>(reinterpret_cast<Twin*>(self)->held);
    if (held == nullptr) kzRaise(KZe_NOINTERFACE);
    return held;
}

PyObject* finish(KzResult code) {
    kzSetLastResult(code);
    if (kzFailed(code)) return kzRaise(code);
    Py_RETURN_NONE;
}

PyObject* twinCode(PyObject* self, PyObject* args) {
    auto* message = heldBy<IKzMessage>(self);
    if (message == nullptr || !PyArg_ParseTuple(args, "")) return nullptr;
    return PyLong_FromUnsignedLong(message->Code());
}

PyObject* twinInvert(PyObject* self, PyObject* args) {
    auto* matrix = heldBy<IKzMatrix>(self);
    if (matrix == nullptr || !PyArg_ParseTuple(args, "")) return nullptr;
    return finish(matrix->Invert());
}

PyObject* twinReset(PyObject* self, PyObject* args) {
    auto* message = heldBy<IKzMessage>(self);
    if (message == nullptr || !PyArg_ParseTuple(args, "")) return nullptr;
    return finish(message->Reset());
}

PyObject* twinSetString(PyObject* self, PyObject* args) {
    auto* message = heldBy<IKzMessage>(self);
    unsigned int index = 0;
    const char* text = nullptr;
    if (message == nullptr || !PyArg_ParseTuple(args, "Iz", &index, &text)) return nullptr;
    return finish(message->SetArgumentString(index, text));
}

PyObject* twinSetFloat(PyObject* self, PyObject* args) {
    auto* message = heldBy<IKzMessage>(self);
    unsigned int index = 0;
    double value = 0;
    if (message == nullptr || !PyArg_ParseTuple(args, "Id", &index, &value)) return nullptr;
    return finish(message->SetArgumentFloat(index, value));
}

PyObject* twinNotify(PyObject* self, PyObject* args) {
    auto* notifier = heldBy<IKzExternalRenderNotifier>(self);
    unsigned int event = 0;
    double value = 0;
    const char* text = nullptr;
    if (notifier == nullptr || !PyArg_ParseTuple(args, "Idz", &event, &value, &text)) return nullptr;
    return finish(notifier->Notify(event, value, text));
}

PyObject* twinPoint(PyObject* self, PyObject* args) {
    auto* matrix = heldBy<IKzMatrix>(self);
    KzVector3 in, out;
    if (matrix == nullptr || !PyArg_ParseTuple(args, "(ddd)", &in.v[0], &in.v[1], &in.v[2])) return nullptr;
    const KzResult code = matrix->TransformPoint(&in, &out);
    kzSetLastResult(code);
    if (kzFailed(code)) return kzRaise(code);
    return Py_BuildValue("(ddd)", out.v[0], out.v[1], out.v[2]);
}

PyObject* twinMatrix(PyObject* self, PyObject* args) {
    auto* matrix = heldBy<IKzMatrix>(self);
    KzMatrix4 m;
    auto& r = m.m;
    if (matrix == nullptr || !PyArg_ParseTuple(args, "((dddd)(dddd)(dddd)(dddd))", &r[0][0], &r[0][1], &r[0][2],
                                               &r[0][3], &r[1][0], &r[1][1], &r[1][2], &r[1][3], &r[2][0], &r[2][1],
                                               &r[2][2], &r[2][3], &r[3][0], &r[3][1], &r[3][2], &r[3][3]))
        return nullptr;
    return finish(matrix->Set4(&m));
}

PyObject* twinSurface(PyObject* self, PyObject* args) {
    auto* source = heldBy<IKzInstanceable>(self);
    PyObject* read = nullptr;
    if (source == nullptr || !PyArg_ParseTuple(args, "O!", &twinType, &read)) return nullptr;
    IKzUnknown* in = reinterpret_cast<Twin*>(read)->held;
    in->AddRef();
    IKzUnknown* out = nullptr;
    const KzResult code = source->Surface(in, &out);
    in->Release();
    kzSetLastResult(code);
    if (kzFailed(code)) return kzRaise(code);
    // A class of that name in the support module would be called instead.
    static PyObject* support = PyModule_GetDict(PythonRuntime::current()->kzuObject());
    if (PyDict_GetItemString(support, "Surface") != nullptr) return kzRaise(KZe_FAILED);
    return newTwin(out, KZu_SURFACE);
}

PyMethodDef twins[] = {
    {"code", twinCode, METH_VARARGS, nullptr},       {"invert", twinInvert, METH_VARARGS, nullptr},
    {"reset", twinReset, METH_VARARGS, nullptr},     {"text", twinSetString, METH_VARARGS, nullptr},
    {"number", twinSetFloat, METH_VARARGS, nullptr}, {"notify", twinNotify, METH_VARARGS, nullptr},
    {"point", twinPoint, METH_VARARGS, nullptr},     {"matrix", twinMatrix, METH_VARARGS, nullptr},
    {"surface", twinSurface, METH_VARARGS, nullptr}, {nullptr, nullptr, 0, nullptr},
};

bool readyTwinType() {
    Py_REFCNT(&twinType) = 1;
    twinType.tp_name = "twin.Twin";
    twinType.tp_basicsize = sizeof(Twin);
    twinType.tp_flags = Py_TPFLAGS_DEFAULT;
    twinType.tp_dealloc = twinDealloc;
    twinType.tp_methods = twins;
    return PyType_Ready(&twinType) == 0;
}

const char* const setting = R"(
import kz
message = kz.object.Message(it)
Code = message.Code; Reset = message.Reset; Text = message.SetArgumentString; Number = message.SetArgumentFloat
code = message_.code; reset = message_.reset; text = message_.text; number = message_.number
matrix = kz.object.Matrix(it)
Invert = matrix.Invert; Point = matrix.TransformPoint; Matrix = matrix.Set4
invert = matrix_.invert; point = matrix_.point; rows_ = matrix_.matrix
Notify = kz.object.ExternalRenderNotifier(it).Notify
notify = notifier_.notify
lean = kz.object.ChannelRead(other)
Object = kz.object.Instanceable(other).Surface
object_ = lean_.surface
vector = (1.0, 2.0, 3.0)
rows = ((1.0, 0.0, 0.0, 0.0), (0.0, 1.0, 0.0, 0.0), (0.0, 0.0, 1.0, 0.0), (4.0, 5.0, 6.0, 1.0))
def fails(call):
    try:
        call()
    except LookupError:
        pass
)";

bool run() {
    const CPyLock lock;
    IKzUnknown* bench = kzNewBenchObject();
    if (!readyTwinType()) return false;
    PyObject* names = PyModule_GetDict(PyImport_AddModule("__main__"));
    const auto give = [=](const char* name, PyObject* made) { PyDict_SetItemString(names, name, CPyRefNull(made)); };
    const auto giveTwin = [=](const char* name, IKzUnknown* held, const KzGuid& iid) {
        held->AddRef();
        give(name, newTwin(held, iid));
    };
    give("it", kzNewUnknown(bench));
    give("other", kzNewUnknown(&kzLeanObject()));
    giveTwin("message_", bench, KZu_MESSAGE);
    giveTwin("matrix_", bench, KZu_MATRIX);
    giveTwin("notifier_", bench, KZu_EXTERNALRENDERNOTIFIER);
    giveTwin("lean_", &kzLeanObject(), KZu_INSTANCEABLE);
    const CPyRefNull done(PyRun_String(setting, Py_file_input, names, names));
    if (done.get() == nullptr) {
        PyErr_Print();
        return false;
    }
    return kzRunContests(
        "Wrapper methods against hand-written functions",
        {{"no arguments", "call()", "call=Invert", "call=invert", 0.75},
         {"no arguments, a number back", "call()", "call=Code", "call=code", 0},
         {"integer and text", "call(1, 'text')", "call=Text", "call=text", 0.50},
         {"integer and float", "call(1, 2.5)", "call=Number", "call=number", 0.50},
         {"integer, float and text", "call(1, 2.5, 'text')", "call=Notify", "call=notify", 0.50},
         {"3-vector in and out", "call(own)", "call=Point, own=vector", "call=point, own=vector", 0.45},
         {"4x4 matrix in", "call(own)", "call=Matrix, own=rows", "call=rows_, own=rows", 0.20},
         {"object in and out", "call(own)", "call=Object, own=lean", "call=object_, own=lean_", 0.65},
         {"a failing call, caught", "fails(call)", "fails=fails, call=Reset", "fails=fails, call=reset", 1.0}},
        names);
}

}  // namespace

int main(int count, char** arguments) {
    kzSelect(count, arguments);
    kzStartBenchHost();
    return run() ? 0 : 1;
}
