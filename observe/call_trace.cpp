// A trace of all calls.
//
// Each call is a pair of events, B and E, so that the calls of a process that dies are there, too. Each is written at once,
// and the comma comes before an event, so that whatever has ended the process, the file is a whole number of events, which
// the viewers read without the end of the array.
#include "observe/call_trace.h"

#include "observe/report_file.h"
#include "observe/short_text.h"

#include "module/pending_exception.h"
#include "module/py_ref.h"
#include "wrap/wrapper_object.h"

#include "kz/base/forever.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <pthread.h>
#include <unistd.h>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

KZ_THREAD_LOCAL thread_local bool t_isNamed = false;

// The name that Python's threading knows the calling thread by; empty for a thread of the host. All of this only looks into
// dictionaries.
std::string nameInPython() {
    PyObject* modules = PyThreadState_GET()->interp->modules;  // null at the very end
    PyObject* threading = modules != nullptr ? PyDict_GetItemString(modules, "threading") : nullptr;
    PyObject* active = threading != nullptr && PyModule_Check(threading)
                           ? PyDict_GetItemString(PyModule_GetDict(threading), "_active")
                           : nullptr;
    const CPyRefNull ident(PyInt_FromLong(PyThreadState_GET()->thread_id));
    if (active == nullptr || !PyDict_Check(active) || ident.get() == nullptr) return "";
    PyObject* thread = PyDict_GetItem(active, ident);
    PyObject** fields = thread != nullptr ? _PyObject_GetDictPtr(thread) : nullptr;
    PyObject* name = fields != nullptr && *fields != nullptr ? PyDict_GetItemString(*fields, "_Thread__name") : nullptr;
    if (name == nullptr || !PyString_Check(name)) return "";
    const std::string_view text = PyString_AS_STRING(name);
    return std::string(text.starts_with("Dummy-") ? "" : text);  // what Python calls threads that it has not started
}

// That of the system, unless the thread has only inherited the program's.
std::string nameInSystem() {
    std::array<char, 16> name{};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    return std::string_view(program_invocation_short_name).starts_with(name.data()) ? "thread of the host"
                                                                                    : name.data();
}

class CCallTrace final : public CCallWatcher {
public:
    explicit CCallTrace(const std::string& file) : m_file(file) {
        m_file.write("[\n" + eventText("M", 0, R"("name": "process_name", "args": {"name": "kzPython2"})"));
    }

    bool onlyLooks() const override { return true; }

    bool begin(const KzCrossing& crossing, PyObject*& /*answer*/) override {
        const CPendingException pending;
        nameThread();
        const char* category = crossing.direction == KzCrossing::toHost ? "to host" : "to Python";
        std::string fields = R"("name": )" + kzJsonString(kzNameOf(crossing)) + R"(, "cat": ")" + category +
                             R"(", "args": {"arguments": )" + kzJsonString(kzShortArguments(crossing));
        if (crossing.self != nullptr) fields += R"(, "object": )" + kzJsonString(addressOf(crossing.self));
        if (const std::string line = kzCurrentLine(); !line.empty()) fields += R"(, "line": )" + kzJsonString(line);
        event("B", now(), fields + "}");
        return false;
    }

    void end(const KzCrossing& crossing, PyObject* result) override {
        const std::int64_t time = now();  // before the text is made
        std::string fields = R"("args": {)";
        if (result == nullptr) {
            const std::string exception = kzShortException();
            const std::string code = kzShortCode();
            const CPendingException pending;
            fields += R"("exception": )" + kzJsonString(exception) + R"(, "code": )" + kzJsonString(code);
        } else {
            const CPendingException pending;
            fields += R"("result": )" + kzJsonString(kzShortResult(crossing, result));
        }
        event("E", time, fields + "}");
    }

    void finish() override { m_file.write("\n]\n"); }

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

    // When it is first seen.
    void nameThread() {
        if (std::exchange(t_isNamed, true)) return;
        std::string name = gettid() == getpid() ? "main" : nameInPython();
        if (name.empty()) name = nameInSystem();
        event("M", 0, R"("name": "thread_name", "args": {"name": )" + kzJsonString(name) + "}");
    }

    static std::string eventText(const char* phase, std::int64_t nanoseconds, const std::string& fields) {
        std::array<char, 128> head{};
        std::snprintf(head.data(), head.size(), R"({"ph": "%s", "pid": %d, "tid": %d, "ts": %lld.%03lld, )", phase,
                      getpid(), gettid(), static_cast<long long>(nanoseconds / 1000),
                      static_cast<long long>(nanoseconds % 1000));
        return head.data() + fields + "}";
    }

    void event(const char* phase, std::int64_t nanoseconds, const std::string& fields) {
        m_file.write(",\n" + eventText(phase, nanoseconds, fields));
    }

    CReportFile m_file;
    Clock::time_point m_start = Clock::now();
};

}  // namespace

std::unique_ptr<CCallWatcher> kzMakeCallTrace(const std::string& file) { return std::make_unique<CCallTrace>(file); }
