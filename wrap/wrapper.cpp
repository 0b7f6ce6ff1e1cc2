// Wrapper types: their construction and registration.
#include "wrap/wrapper.h"

#include "module/checks.h"
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
#include <unordered_set>

namespace {

// What wrappers let go of while it may have been called, one reference of each. Its calls are known by the object alone,
// so that wrappers that are set again and again inside of a call keep nothing but what is called.
class CKeptObjects {
public:
    static CKeptObjects& instance() noexcept {
        static CKzForever<CKeptObjects> theKept;
        return *theKept;
    }

    // Releases the object, at once or when no call on it is in progress any more.
    void letGo(IKzUnknown* object) noexcept {
        const bool isUncertain = CPyLock::isEnteredOtherwise();
        const bool isKept = (isUncertain || CPyLock::isCalled(object)) && keep(object);
        m_isUncertain |= isUncertain;
        if (!isKept) object->Release();
    }

    // Releases those whose calls have returned.
    void releaseIdle() noexcept {
        if (m_objects.empty() || (m_isUncertain && CPyLock::isInsideHostCall())) return;
        const CPendingException pending;
        const auto isIdle = [](IKzUnknown* object) { return !CPyLock::isCalled(object); };
        // One at a time: releasing one may run code that adds others, or comes here itself.
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
    // False when it is kept already.
    bool keep(IKzUnknown* object) noexcept {
        try {
            CPyLock::setLeaveHook([]() noexcept { instance().releaseIdle(); });
            return m_objects.insert(object).second;
        } catch (const std::bad_alloc&) {
            return true;  // a leak is better than an object that goes during its call
        }
    }

    std::unordered_set<IKzUnknown*> m_objects;
    bool m_isUncertain = false;  // Python was entered otherwise when one was added: calls on it may not be known
};

// Memory of wrappers that are gone, for the next ones: most live no longer than a call.
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

KzUncopyable uncopyableObject("another wrapper of the same object is made by calling the type with it");
KzUncopyable uncopyableService("a service is had by calling its type");

PyMethodDef unknownMethods[] = {KZ_GENERIC_METHODS, {nullptr, nullptr, 0, nullptr}};

// No call is in progress through a wrapper that goes: a bound method keeps its wrapper alive.
void letGo(PyObject* self) noexcept {
    if (IKzUnknown* held = std::exchange(kzWrapper(self)->held, nullptr)) {
        const CPendingException keep;
        held->Release();
    }
}

void serviceDealloc(PyObject* self) {
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
    const CPyRefNull done(kzPythonEntry([=]() -> PyObject* {
        const KzWrapperType& row = kzRowOf(Py_TYPE(self));
        CKzLoc_Unknown found;
        KzResult code = kzObjectToInterface(source, false, found.out());
        if (kzSucceeded(code) && !kzHold(self, found.raw())) {
            kzNoteRefused(source, "an object with the interface %s", row.name);
            code = KZe_NOINTERFACE;
        }
        if (kzFailed(code)) return kzRefuseArgument(row.type.tp_name, 0, "source", code);
        Py_RETURN_NONE;
    }));
    return done.get() != nullptr ? 0 : -1;
}

PyObject* serviceNew(PyTypeObject* type, PyObject* args, PyObject* /*keywords*/) {
    return kzPythonEntry([=]() -> PyObject* {
        if (PyArg_ParseTuple(args, "") == 0) return kzParseFailed();
        CKzGlobalCache* cache = CKzGlobalCache::current();
        CKzLoc_Unknown service;
        service.take(cache != nullptr ? cache->service(*kzRowOf(type).iid) : nullptr);
        kzTrue(static_cast<bool>(service), KZe_NOTFOUND);
        PyObject* self = kzNonNull(type->tp_alloc(type, 0));
        IKzUnknown* held = service.raw();
        held->AddRef();
        kzWrapper(self)->held = held;
        return self;
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
        Py_REFCNT(&type) = 1;  // the generated rows are plain zeros
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

// The class that the SDK's support module has for the type's name; null when there is none. Borrowed.
PyObject* supportClass(const KzWrapperType& type) noexcept {
    if (!isReady(type) && kzFailed(readyFor(type))) return nullptr;
    PyObject* names = PythonRuntime::current()->kzuObjectNames();
    PyObject* found = names != nullptr ? PyDict_GetItem(names, type.nameObject) : nullptr;
    return found != nullptr && (PyType_Check(found) || PyClass_Check(found)) ? found : nullptr;
}

// The object by the type's interface, null when it has none; the given reference is consumed.
IKzUnknown* interfaceOf(const KzWrapperType& type, IKzUnknown* taken) noexcept {
    if (taken == nullptr || &type == &kzUnknownType) return taken;
    void* found = nullptr;
    if (kzFailed(taken->QueryInterface(type.iid, &found))) found = nullptr;
    taken->Release();
    return static_cast<IKzUnknown*>(found);
}

}  // namespace

void kzDeallocObject(PyObject* self) {
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
    row.type.tp_new = PyType_GenericNew;
    row.type.tp_init = objectInit;
    row.type.tp_base = &uncopyableObject.type;
    ready(row, "object");
}

void kzReadyServiceType(KzWrapperType& row) {
    if (isReady(row)) return;
    row.type.tp_dealloc = serviceDealloc;
    row.type.tp_new = serviceNew;
    row.type.tp_init = serviceInit;
    row.type.tp_base = &uncopyableService.type;
    ready(row, "service");
}

void kzForgetTypes() noexcept { theSpare.drop(); }

const KzWrapperType& kzRowOf(PyTypeObject* type) noexcept {
    while (type->tp_base != nullptr && (type->tp_flags & Py_TPFLAGS_HEAPTYPE) != 0) type = type->tp_base;
    return *reinterpret_cast<const KzWrapperType*>(type);
}

bool kzHold(PyObject* wrapper, IKzUnknown* object) {
    if (object != nullptr) object->AddRef();
    // The new reference comes first: the object may be alive only through the one held now.
    IKzUnknown* found = interfaceOf(kzRowOf(Py_TYPE(wrapper)), object);
    CKeptObjects& kept = CKeptObjects::instance();
    if (IKzUnknown* former = std::exchange(kzWrapper(wrapper)->held, found)) kept.letGo(former);
    kept.releaseIdle();
    return found != nullptr;
}

PyObject* kzNewWrapper(const KzWrapperType& type, IKzUnknown* taken) noexcept {
    IKzUnknown* found = interfaceOf(type, taken);
    if (found == nullptr) return kzRaise(KZe_NOINTERFACE);
    if (!isReady(type)) [[unlikely]] {
        if (const KzResult code = readyFor(type); kzFailed(code)) {
            found->Release();
            return kzRaise(code);
        }
    }
    auto* made = static_cast<KzWrapper*>(theSpare.take());
    if (made == nullptr) {
        found->Release();
        return PyErr_NoMemory();
    }
    made->held = found;
    return PyObject_INIT(reinterpret_cast<PyObject*>(made), const_cast<PyTypeObject*>(&type.type));
}

PyObject* kzNewUnknown(IKzUnknown* object) noexcept {
    if (object == nullptr) return kzRaise(KZe_FAILED);
    object->AddRef();
    return kzNewWrapper(kzUnknownType, object);
}

PyObject* kzNewReturned(const KzWrapperType* type, IKzUnknown* taken) noexcept {
    if (type == nullptr) {
        if (taken != nullptr) return kzNewWrapper(kzUnknownType, taken);
        Py_RETURN_NONE;
    }
    PyObject* supporting = taken != nullptr ? supportClass(*type) : nullptr;
    if (supporting == nullptr) return kzNewWrapper(*type, taken);
    const CPyRef keep(supporting);  // its own code may take it from the module
    const CPyRefNull unknown(kzNewWrapper(kzUnknownType, taken));
    return unknown.get() != nullptr ? PyObject_CallFunctionObjArgs(keep, unknown.get(), nullptr) : nullptr;
}
