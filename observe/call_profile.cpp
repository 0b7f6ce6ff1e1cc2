// The time that calls take.
#include "observe/call_profile.h"

#include "observe/report_file.h"
#include "observe/short_text.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <map>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsOf(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

struct Sum {
    std::size_t calls = 0;
    std::size_t failures = 0;
    Clock::duration total{};  // of a method that is called within itself, the outermost calls alone
    Clock::duration own{};
    Clock::duration longest{};
    int depth = 0;
};

struct OpenCall {
    std::pair<const std::string, Sum>* row;
    Clock::time_point start;
    Clock::duration inside{};
};

class CCallProfile final : public CCallWatcher {
public:
    explicit CCallProfile(const std::string& file) : m_file(file) {}

    bool begin(const KzCrossing& crossing, PyObject*& /*answer*/) override {
        const char* arrow = crossing.direction == KzCrossing::toHost ? "" : "-> ";
        const auto row = m_sums.try_emplace(arrow + kzNameOf(crossing)).first;
        ++row->second.depth;
        m_open[std::this_thread::get_id()].push_back({&*row, Clock::now()});
        return false;
    }

    void end(const KzCrossing& /*crossing*/, PyObject* result) override {
        const Clock::time_point now = Clock::now();
        std::vector<OpenCall>& open = m_open[std::this_thread::get_id()];
        if (open.empty()) return;
        const OpenCall call = open.back();
        open.pop_back();
        const Clock::duration time = now - call.start;
        Sum& sum = call.row->second;
        ++sum.calls;
        if (result == nullptr) ++sum.failures;
        if (--sum.depth == 0) sum.total += time;
        sum.own += time - call.inside;
        sum.longest = std::max(sum.longest, time);
        if (!open.empty()) open.back().inside += time;
    }

    void finish() override {
        std::vector<const std::pair<const std::string, Sum>*> rows;
        for (const auto& row : m_sums) rows.push_back(&row);
        std::ranges::stable_sort(rows, [](auto* left, auto* right) { return left->second.own > right->second.own; });
        m_file.write("     calls  failed    total ms      own ms  longest ms  method (-> into Python)\n");
        for (const auto* row : rows) {
            const Sum& sum = row->second;
            std::array<char, 128> figures{};
            std::snprintf(figures.data(), figures.size(), "%10zu %7zu %11.3f %11.3f %11.3f  ", sum.calls, sum.failures,
                          millisecondsOf(sum.total), millisecondsOf(sum.own), millisecondsOf(sum.longest));
            m_file.write(figures.data() + row->first + "\n");
        }
    }

private:
    CReportFile m_file;
    std::map<std::string, Sum> m_sums;
    std::map<std::thread::id, std::vector<OpenCall>> m_open;
};

}  // namespace

std::unique_ptr<CCallWatcher> kzMakeCallProfile(const std::string& file) {
    return std::make_unique<CCallProfile>(file);
}
