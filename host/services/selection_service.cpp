// The selection service: reads and changes what is selected.
#include "host/services/selection_service.h"

#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/item_collection.h"
#include "host/objects/open_scenes.h"
#include "host/objects/selection_packets.h"
#include "host/objects/selection_scope.h"
#include "host/objects/selection_state.h"

#include "kz/action.h"
#include "kz/element_translation.h"
#include "kz/group.h"
#include "kz/packet_translation.h"
#include "kz/selection.h"

#include <fmt/format.h>

#include <cmath>
#include <cstring>
#include <map>
#include <span>
#include <sstream>
#include <utility>

namespace kzhost {

namespace {

struct TypeIdentity {
    const KzGuid& identity;
    const char* name;
};
constexpr TypeIdentity identities[] = {{KZu_SELTYP_ITEM, KZsSELTYP_ITEM},       {KZu_SELTYP_CHANNEL, KZsSELTYP_CHANNEL},
                                       {KZu_SELTYP_LINK, KZsSELTYP_LINK},       {KZu_SELTYP_NODE, KZsSELTYP_NODE},
                                       {KZu_SELTYP_CENTER, KZsSELTYP_CENTER},   {KZu_SELTYP_PIVOT, KZsSELTYP_PIVOT},
                                       {KZu_SELTYP_VERTEX, KZsSELTYP_POINT},    {KZu_SELTYP_EDGE, KZsSELTYP_EDGE},
                                       {KZu_SELTYP_POLYGON, KZsSELTYP_POLYGON}, {KZu_SELTYP_VMAP, KZsSELTYP_VERTEXMAP}};

// The name of a type, which an identity may stand for.
std::string nameOf(std::string_view text) {
    if (const auto guid = kzGuidOfText(text))
        for (const TypeIdentity& each : identities)
            if (each.identity == *guid) return each.name;
    return std::string(text);
}

// The elements of served types that have been selected, in the order that their type gives them.
class CServedElements {
public:
    // The address that stands for the element: that of an equal one that is known, or else this one, which is kept. Asks
    // the module, so the lock must not be held.
    void* stand(const CKzUser_SelectionType& server, std::int32_t type, void* address) {
        auto& known = m_known[type];
        const auto place = std::partition_point(known.begin(), known.end(),
                                                [&](void* each) { return server.Compare(each, address) < 0; });
        if (place != known.end() && (*place == address || server.Compare(*place, address) == 0)) return *place;
        return *known.insert(place, address);
    }

private:
    std::map<std::int32_t, std::vector<void*>> m_known;
};

class CSelectionService final : public CHosted<"selection service", CSelectionService, CKzIfc_SelectionService>,
                                CServiceBase {
public:
    CSelectionService(std::shared_ptr<ServiceContext> context, std::shared_ptr<OpenScenes> scenes,
                      std::shared_ptr<CModuleTable> modules)
        : CServiceBase(std::move(context)), m_scenes(std::move(scenes)), m_workspace(m_scenes->workspace),
          m_modules(std::move(modules)) {}

    KzResult selectionservice_TypeLookup(const char* name, std::int32_t* type) override {
        enter("Selection.TypeLookup");
        *type = typeNamed("Selection.TypeLookup", kzTextOf(name)).type;
        return KZe_OK;
    }
    KzResult selectionservice_TypeName(std::int32_t type, const char** name) override {
        enter("Selection.TypeName");
        *name = keep(known(type).name);
        return KZe_OK;
    }
    KzResult selectionservice_TypeTitle(std::int32_t type, std::uint32_t count, char* title,
                                        std::uint32_t length) override {
        enter("Selection.TypeTitle");
        return kzFillText(known(type).titles[count == 1 ? 0 : 1], title, length);
    }
    std::uint32_t selectionservice_TypeCount() override {
        enter("Selection.TypeCount");
        for (const KzServer& server : m_modules->servers(KZa_SELECTIONTYPE)) addServed(server);
        const CReading reading(*m_workspace);
        return static_cast<std::uint32_t>(selection().types().size());
    }
    std::uint32_t selectionservice_Count(std::int32_t type) override {
        enter("Selection.Count");
        const CReading reading(*m_workspace);
        return static_cast<std::uint32_t>(selection().list(type).size());
    }
    KzResult selectionservice_ByIndex(std::int32_t type, std::uint32_t index, void** packet) override {
        enter("Selection.ByIndex");
        const CReading reading(*m_workspace);
        const PacketList& list = selection().list(known(type).type);
        if (index >= list.size()) return KZe_OUTOFBOUNDS;
        *packet = list.at(index)->address;
        return KZe_OK;
    }
    KzResult selectionservice_First(std::int32_t type, void** packet) override {
        enter("Selection.First");
        const CReading reading(*m_workspace);
        const PacketList& list = selection().list(known(type).type);
        if (list.empty()) return KZe_NOTFOUND;
        *packet = list.last()->address;
        return KZe_OK;
    }
    KzResult selectionservice_Recent(std::int32_t type, void** packet) override {
        enter("Selection.Recent");
        const CReading reading(*m_workspace);
        const PacketRef recent = selection().recent(known(type).type);
        if (recent == nullptr) return KZe_NOTFOUND;
        *packet = recent->address;
        return KZe_OK;
    }
    bool selectionservice_Test(std::int32_t type, void* packet) override {
        enter("Selection.Test");
        const PacketRef found = packetOf(known(type), packet);
        const CReading reading(*m_workspace);
        return found != nullptr && selection().list(type).has(*found);
    }
    KzResult selectionservice_Select(std::int32_t type, void* packet, std::int32_t mode) override {
        enter("Selection.Select");
        const SelectionKind& kind = known(type);
        return select(kind, need(kind, packet), mode);
    }
    KzResult selectionservice_Clear(std::int32_t type) override {
        enter("Selection.Clear");
        CEdit edit(*m_workspace);
        selection().replace(known(type).type, {}, edit);
        edit.commit();
        return KZe_OK;
    }
    // The bytes of a packet of the host's are its address. Those of other types are the element itself, of which the
    // host keeps a copy.
    KzResult selectionservice_Replace(std::int32_t type, std::uint32_t count, std::uint32_t size,
                                      void* packets) override {
        enter("Selection.Replace");
        const SelectionKind& kind = known(type);
        if (count > 0 && packets == nullptr) return KZe_INVALIDARG;
        const std::uint32_t each = kind.packets == PacketKind::served ? servedType(kind).Size() : kzPacketSize;
        if (each == 0 || size != std::uint64_t{count} * each)
            return kzBecause(KZe_INVALIDARG, "Selection.Replace", [&] {
                return fmt::format("{} packets of the type {} are {} bytes and not {}", count, kind.name,
                                   std::uint64_t{count} * each, size);
            });
        std::vector<PacketRef> found;
        for (std::uint32_t i = 0; i < count; ++i)
            found.push_back(
                packetOfBytes(kind, {static_cast<const std::byte*>(packets) + std::size_t{i} * each, each}));
        CEdit edit(*m_workspace);
        PacketList list;
        for (const PacketRef& packet : found)
            if (packet->isAlive()) list.add(packet);
        if ((kind.flags & KZfSELTYP_SINGLE) != 0 && list.size() > 1) return KZe_INVALIDARG;
        selection().replace(type, std::move(list), edit);
        selection().setCurrentType(type, edit);
        edit.commit();
        return KZe_OK;
    }
    std::int32_t selectionservice_CurrentType(const char* types) override {
        enter("Selection.CurrentType");
        const std::vector<std::int32_t> wanted = typesNamed("Selection.CurrentType", types);
        const CReading reading(*m_workspace);
        return selection().currentType(wanted);
    }
    KzResult selectionservice_SetCurrentType(std::int32_t type) override {
        enter("Selection.SetCurrentType");
        CEdit edit(*m_workspace);
        selection().setCurrentType(known(type).type, edit);
        return KZe_OK;
    }
    KzResult selectionservice_BeginBatch() override {
        enter("Selection.BeginBatch");
        const CReading reading(*m_workspace);
        selection().beginBatch();
        return KZe_OK;
    }
    KzResult selectionservice_EndBatch() override {
        enter("Selection.EndBatch");
        CEdit edit(*m_workspace);
        selection().endBatch(edit);
        return KZe_OK;
    }
    KzResult selectionservice_Items(std::int32_t itemType, IKzUnknown** items) override {
        enter("Selection.Items");
        const auto made = CHostRef<CItemCollection>::make(m_workspace);
        const CReading reading(*m_workspace);
        for (Item* item : kzSelectedItems(*m_workspace, itemType)) made->add(*item);
        return made.give(items);
    }
    KzResult selectionservice_SelectItem(IKzUnknown* item, std::int32_t mode) override {
        enter("Selection.SelectItem");
        const auto own = kzOwn<CItem>(item)->read();
        return select(known(KZi_SELTYP_ITEM),
                      selection().packet({.kind = PacketKind::item, .item = own->shared_from_this()}), mode);
    }
    KzResult selectionservice_SetTime(double time) override {
        enter("Selection.SetTime");
        if (!std::isfinite(time))
            return kzBecause(KZe_INVALIDARG, "Selection.SetTime", [&] { return fmt::format("{} is no time", time); });
        CEdit edit(*m_workspace);
        const auto scene = m_scenes->current();
        if (!scene)
            return kzBecause(KZe_NOTAVAILABLE, "Selection.SetTime",
                             [] { return "no scene is open, which has the time"; });
        if (time == m_scenes->currentTime()) return KZe_OK;
        Item& root = *scene->document().root();
        edit.setValue(root, *root.type.channel(KZsICHAN_SCENETIME_CURRENT), KzCell(time));
        edit.commit();
        return KZe_OK;
    }
    double selectionservice_Time() override {
        enter("Selection.Time");
        const CReading reading(*m_workspace);
        return m_scenes->currentTime();
    }
    KzResult selectionservice_State(const char* types, IKzUnknown** state) override {
        enter("Selection.State");
        const std::vector<std::int32_t> wanted = typesNamed("Selection.State", types);
        const CReading reading(*m_workspace);
        *state = kzMakeObject<CSelectionState>(m_workspace, wanted);
        return KZe_OK;
    }

private:
    CSelection& selection() const { return m_workspace->selection(); }

    const SelectionKind& known(std::int32_t type) const {
        const CReading reading(*m_workspace);
        const SelectionKind* kind = selection().find(type);
        if (kind == nullptr)
            throw kzBecause(KZe_NOTFOUND, "Selection", [&] { return fmt::format("{} is no type of selection", type); });
        return *kind;
    }
    const SelectionKind& typeNamed(const char* place, std::string_view text) {
        const std::string name = nameOf(text);
        {
            const CReading reading(*m_workspace);
            if (const SelectionKind* kind = selection().find(name)) return *kind;
        }
        if (const auto server = m_modules->find(KZa_SELECTIONTYPE, name)) return addServed(*server);
        throw kzBecause(KZe_NOTFOUND, place, [&] {
            return kzThereIsNo("type of selection", name, selection().types(),
                               [](const auto& each) { return each->name; });
        });
    }
    std::vector<std::int32_t> typesNamed(const char* place, const char* names) {
        std::vector<std::int32_t> types;
        if (names != nullptr) {
            std::istringstream words(names);
            for (std::string word; words >> word;) types.push_back(typeNamed(place, word).type);
            return types;
        }
        const CReading reading(*m_workspace);
        for (const auto& each : selection().types()) types.push_back(each->type);
        return types;
    }
    // A server is asked for its traits once, without the lock.
    const SelectionKind& addServed(const KzServer& server) {
        {
            const CReading reading(*m_workspace);
            if (const SelectionKind* kind = selection().find(server.name)) return *kind;
        }
        CKzLoc_Unknown object;
        const CKzUser_SelectionType type(CModuleTable::spawn(server, object).raw());
        const std::uint32_t flags = type.Flags();
        const CReading reading(*m_workspace);
        if (const SelectionKind* kind = selection().find(server.name)) return *kind;
        return selection().addServed(server.name, {server.name, server.name}, flags);
    }
    CKzUser_SelectionType servedType(const SelectionKind& kind) const {
        const auto server = m_modules->find(KZa_SELECTIONTYPE, kind.name);
        if (!server)
            throw kzBecause(KZe_NOTAVAILABLE, "Selection",
                            [&] { return "the server of the type of selection \"" + kind.name + "\" has gone"; });
        CKzLoc_Unknown object;
        return CKzUser_SelectionType(CModuleTable::spawn(*server, object).raw());
    }
    // Null for an address that is no packet of the type.
    PacketRef packetOf(const SelectionKind& kind, void* address) {
        if (kind.packets == PacketKind::served)
            return address != nullptr ? servedPacket(kind, address, nullptr) : nullptr;
        const CReading reading(*m_workspace);
        const PacketRef packet = selection().at(address);
        return packet != nullptr && packet->kind == kind.packets ? packet : nullptr;
    }
    PacketRef need(const SelectionKind& kind, void* address) {
        PacketRef packet = packetOf(kind, address);
        if (packet == nullptr)
            throw kzBecause(KZe_INVALIDARG, "Selection", [&] {
                return fmt::format("that address is no packet of the type {}; its translation makes packets",
                                   kind.name);
            });
        return packet;
    }
    PacketRef servedPacket(const SelectionKind& kind, void* address, std::unique_ptr<std::byte[]> bytes) {
        const CKzUser_SelectionType server = servedType(kind);
        void* element = m_elements.stand(server, kind.type, address);
        std::uint32_t subtype = 0;
        if ((kind.flags & KZfSELTYP_SUBTYPES) != 0 && kzFailed(server.SubType(element, &subtype))) subtype = 0;
        const CReading reading(*m_workspace);
        const auto type = static_cast<std::uintptr_t>(static_cast<std::uint32_t>(kind.type));
        PacketRef packet = selection().packet(
            {.kind = PacketKind::served, .numbers = {type, reinterpret_cast<std::uintptr_t>(element), 0}});
        packet->subtype = subtype;
        if (bytes != nullptr && element == address) {
            packet->bytes = std::move(bytes);
            m_kept.push_back(packet);  // its address stays known to the order of the elements
        }
        return packet;
    }
    PacketRef packetOfBytes(const SelectionKind& kind, std::span<const std::byte> bytes) {
        if (kind.packets != PacketKind::served) {
            void* address = nullptr;
            std::memcpy(&address, bytes.data(), sizeof address);
            return need(kind, address);
        }
        auto copy = std::make_unique<std::byte[]>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), copy.get());
        void* address = copy.get();
        return servedPacket(kind, address, std::move(copy));
    }

    KzResult select(const SelectionKind& kind, const PacketRef& packet, std::int32_t mode) {
        CEdit edit(*m_workspace);
        if (!packet->isAlive()) return KZe_NOTFOUND;
        if (kind.type == KZi_SELTYP_GROUP && !packet->item.lock()->type.isA(kzFindItemType(KZsITYPE_GROUP)->number))
            return kzBecause(KZe_INVALIDARG, "Selection.Select",
                             [&] { return "\"" + packet->item.lock()->uniqueName + "\" is no group"; });
        PacketList list;
        list.add(packet);
        kzSelect(selection(), kind.type, list, mode, edit);
        edit.commit();
        return KZe_OK;
    }

    const std::shared_ptr<OpenScenes> m_scenes;
    const std::shared_ptr<CWorkspace> m_workspace;
    const std::shared_ptr<CModuleTable> m_modules;
    CServedElements m_elements;
    std::vector<PacketRef> m_kept;
};

}  // namespace

decltype(kzMakeSelectionService) kzMakeSelectionService = kzMakeService<CSelectionService>;

}  // namespace kzhost
