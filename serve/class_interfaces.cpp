// Finding the interfaces of Python classes, and caching one polymorph for each pair of a class and a meta object.
#include "serve/class_interfaces.h"

#include "module/checks.h"
#include "serve/adapters.h"
#include "serve/reasons.h"

#include "kz/base/forever.h"
#include "kz/result.h"

#include <map>

namespace {

struct InterfaceBase {
    CPyRef pythonClass;  // keeps the class alive, so that no other object can have its address
    const KzAdapterRow* adapter;
};

using ClassAndMeta = std::pair<PyObject*, PyObject*>;

struct Tables {
    std::map<PyObject*, InterfaceBase> bases;
    std::map<ClassAndMeta, std::unique_ptr<CKzPythonPolymorph>> polymorphs;
};

CKzForever<Tables> theTables;  // constructed at load, because unload must not allocate memory

// RAII guard for the interpreter's recursion limit: scripts can nest classes and meta objects deeper than the stack.
class CRecursion {
public:
    explicit CRecursion(const char* where) { kzNonNegative(Py_EnterRecursiveCall(kzText(where)) != 0 ? -1 : 0); }
    ~CRecursion() { Py_LeaveRecursiveCall(); }
    CRecursion(const CRecursion&) = delete;
    CRecursion& operator=(const CRecursion&) = delete;
};

// Depth first, in the order of the bases. A marked base ends its branch.
void collectInterfaces(PyObject* pythonClass, CKzPythonPolymorph& polymorph) {
    const CRecursion recursion(" while looking for interfaces");
    PyObject* bases = reinterpret_cast<PyTypeObject*>(pythonClass)->tp_bases;
    for (Py_ssize_t index = 0; bases != nullptr && index < PyTuple_GET_SIZE(bases); ++index) {
        PyObject* base = PyTuple_GET_ITEM(bases, index);
        if (base == pythonClass || !PyType_Check(base)) continue;
        if (const auto entry = theTables->bases.find(base); entry != theTables->bases.end())
            polymorph.append(entry->second.adapter->make());
        else collectInterfaces(base, polymorph);
    }
}

// Throws the code unless the condition holds, and stores the reason if the caller wants it.
template <class Reason> void require(bool condition, KzResult code, std::string* why, const Reason& reason) {
    if (condition) return;
    if (why != nullptr) *why = reason();
    throw code;
}

// One (class, meta) of a list of sub-servers.
CKzPythonPolymorph& subServerOf(PyObject* item, std::string* why) {
    require(PySequence_Check(item) != 0 && PySequence_Size(item) == 2, KZe_FAILED, why,
            [item] { return "expected a pair of a class and its meta object, got " + kzMention(item); });
    const CPyRef pythonClass(PySequence_GetItem(item, 0), CPyRef::owned);
    const CPyRef meta(PySequence_GetItem(item, 1), CPyRef::owned);
    return kzPolymorphFor(pythonClass, meta, why);
}

void collectSubServers(PyObject* meta, CKzPythonPolymorph& polymorph, std::string* why) {
    const CRecursion recursion(" while looking for sub-servers");
    const CPyRefNull servers(PyObject_GetAttrString(meta, "_sub_ifcs"));
    if (servers.get() == nullptr) {
        kzTrue(PyErr_ExceptionMatches(PyExc_AttributeError) != 0);
        PyErr_Clear();
        return;
    }
    if (PySequence_Check(servers) == 0) return;
    const Py_ssize_t count = kzNonNegative(PySequence_Size(servers));
    for (Py_ssize_t index = 0; index < count; ++index) {
        const CPyRef item(PySequence_GetItem(servers, index), CPyRef::owned);
        try {
            polymorph.addSubServer(&subServerOf(item, why));
        } catch (...) {
            if (why != nullptr && !why->empty())
                *why = "_sub_ifcs[" + std::to_string(index) + "] of the meta object: " + *why;
            throw;
        }
    }
}

}  // namespace

void kzRequireClass(PyObject* object, std::string* why) {
    require(PyType_Check(object), KZe_FAILED, why, [object] {
        return PyClass_Check(object) ? "expected a class derived from object, got an old-style class"
                                     : "expected a class, got " + kzMention(object);
    });
}

void kzMarkInterfaceBase(PyObject* pythonClass, const char* interfaceName) {
    const KzAdapterRow* adapter = kzNonNull(kzFindAdapter(interfaceName), KZe_INVALIDARG);
    theTables->bases.insert_or_assign(pythonClass, InterfaceBase{CPyRef(pythonClass), adapter});
}

CKzPythonPolymorph& kzPolymorphFor(PyObject* pythonClass, PyObject* meta, std::string* why) {
    kzRequireClass(pythonClass, why);
    const ClassAndMeta key(pythonClass, meta);
    if (const auto entry = theTables->polymorphs.find(key); entry != theTables->polymorphs.end()) return *entry->second;
    auto newPolymorph = std::make_unique<CKzPythonPolymorph>(pythonClass);
    collectInterfaces(pythonClass, *newPolymorph);
    require(newPolymorph->recordCount() != 0, KZe_INVALIDARG, why, [pythonClass] {
        return "the class " + kzClassName(pythonClass) + " implements no interface: derive it from a class of kzifc";
    });
    CKzPythonPolymorph& polymorph = *(theTables->polymorphs[key] = std::move(newPolymorph));
    if (meta != Py_None) {
        polymorph.setMeta(meta);
        collectSubServers(meta, polymorph, why);
    }
    return polymorph;
}

std::string kzFirstInterfaceName(const CKzPythonPolymorph& polymorph) {
    for (const KzAdapterRow* adapter : kzAdapters)
        if (adapter->make()->iid() == *polymorph.firstInterface()) return adapter->name;
    return "?";
}

std::vector<const CKzPythonPolymorph*> kzPythonPolymorphs() {
    std::vector<const CKzPythonPolymorph*> all;
    for (const auto& [key, polymorph] : theTables->polymorphs) all.push_back(polymorph.get());
    return all;
}

void kzReleaseClasses() {
    // Destroying a class may run code, which must not find a half-emptied table.
    const auto bases = std::exchange(theTables->bases, {});
    for (const auto& [key, polymorph] : theTables->polymorphs) polymorph->releasePython();
}
