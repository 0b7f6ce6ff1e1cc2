// Wrapper types: their construction and registration.
#include "wrap/wrapper.h"

#include "module/checks.h"
#include "module/crossing_watch.h"
#include "module/pending_exception.h"
#include "module/py_lock.h"
#include "module/runtime.h"
#include "wrap/refusal.h"
#include "wrap/result_codes.h"
#include "wrap/uncopyable.h"

#include "kz/base/forever.h"
#include "kz/base/global_cache.h"
#include "kz/result.h"

#include <algorithm>
#include <iterator>
#include <unordered_set>

namespace {

// The one place where an object is kept while a call on it runs. A host call takes no reference to its object: the
// wrapper has one, and the call itself can drop it, when the host calls back into Python and Python resets the wrapper.
// So whoever drops a target hands it over here. If a call on that object is in progress (CPyLock knows the objects of
// all calls under way), one reference is kept, and the hook that runs when Python is left releases it once the call has
// returned. Objects are known by address alone, so a wrapper that is reset over and over inside a call keeps alive only
// what is being called.
class CKeptObjects {
public:
    static CKeptObjects& instance() noexcept {
        static CKzForever<CKeptObjects> theKept;
        return *theKept;
    }

    // Releases the object, now or once no call on it is in progress.
    void letGo(IKzUnknown* object) noexcept {
        const bool isUncertain = CPyLock::isEnteredOtherwise();
        const bool isKept = (isUncertain || CPyLock::isCalled(object)) && keep(object);
        m_isUncertain |= isUncertain;
        if (!isKept) object->Release();
    }

    // Releases the objects whose calls have returned.
    void releaseIdle() noexcept {
        if (m_objects.empty() || (m_isUncertain && CPyLock::isInsideHostCall())) return;
        const CPendingException pending;
        const auto isIdle = [](IKzUnknown* object) { return !CPyLock::isCalled(object); };
        // One at a time: a release may run code that adds objects or re-enters this function.
        for (;;) {
            const auto idle = std::ranges::find_if(m_objects, isIdle);
            if (idle == m_objects.end()) break;
            IKzUnknown* object = *idle;
            m_objects.erase(idle);
            object->Release();
        }
        if (!m_objects.empty()) return;
        m_isUncertain = false;
        CPyLock::setLeaveHook(nullptr);
    }

private:
    // False if it is kept already.
    bool keep(IKzUnknown* object) noexcept {
        try {
            CPyLock::setLeaveHook([]() noexcept { instance().releaseIdle(); });
            return m_objects.insert(object).second;
        } catch (const std::bad_alloc&) {
            return true;  // a leak is better than an object that dies during a call on it
        }
    }

    std::unordered_set<IKzUnknown*> m_objects;
    // True if Python had been entered without a CPyLock when an object was added: calls on it may be unknown then.
    bool m_isUncertain = false;
};

// Recycles the memory of wrappers, most of which live no longer than a call.
class CSpareWrappers {
public:
    void* take() noexcept { return m_count != 0 ? m_spare[--m_count] : PyObject_Malloc(sizeof(KzWrapper)); }
    void giveBack(void* memory) noexcept {
        if (m_count < std::size(m_spare)) m_spare[m_count++] = memory;
        else PyObject_Free(memory);
    }
    void drop() noexcept {
        while (m_count != 0) PyObject_Free(m_spare[--m_count]);
    }

private:
    void* m_spare[32];
    std::size_t m_count = 0;
} theSpare;

KzUncopyable uncopyableObject("call the type with it to get another wrapper of the same object");
KzUncopyable uncopyableService("call its type to get the service again");

PyMethodDef unknownMethods[] = {KZ_GENERIC_METHODS, {nullptr, nullptr, 0, nullptr}};

// No call through a dying wrapper can be in progress: a bound method keeps its wrapper alive.
void letGo(PyObject* self) noexcept {
    if (IKzUnknown* target = std::exchange(kzWrapper(self)->target, nullptr)) {
        const CPendingException pending;
        target->Release();
    }
}

PyObject* objectNew(PyTypeObject* type, PyObject* /*args*/, PyObject* /*keywords*/) {
    return kzTellMade(type->tp_alloc(type, 0));
}

void serviceDealloc(PyObject* self) {
    kzTellGone(self);
    letGo(self);
    Py_TYPE(self)->tp_free(self);
}

int objectInit(PyObject* self, PyObject* args, PyObject* keywords) {
    PyObject* source = nullptr;
    if (!kzRefuseKeywords(self, keywords)) return -1;
    if (PyArg_ParseTuple(args, "|O", &source) == 0) {
        kzParseFailed();
        return -1;
    }
    if (source == nullptr) return 0;
    const CPyRefNull result(kzPythonEntry([=]() -> PyObject* {
        const KzWrapperType& row = kzRowOf(Py_TYPE(self));
        CKzLoc_Unknown object;
        KzResult code = kzObjectToInterface(source, false, object.out());
        if (kzSucceeded(code) && !kzHold(self, object.raw())) {
            kzNoteRefused(source, "an object with the interface %s", row.name);
            code = KZe_NOINTERFACE;
        }
        if (kzFailed(code)) return kzRefuseArgument(row.type.tp_name, 0, "source", code);
        Py_RETURN_NONE;
    }));
    return result.get() != nullptr ? 0 : -1;
}

PyObject* serviceNew(PyTypeObject* type, PyObject* args, PyObject* /*keywords*/) {
    return kzPythonEntry([=]() -> PyObject* {
        if (PyArg_ParseTuple(args, "") == 0) return kzParseFailed();
        CKzGlobalCache* cache = CKzGlobalCache::current();
        CKzLoc_Unknown service;
        service.take(cache != nullptr ? cache->service(*kzRowOf(type).iid) : nullptr);
        kzTrue(static_cast<bool>(service), KZe_NOTFOUND);
        PyObject* self = kzNonNull(type->tp_alloc(type, 0));
        IKzUnknown* target = service.raw();
        target->AddRef();
        kzWrapper(self)->target = target;
        return kzTellMade(self);
    });
}

int serviceInit(PyObject* self, PyObject* /*args*/, PyObject* keywords) {
    return kzRefuseKeywords(self, keywords) ? 0 : -1;
}

bool isReady(const KzWrapperType& row) noexcept { return row.nameObject != nullptr; }

void ready(KzWrapperType& row, const char* submodule) {
    PyTypeObject& type = row.type;
    if ((type.tp_flags & Py_TPFLAGS_READY) == 0) {
        // The name is kept for the life of the process, as the type is.
        const std::string name = std::string("kz.") + submodule + "." + row.name;
        Py_REFCNT(&type) = 1;  // generated rows are zero-initialised
        type.tp_name = strdup(name.c_str());
        type.tp_basicsize = sizeof(KzWrapper);
        type.tp_flags = Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE;
        type.tp_methods = row.methods;
        type.tp_doc = row.doc;
        kzNonNull(type.tp_name);
        kzNonNegative(PyType_Ready(&type));
    }
    row.nameObject = kzNonNull(PyString_InternFromString(row.name));  // kept as the type is
}

// For the first instance. The rows are constant to all who only hand them on.
KzResult readyFor(const KzWrapperType& type) noexcept {
    return kzBoundary([&] {
        kzReadyObjectType(const_cast<KzWrapperType&>(type));
        return KZe_OK;
    });
}

// The class of the type's name in the SDK's support module as a borrowed reference; null if there is none.
PyObject* supportClass(const KzWrapperType& type) noexcept {
    if (!isReady(type) && kzFailed(readyFor(type))) return nullptr;
    PyObject* names = PythonRuntime::current()->kzuObjectNames();
    PyObject* support = names != nullptr ? PyDict_GetItem(names, type.nameObject) : nullptr;
    return support != nullptr && (PyType_Check(support) || PyClass_Check(support)) ? support : nullptr;
}

// The object by the type's interface, or null if it lacks that. Consumes the reference.
IKzUnknown* interfaceOf(const KzWrapperType& type, IKzUnknown* owned) noexcept {
    if (owned == nullptr || &type == &kzUnknownType) return owned;
    void* result = nullptr;
    if (kzFailed(owned->QueryInterface(type.iid, &result))) result = nullptr;
    owned->Release();
    return static_cast<IKzUnknown*>(result);
}

}  // namespace

KzTypeHook kzTypeHook = nullptr;

void kzDeallocObject(PyObject* self) {
    kzTellGone(self);
    letGo(self);
    PyTypeObject* type = Py_TYPE(self);
    if ((type->tp_flags & Py_TPFLAGS_HEAPTYPE) != 0) type->tp_free(self);
    else theSpare.giveBack(self);
}

KzWrapperType kzUnknownType = {{}, "Unknown", &KZu_UNKNOWN, unknownMethods, "Any host object, by its base interface."};

void kzAddType(PyObject* module, const char* name, PyTypeObject& type) {
    kzNonNegative(PyType_Ready(&type));
    Py_INCREF(&type);
    kzNonNegative(PyModule_AddObject(module, name, reinterpret_cast<PyObject*>(&type)));
}

void kzReadyObjectType(KzWrapperType& row) {
    if (isReady(row)) return;
    row.type.tp_dealloc = kzDeallocObject;
    row.type.tp_new = objectNew;
    row.type.tp_init = objectInit;
    row.type.tp_base = &uncopyableObject.type;
    ready(row, "object");
    if (kzTypeHook != nullptr) kzTypeHook(row.type, false);
}

void kzReadyServiceType(KzWrapperType& row) {
    if (isReady(row)) return;
    row.type.tp_dealloc = serviceDealloc;
    row.type.tp_new = serviceNew;
    row.type.tp_init = serviceInit;
    row.type.tp_base = &uncopyableService.type;
    ready(row, "service");
    if (kzTypeHook != nullptr) kzTypeHook(row.type, true);
}

void kzForgetTypes() noexcept { theSpare.drop(); }

const KzWrapperType& kzRowOf(PyTypeObject* type) noexcept {
    while (type->tp_base != nullptr && (type->tp_flags & Py_TPFLAGS_HEAPTYPE) != 0) type = type->tp_base;
    return *reinterpret_cast<const KzWrapperType*>(type);
}

const PyMethodDef* kzOwnMethods(const KzWrapperType& row) noexcept {
    static constexpr PyMethodDef generic[] = {KZ_GENERIC_METHODS};
    return row.methods + (row.methods->ml_meth == kzWrapperSet ? std::size(generic) : 0);
}

bool kzIsWrapperType(const PyTypeObject* type) noexcept {
    for (; type != nullptr; type = type->tp_base)
        if (type->tp_dealloc == kzDeallocObject || type->tp_dealloc == serviceDealloc) return true;
    return false;
}

bool kzHold(PyObject* wrapper, IKzUnknown* object) {
    if (object != nullptr) object->AddRef();
    // The new reference comes first: the object may be alive only through the previous target.
    IKzUnknown* target = interfaceOf(kzRowOf(Py_TYPE(wrapper)), object);
    CKeptObjects& keeper = CKeptObjects::instance();
    if (IKzUnknown* former = std::exchange(kzWrapper(wrapper)->target, target)) keeper.letGo(former);
    keeper.releaseIdle();
    return target != nullptr;
}

PyObject* kzNewWrapper(const KzWrapperType& type, IKzUnknown* owned) noexcept {
    IKzUnknown* target = interfaceOf(type, owned);
    if (target == nullptr) return kzRaise(KZe_NOINTERFACE);
    if (!isReady(type)) [[unlikely]] {
        if (const KzResult code = readyFor(type); kzFailed(code)) {
            target->Release();
            return kzRaise(code);
        }
    }
    auto* wrapper = static_cast<KzWrapper*>(theSpare.take());
    if (wrapper == nullptr) {
        target->Release();
        return PyErr_NoMemory();
    }
    wrapper->target = target;
    return kzTellMade(PyObject_INIT(reinterpret_cast<PyObject*>(wrapper), const_cast<PyTypeObject*>(&type.type)));
}

PyObject* kzNewUnknown(IKzUnknown* object) noexcept {
    if (object == nullptr) return kzRaise(KZe_FAILED);
    object->AddRef();
    return kzNewWrapper(kzUnknownType, object);
}

PyObject* kzNewReturned(const KzWrapperType* type, IKzUnknown* owned) noexcept {
    if (type == nullptr) {
        if (owned != nullptr) return kzNewWrapper(kzUnknownType, owned);
        Py_RETURN_NONE;
    }
    PyObject* supportType = owned != nullptr ? supportClass(*type) : nullptr;
    if (supportType == nullptr) return kzNewWrapper(*type, owned);
    const CPyRef keep(supportType);  // its own code may remove it from the module
    const CPyRefNull unknown(kzNewWrapper(kzUnknownType, owned));
    return unknown.get() != nullptr ? PyObject_CallFunctionObjArgs(keep, unknown.get(), nullptr) : nullptr;
}
