// Passes each call to all watches.
#include "observe/watchers.h"

#include "observe/call_profile.h"
#include "observe/call_trace.h"
#include "observe/leak_report.h"
#include "observe/observed.h"
#include "observe/python_watch.h"
#include "observe/watching.h"

#include "module/crossing_watch.h"
#include "module/pending_exception.h"
#include "wrap/wrapper.h"

#include "kz/base/boundary.h"
#include "kz/base/forever.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

class CWatchers final : public CCrossingWatch {
public:
    void add(std::unique_ptr<CCallWatcher> watcher) { m_watchers.push_back(std::move(watcher)); }
    bool isEmpty() const noexcept { return m_watchers.empty(); }

    bool begin(const KzCrossing& crossing, PyObject*& answer) noexcept override {
        bool isAnswered = false;
        const auto begin = [&](CCallWatcher& watcher) {
            if (watcher.onlyLooks() || !isAnswered) isAnswered |= watcher.begin(crossing, answer);
        };
        each(begin, crossing.isAside);
        const auto endAtOnce = [&](CCallWatcher& watcher) {
            if (watcher.onlyLooks()) watcher.end(crossing, answer);
        };
        if (isAnswered) each(endAtOnce, crossing.isAside);
        return isAnswered;
    }
    void end(const KzCrossing& crossing, PyObject* result) noexcept override {
        each([&](CCallWatcher& watcher) { watcher.end(crossing, result); }, crossing.isAside);
    }
    void made(PyObject* object, bool isServed) noexcept override {
        each([=](CCallWatcher& watcher) { watcher.made(object, isServed); });
    }
    void gone(PyObject* object) noexcept override {
        if (each([=](CCallWatcher& watcher) { watcher.gone(object); })) return;
        // A watch that runs Python code may have had the last reference, and would take the next object at this address
        // for this one.
        for (const auto& watcher : m_watchers)
            if (!watcher->onlyLooks()) kzValueBoundary([&] { watcher->gone(object); });
    }
    void kept(PyObject* object) noexcept override {
        each([=](CCallWatcher& watcher) { watcher.kept(object); });
    }
    bool keepsItself(PyObject* instance) noexcept override {
        bool isReported = false;
        each([&](CCallWatcher& watcher) { isReported |= watcher.keepsItself(instance); });
        return isReported;
    }
    void remains(PyObject* instance, std::uint32_t references) noexcept override {
        each([=](CCallWatcher& watcher) { watcher.remains(instance, references); });
    }
    void prepareEnd() noexcept {
        each([](CCallWatcher& watcher) { watcher.prepareEnd(); });
    }
    // Once. What comes later is seen by nobody who only looks.
    void finish() noexcept {
        if (m_isFinishing.exchange(true)) return;
        each([](CCallWatcher& watcher) { watcher.finish(); });
        const std::lock_guard lock(m_lock);
        m_hasEnded = true;
    }

private:
    // False if the thread is inside of a watch already.
    template <class Step> bool each(Step&& step, bool isAside = false) noexcept {
        const CWatching watching;
        if (!watching.isFirst()) return false;
        for (const auto& watcher : m_watchers) {
            std::unique_lock lock(m_lock, std::defer_lock);
            if (watcher->onlyLooks()) lock.lock();
            if (lock.owns_lock() ? !m_hasEnded : !isAside) kzValueBoundary([&] { step(*watcher); });
        }
        return true;
    }

    std::vector<std::unique_ptr<CCallWatcher>> m_watchers;
    std::mutex m_lock;
    bool m_hasEnded = false;
    std::atomic<bool> m_isFinishing = false;
};

CKzForever<CWatchers> theWatchers;

// The variable's value with %p replaced; empty if it is not set.
std::string fileOf(const char* variable) {
    const char* value = std::getenv(variable);
    std::string file = value != nullptr ? value : "";
    if (const std::size_t at = file.find("%p"); at != std::string::npos) file.replace(at, 2, std::to_string(getpid()));
    return file;
}

// A variable whose value cannot be used is without effect; whoever makes the watch has said why.
void readVariable(const char* variable, std::unique_ptr<CCallWatcher> (*make)(const std::string& value)) noexcept {
    kzValueBoundary([=] {
        if (const std::string value = fileOf(variable); !value.empty()) theWatchers->add(make(value));
    });
}

void readEnvironment() {
    readVariable("KZ_TRACE_CALLS", kzMakeCallTrace);
    readVariable("KZ_PROFILE_CALLS", kzMakeCallProfile);
    readVariable("KZ_RECORD", kzMakeRecorder);
    readVariable("KZ_REPLAY", kzMakePlayer);
    readVariable("KZ_LEAKS", kzMakeLeakReport);
}

}  // namespace

void kzStartWatching() noexcept {
    if (kzCrossingWatch != nullptr) return;
    readEnvironment();
    if (theWatchers->isEmpty()) return;
    kzCrossingWatch = &*theWatchers;
    kzTypeHook = [](PyTypeObject& type, bool isService) noexcept {
        kzObserveType(type, isService ? KzMaking::byNew : KzMaking::byInit);
    };
}

void kzObserveModule(PyObject* kz, const PyMethodDef* functions, std::initializer_list<PyTypeObject*> types) noexcept {
    if (kzCrossingWatch == nullptr) return;
    kzObserveFunctions(kz, functions);
    kzAddObserveModule();
    for (PyTypeObject* type : types) kzObserveType(*type, KzMaking::byInit);
}

void kzPrepareEndOfWatching() noexcept {
    if (kzCrossingWatch != nullptr) theWatchers->prepareEnd();
}

void kzEndWatching() noexcept {
    if (kzCrossingWatch != nullptr) theWatchers->finish();
}
