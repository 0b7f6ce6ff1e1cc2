// What starting costs: an empty script in the reference host against the same one under the bare interpreter. Pairs of
// processes, one right after the other, because the machine's speed drifts.
#include "kz_paths.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int pairs = 101;
constexpr double target = 2.0;

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
}

// The process's own time, so that what else the machine does counts on neither side. Negative when it failed.
double run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage used{};
    if (child < 0 || wait4(child, &status, 0, &used) != child || status != 0) return -1;
    return milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
}

double medianOf(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + pairs / 2, values.end());
    return values[pairs / 2];
}

}  // namespace

int main() {
    const std::string script = "/tmp/kz_empty_" + std::to_string(getpid()) + ".py";
    std::FILE* file = std::fopen(script.c_str(), "w");
    if (file == nullptr) return 1;
    std::fclose(file);
    std::vector<double> bare, ours, ratios;
    for (int pair = 0; pair < pairs; ++pair) {
        bare.push_back(run({KZ_PYTHON2, script}));
        ours.push_back(run({KZ_BUILD_DIR "/bin/kzhost", "run", script}));
        ratios.push_back(ours.back() / bare.back());
    }
    std::remove(script.c_str());
    if (*std::min_element(bare.begin(), bare.end()) < 0 || *std::min_element(ours.begin(), ours.end()) < 0) return 1;
    const double ratio = medianOf(ratios);
    std::printf("An empty script (processor time, medians of %d pairs of processes)\n", pairs);
    std::printf("  %-38s %9.2f ms\n", "the bare interpreter", medianOf(bare));
    std::printf("  %-38s %9.2f ms\n", "kzhost run", medianOf(ours));
    std::printf("  %-38s %9.2f %12.2f%s\n", "ratio, target", ratio, target, ratio > target ? "  over" : "");
    return ratio > target ? 1 : 0;
}
