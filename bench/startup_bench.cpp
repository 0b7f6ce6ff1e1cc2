// What starting costs: an empty script in the reference host against the same one under the bare interpreter. Pairs of
// processes, one right after the other, because the machine's speed drifts. And the console until it shows its prompt.
#include "kz_paths.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <pty.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int pairs = 101;
constexpr double target = 2.0;
constexpr int consoles = 11;
constexpr double consoleTarget = 100;  // ms

constexpr const char* kzhost = KZ_BUILD_DIR "/bin/kzhost";

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
}

double millisecondsOf(const rusage& used) { return milliseconds(used.ru_utime) + milliseconds(used.ru_stime); }

// The process's own time, so that what else the machine does counts on neither side. Negative when it failed.
double run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
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
    return millisecondsOf(used);
}

// A console on a terminal of its own that is left with Ctrl-D as soon as it shows its prompt.
double runConsole() {
    int keys = -1;
    const pid_t child = forkpty(&keys, nullptr, nullptr, nullptr);
    if (child == 0) {
        execl(kzhost, kzhost, "console", nullptr);
        _exit(127);
    }
    std::string shown;
    char buffer[256];
    while (shown.find(">>> ") == std::string::npos) {
        const ssize_t size = read(keys, buffer, sizeof buffer);
        if (size <= 0) break;
        shown.append(buffer, static_cast<std::size_t>(size));
    }
    int status = write(keys, "\x04", 1) == 1 ? 0 : -1;
    rusage used{};
    const bool isGood = wait4(child, &status, 0, &used) == child && status == 0;
    close(keys);
    return isGood ? millisecondsOf(used) : -1;
}

double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace

int main() {
    const std::string script = "/tmp/kz_empty_" + std::to_string(getpid()) + ".py";
    std::FILE* file = std::fopen(script.c_str(), "w");
    if (file == nullptr) return 1;
    std::fclose(file);
    std::vector<double> bare, ours, ratios, prompts;
    for (int pair = 0; pair < pairs; ++pair) {
        bare.push_back(run({KZ_PYTHON2, script}));
        ours.push_back(run({kzhost, "run", script}));
        ratios.push_back(ours.back() / bare.back());
    }
    std::remove(script.c_str());
    for (int each = 0; each < consoles; ++each) prompts.push_back(runConsole());
    if (*std::min_element(prompts.begin(), prompts.end()) < 0) return 1;
    if (*std::min_element(bare.begin(), bare.end()) < 0 || *std::min_element(ours.begin(), ours.end()) < 0) return 1;
    const double ratio = medianOf(ratios);
    std::printf("An empty script (processor time, medians of %d pairs of processes)\n", pairs);
    std::printf("  %-38s %9.2f ms\n", "the bare interpreter", medianOf(bare));
    std::printf("  %-38s %9.2f ms\n", "kzhost run", medianOf(ours));
    std::printf("  %-38s %9.2f %12.2f%s\n", "ratio, target", ratio, target, ratio > target ? "  over" : "");
    const double prompt = medianOf(prompts);
    std::printf("  %-38s %9.2f ms %9.0f%s\n", "console to its prompt and out, target", prompt, consoleTarget,
                prompt > consoleTarget ? "  over" : "");
    return ratio > target || prompt > consoleTarget ? 1 : 0;
}
