// What a wrapper method costs, against a hand-written function that parses its arguments with the interpreter's parser
// and does the same work.
#include "bench/fake_host.h"
#include "bench/interleaved.h"

#include "module/py_lock.h"
#include "module/py_ref.h"
#include "wrap/result_codes.h"
#include "wrap/wrapper.h"

#include "kz/external_render.h"
#include "kz/message.h"
#include "kz/package.h"
#include "kz/result.h"
#include "kz/transform.h"

namespace {

// A host object that does next to nothing, so that the call itself is what is timed.
class CBench : public CKzImpl_Message,
               public CKzImpl_Matrix,
               public CKzImpl_ExternalRenderNotifier {
public:
    std::uint32_t msg_Code() override { return 42; }
    KzResult msg_Reset() override { return KZe_NOTFOUND; }
    KzResult msg_SetArgumentString(std::uint32_t, const char*) override { return KZe_OK; }
    KzResult msg_SetArgumentFloat(std::uint32_t, double) override { return KZe_OK; }
    KzResult matrix_TransformPoint(const KzVector3* point, KzVector3* result) override {
        *result = *point;
        return KZe_OK;
    }
    KzResult matrix_Set4(const KzMatrix4*) override { return KZe_OK; }
    KzResult ntf_Notify(std::uint32_t, double, const char*) override { return KZe_OK; }
};

// The leanest object there can be: it answers every query with itself and hands out what it is given, so that neither
// side's time is the host's.
class CLean final : public IKzInstanceable {
public:
    KzResult QueryInterface(const KzGuid*, void** object) override {
        ++m_references;
        *object = this;
        return KZe_OK;
    }
    std::uint32_t AddRef() override { return ++m_references; }
    std::uint32_t Release() override { return --m_references; }
    KzResult Surface(IKzUnknown* read, IKzUnknown** surface) override {
        read->AddRef();
        *surface = read;
        return KZe_OK;
    }
    std::uint32_t CompareSurface(IKzUnknown*, IKzUnknown*) override { return 0; }
    bool IsReady(double) override { return true; }

private:
    std::uint32_t m_references = 1;
};

CLean theLean;

IKzUnknown* spawnBench() {
    static CKzPolymorph<CBench> polymorph;
    polymorph.append(kzMakeRecord<CKzIfc_Message<CBench>>(KZu_MESSAGE));
    polymorph.append(kzMakeRecord<CKzIfc_Matrix<CBench>>(KZu_MATRIX));
    polymorph.append(kzMakeRecord<CKzIfc_ExternalRenderNotifier<CBench>>(KZu_EXTERNALRENDERNOTIFIER));
    return polymorph.spawn();
}

// The twins, as somebody would write them by hand for one host object.
CKzUser_Message theMessage;
CKzUser_Matrix theMatrix;
CKzUser_ExternalRenderNotifier theNotifier;

PyObject* finish(KzResult code) {
    if (kzFailed(code)) return kzRaise(code);
    Py_RETURN_NONE;
}

PyObject* twinCode(PyObject*, PyObject* args) {
    if (!PyArg_ParseTuple(args, "")) return nullptr;
    return PyLong_FromUnsignedLong(theMessage->Code());
}

PyObject* twinReset(PyObject*, PyObject* args) {
    if (!PyArg_ParseTuple(args, "")) return nullptr;
    return finish(theMessage->Reset());
}

PyObject* twinSetString(PyObject*, PyObject* args) {
    unsigned int index = 0;
    const char* text = nullptr;
    if (!PyArg_ParseTuple(args, "Iz", &index, &text)) return nullptr;
    return finish(theMessage->SetArgumentString(index, text));
}

PyObject* twinSetFloat(PyObject*, PyObject* args) {
    unsigned int index = 0;
    double value = 0;
    if (!PyArg_ParseTuple(args, "Id", &index, &value)) return nullptr;
    return finish(theMessage->SetArgumentFloat(index, value));
}

PyObject* twinNotify(PyObject*, PyObject* args) {
    unsigned int event = 0;
    double value = 0;
    const char* text = nullptr;
    if (!PyArg_ParseTuple(args, "Idz", &event, &value, &text)) return nullptr;
    return finish(theNotifier->Notify(event, value, text));
}

PyObject* twinPoint(PyObject*, PyObject* args) {
    KzVector3 in, out;
    if (!PyArg_ParseTuple(args, "(ddd)", &in.v[0], &in.v[1], &in.v[2])) return nullptr;
    if (const KzResult code = theMatrix->TransformPoint(&in, &out); kzFailed(code)) return kzRaise(code);
    return Py_BuildValue("(ddd)", out.v[0], out.v[1], out.v[2]);
}

PyObject* twinMatrix(PyObject*, PyObject* args) {
    KzMatrix4 m;
    auto& r = m.m;
    if (!PyArg_ParseTuple(args, "((dddd)(dddd)(dddd)(dddd))", &r[0][0], &r[0][1], &r[0][2], &r[0][3], &r[1][0], &r[1][1],
                          &r[1][2], &r[1][3], &r[2][0], &r[2][1], &r[2][2], &r[2][3], &r[3][0], &r[3][1], &r[3][2],
                          &r[3][3]))
        return nullptr;
    return finish(theMatrix->Set4(&m));
}

PyObject* twinObject(PyObject*, PyObject* args) {
    PyObject* read = nullptr;
    if (!PyArg_ParseTuple(args, "O", &read)) return nullptr;
    IKzUnknown* in = nullptr;
    if (const KzResult code = kzObjectToInterface(read, true, &in); kzFailed(code)) return kzRaise(code);
    IKzUnknown* out = nullptr;
    const KzResult code = theLean.Surface(in, &out);
    if (in != nullptr) in->Release();
    if (kzFailed(code)) return kzRaise(code);
    static const KzWrapperType& type = *kzFindType("Surface");
    return kzNewWrapper(type, out);
}

PyMethodDef twins[] = {
    {"code", twinCode, METH_VARARGS, nullptr},     {"reset", twinReset, METH_VARARGS, nullptr},
    {"text", twinSetString, METH_VARARGS, nullptr}, {"number", twinSetFloat, METH_VARARGS, nullptr},
    {"notify", twinNotify, METH_VARARGS, nullptr}, {"point", twinPoint, METH_VARARGS, nullptr},
    {"matrix", twinMatrix, METH_VARARGS, nullptr}, {"object", twinObject, METH_VARARGS, nullptr},
    {nullptr, nullptr, 0, nullptr},
};

const char* const setting = R"(
import kz, twin
from twin import code, reset, text, number, notify, point
matrix_ = twin.matrix; object_ = twin.object
message = kz.object.Message(it)
Code = message.Code; Reset = message.Reset; Text = message.SetArgumentString; Number = message.SetArgumentFloat
matrix = kz.object.Matrix(it)
Point = matrix.TransformPoint; Matrix = matrix.Set4
Notify = kz.object.ExternalRenderNotifier(it).Notify
lean = kz.object.ChannelRead(other)
Object = kz.object.Instanceable(other).Surface
vector = (1.0, 2.0, 3.0)
rows = ((1.0, 0.0, 0.0, 0.0), (0.0, 1.0, 0.0, 0.0), (0.0, 0.0, 1.0, 0.0), (4.0, 5.0, 6.0, 1.0))
def fails(call):
    try:
        call()
    except LookupError:
        pass
)";

int run() {
    const CPyLock lock;
    IKzUnknown* bench = spawnBench();
    theMessage.set(bench);
    theMatrix.set(bench);
    theNotifier.set(bench);
    Py_InitModule("twin", twins);
    PyObject* names = PyModule_GetDict(PyImport_AddModule("__main__"));
    PyDict_SetItemString(names, "it", CPyRefNull(kzNewUnknown(bench)));
    PyDict_SetItemString(names, "other", CPyRefNull(kzNewUnknown(&theLean)));
    const CPyRefNull done(PyRun_String(setting, Py_file_input, names, names));
    if (done.get() == nullptr) {
        PyErr_Print();
        return 1;
    }
    return kzRunContests("Wrapper methods against hand-written functions",
                         {{"no arguments", "Code()", "code()", 0.75},
                          {"integer and text", "Text(1, 'text')", "text(1, 'text')", 0.50},
                          {"integer and float", "Number(1, 2.5)", "number(1, 2.5)", 0.50},
                          {"integer, float and text", "Notify(1, 2.5, 'text')", "notify(1, 2.5, 'text')", 0.50},
                          {"3-vector in and out", "Point(vector)", "point(vector)", 0.45},
                          {"4x4 matrix in", "Matrix(rows)", "matrix_(rows)", 0.20},
                          {"object in and out", "Object(lean)", "object_(lean)", 0.65},
                          {"a failing call, caught", "fails(Reset)", "fails(reset)", 1.0}},
                         names);
}

}  // namespace

int main() {
    kzStartBenchHost();
    return run() == 0 ? 0 : 1;
}
