// Passes each call to all watches.
#include "observe/watchers.h"

#include "observe/call_profile.h"
#include "observe/call_trace.h"
#include "observe/leak_report.h"
#include "observe/observed.h"
#include "observe/python_watch.h"

#include "module/crossing_watch.h"
#include "module/pending_exception.h"
#include "wrap/wrapper.h"

#include "kz/base/boundary.h"
#include "kz/base/forever.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// What a watch does may itself call the host or run Python code; that is not watched.
KZ_THREAD_LOCAL thread_local bool t_isWatching = false;

bool theModuleIsNeeded = false;

class CWatchers final : public CCrossingWatch {
public:
    void add(std::unique_ptr<CCallWatcher> watcher) { m_watchers.push_back(std::move(watcher)); }
    bool isEmpty() const noexcept { return m_watchers.empty(); }

    bool begin(const KzCrossing& crossing, PyObject*& answer) noexcept override {
        bool isAnswered = false;
        each([&](CCallWatcher& watcher) { isAnswered = isAnswered || watcher.begin(crossing, answer); });
        return isAnswered;
    }
    void end(const KzCrossing& crossing, PyObject* result) noexcept override {
        each([&](CCallWatcher& watcher) { watcher.end(crossing, result); });
    }
    void made(PyObject* object) noexcept override {
        each([=](CCallWatcher& watcher) { watcher.made(object); });
    }
    void gone(PyObject* object) noexcept override {
        each([=](CCallWatcher& watcher) { watcher.gone(object); });
    }
    void finish() noexcept {
        each([](CCallWatcher& watcher) { watcher.finish(); });
    }

private:
    template <class Step> void each(Step&& step) noexcept {
        if (std::exchange(t_isWatching, true)) return;
        for (const auto& watcher : m_watchers) kzValueBoundary([&] { step(*watcher); });
        t_isWatching = false;
    }

    std::vector<std::unique_ptr<CCallWatcher>> m_watchers;
};

CKzForever<CWatchers> theWatchers;

// The variable's value with %p replaced. Null if it is not set or empty.
std::string fileOf(const char* variable) {
    const char* value = std::getenv(variable);
    std::string file = value != nullptr ? value : "";
    if (const std::size_t at = file.find("%p"); at != std::string::npos) file.replace(at, 2, std::to_string(getpid()));
    return file;
}

void readEnvironment() {
    if (const std::string file = fileOf("KZ_TRACE_CALLS"); !file.empty()) theWatchers->add(kzMakeCallTrace(file));
    if (const std::string file = fileOf("KZ_PROFILE_CALLS"); !file.empty()) theWatchers->add(kzMakeCallProfile(file));
    for (const auto& [variable, mode] : {std::pair("KZ_RECORD", "record"), std::pair("KZ_REPLAY", "replay")})
        if (const std::string file = fileOf(variable); !file.empty()) {
            theWatchers->add(kzMakePythonWatch(mode, file));
            theModuleIsNeeded = true;
        }
    if (const std::string mode = fileOf("KZ_LEAKS"); !mode.empty()) theWatchers->add(kzMakeLeakReport(mode));
}

}  // namespace

CWatchedAgain::CWatchedAgain() noexcept { t_isWatching = false; }
CWatchedAgain::~CWatchedAgain() { t_isWatching = true; }

void kzStartWatching() noexcept {
    if (kzCrossingWatch != nullptr) return;
    kzValueBoundary(readEnvironment);
    if (theWatchers->isEmpty()) return;
    kzCrossingWatch = &*theWatchers;
    kzTypeHook = [](PyTypeObject& type, bool isService) noexcept {
        kzObserveType(type, isService ? KzMaking::byNew : KzMaking::byInit);
    };
}

void kzObserveModule(PyObject* kz, const PyMethodDef* functions, std::initializer_list<PyTypeObject*> types) noexcept {
    if (kzCrossingWatch == nullptr) return;
    kzObserveFunctions(kz, functions);
    if (theModuleIsNeeded) kzAddObserveModule();
    for (PyTypeObject* type : types) kzObserveType(*type, KzMaking::byInit);
}

void kzEndWatching() noexcept {
    if (kzCrossingWatch != nullptr) theWatchers->finish();
}
