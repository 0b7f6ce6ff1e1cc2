// A host object holds its Python instance, and a wrapper holds its host object. An instance that keeps a wrapper of itself
// therefore closes a ring, and Python's collector cannot see it: wrapper types take no part in collection. This file looks
// for such rings as the collector would. It starts from the host objects, follows what each instance refers to, and takes
// every reference that it finds off the count of what is referred to. What still has a count is held from elsewhere: by
// the host, by a variable, or on purpose, as what methods have returned is. All that cannot be reached from there is left
// behind. Whatever is not followed counts as held from elsewhere, so that nothing is reported that somebody still uses.
#include "serve/leftovers.h"

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

// Bounds the memory and the time that the search takes.
constexpr std::size_t mostNodes = 1U << 16;

bool isWrapper(PyObject* object) noexcept {
    for (const PyTypeObject* type = Py_TYPE(object); type != nullptr; type = type->tp_base)
        if (type->tp_dealloc == kzDeallocObject) return true;
    return false;
}

class CLeftovers {
public:
    CLeftovers() : m_builtins(PyString_InternFromString("__builtins__"), CPyRef::owned) {}

    void add(const KzLiveInstance& living) {
        m_nodes.emplace(living.instance, Node{static_cast<Py_ssize_t>(living.references), living.object, true, false});
        m_order.push_back(living.instance);
    }

    // The instances left behind, by class.
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
        Py_ssize_t references;  // those that have not been found
        void* object;           // the Python object, or of a host object its instance
        bool isHostObject;
        bool isAlive;
    };
    using Step = void (CLeftovers::*)(const void* target, PyObject* object);

    struct Visit {
        CLeftovers& search;
        Step step;
    };

    // No exception may pass through the interpreter's own frames.
    static int visited(PyObject* target, void* argument) {
        const auto* visit = static_cast<Visit*>(argument);
        try {
            if (!visit->search.isBoundary(target)) (visit->search.*visit->step)(target, target);
        } catch (...) {
            visit->search.m_failed = true;
        }
        return visit->search.m_failed ? 1 : 0;
    }

    // Classes and modules lead to everything, and live on in any case.
    bool isBoundary(PyObject* object) const {
        return PyType_Check(object) || PyModule_Check(object) ||
               (PyDict_Check(object) && PyDict_GetItem(object, m_builtins) != nullptr);
    }

    void follow(const void* key, Step step) {
        const Node node = m_nodes.at(key);
        auto* object = static_cast<PyObject*>(node.object);
        if (node.isHostObject) return (this->*step)(object, object);
        if (isWrapper(object))
            if (const CKzInstance* instance = kzInstanceOf(kzWrapper(object)->target)) (this->*step)(instance, nullptr);
        Visit visit{*this, step};
        if (PyObject_IS_GC(object) && Py_TYPE(object)->tp_traverse != nullptr)
            Py_TYPE(object)->tp_traverse(object, visited, &visit);
    }

    // One more reference is accounted for. Host objects are all known from the start.
    void count(const void* target, PyObject* object) {
        auto found = m_nodes.find(target);
        if (found == m_nodes.end()) {
            if (object == nullptr || m_nodes.size() >= mostNodes) return;
            found = m_nodes.emplace(target, Node{Py_REFCNT(object), object, false, false}).first;
            m_order.push_back(target);
        }
        --found->second.references;
    }

    void reach(const void* target, PyObject* /*object*/) {
        const auto found = m_nodes.find(target);
        if (found != m_nodes.end()) markAlive(found->second, target);
    }

    void markAlive(Node& node, const void* key) {
        if (node.isAlive) return;
        node.isAlive = true;
        m_order.push_back(key);
    }

    // An instance may stand behind several host objects, and is one instance all the same.
    std::map<std::string, std::size_t> classesOf(const std::vector<const void*>& all) const {
        std::set<void*> instances;
        for (const void* key : all)
            if (const Node& node = m_nodes.at(key); node.isHostObject && !node.isAlive) instances.insert(node.object);
        std::map<std::string, std::size_t> classes;
        for (void* instance : instances)
            ++classes[kzClassName(reinterpret_cast<PyObject*>(Py_TYPE(static_cast<PyObject*>(instance))))];
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
        kzLog(("instances that were never let go of, as they keep wrappers of themselves or of each other: " + names)
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
