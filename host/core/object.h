// How the host makes objects: instances of the support layer that wrap C++ objects, and references to both sides.
#pragma once

#include "host/state/hosted.h"

#include "kz/base/polymorph.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace kzhost {

template <class Class> class CHostRef;

// A polymorph whose instances wrap objects that were constructed before, with any arguments.
template <class Class> class CHostPolymorph final : public CKzGenericPolymorph {
public:
    IKzUnknown* wrap(std::unique_ptr<Class> object) {
        next() = object.release();
        return spawn();
    }
    void* createObject() override { return std::exchange(next(), nullptr); }
    void freeObject(void* object) noexcept override { delete static_cast<Class*>(object); }
    // An object that names itself to others is a CHostSelf.
    void spawned(void* object, IKzUnknown* slot) override {
        if constexpr (requires(Class & instance) { instance.setSelf(slot); })
            static_cast<Class*>(object)->setSelf(slot);
    }
    IKzUnknown* spawnSubObject(IKzUnknown* outer, const KzGuid& iid) override {
        if constexpr (requires(Class & instance) { instance.subObject(iid); }) {
            auto* object = static_cast<Class*>(kzObjectOf(outer, this));
            return object != nullptr ? object->subObject(iid) : nullptr;
        } else {
            return nullptr;
        }
    }

private:
    // Spawning takes the object from here, on the same thread.
    static Class*& next() noexcept {
        thread_local Class* theNext = nullptr;
        return theNext;
    }
};

// A string as a template argument.
template <std::size_t size> struct KzHostName {
    constexpr KzHostName(const char (&name)[size]) { std::copy_n(name, size, text); }
    char text[size];
};

// A base of classes whose objects name themselves to others. The pointer to an object's own interface counts as no
// reference.
template <class Class> class CHostSelf {
public:
    void setSelf(IKzUnknown* self) noexcept { m_self = self; }
    CHostRef<Class> self() const { return CHostRef<Class>::of(m_self); }
    IKzUnknown* rawSelf() const noexcept { return m_self; }

private:
    IKzUnknown* m_self = nullptr;
};

// The base of a class of host objects: their name, and the interfaces that the class implements, such as CKzIfc_Monitor.
// The polymorph is never destroyed, as a module may hold instances while the process exits.
template <KzHostName name, class Class, template <class> class... Slots>
class CHosted : public Slots<Class>::Implementation... {
public:
    static CHostPolymorph<Class>& polymorph() {
        static CHostPolymorph<Class>& thePolymorph = make();
        return thePolymorph;
    }

private:
    static CHostPolymorph<Class>& make() {
        (kzNoteHosted<Class, Slots<Class>>(), ...);
        auto* polymorph = new CHostPolymorph<Class>();
        polymorph->nameOnce(name.text);
        (polymorph->append(kzMakeRecord<Slots<Class>>()), ...);
        return *polymorph;
    }
};

// An owned reference to a host object that also knows its C++ object. `Class::polymorph()` identifies the class.
template <class Class> class CHostRef {
public:
    CHostRef() = default;
    CHostRef(const CHostRef& other) : m_object(other.m_object) { m_interface.set(other.m_interface.raw()); }
    CHostRef(CHostRef&& other) noexcept : CHostRef() { swap(other); }
    CHostRef& operator=(CHostRef other) noexcept {
        swap(other);
        return *this;
    }

    template <class... Arguments> static CHostRef make(Arguments&&... arguments) {
        auto object = std::make_unique<Class>(std::forward<Arguments>(arguments)...);
        CHostRef reference;
        reference.m_object = object.get();
        *reference.m_interface.out() = Class::polymorph().wrap(std::move(object));
        return reference;
    }
    // The host object behind an interface pointer; empty for an object of another class.
    static CHostRef of(IKzUnknown* object) {
        CHostRef reference;
        reference.m_object = static_cast<Class*>(kzObjectOf(object, &Class::polymorph()));
        if (reference.m_object != nullptr) reference.m_interface.set(object);
        return reference;
    }

    explicit operator bool() const noexcept { return m_object != nullptr; }
    Class* operator->() const noexcept { return m_object; }
    Class& operator*() const noexcept { return *m_object; }
    Class* object() const noexcept { return m_object; }
    IKzUnknown* raw() const noexcept { return m_interface.raw(); }

    // Hands a new reference to an out argument.
    KzResult give(IKzUnknown** out) const { return m_interface.get(out); }

private:
    void swap(CHostRef& other) noexcept {
        std::swap(m_object, other.m_object);
        m_interface.swap(other.m_interface);
    }

    class Interface : public CKzLoc_Unknown {
    public:
        Interface() = default;
        void swap(Interface& other) noexcept { std::swap(m_held, other.m_held); }
    };

    Class* m_object = nullptr;
    Interface m_interface;
};

// A new object with one reference, as an interface pointer.
template <class Class, class... Arguments> IKzUnknown* kzMakeObject(Arguments&&... arguments) {
    return Class::polymorph().wrap(std::make_unique<Class>(std::forward<Arguments>(arguments)...));
}

}  // namespace kzhost
