// Finds the reference cycles that will never be freed. A host object owns its Python instance, and a wrapper owns its host
// object. So an instance that keeps a wrapper of itself is part of a cycle, which Python's collector cannot see because
// wrapper types take no part in collection. This file searches for such cycles as the collector would. It starts at the
// host objects, follows the references of each instance, and subtracts every reference that it finds from the count of its
// target. An object whose count stays above zero is referenced from elsewhere: by the host, by a variable, or on purpose,
// as the objects are that methods have returned. Everything that cannot be reached from there is garbage. References that
// are not followed count as references from elsewhere, so that nothing is reported that is still in use.
#include "serve/leftovers.h"

#include "module/crossing_watch.h"
#include "module/error_report.h"
#include "module/output.h"
#include "serve/class_interfaces.h"
#include "serve/reasons.h"
#include "wrap/wrapper.h"

#include "kz/base/boundary.h"
#include "kz/base/live_instances.h"
#include "kz/result.h"

#include <map>
#include <set>
#include <unordered_map>

namespace {

// Bounds the memory and time of the search.
constexpr std::size_t mostNodes = 1U << 16;

class CLeftovers {
public:
    CLeftovers() : m_builtins(PyString_InternFromString("__builtins__"), CPyRef::owned) {}

    void add(const KzLiveInstance& living) {
        m_nodes.emplace(living.instance, Node{static_cast<Py_ssize_t>(living.references), living.object, true, false});
        m_order.push_back(living.instance);
    }

    // The number of unreachable instances, by class.
    std::map<std::string, std::size_t> find() {
        for (std::size_t next = 0; next < m_order.size() && !m_failed; ++next)
            follow(m_order[next], &CLeftovers::count);
        if (m_failed) return {};
        std::vector<const void*> all;
        all.swap(m_order);
        for (const void* key : all)
            if (m_nodes.at(key).references > 0) markAlive(m_nodes.at(key), key);
        for (std::size_t next = 0; next < m_order.size() && !m_failed; ++next)
            follow(m_order[next], &CLeftovers::reach);
        return m_failed ? std::map<std::string, std::size_t>() : classesOf(all);
    }

private:
    struct Node {
        Py_ssize_t references;  // those that the search has not found yet
        void* object;           // the Python object; for a host object, its Python instance
        bool isHostObject;
        bool isAlive;
    };
    using Step = void (CLeftovers::*)(const void* target, PyObject* object);

    struct Visit {
        CLeftovers& search;
        Step step;
    };

    // C++ exceptions must not pass through the interpreter's own frames.
    static int visitTarget(PyObject* target, void* argument) {
        const auto* visit = static_cast<Visit*>(argument);
        try {
            if (!visit->search.isBoundary(target)) (visit->search.*visit->step)(target, target);
        } catch (...) {
            visit->search.m_failed = true;
        }
        return visit->search.m_failed ? 1 : 0;
    }

    // Classes and modules are not followed: everything is reachable from them, and they stay alive anyway.
    bool isBoundary(PyObject* object) const {
        return PyType_Check(object) || PyModule_Check(object) ||
               (PyDict_Check(object) && PyDict_GetItem(object, m_builtins) != nullptr);
    }

    void follow(const void* key, Step step) {
        const Node node = m_nodes.at(key);
        auto* object = static_cast<PyObject*>(node.object);
        if (node.isHostObject) return (this->*step)(object, object);
        if (kzIsWrapperType(Py_TYPE(object)))
            if (const CKzInstance* instance = kzInstanceOf(kzWrapper(object)->target)) (this->*step)(instance, nullptr);
        Visit visit{*this, step};
        if (PyObject_IS_GC(object) && Py_TYPE(object)->tp_traverse != nullptr)
            Py_TYPE(object)->tp_traverse(object, visitTarget, &visit);
    }

    // Accounts for one more reference. All host objects have been added at the start.
    void count(const void* target, PyObject* object) {
        auto entry = m_nodes.find(target);
        if (entry == m_nodes.end()) {
            if (object == nullptr || m_nodes.size() >= mostNodes) return;
            entry = m_nodes.emplace(target, Node{Py_REFCNT(object), object, false, false}).first;
            m_order.push_back(target);
        }
        --entry->second.references;
    }

    void reach(const void* target, PyObject* /*object*/) {
        if (const auto entry = m_nodes.find(target); entry != m_nodes.end()) markAlive(entry->second, target);
    }

    void markAlive(Node& node, const void* key) {
        if (node.isAlive) return;
        node.isAlive = true;
        m_order.push_back(key);
    }

    // An instance counts once, even if several host objects stand for it, and not at all if a watch is going to report it.
    std::map<std::string, std::size_t> classesOf(const std::vector<const void*>& all) const {
        std::set<void*> instances;
        for (const void* key : all)
            if (const Node& node = m_nodes.at(key); node.isHostObject && !node.isAlive) instances.insert(node.object);
        std::map<std::string, std::size_t> classes;
        for (void* each : instances) {
            auto* instance = static_cast<PyObject*>(each);
            const bool isReported = kzCrossingWatch != nullptr && kzCrossingWatch->keepsItself(instance);
            if (!isReported) ++classes[kzClassName(reinterpret_cast<PyObject*>(Py_TYPE(instance)))];
        }
        return classes;
    }

    CPyRef m_builtins;
    std::unordered_map<const void*, Node> m_nodes;
    std::vector<const void*> m_order;
    bool m_failed = false;
};

void tell(const std::map<std::string, std::size_t>& classes) {
    std::string names;
    for (const auto& [name, instances] : classes)
        names += (names.empty() ? "" : ", ") + name + " (" + std::to_string(instances) + ")";
    if (!names.empty())
        kzLog(("instances that are never freed, because they keep wrappers of themselves or of each other: " + names)
                  .c_str(),
              KZe_WARNING);
}

}  // namespace

void kzTellLeftovers() noexcept {
    kzValueBoundary([] {
        CLeftovers leftovers;
        for (const CKzPythonPolymorph* polymorph : kzPythonPolymorphs())
            for (const KzLiveInstance& living : kzLiveInstancesOf(*polymorph)) leftovers.add(living);
        tell(leftovers.find());
    });
}

void kzTellRemainingObjects() noexcept {
    if (kzCrossingWatch == nullptr) return;
    kzValueBoundary([] {
        for (const CKzPythonPolymorph* polymorph : kzPythonPolymorphs())
            for (const KzLiveInstance& living : kzLiveInstancesOf(*polymorph))
                kzCrossingWatch->remains(static_cast<PyObject*>(living.object), living.references);
    });
}
