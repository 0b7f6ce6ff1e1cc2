// What a call from the host to a Python method costs, against the interpreter's own call by name with the same format.
#include "bench/fake_host.h"
#include "bench/measure.h"

#include "module/py_lock.h"
#include "module/py_ref.h"
#include "serve/adapters.h"
#include "serve/class_interfaces.h"
#include "tests/support/lines.h"
#include "wrap/result_codes.h"

#include "kz/command.h"
#include "kz/result.h"

#include <cstdio>
#include <latch>
#include <semaphore>
#include <thread>
#include <vector>

namespace {

PyObject* theInstance = nullptr;
IKzCommand* theCommand = nullptr;

// The hand-written twins: what an adapter would do without the relay.
void twinExecute() {
    const CPyRefNull returned(PyObject_CallMethod(theInstance, kzText("cmd_Execute"), kzText("(I)"), 3U));
    if (returned.get() == nullptr) kzResultOfPending();
}
void twinRaise() {
    const CPyRefNull returned(PyObject_CallMethod(theInstance, kzText("cmd_ArgClear"), kzText("(I)"), 3U));
    if (returned.get() != nullptr) return;
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    const CPyRefNull heldType(type);
    const CPyRefNull heldValue(value);
    const CPyRefNull heldTraceback(traceback);
    static_cast<void>(PyErr_GivenExceptionMatches(type, PyExc_NotImplementedError));
}
void withState(void (*call)()) {
    const PyGILState_STATE state = PyGILState_Ensure();
    call();
    PyGILState_Release(state);
}

// Whether the ratio meets its target.
bool contest(const char* name, double target, const KzWork& ours, const KzWork& twin) {
    if (!kzSelected(name)) return true;
    const std::vector<double> times = kzInterleave({ours, twin});
    return kzPrintRatio(name, times[0], times[1], target);
}

// A thread that the interpreter sees only through the work that it is given. It lives as long as what it is compared
// with: the interpreter knows threads by their identity, which a later thread may be given again.
class ForeignThread {
public:
    ~ForeignThread() {
        m_work = nullptr;
        m_begin.release();
    }
    double run(const KzWork& work) {
        m_work = &work;
        m_begin.release();
        m_end.acquire();
        return m_result;
    }

private:
    void loop() {
        for (m_begin.acquire(); m_work != nullptr; m_begin.acquire()) {
            m_result = (*m_work)();
            m_end.release();
        }
    }

    const KzWork* m_work = nullptr;
    double m_result = 0;
    std::binary_semaphore m_begin{0}, m_end{0};
    std::jthread m_thread{[this] { loop(); }};
};

// Threads that have entered and wait, so that the interpreter has that many threads to tell apart.
class WaitingThreads {
public:
    explicit WaitingThreads(int count) {
        std::latch entered(count);
        for (int index = 0; index < count; ++index)
            m_threads.emplace_back([this, &entered] {
                { const CPyLock lock; }
                entered.count_down();
                m_end.wait();
            });
        entered.wait();
    }
    ~WaitingThreads() { m_end.count_down(); }

private:
    std::latch m_end{1};
    std::vector<std::jthread> m_threads;
};

void execute() { theCommand->Execute(3); }
void raise() { theCommand->ArgClear(3); }

void enter() { const CPyLock lock; }

void enterWithState() {
    withState([] {});
}

double enteringTime() {
    return kzInterleave({[] { return kzNanoseconds(enter); }})[0];
}

bool runAll() {
    const KzWork ours = [] { return kzNanoseconds(execute); };
    const KzWork twin = [] { return kzNanoseconds(twinExecute); };
    const KzWork twinWithState = [] { return kzNanoseconds([] { withState(twinExecute); }); };
    bool good = true;
    kzPrintHead("A call from the host to a Python method against the interpreter's call by name");
    {
        const CPyLock lock;
        good &= contest("lock held", .50, ours, twin);
        good &= contest(
            "method raises, lock held", .75, [] { return kzNanoseconds(raise); },
            [] { return kzNanoseconds(twinRaise); });
        good &= contest(
            "entering, lock held", .15, [] { return kzNanoseconds(enter); },
            [] { return kzNanoseconds(enterWithState); });
    }
    good &= contest("lock taken for each call, main thread", .48, ours, twinWithState);
    ForeignThread first, second;
    good &= contest(
        "lock taken for each call, foreign thread", .33, [&] { return first.run(ours); },
        [&] { return second.run(twinWithState); });
    const double alone = enteringTime();
    const WaitingThreads others(49);
    return kzPrintRatio("entering, 50 threads against one", enteringTime(), alone, 1.3) && good;
}

const std::string source = R"(
    import kz
    class Command(object): pass
    kz.bless(Command, ':Command')
    class Served(Command):
        def cmd_Execute(self, flags): pass
        def cmd_ArgClear(self, index): raise NotImplementedError
    served = Served())"_lines;

}  // namespace

int main(int count, char** arguments) {
    kzSelect(count, arguments);
    kzStartBenchHost();
    CKzLoc_Command command;
    {
        const CPyLock lock;
        PyObject* names = PyModule_GetDict(PyImport_AddModule("__main__"));
        const CPyRefNull done(PyRun_String(source.c_str(), Py_file_input, names, names));
        theInstance = PyDict_GetItemString(names, "served");
        if (theInstance == nullptr) return 2;
        command.take(kzPolymorphFor(reinterpret_cast<PyObject*>(Py_TYPE(theInstance)), Py_None).spawnFor(theInstance));
        theCommand = command.ptr();
    }
    const bool good = runAll();
    command.clear();
    return good ? 0 : 1;
}
