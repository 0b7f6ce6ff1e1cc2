// What a call from the host to a Python method costs, against the interpreter's own call by name with the same format.
#include "bench/fake_host.h"

#include "module/py_lock.h"
#include "module/py_ref.h"
#include "serve/adapters.h"
#include "serve/class_interfaces.h"
#include "wrap/result_codes.h"

#include "kz/command.h"
#include "kz/result.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

constexpr int loops = 20000;
constexpr int rounds = 25;

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

template <class Call> double nanoseconds(Call&& call) {
    const auto start = std::chrono::steady_clock::now();
    for (int index = 0; index < loops; ++index) call();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / loops;
}

double median(std::vector<double> values) {
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

// Runs both in turn, so that a machine whose speed drifts slows both alike. Whether the ratio meets its target.
template <class Ours, class Twin> bool contest(const char* name, double target, Ours&& ours, Twin&& twin) {
    std::vector<double> mine;
    std::vector<double> theirs;
    std::vector<double> ratios;
    for (int round = 0; round < rounds; ++round) {
        mine.push_back(nanoseconds(ours));
        theirs.push_back(nanoseconds(twin));
        ratios.push_back(mine.back() / theirs.back());
    }
    const double ratio = median(ratios);
    std::printf("%-44s %8.1f %8.1f %7.3f %7.2f  %s\n", name, median(mine), median(theirs), ratio, target,
                ratio <= target ? "" : "over");
    return ratio <= target;
}

void execute() { theCommand->Execute(3); }
void raise() { theCommand->ArgClear(3); }

bool runAll() {
    bool good = true;
    {
        const CPyLock lock;
        good &= contest("lock held", .50, execute, twinExecute);
        good &= contest("method raises, lock held", .75, raise, twinRaise);
        std::vector<double> entries;
        for (int round = 0; round < rounds; ++round) entries.push_back(nanoseconds([] { const CPyLock nested; }));
        std::printf("%-44s %8.1f ns, at most 5\n", "entering with the lock held", median(entries));
        good &= median(entries) <= 5;
    }
    good &= contest("lock taken for each call, main thread", .48, execute, [] { withState(twinExecute); });
    std::thread([&good] {
        good &= contest("lock taken for each call, foreign thread", .33, execute, [] { withState(twinExecute); });
    }).join();
    return good;
}

constexpr const char* source = "import kz\n"
                               "class Command(object): pass\n"
                               "kz.bless(Command, ':Command')\n"
                               "class Served(Command):\n"
                               "    def cmd_Execute(self, flags): pass\n"
                               "    def cmd_ArgClear(self, index): raise NotImplementedError\n"
                               "served = Served()\n";

}  // namespace

int main() {
    kzStartBenchHost();
    CKzLoc_Command command;
    {
        const CPyLock lock;
        PyObject* names = PyModule_GetDict(PyImport_AddModule("__main__"));
        const CPyRefNull done(PyRun_String(source, Py_file_input, names, names));
        theInstance = PyDict_GetItemString(names, "served");
        if (theInstance == nullptr) return 2;
        command.take(kzPolymorphFor(reinterpret_cast<PyObject*>(Py_TYPE(theInstance)), Py_None).spawnFor(theInstance));
        theCommand = command.ptr();
    }
    std::printf("%-44s %8s %8s %7s %7s\n", "a call to a Python method, ns", "ours", "twin", "ratio", "target");
    const bool good = runAll();
    command.clear();
    return good ? 0 : 1;
}
