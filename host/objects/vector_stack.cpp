// The packets that pass between tools at one moment.
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/objects/arguments.h"
#include "host/objects/vector_layout.h"
#include "host/state/text.h"

#include "kz/packet.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// A caller who never pops must not exhaust the memory.
constexpr std::size_t mostFrames = 10000, mostSlots = 1'000'000;

// What is at a place: memory of the stack, somebody else's, an object, or nothing.
struct StackSlot {
    std::shared_ptr<CPacketMemory> memory;
    void* external = nullptr;
    std::shared_ptr<CKzLoc_Unknown> object;
    std::size_t frame = 0;  // by which it was set

    bool isSet() const noexcept { return memory || external != nullptr || object; }
    void* address() const { return memory ? memory->at(0) : external; }
};
using StackFrame = std::vector<StackSlot>;

// Whatever leaves the stack is released without its lock, because that calls the servers of the packets.
class CVectorStack final : public CHosted<"vector stack", CVectorStack, CKzIfc_VectorStack>,
                           public CHostSelf<CVectorStack> {
public:
    CVectorStack(IKzUnknown* type, VectorLayout layout) : m_layout(std::move(layout)) {
        m_type.set(type);
        m_frames.emplace_back(m_layout.places.size());
    }

    KzResult vectorstack_Type(IKzUnknown** type) override { return m_type.get(type); }
    KzResult vectorstack_Push() override {
        {
            const std::lock_guard lock(m_lock);
            if (m_frames.size() <= deepest()) {
                m_frames.push_back(m_frames.back());
                return KZe_OK;
            }
        }
        return kzBecause(KZe_OUTOFMEMORY, "VectorStack.Push",
                         [this] { return fmt::format("a stack of this type is at most {} deep", deepest()); });
    }
    KzResult vectorstack_Pop() override {
        StackFrame popped;
        {
            const std::lock_guard lock(m_lock);
            if (m_frames.size() > 1) {
                popped = std::move(m_frames.back());
                m_frames.pop_back();
                return KZe_OK;
            }
        }
        return kzBecause(KZe_NOTREADY, "VectorStack.Pop", [] { return "nothing has been pushed"; });
    }
    KzResult vectorstack_Object(const char* name, IKzUnknown** object) override {
        return giveObject(m_layout.need("VectorStack.Object", kzTextOf(name)), object);
    }
    KzResult vectorstack_SetObject(const char* name, IKzUnknown* object) override;
    KzResult vectorstack_ObjectByInterface(const KzGuid* ifc, IKzUnknown** object) override {
        const auto index = m_layout.find(kzNotNull(ifc));
        return index ? giveObject(*index, object) : KZe_NOTFOUND;
    }
    KzResult vectorstack_Packet(std::uint32_t index, void** packet) override;
    KzResult vectorstack_SetPacket(std::uint32_t index, void* packet) override;
    std::uint32_t vectorstack_PacketSize(std::uint32_t index) override { return m_layout.sizeAt(index); }
    KzResult vectorstack_Read(std::uint32_t index, void* value) override {
        constexpr const char* place = "VectorStack.Read";
        const VectorKindRef& kind = plain(place, index);
        const StackSlot slot = at(index);
        if (!slot.isSet()) return KZe_NOTFOUND;
        const auto bytes = readable(place, slot.address(), *kind);
        std::memcpy(&kzNotNull(static_cast<std::uint8_t*>(value)), bytes.data(), bytes.size());
        return KZe_OK;
    }
    bool vectorstack_IsSet(const char* name) override {
        const auto index = m_layout.find(kzTextOf(name));
        return index && at(*index).isSet();
    }
    KzResult vectorstack_Clear(const char* name) override {
        put(m_layout.need("VectorStack.Clear", kzTextOf(name)), StackSlot());
        return KZe_OK;
    }

private:
    std::size_t deepest() const {
        return std::min(mostFrames, mostSlots / std::max<std::size_t>(m_layout.places.size(), 1));
    }
    StackSlot at(std::uint32_t index) const {
        const std::lock_guard lock(m_lock);
        return m_frames.back()[index];
    }
    std::size_t depth() const {
        const std::lock_guard lock(m_lock);
        return m_frames.size();
    }
    // What was there leaves with the argument, after the lock.
    void put(std::uint32_t index, StackSlot&& slot) {
        StackSlot now = std::move(slot);
        const std::lock_guard lock(m_lock);
        now.frame = m_frames.size();
        std::swap(m_frames.back()[index], now);
        slot = std::move(now);
    }
    // The kind of a place whose packets have bytes.
    const VectorKindRef& plain(const char* place, std::uint32_t index) const {
        const VectorKindRef& kind = m_layout.at(place, index);
        if (!kind->isObject()) return kind;
        throw kzBecause(KZe_NOTSUPPORTED, place, [&] { return "the packets \"" + kind->name + "\" are objects"; });
    }
    static std::vector<std::uint8_t> readable(const char* place, const void* address, const VectorKind& kind) {
        if (auto bytes = kzBytesAt(address, kind.size)) return *std::move(bytes);
        throw kzBecause(KZe_INVALIDARG, place, [&] {
            return fmt::format("at {} there are no {} bytes for the packet \"{}\"", address, kind.size, kind.name);
        });
    }
    KzResult giveObject(std::uint32_t index, IKzUnknown** object) const {
        const StackSlot slot = at(index);
        *object = nullptr;
        return slot.object ? slot.object->get(object) : KZe_OK;
    }

    CKzLoc_Unknown m_type;
    const VectorLayout m_layout;
    mutable std::mutex m_lock;
    std::vector<StackFrame> m_frames;
};

KzResult CVectorStack::vectorstack_SetObject(const char* name, IKzUnknown* object) {
    constexpr const char* place = "VectorStack.SetObject";
    if (name == nullptr) return kzBecause(KZe_INVALIDARG, place, [] { return "the packet needs a name"; });
    const std::uint32_t index = m_layout.need(place, kzTextOf(name));
    const VectorKindRef& kind = m_layout.at(place, index);
    if (!kind->isObject())
        return kzBecause(KZe_NOTSUPPORTED, place, [&] { return "the packets \"" + kind->name + "\" are no objects"; });
    if (object != nullptr && CHostRef<CVectorStack>::of(object).raw() == rawSelf())
        return kzBecause(KZe_INVALIDARG, place, [] { return "a stack that holds itself would never be released"; });
    StackSlot slot;
    if (object != nullptr) {
        void* found = nullptr;
        if (kind->identity && (kzFailed(object->QueryInterface(&*kind->identity, &found)) || found == nullptr))
            return kzBecause(KZe_INVALIDARG, place, [&] {
                return fmt::format("the packets \"{}\" are objects of the interface {}, which this one has not",
                                   kind->name, kzGuidText(*kind->identity));
            });
        if (found != nullptr) static_cast<IKzUnknown*>(found)->Release();
        slot.object = std::make_shared<CKzLoc_Unknown>();
        slot.object->set(object);
    }
    put(index, std::move(slot));
    return KZe_OK;
}

// Who asks for the memory may write to it, so the packet is set from then on. After a push it begins as a copy, and the
// one below stays what it is.
KzResult CVectorStack::vectorstack_Packet(std::uint32_t index, void** packet) {
    constexpr const char* place = "VectorStack.Packet";
    const VectorKindRef& kind = plain(place, index);
    StackSlot slot = at(index);
    if (!slot.isSet() || slot.frame != depth()) {
        StackSlot made;
        made.memory = std::make_shared<CPacketMemory>(kind, 1);
        if (slot.isSet()) made.memory->take(0, readable(place, slot.address(), *kind));
        *packet = made.address();
        put(index, std::move(made));
        return KZe_OK;
    }
    *packet = slot.address();
    return KZe_OK;
}

KzResult CVectorStack::vectorstack_SetPacket(std::uint32_t index, void* packet) {
    constexpr const char* place = "VectorStack.SetPacket";
    const VectorKindRef& kind = plain(place, index);
    static_cast<void>(readable(place, packet, *kind));
    StackSlot slot;
    slot.external = packet;
    put(index, std::move(slot));
    return KZe_OK;
}

}  // namespace

KzResult kzGiveVectorStack(IKzUnknown* type, VectorLayout layout, IKzUnknown** stack) {
    return CHostRef<CVectorStack>::make(type, std::move(layout)).give(stack);
}

}  // namespace kzhost
