// Calls from Python to the host that let other threads run Python meanwhile.
//
// Every other call keeps the interpreter lock, which costs nothing and lets the host rely on it. While these wait, though,
// the threads that they wait for call Python.
#include "wrap/released_calls.h"

#include "wrap/marshal.h"
#include "wrap/wrapper.h"

#include "kz/thread.h"

#include <cstring>

extern KzWrapperType kzType_ThreadService;

using kz_marshal::InInt;
using kz_marshal::InObject;

namespace {

// As the marshaller, for inputs that are no arrays and no outputs. Another thread may make the wrapper let go of its object
// during the call, so this holds a reference of its own.
template <class... Parameters, class Interface, class... Arguments>
PyObject* callReleased(PyObject* self, PyObject* args, KzResult (Interface::*method)(Arguments...)) noexcept {
    using Method = KzResult (IKzUnknown::*)(Arguments...);
    const std::intptr_t slot = kz_marshal::slotOf(static_cast<Method>(method));
    kzSetQuiet(false);
    kz_marshal::Frame<Parameters...> frame;
    if (kzWrapper(self)->target == nullptr) return kzRaise(KZe_NOINTERFACE);
    if (!frame.fast(args) && !frame.parse(self, args, slot)) return nullptr;
    std::size_t at = 0;
    if (const KzResult code = frame.convert(at); kzFailed(code)) return kzRefuse(self, slot, code, at);
    CKzLoc_Unknown object(kzWrapper(self)->target);
    if (!object) return kzRaise(KZe_NOINTERFACE);
    KzResult code = KZe_OK;
    Py_BEGIN_ALLOW_THREADS;
    code = frame.call(object.raw(), kz_marshal::methodAt<Method>(slot));
    Py_END_ALLOW_THREADS;
    kzSetLastResult(code);
    if (kzFailed(code)) return kzRaise(code);
    Py_RETURN_NONE;
}

PyObject* processRange(PyObject* self, PyObject* args) {
    return callReleased<InObject, InInt, InInt, InObject>(self, args, &IKzThreadService::ProcessRange);
}
PyObject* processShared(PyObject* self, PyObject* args) {
    return callReleased<InObject>(self, args, &IKzThreadService::ProcessShared);
}

constexpr struct {
    const char* name;
    PyCFunction function;
} released[] = {{"ProcessRange", processRange}, {"ProcessShared", processShared}};

}  // namespace

void kzReleaseLockInCalls() noexcept {
    for (PyMethodDef* method = kzType_ThreadService.methods; method->ml_name != nullptr; ++method)
        for (const auto& each : released)
            if (std::strcmp(method->ml_name, each.name) == 0) method->ml_meth = each.function;
}
