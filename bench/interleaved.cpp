// Interleaved timing of Python expressions.
#include "bench/interleaved.h"

#include "module/py_ref.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int rounds = 31;
constexpr int iterations = 40000;

// A function that evaluates the expression `iterations` times. A caught failure is part of what is timed.
PyObject* makeLoop(const std::string& statement, PyObject* names) {
    const std::string source = "def loop(steps=None):\n    for step in xrange(" + std::to_string(iterations) + "):\n" +
                               "        " + statement + "\n";
    const CPyRefNull done(PyRun_String(source.c_str(), Py_file_input, names, names));
    if (done.get() == nullptr) {
        PyErr_Print();
        std::exit(1);
    }
    PyObject* loop = PyDict_GetItemString(names, "loop");
    Py_INCREF(loop);
    return loop;
}

double nanosecondsOf(PyObject* loop) {
    const auto start = std::chrono::steady_clock::now();
    const CPyRefNull done(PyObject_CallObject(loop, nullptr));
    const auto stop = std::chrono::steady_clock::now();
    if (done.get() == nullptr) {
        PyErr_Print();
        std::exit(1);
    }
    return std::chrono::duration<double, std::nano>(stop - start).count() / iterations;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

struct Timing {
    std::vector<double> ours, twin, ratio;
};

}  // namespace

int kzRunContests(const char* title, const std::vector<KzContest>& contests, PyObject* names) {
    const CPyRefNull empty(makeLoop("pass", names));
    std::vector<CPyRefNull> ours, twins;
    for (const KzContest& contest : contests) {
        ours.emplace_back(makeLoop(contest.ours, names));
        twins.emplace_back(makeLoop(contest.twin, names));
    }
    std::vector<Timing> timings(contests.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t index = 0; index < contests.size(); ++index) {
            const double base = nanosecondsOf(empty);
            const double own = nanosecondsOf(ours[index]) - base;
            const double other = nanosecondsOf(twins[index]) - base;
            timings[index].ours.push_back(own);
            timings[index].twin.push_back(other);
            timings[index].ratio.push_back(own / other);
        }
    }
    std::printf("%s (median of %d rounds of %d calls, loop subtracted)\n", title, rounds, iterations);
    std::printf("  %-38s %9s %9s %7s %7s\n", "", "ours ns", "twin ns", "ratio", "target");
    int exceeded = 0;
    for (std::size_t index = 0; index < contests.size(); ++index) {
        const double ratio = median(timings[index].ratio);
        const double target = contests[index].target;
        const bool over = target > 0 && ratio > target;
        exceeded += over ? 1 : 0;
        std::printf("  %-38s %9.1f %9.1f %7.2f", contests[index].name.c_str(), median(timings[index].ours),
                    median(timings[index].twin), ratio);
        if (target > 0) std::printf(" %7.2f%s\n", target, over ? "  over" : "");
        else std::printf("\n");
    }
    return exceeded;
}
