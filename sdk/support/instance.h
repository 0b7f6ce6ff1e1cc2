// One live object of a server class. It owns the memory of all its slots, which the host holds as interface pointers, and
// counts their references together: the last one destroys the instance and frees the object behind it. Interfaces for
// which the polymorph has no record are answered by sub-objects, which live as long as the instance.
#pragma once

#include "kz/base/live_instances.h"
#include "kz/base/polymorph.h"

#include <map>
#include <mutex>
#include <span>

class CKzInstance {
public:
    CKzInstance(CKzGenericPolymorph& polymorph, void* object);
    ~CKzInstance();
    CKzInstance(const CKzInstance&) = delete;
    CKzInstance& operator=(const CKzInstance&) = delete;

    CKzGenericPolymorph& polymorph() const noexcept { return m_polymorph; }
    void* object() const noexcept { return m_object; }
    IKzUnknown* slot(std::uint32_t index);

    KzResult query(const KzGuid* iid, void** object);
    std::uint32_t addRef(CKzSlotState& slot) noexcept;
    std::uint32_t release(CKzSlotState& slot) noexcept;
    // Appends the live instances of the polymorph to a list.
    static void list(const CKzGenericPolymorph& polymorph, std::vector<KzLiveInstance>& living);
    // Counts the first reference, by the host's own atomic operations if it has a thread service.
    void firstReference(CKzSlotState& slot) noexcept;

private:
    struct GuidOrder {
        bool operator()(const KzGuid& a, const KzGuid& b) const { return std::memcmp(&a, &b, sizeof a) < 0; }
    };

    void makeSlots();
    void link() noexcept;
    void unlink() noexcept;
    void dropSubObjects() noexcept;
    KzResult querySubObject(const KzGuid& iid, void** object);

    CKzGenericPolymorph& m_polymorph;
    void* m_object;
    std::unique_ptr<std::byte[]> m_slots;
    std::uint32_t m_references = 0;
    CKzInstance* m_previous = nullptr;
    CKzInstance* m_next = nullptr;
    // The sub-objects, one for each interface without a record that has been asked for.
    std::map<KzGuid, IKzUnknown*, GuidOrder> m_subObjects;
    std::mutex m_subObjectLock;
};

// Locks the lists of instances, under the host's own lock as well if it has a thread service.
class CKzInstanceListLock {
public:
    CKzInstanceListLock() noexcept;
    ~CKzInstanceListLock();
    CKzInstanceListLock(const CKzInstanceListLock&) = delete;
    CKzInstanceListLock& operator=(const CKzInstanceListLock&) = delete;

private:
    class IKzThreadService* m_threads;
};

// Every slot answers a query for this identifier with its instance and no reference, so that the binary can find its own
// objects again. It is compared by address: other binaries built with this support layer have the same value elsewhere.
inline constexpr KzGuid kzInstanceIdentity{
    0x9F1B6E02, 0x53C4, 0x5A77, {0x8E, 0x11, 0x40, 0xD6, 0x2B, 0x7C, 0x93, 0x5E}};
