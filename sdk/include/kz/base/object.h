// The root of the support layer's own classes, and the wrappers that hold one interface reference.
#pragma once

#include "kz/base/codes.h"
#include "kz/base/unknown.h"

class CKzObject {
public:
    virtual ~CKzObject() = default;
};

// Holds one reference to one interface, or nothing. Its size is two words: the operations and the pointer.
class CKzLocalizedObject : public CKzObject {
public:
    CKzLocalizedObject() = default;
    CKzLocalizedObject(const CKzLocalizedObject&) = delete;
    CKzLocalizedObject& operator=(const CKzLocalizedObject&) = delete;
    ~CKzLocalizedObject() override { drop(); }

    // Empties the wrapper, then asks the object for the wrapper's interface. True when it now holds it.
    virtual bool set(IKzUnknown* object);
    // As set, and gives the caller's reference back: the wrapper consumes it.
    virtual bool take(IKzUnknown* object);
    virtual void copy(const CKzLocalizedObject& other) { set(other.m_held); }
    virtual bool test() const { return m_held != nullptr; }
    virtual void clear() { drop(); }
    // A new reference to what is held; NOTFOUND when empty.
    virtual KzResult get(IKzUnknown** object) const;
    // What is held, without a reference.
    virtual IKzUnknown* raw() const { return m_held; }
    virtual const KzGuid& guid() const = 0;

    explicit operator bool() const { return m_held != nullptr; }

    // Takes over a reference to the wrapper's very interface, as a query for its GUID hands it out.
    void hold(IKzUnknown* owned) noexcept {
        drop();
        m_held = owned;
    }

protected:
    void drop() noexcept;
    IKzUnknown* m_held = nullptr;
};

// Binds a wrapper to its interface. The query's pointer is the interface's own, so the cast back is exact.
template <class Interface> class CKzLocalize : public CKzLocalizedObject {
public:
    Interface* operator->() const { return static_cast<Interface*>(m_held); }
    Interface* ptr() const { return static_cast<Interface*>(m_held); }

    // Adopts a reference to this very interface, as an out argument hands it over.
    void adopt(Interface* owned) noexcept { hold(owned); }
};

// Holds any object by its base interface: set adds a reference to the pointer as given and asks nothing.
class CKzLoc_Unknown : public CKzLocalize<IKzUnknown> {
public:
    CKzLoc_Unknown() = default;
    explicit CKzLoc_Unknown(IKzUnknown* object) { set(object); }
    bool set(IKzUnknown* object) override;
    const KzGuid& guid() const override { return KZu_UNKNOWN; }
    // Where a call hands out a new reference: empties the wrapper and gives the place to write to.
    IKzUnknown** out() {
        drop();
        return &m_held;
    }
};
