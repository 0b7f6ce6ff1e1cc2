// kz.Monitor: the progress of a script, which the host displays.
#include "kzmod/call.h"
#include "kzmod/types.h"
#include "module/crossing_watch.h"
#include "module/pending_exception.h"
#include "module/py_lock.h"
#include "module/runtime.h"

#include "kz/base/boundary.h"
#include "kz/base/global_cache.h"

#include <memory>
#include <optional>

namespace {

constexpr const char* badSteps = "Monitor steps must be greater than 0";
constexpr const char* cannotInitialise = "Error initializing monitor";

struct MonitorObject {
    PyObject_HEAD CMonitorRecord* record;  // owned; null until __init__ has run
};

CMonitorRecord*& recordOf(PyObject* self) { return reinterpret_cast<MonitorObject*>(self)->record; }

// An owned reference to the host's monitor for the duration of a call: the host may run code that ends the script, which
// clears the monitor's record. Null if there is none.
class CMonitorReference {
public:
    explicit CMonitorReference(PyObject* self) {
        if (CMonitorRecord* record = recordOf(self)) m_monitor.set(record->monitor.raw());
    }
    explicit operator bool() const { return static_cast<bool>(m_monitor); }
    IKzMonitor* operator->() const { return static_cast<IKzMonitor*>(m_monitor.raw()); }

private:
    CKzLoc_Unknown m_monitor;
};

// Replaces the object's record. The old one leaves the interpreter's ring and returns its monitor to the host.
void replaceRecord(PyObject* self, CMonitorRecord* owned) noexcept {
    const std::unique_ptr<CMonitorRecord> record(std::exchange(recordOf(self), owned));
    if (!record) return;
    record->leave();
    if (!record->monitor) return;
    std::optional<CPyLock> lock;
    // During finalisation the guard may throw. The lock is held even so, because a Python object is being destroyed, and
    // the monitor must be returned to the host in any case.
    kzValueBoundary([&] { lock.emplace("kz.Monitor"); });
    record->release();
}

void allocate(PyObject* self) {
    CMonitorLink& ring = PythonRuntime::running().monitors;
    auto record = std::make_unique<CMonitorRecord>();
    kzTakeService(record->dialogs);
    kzObtain(record->monitor, [&](IKzUnknown** object) { return record->dialogs.MonitorAllocate("Progress", object); });
    record->join(ring);
    replaceRecord(self, record.release());
}

bool initialise(CCall& call, PyObject* self, int steps) {
    const CMonitorReference monitor(self);
    if (!monitor || kzSucceeded(monitor->Initialize(static_cast<std::uint32_t>(steps)))) return true;
    call.fail(cannotInitialise);
    return false;
}

int monitorInit(PyObject* self, PyObject* args, PyObject* keywords) {
    return kzInitCall("kz.Monitor", [=](CCall& call) {
        int steps = 0;
        if (!kzRefuseKeywords(self, keywords)) return false;
        allocate(self);
        // Required behaviour: for an argument that is not a number, the monitor is made but the parser's error stays
        // pending, so that the script sees it at its next statement.
        if (PyArg_ParseTuple(args, "|i", &steps) == 0 || steps == 0) return true;
        if (steps > 0) return initialise(call, self, steps);
        call.fail(badSteps);
        return false;
    });
}

PyObject* monitorNew(PyTypeObject* type, PyObject* args, PyObject* keywords) {
    return kzTellMade(PyType_GenericNew(type, args, keywords));
}

void monitorDealloc(PyObject* self) {
    kzTellGone(self);
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
            PyErr_Clear();  // the parser's error is replaced by this one
            return call.fail(badSteps);
        }
        if (!initialise(call, self, steps)) return nullptr;
        Py_RETURN_NONE;
    });
}

PyObject* monitorStep(PyObject* self, PyObject* args) {
    return kzCall("kz.Monitor", [=](CCall& call) -> PyObject* {
        int count = 1;
        // Required behaviour: an argument that is not a number counts as one step, and the parser's error stays pending.
        static_cast<void>(PyArg_ParseTuple(args, "|i", &count));
        const CPendingException keep;
        const CMonitorReference monitor(self);
        const CPyLock lock;
        if (monitor && kzFailed(monitor->Increment(static_cast<std::uint32_t>(count))))
            return call.fail("Error incrementing monitor");
        Py_RETURN_NONE;
    });
}

PyMethodDef monitorMethods[] = {
    {"init", monitorInitMethod, METH_VARARGS, "Initialize the monitor with the total number of steps"},
    {"step", monitorStep, METH_VARARGS, "Increment the monitor by one or by step it by an arbitrary amount"},
    {nullptr, nullptr, 0, nullptr},
};

KzUncopyable uncopyableMonitor("kz.Monitor(steps) makes another one");

}  // namespace

PyTypeObject kzMonitorType = KzTypeRow{"kz.Monitor",      "Monitor objects", sizeof(MonitorObject), monitorMethods,
                                       uncopyableMonitor, monitorNew,        monitorInit,           monitorDealloc}
                                 .type();
