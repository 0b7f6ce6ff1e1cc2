// The packet service: the packets of selections and what translates them.
#include "host/services/packet_service.h"

#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/open_scenes.h"
#include "host/objects/selection_packets.h"
#include "host/objects/vector_kinds.h"
#include "host/objects/vector_types.h"
#include "host/state/text.h"

#include "kz/packet.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

// Packets of selections belong to no category of tools; those of modules have one as a tag. Fields are those of modules'
// effects: a category has those whose packets belong to it.
class CPacketService final : public CHosted<"packet service", CPacketService, CKzIfc_PacketService>, CServiceBase {
public:
    CPacketService(std::shared_ptr<ServiceContext> context, const std::shared_ptr<OpenScenes>& scenes,
                   std::shared_ptr<CModuleTable> modules)
        : CServiceBase(std::move(context)), m_workspace(scenes->workspace), m_modules(std::move(modules)),
          m_kinds(std::make_shared<CVectorKinds>(m_modules, m_workspace)) {}

    KzResult packetservice_CreateType(const char* category, IKzUnknown** type) override {
        enter("Packet.CreateType");
        *type = kzMakeVectorType(m_kinds, category);
        return KZe_OK;
    }
    KzResult packetservice_CreateStack(IKzUnknown* type, IKzUnknown** stack) override {
        enter("Packet.CreateStack");
        return CKzUser_VectorType(type).Create(stack);
    }
    // As fast as the stack's own: the index is checked there, since the memory is the host's.
    KzResult packetservice_FastPacket(IKzUnknown* stack, std::uint32_t index, void** packet) override {
        return CKzUser_VectorStack(stack).Packet(index, packet);
    }

    std::uint32_t packetservice_PacketCount(const char* category) override {
        enter("Packet.PacketCount");
        return static_cast<std::uint32_t>(m_kinds->names(category).size());
    }
    KzResult packetservice_PacketByIndex(const char* category, std::uint32_t index, const char** name) override {
        enter("Packet.PacketByIndex");
        return giveName(m_kinds->names(category), index, name);
    }
    KzResult packetservice_PacketByInterface(const KzGuid* ifc, const char** name) override {
        enter("Packet.PacketByInterface");
        const KzGuid& wanted = kzNotNull(ifc);
        for (const PacketKindRow& row : kzPacketKinds()) {
            if (row.identity == nullptr || *row.identity != wanted) continue;
            *name = row.name;
            return KZe_OK;
        }
        for (const KzServer& server : m_modules->servers(KZa_VECTORPACKET)) {
            if (identityOf(server.name) != wanted) continue;
            *name = lend(server.name);
            return KZe_OK;
        }
        return KZe_NOTFOUND;
    }
    KzResult packetservice_Lookup(const char* name, IKzUnknown** packet) override {
        enter("Packet.Lookup");
        return m_kinds->need("Packet.Lookup", nullptr, kzString(name))->server.get(packet);
    }
    KzResult packetservice_UserName(const char* name, const char** userName) override {
        enter("Packet.UserName");
        const VectorKindRef kind = m_kinds->need("Packet.UserName", nullptr, kzString(name));
        const std::string text = kzAnswer([&](const char** answer) { return kind->server.UserName(answer); });
        *userName = lend(text.empty() ? kind->name : text);
        return KZe_OK;
    }
    std::uint32_t packetservice_Size(const char* name) override {
        enter("Packet.Size");
        const VectorKindRef kind = m_kinds->find("Packet.Size", nullptr, kzString(name));
        return kind ? kind->size : 0;
    }
    bool packetservice_Exists(const char* category, const char* name) override {
        enter("Packet.Exists");
        const auto all = m_kinds->names(category);
        return std::find(all.begin(), all.end(), kzTextOf(name)) != all.end();
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

    // Nothing for a kind of plain values, or one whose server does not work.
    std::optional<KzGuid> identityOf(const std::string& name) const {
        try {
            const VectorKindRef kind = m_kinds->find("Packet.PacketByInterface", nullptr, name);
            return kind ? kind->identity : std::nullopt;
        } catch (KzResult) {
            return {};
        }
    }
    std::vector<Field> fields(const char* category) {
        std::vector<Field> all;
        for (const KzServer& server : m_modules->servers(KZa_PACKETEFFECT)) {
            CKzLoc_Unknown object;
            const CKzUser_PacketEffect effect(CModuleTable::spawn(server, object).raw());
            if (!effect) continue;
            const auto kind = kzAnswer([&](const char** text) { return effect.Packet(text); });
            if (category != nullptr && !packetservice_Exists(category, kind.c_str())) continue;
            constexpr std::uint32_t mostFields = 256;  // a nonsensical count must not keep the host busy
            const std::uint32_t count = std::min(effect.Count(), mostFields);
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
    const std::shared_ptr<CWorkspace> m_workspace;
    const std::shared_ptr<CModuleTable> m_modules;
    const std::shared_ptr<CVectorKinds> m_kinds;
};

}  // namespace

decltype(kzMakePacketService) kzMakePacketService = kzMakeService<CPacketService>;

}  // namespace kzhost
