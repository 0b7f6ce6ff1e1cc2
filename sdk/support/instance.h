// One live object of a server class: the slots that the host holds, and what keeps them together.
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
    // Adds the living instances of the polymorph to a list.
    static void list(const CKzGenericPolymorph& polymorph, std::vector<KzLiveInstance>& living);
    // The first reference, counted as the host counts where it can.
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
    // Objects that answer for interfaces which the records lack, made once for each interface asked for.
    std::map<KzGuid, IKzUnknown*, GuidOrder> m_subObjects;
    std::mutex m_subObjectLock;
};

// Guards the lists of instances: with the host's own lock where its thread service can be had.
class CKzInstanceListLock {
public:
    CKzInstanceListLock() noexcept;
    ~CKzInstanceListLock();
    CKzInstanceListLock(const CKzInstanceListLock&) = delete;
    CKzInstanceListLock& operator=(const CKzInstanceListLock&) = delete;

private:
    class IKzThreadService* m_threads;
};

// Answered by every slot with its instance and no reference: how this binary finds its own objects again. It is known by
// its address, which no other binary has, though its objects may come from the same support layer.
inline constexpr KzGuid kzInstanceIdentity{
    0x9F1B6E02, 0x53C4, 0x5A77, {0x8E, 0x11, 0x40, 0xD6, 0x2B, 0x7C, 0x93, 0x5E}};
