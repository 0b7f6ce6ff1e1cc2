// kz.Monitor: a script's progress, shown by the host.
#include "kzmod/call.h"
#include "kzmod/types.h"
#include "module/pending_exception.h"
#include "module/py_lock.h"
#include "module/runtime.h"
#include "wrap/uncopyable.h"

#include "kz/base/boundary.h"
#include "kz/base/global_cache.h"

#include <memory>
#include <optional>

namespace {

constexpr const char* badSteps = "Monitor steps must be greater than 0";
constexpr const char* cannotInitialise = "Error initializing monitor";

struct MonitorObject {
    PyObject_HEAD CMonitorRecord* record;  // owned; null until the object has been constructed
};

CMonitorRecord*& recordOf(PyObject* self) { return reinterpret_cast<MonitorObject*>(self)->record; }

// The host's monitor with a reference of its own, because what the host runs may end the script, which takes the monitor
// from its record. Null when there is none.
class CHeldMonitor {
public:
    explicit CHeldMonitor(PyObject* self) {
        if (CMonitorRecord* record = recordOf(self)) m_held.set(record->monitor.raw());
    }
    explicit operator bool() const { return static_cast<bool>(m_held); }
    IKzMonitor* operator->() const { return static_cast<IKzMonitor*>(m_held.raw()); }

private:
    CKzLoc_Unknown m_held;
};

// Puts another record in the place of the object's own, takes that off the interpreter's list and gives the host its
// monitor back.
void replaceRecord(PyObject* self, CMonitorRecord* owned) noexcept {
    const std::unique_ptr<CMonitorRecord> record(std::exchange(recordOf(self), owned));
    if (!record) return;
    record->leave();
    if (!record->monitor) return;
    std::optional<CPyLock> lock;
    // The interpreter may be so near its end that the guard does not know this thread any more: whoever drops a Python
    // object holds the lock all the same, and the host gets its monitor back.
    kzValueBoundary([&] { lock.emplace("kz.Monitor"); });
    record->release();
}

void allocate(PyObject* self) {
    CMonitorLink& ring = PythonRuntime::running().monitors;
    auto record = std::make_unique<CMonitorRecord>();
    kzTakeService(record->dialogs);
    kzObtain(record->monitor, [&](IKzUnknown** found) { return record->dialogs.MonitorAllocate("Progress", found); });
    record->join(ring);
    replaceRecord(self, record.release());
}

bool initialise(CCall& call, PyObject* self, int steps) {
    const CHeldMonitor monitor(self);
    if (!monitor || kzSucceeded(monitor->Initialize(static_cast<std::uint32_t>(steps)))) return true;
    call.fail(cannotInitialise);
    return false;
}

int monitorInit(PyObject* self, PyObject* args, PyObject* keywords) {
    return kzInitCall("kz.Monitor", [=](CCall& call) {
        int steps = 0;
        if (!kzRefuseKeywords(self, keywords)) return false;
        allocate(self);
        // An argument that is no number leaves its error set on a monitor that was made: required, scripts that pass
        // one find the error at their next statement.
        if (PyArg_ParseTuple(args, "|i", &steps) == 0 || steps == 0) return true;
        if (steps > 0) return initialise(call, self, steps);
        call.fail(badSteps);
        return false;
    });
}

void monitorDealloc(PyObject* self) {
    {
        const CPendingException keep;
        replaceRecord(self, nullptr);
    }
    Py_TYPE(self)->tp_free(self);
}

PyObject* monitorInitMethod(PyObject* self, PyObject* args) {
    return kzCall("kz.Monitor", [=](CCall& call) -> PyObject* {
        int steps = 0;
        if (PyArg_ParseTuple(args, "|i", &steps) == 0 || steps < 1) {
            PyErr_Clear();  // the parser's error gives way to this one
            return call.fail(badSteps);
        }
        if (!initialise(call, self, steps)) return nullptr;
        Py_RETURN_NONE;
    });
}

PyObject* monitorStep(PyObject* self, PyObject* args) {
    return kzCall("kz.Monitor", [=](CCall& call) -> PyObject* {
        int count = 1;
        // Required: an argument that is no number counts as one step, and its error stays set.
        static_cast<void>(PyArg_ParseTuple(args, "|i", &count));
        const CPendingException keep;
        const CHeldMonitor monitor(self);
        const CPyLock lock;
        if (monitor && kzFailed(monitor->Increment(static_cast<std::uint32_t>(count))))
            return call.fail("Error incrementing monitor");
        Py_RETURN_NONE;
    });
}

PyMethodDef methods[] = {
    {"init", monitorInitMethod, METH_VARARGS, "Initialize the monitor with the total number of steps"},
    {"step", monitorStep, METH_VARARGS, "Increment the monitor by one or by step it by an arbitrary amount"},
    {nullptr, nullptr, 0, nullptr},
};

KzUncopyable uncopyable("kz.Monitor(steps) makes another one");

PyTypeObject describe() {
    PyTypeObject type{};
    Py_REFCNT(&type) = 1;
    type.tp_name = "kz.Monitor";
    type.tp_basicsize = sizeof(MonitorObject);
    type.tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE;
    type.tp_doc = "Monitor objects";
    type.tp_methods = methods;
    type.tp_base = &uncopyable.type;
    type.tp_new = PyType_GenericNew;
    type.tp_init = monitorInit;
    type.tp_dealloc = monitorDealloc;
    return type;
}

}  // namespace

PyTypeObject kzMonitorType = describe();
