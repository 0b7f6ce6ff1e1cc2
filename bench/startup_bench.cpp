// What building all of kz.object, kz.service, kz.symbol and kz.result costs, against starting the bare interpreter. Each
// round is a process of its own, because an interpreter starts only once.
#include "kzmod/storage_type.h"
#include "module/python.h"
#include "wrap/registration.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int rounds = 21;
constexpr double target = 2.5;

// The process's own time, so that what else the machine does counts on neither side.
double milliseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

struct Round {
    double start;
    double build;
};

Round measure() {
    static PyMethodDef none[] = {{nullptr, nullptr, 0, nullptr}};
    Py_NoSiteFlag = 1;  // as the module starts it
    const double begin = milliseconds();
    Py_InitializeEx(0);
    const double started = milliseconds();
    PyObject* kz = Py_InitModule("kz", none);
    kzReadyStorageType();
    kzAddSubmodules(kz, kzStorageType);
    return {started - begin, milliseconds() - started};
}

// Runs one round in a child, which writes what it measured into a pipe.
bool runRound(Round& round) {
    int ends[2];
    if (pipe(ends) != 0) return false;
    const pid_t child = fork();
    if (child == 0) {
        const Round measured = measure();
        _exit(write(ends[1], &measured, sizeof measured) == sizeof measured ? 0 : 1);
    }
    int status = 0;
    const bool got = child > 0 && waitpid(child, &status, 0) == child && status == 0 &&
                     read(ends[0], &round, sizeof round) == sizeof round;
    close(ends[0]);
    close(ends[1]);
    return got;
}

double medianOf(const std::vector<Round>& all, double (*value)(const Round&)) {
    std::vector<double> values(all.size());
    std::transform(all.begin(), all.end(), values.begin(), value);
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

}  // namespace

int main() {
    std::vector<Round> all(rounds);
    for (Round& round : all)
        if (!runRound(round)) return 1;
    const double ratio = medianOf(all, [](const Round& round) { return round.build / round.start; });
    std::printf("Start-up (median of %d processes)\n", rounds);
    std::printf("  %-38s %9.2f ms\n", "the bare interpreter", medianOf(all, [](const Round& r) { return r.start; }));
    std::printf("  %-38s %9.2f ms\n", "types, methods, constants and codes",
                medianOf(all, [](const Round& r) { return r.build; }));
    std::printf("  %-38s %9.2f %12.2f%s\n", "ratio, target", ratio, target, ratio > target ? "  over" : "");
    return ratio > target ? 1 : 0;
}
