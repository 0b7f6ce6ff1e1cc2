// What is still alive at the end, by the line that made it.
//
// A wrapper or a served instance is entered when it is made, and removed when it is freed. What is left when the interpreter
// has ended is a leak, with two exceptions, which are found by following references before the end:
//
// - What a Python method has returned is never released, since the host may go on using it. So nothing is a leak that such
//   an object refers to, directly or through others.
// - The interpreter clears its modules at the end, but its collector does not run any more. So a wrapper is no leak that a
//   module refers to: it dies with the module, or stays behind because it is part of a cycle there.
//
// A program of its own ends before its host does, which therefore still has the servers that it has created.
#include "observe/leak_report.h"

#include "observe/report_file.h"
#include "observe/short_text.h"

#include "module/output.h"
#include "module/runtime.h"
#include "wrap/wrapper.h"

#include "kz/base/text_output.h"
#include "kz/result.h"

#include <map>
#include <string_view>
#include <tuple>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t mostLines = 20;

// The objects that can be reached from some others.
class CReachable {
public:
    // Without `throughModules`, neither classes nor modules are followed: everything is reachable from them.
    explicit CReachable(bool throughModules)
        : m_throughModules(throughModules), m_builtins(PyString_InternFromString("__builtins__"), CPyRef::owned) {}

    void follow(PyObject* root) {
        add(root);
        while (!m_todo.empty()) {
            PyObject* object = m_todo.back();
            m_todo.pop_back();
            if (kzIsWrapperType(Py_TYPE(object))) add(kzInstanceServedAs(kzWrapper(object)->target));
            if (PyObject_IS_GC(object) && Py_TYPE(object)->tp_traverse != nullptr)
                Py_TYPE(object)->tp_traverse(object, visit, this);
        }
    }
    // Marks an object so that it is not followed.
    void exclude(PyObject* object) { m_all.insert(object); }
    bool contains(PyObject* object) const { return m_all.contains(object); }

private:
    // C++ exceptions must not pass through the interpreter's own frames.
    static int visit(PyObject* object, void* self) {
        try {
            static_cast<CReachable*>(self)->add(object);
            return 0;
        } catch (...) {
            return 1;
        }
    }

    void add(PyObject* object) {
        const bool isFollowed = object != nullptr && (m_throughModules || !isOfModules(object));
        if (isFollowed && m_all.insert(object).second) m_todo.push_back(object);
    }

    bool isOfModules(PyObject* object) const {
        return PyType_Check(object) || PyModule_Check(object) ||
               (PyDict_Check(object) && PyDict_GetItem(object, m_builtins) != nullptr);
    }

    bool m_throughModules;
    CPyRef m_builtins;
    std::unordered_set<PyObject*> m_all;
    std::vector<PyObject*> m_todo;
};

class CLeakReport final : public CCallWatcher {
public:
    explicit CLeakReport(KzResult level) : m_level(level) {}

    bool onlyLooks() const override { return true; }

    // An object for which the host has several host objects is made several times.
    void made(PyObject* object, bool isServed) override {
        const auto [entry, isNew] = m_alive.try_emplace(object);
        ++entry->second.times;
        if (!isNew) return;
        const std::string line = kzCurrentLine();
        entry->second.type = Py_TYPE(object)->tp_name;
        entry->second.origin = line.empty() ? "by the host" : "in " + line;
        entry->second.isServed = isServed;
        entry->second.isSpawned = object == std::exchange(m_spawned, nullptr);
    }

    void gone(PyObject* object) override {
        if (const auto entry = m_alive.find(object); entry != m_alive.end() && --entry->second.times == 0)
            m_alive.erase(entry);
    }

    // The wrappers of arguments were made a moment ago, on behalf of the method.
    bool begin(const KzCrossing& crossing, PyObject*& /*answer*/) override {
        if (crossing.direction != KzCrossing::toPython || crossing.self == nullptr) return false;
        for (Py_ssize_t at = 0; at < crossing.count; ++at) {
            const auto entry = m_alive.find(crossing.arguments[at]);
            if (entry == m_alive.end() || Py_REFCNT(entry->first) != 1) continue;
            entry->second.origin =
                "for " + kzNameOf(crossing) + " in " + kzLineOfMethod(crossing.self, crossing.method);
        }
        return false;
    }

    // The host creates its servers through their classes.
    void end(const KzCrossing& crossing, PyObject* result) override {
        const bool isSpawn = crossing.direction == KzCrossing::toPython && crossing.self == nullptr;
        if (isSpawn && std::string_view(crossing.method) == "__init__") m_spawned = result;
    }

    void kept(PyObject* object) override {
        if (PyObject_IS_GC(object) || m_alive.contains(object)) m_kept.push_back(object);
    }

    bool keepsItself(PyObject* instance) override {
        const auto entry = m_alive.find(instance);
        if (entry == m_alive.end()) return false;
        entry->second.note = ", kept by wrappers of itself or of others like it";
        return true;
    }

    void prepareEnd() override {
        CReachable fromKept(false);
        for (PyObject* object : m_kept) fromKept.follow(object);
        CReachable fromModules(true);
        PyObject* modules = PyImport_GetModuleDict();
        PyObject* collector = PyDict_GetItemString(modules, "gc");
        PyObject* garbage = collector != nullptr && PyModule_Check(collector)
                                ? PyDict_GetItemString(PyModule_GetDict(collector), "garbage")
                                : nullptr;
        if (garbage != nullptr) fromModules.exclude(garbage);
        fromModules.follow(modules);
        for (auto& [object, living] : m_alive)
            living.isExempt = fromKept.contains(object) || (!living.isServed && fromModules.contains(object)) ||
                              (living.isSpawned && PythonRuntime::isProgram());
        m_hasEnd = true;
    }

    void remains(PyObject* instance, std::uint32_t references) override {
        if (const auto entry = m_alive.find(instance); entry != m_alive.end()) entry->second.references += references;
    }

    void finish() override {
        if (getpid() != m_owner) return;  // a forked child has what its parent reports
        std::map<Living, Sums> leaks;
        for (auto& [object, living] : m_alive) {
            if (living.isExempt) continue;
            Sums& sums = leaks[living];
            ++sums.objects;
            sums.references += living.isServed ? living.references : Py_REFCNT(object);
        }
        if (leaks.empty()) return tell("nothing is left; what modules hold does not count", KZe_INFO);
        if (!m_hasEnd) tell("Python has not ended, so these are all wrappers and instances that there are:", KZe_INFO);
        tellAll(leaks);
    }

private:
    struct Living {
        bool isServed = false;
        std::string type;
        std::string origin;
        std::string note;
        std::size_t times = 0;         // how often it has been made and not freed
        std::uint32_t references = 0;  // to its host objects
        bool isSpawned = false;
        bool isExempt = false;

        // Instances first, because they are what keeps others.
        bool operator<(const Living& other) const {
            return std::tie(other.isServed, type, origin, note) <
                   std::tie(isServed, other.type, other.origin, other.note);
        }
    };

    struct Sums {
        std::size_t objects = 0;
        std::size_t references = 0;
    };

    void tellAll(const std::map<Living, Sums>& leaks) const {
        std::size_t lines = 0, untold = 0;
        for (const auto& [living, sums] : leaks) {
            if (++lines > mostLines) untold += sums.objects;
            else
                tell(std::to_string(sums.objects) + " " + living.type + (living.isServed ? " served" : "") + ", made " +
                         living.origin + ", " + std::to_string(sums.references) +
                         (sums.references == 1 ? " reference" : " references") + living.note,
                     m_level);
        }
        if (untold != 0) tell("and " + std::to_string(untold) + " objects of other lines", m_level);
    }

    static void tell(const std::string& text, KzResult level) {
        kzWriteFrom(kzFromLeaks, ("leaks: " + text).c_str(), level);
    }

    KzResult m_level;
    int m_owner = getpid();
    bool m_hasEnd = false;          // prepareEnd has run
    PyObject* m_spawned = nullptr;  // the last instance that was created for the host; not owned
    std::unordered_map<PyObject*, Living> m_alive;
    std::vector<PyObject*> m_kept;  // each owned by nobody, and never freed
};

}  // namespace

std::unique_ptr<CCallWatcher> kzMakeLeakReport(const std::string& mode) {
    if (mode == "report" || mode == "error")
        return std::make_unique<CLeakReport>(mode == "error" ? KZe_FAILED : KZe_INFO);
    kzTellUnusable("KZ_LEAKS should be report or error, not \"" + mode + "\"");
    throw KZe_INVALIDARG;
}
