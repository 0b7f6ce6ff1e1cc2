// Ghosts. The methods of all wrappers are answered by the recording while one is played, so nobody calls a ghost but to count
// its references. It has no interface besides Unknown, so that nobody takes it for an object of the host.
#include "observe/ghost.h"

#include "wrap/wrapper.h"

#include "kz/result.h"

#include <atomic>
#include <cstring>
#include <new>

namespace {

class CGhost final : public IKzUnknown {
public:
    explicit CGhost(long number) noexcept : m_number(number) {}

    KzResult QueryInterface(const KzGuid* iid, void** object) override {
        if (*iid == theIdentity) {
            *object = this;  // without a reference: the look is over before anybody can release it
            return KZe_OK;
        }
        *object = *iid == KZu_UNKNOWN ? this : nullptr;
        if (*object == nullptr) return KZe_NOINTERFACE;
        AddRef();
        return KZe_OK;
    }
    std::uint32_t AddRef() override { return ++m_references; }
    std::uint32_t Release() override {
        const std::uint32_t left = --m_references;
        if (left == 0) delete this;
        return left;
    }

    static long numberOf(IKzUnknown* object) noexcept {
        void* ghost = nullptr;
        const bool isGhost = object != nullptr && object->QueryInterface(&theIdentity, &ghost) == KZe_OK;
        return isGhost ? static_cast<CGhost*>(ghost)->m_number : 0;
    }

private:
    static constexpr KzGuid theIdentity{0x5B1FD2A4, 0x93C6, 0x4E0B, {0x8A, 0x57, 0x1D, 0xC0, 0x6E, 0x42, 0xB9, 0x33}};

    std::atomic<std::uint32_t> m_references{1};
    long m_number;
};

}  // namespace

PyObject* kzMakeGhost(PyTypeObject* type, long number) noexcept {
    PyObject* wrapper = type->tp_alloc(type, 0);
    if (wrapper == nullptr || kzFillWithGhost(wrapper, number)) return wrapper;
    Py_DECREF(wrapper);
    return nullptr;
}

bool kzFillWithGhost(PyObject* wrapper, long number) noexcept {
    auto* ghost = new (std::nothrow) CGhost(number);
    if (ghost == nullptr) return PyErr_NoMemory() != nullptr;
    if (IKzUnknown* former = std::exchange(kzWrapper(wrapper)->target, ghost)) former->Release();
    return true;
}

long kzNumberOfGhost(PyObject* wrapper) noexcept { return CGhost::numberOf(kzWrapper(wrapper)->target); }
