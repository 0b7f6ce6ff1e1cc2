// The factory of objects with several interfaces. Every server class is one polymorph with one record per interface. An
// instance carries one slot per record, and what the host holds as an interface pointer is such a slot.
#pragma once

#include "kz/base/object.h"

#include <array>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

class CKzInstance;
class CKzGenericPolymorph;

// What follows the dispatch table pointer in every slot: its instance, the object that the operations work on, and the
// number of references that the host holds through this slot.
struct CKzSlotState {
    CKzInstance* instance = nullptr;
    void* object = nullptr;
    std::uint32_t references = 0;  // changed atomically
};

// The three operations of the base interface, which all slots share.
KzResult kzSlotQuery(CKzSlotState& slot, const KzGuid* iid, void** object) noexcept;
std::uint32_t kzSlotAddRef(CKzSlotState& slot) noexcept;
std::uint32_t kzSlotRelease(CKzSlotState& slot) noexcept;

// One interface of one instance. Generated slot classes add the interface's own operations and no data.
template <class Interface> class CKzSlot : public Interface {
public:
    using Slot = CKzSlot;

    CKzSlot(CKzInstance* instance, void* object) {
        m_state.instance = instance;
        m_state.object = object;
    }
    KzResult QueryInterface(const KzGuid* iid, void** object) final { return kzSlotQuery(m_state, iid, object); }
    std::uint32_t AddRef() final { return kzSlotAddRef(m_state); }
    std::uint32_t Release() final { return kzSlotRelease(m_state); }
    CKzSlotState& state() noexcept { return m_state; }

protected:
    void* object() const noexcept { return m_state.object; }

private:
    CKzSlotState m_state;
};

inline constexpr std::size_t kzSlotSize = sizeof(CKzSlot<IKzUnknown>*) + sizeof(CKzSlotState);

// Whether each member function is declared by another class than the implementation base, whose operations only answer
// that they are not implemented.
template <class Base, class... Members> constexpr auto kzOverrides(Members... members) {
    const auto isOverride = []<class Result, class Owner, class... Arguments>(Result (Owner::*)(Arguments...)) {
        return !std::is_same_v<Owner, Base>;
    };
    return std::array<bool, sizeof...(Members)>{isOverride(members)...};
}

// Describes one interface of a server class: its GUID, its index in the list, and how to construct its slot.
class CKzInterfaceRecord {
public:
    // Constructs a slot in place, in kzSlotSize bytes of memory.
    using MakeSlot = IKzUnknown* (*)(void* memory, CKzInstance* instance, void* object);
    using StateOf = CKzSlotState& (*)(IKzUnknown* slot);

    CKzInterfaceRecord(const KzGuid& iid, MakeSlot make, StateOf state) : m_iid(&iid), m_make(make), m_state(state) {}

    const KzGuid& iid() const { return *m_iid; }
    std::uint32_t index() const { return m_index; }

private:
    friend class CKzGenericPolymorph;
    friend class CKzInstance;

    const KzGuid* m_iid;
    MakeSlot m_make;
    StateOf m_state;
    std::uint32_t m_index = 0;
    std::unique_ptr<CKzInterfaceRecord> m_next;
};

// A record for the interface that `SlotClass` implements. `iid` must outlive the record; each generated CKzIfc_* has one.
template <class SlotClass> std::unique_ptr<CKzInterfaceRecord> kzMakeRecord(const KzGuid& iid = SlotClass::iid) {
    static_assert(sizeof(SlotClass) == kzSlotSize, "a slot class must not add data");
    return std::make_unique<CKzInterfaceRecord>(
        iid,
        [](void* memory, CKzInstance* instance, void* object) -> IKzUnknown* {
            return new (memory) SlotClass(instance, object);
        },
        [](IKzUnknown* slot) -> CKzSlotState& { return static_cast<SlotClass*>(slot)->state(); });
}

// The factory. Records are appended only while the server class is set up; any thread may spawn.
class CKzGenericPolymorph {
public:
    CKzGenericPolymorph() = default;
    CKzGenericPolymorph(const CKzGenericPolymorph&) = delete;
    CKzGenericPolymorph& operator=(const CKzGenericPolymorph&) = delete;

    // Whether instances answer a query for the interface.
    virtual bool testInterface(const KzGuid& iid) const;
    virtual ~CKzGenericPolymorph();
    // A separate object that implements an interface for which there is no record; null when there is none.
    virtual IKzUnknown* spawnSubObject(IKzUnknown* /*outer*/, const KzGuid& /*iid*/) { return nullptr; }
    // The object that the slots of a new instance work on. May throw a KzResult.
    virtual void* createObject() = 0;
    // Destroys or releases the object once the last reference to the instance is gone.
    virtual void freeObject(void* /*object*/) noexcept {}
    // The pointer that each slot keeps as its object.
    virtual void* adapterData(void* object) { return object; }
    // Tells the object to take over from another one of the same class.
    virtual void inherit(void* /*object*/, void* /*other*/) {}
    // Called when a new instance has handed out its first interface.
    virtual void spawned(void* /*object*/, IKzUnknown* /*slot*/) {}

    void append(std::unique_ptr<CKzInterfaceRecord> record);
    // Sets the name unless there is one already. The text is not copied.
    void nameOnce(const char* name) noexcept;
    const char* name() const noexcept { return m_name; }

    // Makes an instance and returns its interface `iid` with one reference; its first one for null or the base GUID.
    // Null if there is no such record or createObject returned null; a code thrown by createObject passes through.
    IKzUnknown* spawn(const KzGuid* iid = nullptr);

    const KzGuid* firstInterface() const noexcept { return m_first ? &m_first->iid() : nullptr; }
    std::uint32_t recordCount() const noexcept { return m_recordCount; }
    bool hasInstances() const noexcept { return m_instances != nullptr; }

protected:
    const CKzInterfaceRecord* findRecord(const KzGuid* iid) const noexcept;

private:
    friend class CKzInstance;

    std::unique_ptr<CKzInterfaceRecord> m_first;
    CKzInterfaceRecord* m_last = nullptr;
    std::uint32_t m_recordCount = 0;
    const char* m_name = nullptr;
    CKzInstance* m_instances = nullptr;
};

// A polymorph whose object is a default-constructed Class.
template <class Class> class CKzPolymorph : public CKzGenericPolymorph {
public:
    void* createObject() override { return new Class(); }
    void freeObject(void* object) noexcept override { delete static_cast<Class*>(object); }
};

// A polymorph around a single object that is owned elsewhere and outlives every instance.
class CKzStaticPolymorph : public CKzGenericPolymorph {
public:
    explicit CKzStaticPolymorph(void* object) : m_object(object) {}
    void* createObject() override { return m_object; }

private:
    void* m_object;
};

// The object behind an interface pointer that is a slot of `owner`; null for any other. Code that has handed out an
// interface uses it to find its own object again.
void* kzObjectOf(IKzUnknown* interfacePointer, const CKzGenericPolymorph* owner) noexcept;
// The polymorph behind an interface pointer; null if the pointer is not a slot of this binary.
CKzGenericPolymorph* kzPolymorphOf(IKzUnknown* interfacePointer) noexcept;

// The number of live instances in this binary, and their polymorphs ("polymorph name xN"), for leak reports.
std::uint32_t kzLiveInstanceCount() noexcept;
std::string kzLiveInstanceNames();
