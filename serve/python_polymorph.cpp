// Serving instances of Python classes as host objects.
#include "serve/python_polymorph.h"

#include "module/checks.h"
#include "module/crossing_watch.h"
#include "module/py_lock.h"
#include "serve/inheritor.h"
#include "serve/reasons.h"
#include "wrap/result_codes.h"

#include "kz/module.h"
#include "kz/result.h"

#include <algorithm>

namespace {

// The instance that the next spawn on this thread wraps, as an owned reference. It is thread-local so that two threads
// that spawn at the same time do not take each other's instance.
KZ_THREAD_LOCAL thread_local PyObject* t_nextInstance = nullptr;

// Sub-objects may have sub-objects of their own. Classes that name each other would create them without end.
constexpr int deepestSubObject = 16;
KZ_THREAD_LOCAL thread_local int t_subObjectDepth = 0;

class CDepth {
public:
    CDepth() noexcept { ++t_subObjectDepth; }
    ~CDepth() { --t_subObjectDepth; }
    CDepth(const CDepth&) = delete;
    CDepth& operator=(const CDepth&) = delete;
    bool isTooDeep() const noexcept { return t_subObjectDepth > deepestSubObject; }
};

PyObject* callWith(PyObject* callable, PyObject* argument) {
    return PyObject_CallFunctionObjArgs(callable, argument, nullptr);
}

}  // namespace

CKzPythonPolymorph::CKzPythonPolymorph(PyObject* pythonClass)
    : m_class(pythonClass), m_className(reinterpret_cast<PyTypeObject*>(pythonClass)->tp_name) {
    nameOnce(m_className.c_str());
}

bool CKzPythonPolymorph::testInterface(const KzGuid& iid) const {
    Path visited;
    return answers(iid, visited);
}

// Sub-servers may name each other in a circle, so none is asked twice.
bool CKzPythonPolymorph::answers(const KzGuid& iid, Path& visited) const {
    if (std::ranges::find(visited, this) != visited.end()) return false;
    visited.push_back(this);
    return std::ranges::any_of(m_subServers, [&](const auto* server) { return server->answers(iid, visited); }) ||
           CKzGenericPolymorph::testInterface(iid);
}

CKzPythonPolymorph* CKzPythonPolymorph::subServerFor(const KzGuid& iid) const {
    for (CKzPythonPolymorph* server : m_subServers) {
        Path visited{this};
        if (server->answers(iid, visited)) return server;
    }
    return nullptr;
}

PyObject* CKzPythonPolymorph::makeInstance() const {
    const auto make = [this] {
        return m_meta.get() == Py_None ? PyObject_CallObject(m_class, nullptr) : callWith(m_class, m_meta);
    };
    return kzWatchedEntry(m_className.c_str(), "__init__", nullptr, make, m_class.get(), m_meta.get());
}

void CKzPythonPolymorph::explainSilentFailure() const noexcept { kzExplainSilentInit(m_class); }

IKzUnknown* CKzPythonPolymorph::spawnFor(PyObject* instance) {
    Py_INCREF(instance);
    t_nextInstance = instance;
    try {
        IKzUnknown* spawned = spawn();
        if (spawned != nullptr) kzTellMade(instance, true);
        Py_CLEAR(t_nextInstance);
        return spawned;
    } catch (...) {
        Py_CLEAR(t_nextInstance);
        throw;
    }
}

void* CKzPythonPolymorph::createObject() { return std::exchange(t_nextInstance, nullptr); }

void CKzPythonPolymorph::freeObject(void* object) noexcept {
    // If Python has ended, the guard throws: the object is gone with the interpreter, and there is nothing to release.
    kzValueBoundary([=, this] {
        const CPyLock lock;
        CPyRefNull released(static_cast<PyObject*>(object));
        PyObject* instance = released;
        const CPyRefNull done(kzWatchedEntry(m_className.c_str(), "release", instance, [&]() -> PyObject* {
            kzTellGone(instance);
            released.adopt(nullptr);
            Py_RETURN_NONE;
        }));
    });
}

IKzUnknown* CKzPythonPolymorph::spawnSubObject(IKzUnknown* outer, const KzGuid& iid) {
    if (iid == KZu_INHERITOR) return kzMakeInheritor(*this, kzObjectOf(outer, this), kzPythonObjectOf);
    CKzPythonPolymorph* server = subServerFor(iid);
    const CDepth depth;
    if (server == nullptr || depth.isTooDeep()) return nullptr;
    const CPyLock lock;
    return makeSubObject(*server);
}

IKzUnknown* CKzPythonPolymorph::makeSubObject(CKzPythonPolymorph& server) {
    kzSetQuiet(false);
    PyObject* instance = server.makeInstance();
    if (instance == nullptr) {
        server.explainSilentFailure();
        kzResultOfPending();
        return nullptr;
    }
    // The reference from makeInstance is leaked on purpose: a sub-object's instance has to outlive its host object, because
    // what it has handed out belongs to the outer object and may be used for as long as that one lives.
    kzTellKept(instance);
    return server.spawnFor(instance);
}

void CKzPythonPolymorph::inherit(void* object, void* other) {
    const CPyLock lock;
    kzSetQuiet(false);
    const CPyRefNull method(PyObject_GetAttrString(static_cast<PyObject*>(object), "inherit"));
    if (method.get() == nullptr) {
        PyErr_Clear();
        return;
    }
    auto* instance = static_cast<PyObject*>(object);
    const CPyRefNull result(kzWatchedEntry(m_className.c_str(), "inherit", instance,
                                           [&] { return callWith(method, static_cast<PyObject*>(other)); }));
    if (result.get() != nullptr) return;
    throw kzResultOfPending();
}

void CKzPythonPolymorph::releasePython() {
    m_class = Py_None;
    m_meta = Py_None;
}

PyObject* kzPythonObjectOf(IKzUnknown* object) noexcept {
    auto* polymorph = dynamic_cast<CKzPythonPolymorph*>(kzPolymorphOf(object));
    return polymorph != nullptr ? static_cast<PyObject*>(kzObjectOf(object, polymorph)) : nullptr;
}
