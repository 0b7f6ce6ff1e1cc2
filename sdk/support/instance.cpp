// Instances and their slots: queries, reference counts, and sub-objects that are made on demand.
#include "instance.h"

#include "kz/base/boundary.h"
#include "kz/base/forever.h"
#include "kz/base/global_cache.h"
#include "kz/thread.h"

#include <atomic>

namespace {

std::mutex theLocalLock;  // guards the lists on its own until the host has a thread service

// The number of live instances by the name of their polymorph, for leak reports.
std::mutex theCensusLock;
CKzForever<std::map<std::string, std::uint32_t>> theCensus;

const char* nameOf(const CKzGenericPolymorph& polymorph) noexcept {
    return polymorph.name() != nullptr ? polymorph.name() : "unnamed";
}

void countBirth(const CKzGenericPolymorph& polymorph) {
    const std::lock_guard lock(theCensusLock);
    ++(*theCensus)[nameOf(polymorph)];
}

void countDeath(const CKzGenericPolymorph& polymorph) noexcept {
    const std::lock_guard lock(theCensusLock);
    if (const auto entry = theCensus->find(nameOf(polymorph)); entry != theCensus->end() && --entry->second == 0)
        theCensus->erase(entry);
}

IKzThreadService* threadService() noexcept {
    CKzGlobalCache* cache = CKzGlobalCache::current();
    return cache != nullptr ? cache->threads() : nullptr;
}

}  // namespace

// The host's lock is taken first, because the host may already hold it when it calls.
CKzInstanceListLock::CKzInstanceListLock() noexcept : m_threads(threadService()) {
    if (m_threads != nullptr) m_threads->Enter();
    theLocalLock.lock();
}

CKzInstanceListLock::~CKzInstanceListLock() {
    theLocalLock.unlock();
    if (m_threads != nullptr) m_threads->Leave();
}

CKzInstance::CKzInstance(CKzGenericPolymorph& polymorph, void* object)
    : m_polymorph(polymorph), m_object(object),
      m_slots(std::make_unique<std::byte[]>(polymorph.recordCount() * kzSlotSize)) {
    makeSlots();
    countBirth(m_polymorph);
    link();
}

CKzInstance::~CKzInstance() {
    dropSubObjects();
    unlink();
    countDeath(m_polymorph);
}

void CKzInstance::makeSlots() {
    void* data = m_polymorph.adapterData(m_object);
    for (auto* record = m_polymorph.m_first.get(); record != nullptr; record = record->m_next.get())
        record->m_make(&m_slots[record->m_index * kzSlotSize], this, data);
}

IKzUnknown* CKzInstance::slot(std::uint32_t index) {
    if (index >= m_polymorph.recordCount()) throw kzOutOfBounds;
    return reinterpret_cast<IKzUnknown*>(&m_slots[index * kzSlotSize]);
}

void CKzInstance::link() noexcept {
    const CKzInstanceListLock lock;
    m_next = m_polymorph.m_instances;
    if (m_next != nullptr) m_next->m_previous = this;
    m_polymorph.m_instances = this;
}

void CKzInstance::unlink() noexcept {
    const CKzInstanceListLock lock;
    if (m_next != nullptr) m_next->m_previous = m_previous;
    if (m_previous != nullptr) m_previous->m_next = m_next;
    else m_polymorph.m_instances = m_next;
}

void CKzInstance::list(const CKzGenericPolymorph& polymorph, std::vector<KzLiveInstance>& living) {
    const CKzInstanceListLock lock;
    for (CKzInstance* each = polymorph.m_instances; each != nullptr; each = each->m_next)
        living.push_back({each, each->m_object, std::atomic_ref(each->m_references).load(std::memory_order_relaxed)});
}

void CKzInstance::dropSubObjects() noexcept {
    for (auto& [iid, object] : m_subObjects) object->Release();
    m_subObjects.clear();
}

KzResult CKzInstance::query(const KzGuid* iid, void** object) {
    if (iid == &kzInstanceIdentity) {
        *object = this;
        return kzOk;
    }
    const CKzInterfaceRecord* record = m_polymorph.findRecord(iid);
    if (record == nullptr) {
        // A query for another binary's identity must not reach sub-objects: one of that binary would answer it.
        return *iid == kzInstanceIdentity ? kzNoInterface : querySubObject(*iid, object);
    }
    IKzUnknown* answer = slot(record->index());
    answer->AddRef();
    *object = answer;
    return kzOk;
}

KzResult CKzInstance::querySubObject(const KzGuid& iid, void** object) {
    {
        const std::lock_guard lock(m_subObjectLock);
        if (const auto known = m_subObjects.find(iid); known != m_subObjects.end())
            return known->second->QueryInterface(&iid, object);
    }
    // Spawned outside the lock: that may run a script, which may query this very object.
    CKzLoc_Unknown subObject;
    subObject.take(m_polymorph.spawnSubObject(slot(0), iid));
    if (!subObject) return kzNoInterface;
    const std::lock_guard lock(m_subObjectLock);
    const auto [entry, isNew] = m_subObjects.try_emplace(iid, subObject.raw());
    if (isNew) subObject.raw()->AddRef();
    return entry->second->QueryInterface(&iid, object);
}

std::uint32_t CKzInstance::addRef(CKzSlotState& slot) noexcept {
    std::atomic_ref(slot.references).fetch_add(1, std::memory_order_relaxed);
    return std::atomic_ref(m_references).fetch_add(1, std::memory_order_relaxed) + 1;
}

void CKzInstance::firstReference(CKzSlotState& slot) noexcept {
    if (IKzThreadService* threads = threadService()) {
        threads->AtomicIncrement(&slot.references);
        threads->AtomicIncrement(&m_references);
    } else {
        ++slot.references;
        ++m_references;
    }
}

std::uint32_t CKzInstance::release(CKzSlotState& slot) noexcept {
    std::atomic_ref(slot.references).fetch_sub(1, std::memory_order_relaxed);
    const std::uint32_t left = std::atomic_ref(m_references).fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        // Sub-objects may still query the instance while they go; their last Release must not destroy it again.
        constexpr std::uint32_t ending = 1U << 30;
        std::atomic_ref(m_references).store(ending, std::memory_order_relaxed);
        CKzGenericPolymorph& polymorph = m_polymorph;
        void* object = m_object;
        delete this;
        polymorph.freeObject(object);
    }
    return left;
}

KzResult kzSlotQuery(CKzSlotState& slot, const KzGuid* iid, void** object) noexcept {
    if (object == nullptr) return kzFailedCode;
    *object = nullptr;
    return kzBoundary([&] { return slot.instance->query(iid, object); });
}

std::uint32_t kzSlotAddRef(CKzSlotState& slot) noexcept { return slot.instance->addRef(slot); }

std::uint32_t kzSlotRelease(CKzSlotState& slot) noexcept { return slot.instance->release(slot); }

const CKzInstance* kzInstanceOf(IKzUnknown* interfacePointer) noexcept {
    void* instance = nullptr;
    if (interfacePointer == nullptr || kzFailed(interfacePointer->QueryInterface(&kzInstanceIdentity, &instance)))
        return nullptr;
    return static_cast<const CKzInstance*>(instance);
}

std::vector<KzLiveInstance> kzLiveInstancesOf(const CKzGenericPolymorph& polymorph) {
    std::vector<KzLiveInstance> living;
    CKzInstance::list(polymorph, living);
    return living;
}

void* kzObjectOf(IKzUnknown* interfacePointer, const CKzGenericPolymorph* owner) noexcept {
    const CKzInstance* instance = kzInstanceOf(interfacePointer);
    return instance != nullptr && &instance->polymorph() == owner ? instance->object() : nullptr;
}

CKzGenericPolymorph* kzPolymorphOf(IKzUnknown* interfacePointer) noexcept {
    const CKzInstance* instance = kzInstanceOf(interfacePointer);
    return instance != nullptr ? &instance->polymorph() : nullptr;
}

std::uint32_t kzLiveInstanceCount() noexcept {
    const std::lock_guard lock(theCensusLock);
    std::uint32_t count = 0;
    for (const auto& [name, living] : *theCensus) count += living;
    return count;
}

std::string kzLiveInstanceNames() {
    const std::lock_guard lock(theCensusLock);
    std::string names;
    for (const auto& [name, living] : *theCensus) names += name + " x" + std::to_string(living) + " ";
    return names;
}
