// The packet service: the packets of selections and what translates them.
#include "host/services/packet_service.h"

#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/open_scenes.h"
#include "host/objects/selection_packets.h"

#include "kz/packet.h"

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

// Packets of selections belong to no category of tools; there are no others here, and nothing that drives their fields.
class CPacketService final : public CHosted<"packet service", CPacketService, CKzIfc_PacketService>, CServiceBase {
public:
    CPacketService(std::shared_ptr<ServiceContext> context, std::shared_ptr<OpenScenes> scenes)
        : CServiceBase(std::move(context)), m_workspace(scenes->workspace) {}

    std::uint32_t packetservice_PacketCount(const char* category) override {
        enter("Packet.PacketCount");
        return category == nullptr ? static_cast<std::uint32_t>(kzPacketKinds().size()) : 0;
    }
    KzResult packetservice_PacketByIndex(const char* category, std::uint32_t index, const char** name) override {
        enter("Packet.PacketByIndex");
        if (category != nullptr || index >= kzPacketKinds().size()) return KZe_OUTOFBOUNDS;
        *name = kzPacketKinds()[index].name;
        return KZe_OK;
    }
    KzResult packetservice_PacketByInterface(const KzGuid* ifc, const char** name) override {
        enter("Packet.PacketByInterface");
        const KzGuid& wanted = kzNotNull(ifc);
        for (const PacketKindRow& row : kzPacketKinds()) {
            if (row.identity == nullptr || *row.identity != wanted) continue;
            *name = row.name;
            return KZe_OK;
        }
        return KZe_NOTFOUND;
    }
    KzResult packetservice_Lookup(const char* name, IKzUnknown** packet) override {
        enter("Packet.Lookup");
        *packet = need("Packet.Lookup", name).make(m_workspace);
        return KZe_OK;
    }
    KzResult packetservice_UserName(const char* name, const char** userName) override {
        enter("Packet.UserName");
        const PacketKindRow& row = need("Packet.UserName", name);
        const CReading reading(*m_workspace);
        *userName = lend(m_workspace->selection().find(std::string_view(row.name))->titles[0]);
        return KZe_OK;
    }
    std::uint32_t packetservice_Size(const char* name) override {
        enter("Packet.Size");
        return kzFindPacketKind(kzTextOf(name)) != nullptr ? kzPacketSize : 0;
    }
    bool packetservice_Exists(const char* category, const char* name) override {
        enter("Packet.Exists");
        return category == nullptr && kzFindPacketKind(kzTextOf(name)) != nullptr;
    }

private:
    static const PacketKindRow& need(const char* place, const char* name) {
        if (const PacketKindRow* row = kzFindPacketKind(kzTextOf(name))) return *row;
        throw kzBecause(KZe_NOTFOUND, place, [&] {
            return kzThereIsNo("kind of packet", kzTextOf(name), kzPacketKinds(),
                               [](const auto& row) { return row.name; });
        });
    }

    const std::shared_ptr<CWorkspace> m_workspace;
};

}  // namespace

decltype(kzMakePacketService) kzMakePacketService = kzMakeService<CPacketService>;

}  // namespace kzhost
