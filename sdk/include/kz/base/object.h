// The root of the support layer's own classes, and the wrappers that hold one interface reference.
#pragma once

#include "kz/base/codes.h"
#include "kz/base/unknown.h"

class CKzObject {
public:
    virtual ~CKzObject() = default;
};

// Holds one reference to one interface, or nothing. Its size is two words: the dispatch table and the pointer.
class CKzLocalizedObject : public CKzObject {
public:
    CKzLocalizedObject() = default;
    CKzLocalizedObject(const CKzLocalizedObject&) = delete;
    CKzLocalizedObject& operator=(const CKzLocalizedObject&) = delete;
    ~CKzLocalizedObject() override { drop(); }

    // Replaces the content with the object's interface of the wrapper's type. False, and empty, if it has none.
    virtual bool set(IKzUnknown* object);
    // As set, but consumes the caller's reference.
    virtual bool take(IKzUnknown* object);
    virtual void copy(const CKzLocalizedObject& other) { set(other.m_held); }
    virtual bool test() const { return m_held != nullptr; }
    virtual void clear() { drop(); }
    // Hands out a new reference; NOTFOUND when the wrapper is empty.
    virtual KzResult get(IKzUnknown** object) const;
    // The interface as a borrowed reference.
    virtual IKzUnknown* raw() const { return m_held; }
    virtual const KzGuid& guid() const = 0;

    explicit operator bool() const { return m_held != nullptr; }

    // Takes ownership of a reference to exactly the wrapper's interface, as a query for its GUID returns it.
    void hold(IKzUnknown* owned) noexcept {
        drop();
        m_held = owned;
    }

protected:
    void drop() noexcept;
    IKzUnknown* m_held = nullptr;
};

// Binds a wrapper to its interface. A query returns exactly that interface, so the cast back is safe.
template <class Interface> class CKzLocalize : public CKzLocalizedObject {
public:
    Interface* operator->() const { return static_cast<Interface*>(m_held); }
    Interface* ptr() const { return static_cast<Interface*>(m_held); }

    // Takes ownership of a reference to this interface, as an output argument returns it.
    void adopt(Interface* owned) noexcept { hold(owned); }
};

// Holds any object by its base interface: set adds a reference to the given pointer without a query.
class CKzLoc_Unknown : public CKzLocalize<IKzUnknown> {
public:
    CKzLoc_Unknown() = default;
    explicit CKzLoc_Unknown(IKzUnknown* object) { set(object); }
    bool set(IKzUnknown* object) override;
    const KzGuid& guid() const override { return KZu_UNKNOWN; }
    // For calls that hand out a new reference: empties the wrapper and returns the address to store it at.
    IKzUnknown** out() {
        drop();
        return &m_held;
    }
};
