// Interleaved timing of Python statements.
#include "bench/interleaved.h"

#include "bench/measure.h"
#include "module/py_ref.h"

#include <cstdio>
#include <cstdlib>

namespace {

PyObject* need(PyObject* object) {
    if (object != nullptr) return object;
    PyErr_Print();
    std::exit(1);
}

// A chunk of the statement as a Python function, for which the names are local.
KzWork makeWork(const std::string& statement, const std::string& locals, PyObject* names) {
    const std::string source = "def loop(" + locals + "):\n    for step in xrange(" + std::to_string(kzChunk) +
                               "):\n        " + statement + "\n";
    const CPyRefNull done(need(PyRun_String(source.c_str(), Py_file_input, names, names)));
    PyObject* loop = PyDict_GetItemString(names, "loop");
    return [held = CPyRef(loop)] {
        const double start = kzThreadTime();
        const CPyRefNull ended(need(PyObject_CallObject(held, nullptr)));
        return (kzThreadTime() - start) / kzChunk;
    };
}

}  // namespace

bool kzRunContests(const char* title, const std::vector<KzContest>& contests, PyObject* names) {
    kzPrintHead(title);
    const KzWork empty = makeWork("pass", "", names);
    bool good = true;
    for (const KzContest& contest : contests) {
        if (!kzSelected(contest.name.c_str())) continue;
        const std::vector<double> times = kzInterleave({empty, makeWork(contest.statement, contest.ours, names),
                                                        makeWork(contest.statement, contest.twin, names)});
        good &= kzPrintRatio(contest.name.c_str(), times[1] - times[0], times[2] - times[0], contest.target);
    }
    return good;
}
