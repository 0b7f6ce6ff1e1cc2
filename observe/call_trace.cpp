// A trace of all calls.
//
// Each call is a pair of events, B and E, so that the calls of a process that dies are there, too. Written is the array
// without its end if need be, which the viewers accept. Events wait in a buffer; it is written when it is full, and when a
// thread has left its outermost call a while after the last time.
#include "observe/call_trace.h"

#include "observe/report_file.h"
#include "observe/short_text.h"

#include "module/pending_exception.h"
#include "wrap/wrapper_object.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <map>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t fullBuffer = 1U << 18;
constexpr std::chrono::milliseconds longestWait{200};

class CCallTrace final : public CCallWatcher {
public:
    explicit CCallTrace(const std::string& file) : m_file(file) {
        m_buffer = "[\n";
        event("M", 0, R"("name": "process_name", "args": {"name": "kzPython2"})");
    }

    bool begin(const KzCrossing& crossing, PyObject*& /*answer*/) override {
        const CPendingException pending;
        int& depth = nameThread();
        ++depth;
        const char* category = crossing.direction == KzCrossing::toHost ? "to host" : "to Python";
        std::string fields = R"("name": )" + kzJsonString(kzNameOf(crossing)) + R"(, "cat": ")" + category +
                             R"(", "args": {"arguments": )" + kzJsonString(kzShortArguments(crossing));
        if (crossing.self != nullptr) fields += R"(, "object": )" + kzJsonString(addressOf(crossing.self));
        if (crossing.direction == KzCrossing::toHost) fields += R"(, "line": )" + kzJsonString(kzCurrentLine());
        event("B", now(), fields + "}");
        return false;
    }

    void end(const KzCrossing& /*crossing*/, PyObject* result) override {
        const std::int64_t time = now();  // before the text is made
        const std::string exception = kzShortException();
        const CPendingException pending;
        event("E", time,
              R"("args": {)" + (result != nullptr ? R"("result": )" + kzJsonString(kzShortText(result))
                                                  : R"("exception": )" + kzJsonString(exception)) +
                  "}");
        const bool isOutermost = --nameThread() == 0;
        if (m_buffer.size() > fullBuffer || (isOutermost && Clock::now() - m_lastWrite > longestWait)) flush();
    }

    void finish() override {
        m_buffer += "{}]\n";
        flush();
    }

private:
    std::int64_t now() const {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - m_start).count();
    }

    // What tells objects apart: the host's address of a wrapper's, Python's of others.
    static std::string addressOf(PyObject* object) {
        const bool isWrapper = kzIsWrapper(object);
        std::array<char, 32> text{};
        std::snprintf(text.data(), text.size(), "%p",
                      isWrapper ? static_cast<const void*>(kzWrapper(object)->target) : static_cast<void*>(object));
        return text.data();
    }

    // The number of calls that the thread is in. A thread is named when it is first seen.
    int& nameThread() {
        const auto [entry, isNew] = m_depths.try_emplace(static_cast<long>(syscall(SYS_gettid)), 0);
        const bool isMain = entry->first == getpid();
        if (isNew && isMain) event("M", 0, R"("name": "thread_name", "args": {"name": "main"})");
        return entry->second;
    }

    void event(const char* phase, std::int64_t nanoseconds, const std::string& fields) {
        std::array<char, 128> head{};
        std::snprintf(head.data(), head.size(), R"({"ph": "%s", "pid": %d, "tid": %ld, "ts": %lld.%03lld, )", phase,
                      getpid(), static_cast<long>(syscall(SYS_gettid)), static_cast<long long>(nanoseconds / 1000),
                      static_cast<long long>(nanoseconds % 1000));
        m_buffer += head.data() + fields + "},\n";
    }

    void flush() {
        m_file.write(m_buffer);
        m_buffer.clear();
        m_lastWrite = Clock::now();
    }

    CReportFile m_file;
    std::string m_buffer;
    std::map<long, int> m_depths;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_lastWrite = m_start;
};

}  // namespace

std::unique_ptr<CCallWatcher> kzMakeCallTrace(const std::string& file) { return std::make_unique<CCallTrace>(file); }
