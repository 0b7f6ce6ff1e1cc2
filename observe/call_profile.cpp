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
#include <unordered_map>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsOf(Clock::duration duration) { return std::chrono::duration<double, std::milli>(duration).count(); }

struct Sum {
    std::size_t calls = 0;
    std::size_t failures = 0;
    Clock::duration total{};  // of a method that is called within itself, the outermost calls alone
    Clock::duration own{};
    Clock::duration longest{};
};

using Row = std::pair<const std::string, Sum>;

struct OpenCall {
    Row* row;
    Clock::time_point start;
    bool isOutermost;  // of the calls of its method on its thread
    Clock::duration inside{};
};

// What a thread is in.
struct Thread {
    std::vector<OpenCall> open;
    std::unordered_map<const Row*, int> depths;
};

class CCallProfile final : public CCallWatcher {
public:
    explicit CCallProfile(const std::string& file) : m_file(file) {}

    bool onlyLooks() const override { return true; }

    bool begin(const KzCrossing& crossing, PyObject*& /*answer*/) override {
        const char* arrow = crossing.direction == KzCrossing::toHost ? "" : "-> ";
        Row& row = *m_sums.try_emplace(arrow + kzNameOf(crossing)).first;
        Thread& thread = m_threads[std::this_thread::get_id()];
        const bool isOutermost = thread.depths[&row]++ == 0;
        thread.open.push_back({&row, Clock::now(), isOutermost});
        return false;
    }

    void end(const KzCrossing& /*crossing*/, PyObject* result) override {
        const Clock::time_point now = Clock::now();
        Thread& thread = m_threads[std::this_thread::get_id()];
        if (!thread.open.empty()) close(thread, now, result == nullptr);
    }

    void finish() override {
        const Clock::time_point now = Clock::now();
        std::size_t unfinished = 0;
        for (auto& [id, thread] : m_threads)
            for (; !thread.open.empty(); ++unfinished) close(thread, now, false);
        std::vector<const Row*> rows;
        for (const Row& row : m_sums) rows.push_back(&row);
        std::ranges::stable_sort(rows, [](auto* left, auto* right) { return left->second.own > right->second.own; });
        m_file.write("     calls  failed    total ms      own ms  longest ms  method (-> into Python)\n");
        for (const Row* row : rows) write(*row);
        if (unfinished != 0) m_file.write(std::to_string(unfinished) + " of the calls had not returned at the end\n");
    }

private:
    static void close(Thread& thread, Clock::time_point now, bool hasFailed) {
        const OpenCall call = thread.open.back();
        thread.open.pop_back();
        --thread.depths[call.row];
        const Clock::duration time = now - call.start;
        Sum& sum = call.row->second;
        ++sum.calls;
        if (hasFailed) ++sum.failures;
        if (call.isOutermost) sum.total += time;
        sum.own += time - call.inside;
        sum.longest = std::max(sum.longest, time);
        if (!thread.open.empty()) thread.open.back().inside += time;
    }

    void write(const Row& row) {
        const Sum& sum = row.second;
        std::array<char, 128> figures{};
        std::snprintf(figures.data(), figures.size(), "%10zu %7zu %11.3f %11.3f %11.3f  ", sum.calls, sum.failures,
                      millisecondsOf(sum.total), millisecondsOf(sum.own), millisecondsOf(sum.longest));
        m_file.write(figures.data() + row.first + "\n");
    }

    CReportFile m_file;
    std::map<std::string, Sum> m_sums;
    std::map<std::thread::id, Thread> m_threads;
};

}  // namespace

std::unique_ptr<CCallWatcher> kzMakeCallProfile(const std::string& file) {
    return std::make_unique<CCallProfile>(file);
}
