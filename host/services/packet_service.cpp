// The packet service: the packets of selections and what translates them.
#include "host/services/packet_service.h"

#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/open_scenes.h"
#include "host/objects/selection_packets.h"

#include "kz/packet.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// Packets of selections belong to no category of tools, and there are no others here. Fields are those of modules' effects:
// a category has those whose packets belong to it.
class CPacketService final : public CHosted<"packet service", CPacketService, CKzIfc_PacketService>, CServiceBase {
public:
    CPacketService(std::shared_ptr<ServiceContext> context, std::shared_ptr<OpenScenes> scenes,
                   std::shared_ptr<CModuleTable> modules)
        : CServiceBase(std::move(context)), m_workspace(scenes->workspace), m_modules(std::move(modules)) {}

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
    std::uint32_t packetservice_EffectCount(const char* category) override {
        enter("Packet.EffectCount");
        return static_cast<std::uint32_t>(fields(category).size());
    }
    KzResult packetservice_EffectByIndex(const char* category, std::uint32_t index, const char** name,
                                         std::int32_t* type) override {
        enter("Packet.EffectByIndex");
        const auto all = fields(category);
        if (index >= all.size()) return KZe_OUTOFBOUNDS;
        *name = lend(all[index].name);
        *type = all[index].type;
        return KZe_OK;
    }
    KzResult packetservice_EffectLookup(const char* category, const char* name, IKzUnknown** effect) override {
        enter("Packet.EffectLookup");
        const auto all = fields(category);
        const auto field = std::ranges::find(all, kzTextOf(name), &Field::name);
        if (field == all.end())
            return kzBecause(KZe_NOTFOUND, "Packet.EffectLookup", [&] {
                return kzThereIsNo("field", kzTextOf(name), all, [](const Field& each) { return each.name; });
            });
        CKzLoc_Unknown object;
        *effect = CModuleTable::spawn(field->server, object).raw();
        (*effect)->AddRef();
        return KZe_OK;
    }

private:
    struct Field {
        KzServer server;
        std::string name;
        std::int32_t type = 0;
    };

    std::vector<Field> fields(const char* category) {
        std::vector<Field> all;
        for (const KzServer& server : m_modules->servers(KZa_PACKETEFFECT)) {
            CKzLoc_Unknown object;
            const CKzUser_PacketEffect effect(CModuleTable::spawn(server, object).raw());
            if (!effect) continue;
            const auto kind = kzAnswer([&](const char** text) { return effect.Packet(text); });
            if (category != nullptr && !packetservice_Exists(category, kind.c_str())) continue;
            const std::uint32_t count = effect.Count();
            for (std::uint32_t index = 0; index < count; ++index) {
                const char *name = nullptr, *typeName = nullptr;
                Field field{server, {}};
                if (kzFailed(effect.ByIndex(index, &name, &typeName, &field.type))) continue;
                field.name = kzString(name);
                all.push_back(std::move(field));
            }
        }
        return all;
    }
    static const PacketKindRow& need(const char* place, const char* name) {
        if (const PacketKindRow* row = kzFindPacketKind(kzTextOf(name))) return *row;
        throw kzBecause(KZe_NOTFOUND, place, [&] {
            return kzThereIsNo("kind of packet", kzTextOf(name), kzPacketKinds(),
                               [](const auto& row) { return row.name; });
        });
    }

    const std::shared_ptr<CWorkspace> m_workspace;
    const std::shared_ptr<CModuleTable> m_modules;
};

}  // namespace

decltype(kzMakePacketService) kzMakePacketService = kzMakeService<CPacketService>;

}  // namespace kzhost
