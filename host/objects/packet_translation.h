// What all kinds of packets have that selections know, for the sources of the kinds.
#pragma once

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/document/workspace.h"
#include "host/objects/item.h"
#include "host/objects/selection_packets.h"
#include "host/state/text.h"

#include "kz/packet.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

// Looks packets up, and says what the description of the kind asks.
template <class Class, KzHostName name, PacketKind kind, template <class> class Translation>
class CTranslation : public CHosted<name, Class, Translation, CKzIfc_VectorPacket> {
public:
    explicit CTranslation(std::shared_ptr<CWorkspace> workspace) : m_workspace(std::move(workspace)) {}

    KzResult vpkt_Name(const char** text) override {
        *text = theName;
        return KZe_OK;
    }
    KzResult vpkt_UserName(const char** text) override {
        const CReading reading(*m_workspace);
        *text = kzLend(m_workspace->selection().find(std::string_view(theName))->titles[0]);
        return KZe_OK;
    }
    std::uint32_t vpkt_Size() override { return kzPacketSize; }
    std::uint32_t vpkt_Flags() override { return 0; }
    // The packets belong to the selection, and the description says that none is stored.
    void vpkt_Cleanup(void* /*packet*/) override {}
    std::uint32_t vpkt_Serialize(void* /*packet*/, const KzBounds* /*region*/) override { return 0; }
    std::int32_t vpkt_Compare(void* first, void* second) override {
        return std::less<>()(first, second) ? -1 : first != second;
    }

protected:
    static constexpr const char* theName = name.text;

    CWorkspace& workspace() const { return *m_workspace; }
    KzResult give(const PacketSubject& subject, void** packet) const {
        *packet = workspace().selection().packet(subject)->address;
        return KZe_OK;
    }
    // Null for an address that is no packet of this kind, or whose element has gone.
    PacketRef find(void* address) const {
        const PacketRef packet = workspace().selection().at(address);
        return packet != nullptr && packet->kind == kind && packet->isAlive() ? packet : nullptr;
    }
    PacketRef need(void* address) const {
        const PacketRef packet = workspace().selection().at(address);
        if (packet == nullptr || packet->kind != kind)
            throw kzBecause(KZe_INVALIDARG, "Selection", [] {
                return std::string("that address is no packet of a selection of the type ") + theName;
            });
        if (!packet->isAlive()) throw KZe_NOTFOUND;
        return packet;
    }
    KzResult giveItem(void* packet, IKzUnknown** item) const {
        const CReading reading(workspace());
        return kzGiveItem(need(packet)->item.lock().get(), item);
    }

private:
    const std::shared_ptr<CWorkspace> m_workspace;
};

// Makes the object of a kind.
template <class Kind> IKzUnknown* kzMakePackets(std::shared_ptr<CWorkspace> workspace) {
    return kzMakeObject<Kind>(std::move(workspace));
}

}  // namespace kzhost
