// The interface Inheritor of Python objects. Their classes do not implement it; a separate sub-object does.
#include "serve/inheritor.h"

#include "module/py_lock.h"

#include "kz/base/forever.h"
#include "kz/module.h"
#include "kz/result.h"

#include <memory>

namespace {

class CInheritor final : public CKzImpl_Inheritor {
public:
    CInheritor(CKzGenericPolymorph& polymorph, PyObject* instance, KzInstanceOf instanceOf)
        : m_polymorph(polymorph), m_instance(instance), m_instanceOf(instanceOf) {
        Py_INCREF(instance);
    }
    // The interpreter lock is held.
    void releaseInstance() noexcept { Py_DECREF(m_instance); }

    KzResult inheritor_Inherit(IKzUnknown* other) override {
        void* data = m_instanceOf(other);
        if (data == nullptr) return KZe_INVALIDARG;
        m_polymorph.inherit(m_instance, data);
        return KZe_OK;
    }

private:
    CKzGenericPolymorph& m_polymorph;
    PyObject* m_instance;
    KzInstanceOf m_instanceOf;
};

KZ_THREAD_LOCAL thread_local CInheritor* t_next = nullptr;

class CInheritorPolymorph final : public CKzGenericPolymorph {
public:
    CInheritorPolymorph() {
        nameOnce("inheritor");
        append(kzMakeRecord<CKzIfc_Inheritor<CInheritor>>());
    }
    void* createObject() override { return std::exchange(t_next, nullptr); }
    void freeObject(void* object) noexcept override {
        const std::unique_ptr<CInheritor> inheritor(static_cast<CInheritor*>(object));
        // If Python has ended, the lock throws: there is no instance to be released any more.
        kzValueBoundary([&] {
            const CPyLock lock;
            inheritor->releaseInstance();
        });
    }
};

}  // namespace

IKzUnknown* kzMakeInheritor(CKzGenericPolymorph& polymorph, void* data, KzInstanceOf instanceOf) {
    static CKzForever<CInheritorPolymorph> inheritors;
    if (data == nullptr) return nullptr;
    const CPyLock lock;
    t_next = new CInheritor(polymorph, static_cast<PyObject*>(data), instanceOf);
    return inheritors->spawn();
}
