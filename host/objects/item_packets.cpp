// Packets of scenes, items, channels, links and actions, and of the paths of presets.
#include "host/document/animation.h"
#include "host/objects/packet_translation.h"
#include "host/objects/scene.h"

#include "kz/packet_translation.h"
#include "kz/scene_graph.h"
#include "kz/selection.h"

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

class CItemPackets final : public CTranslation<CItemPackets, "item", PacketKind::item, CKzIfc_ItemPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult itempackettranslation_Packet(IKzUnknown* item, void** packet) override {
        const auto own = kzOwn<CItem>(item)->read();
        return give({.kind = PacketKind::item, .item = own->shared_from_this()}, packet);
    }
    KzResult itempackettranslation_Item(void* packet, IKzUnknown** item) override { return giveItem(packet, item); }
    std::int32_t itempackettranslation_Type(void* packet) override {
        const CReading reading(workspace());
        const PacketRef found = find(packet);
        return found != nullptr ? found->item.lock()->type.number : 0;
    }
};

class CScenePackets final
    : public CTranslation<CScenePackets, "scene", PacketKind::scene, CKzIfc_ScenePacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult scenepackettranslation_Packet(IKzUnknown* scene, void** packet) override {
        const auto own = kzOwn<CScene>(scene);
        const CReading reading(workspace());
        if (!own->document().isOpen()) return KZe_NOTAVAILABLE;
        return give({.kind = PacketKind::scene, .document = &own->document()}, packet);
    }
    KzResult scenepackettranslation_Scene(void* packet, IKzUnknown** scene) override {
        const CReading reading(workspace());
        return kzObjectOf(*open(packet)).give(scene);
    }
    KzResult scenepackettranslation_Root(void* packet, IKzUnknown** item) override {
        const CReading reading(workspace());
        return kzGiveItem(open(packet)->root(), item);
    }
    bool scenepackettranslation_IsValid(void* packet) override {
        const CReading reading(workspace());
        return find(packet) != nullptr;
    }

private:
    CDocument* open(void* packet) const {
        const PacketRef found = find(packet);
        if (found == nullptr) throw KZe_NOTAVAILABLE;
        return found->document;
    }
};

class CChannelPackets final
    : public CTranslation<CChannelPackets, "channel", PacketKind::channel, CKzIfc_ChannelPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult channelpackettranslation_Packet(IKzUnknown* item, std::int32_t channel, void** packet) override {
        const auto own = kzOwn<CItem>(item)->read();
        return give(
            {.kind = PacketKind::channel, .item = own->shared_from_this(), .text = kzChannelAt(*own, channel).name},
            packet);
    }
    KzResult channelpackettranslation_Item(void* packet, IKzUnknown** item) override { return giveItem(packet, item); }
    std::int32_t channelpackettranslation_Index(void* packet) override {
        const CReading reading(workspace());
        const PacketRef found = find(packet);
        return found != nullptr ? found->item.lock()->findChannel(found->text) : -1;
    }
};

class CLinkPackets final : public CTranslation<CLinkPackets, "link", PacketKind::link, CKzIfc_LinkPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult linkpackettranslation_Packet(const char* graph, IKzUnknown* from, IKzUnknown* to, std::int32_t index,
                                          void** packet) override {
        const auto source = kzOwn<CItem>(from)->read();
        const auto target = kzOwn<CItem>(to)->readIn(source->document);
        const GraphInfo* info = kzFindGraph(kzTextOf(graph));
        const auto place = static_cast<std::size_t>(index);
        std::string text(kzTextOf(graph));
        const Item* end = nullptr;
        if (info != nullptr && info->type == static_cast<std::uint32_t>(KZiGRAPHTYPE_CHANNEL)) {
            if (index < 0 || place >= source->outputs.size()) return KZe_NOTFOUND;
            end = source->outputs[place]->target;
            text = kzLinkText(*source->outputs[place]);
        } else if (info != nullptr) {
            const std::vector<Item*> next = kzNextIn(*source, *info, true);
            end = index >= 0 && place < next.size() ? next[place] : nullptr;
        }
        if (end != &*target) return KZe_NOTFOUND;
        return give({.kind = PacketKind::link,
                     .item = source->shared_from_this(),
                     .other = target->shared_from_this(),
                     .text = std::move(text)},
                    packet);
    }
    KzResult linkpackettranslation_Graph(void* packet, const char** graph) override {
        const CReading reading(workspace());
        *graph = kzLend(partOf(*need(packet), 0));
        return KZe_OK;
    }
    KzResult linkpackettranslation_Ends(void* packet, IKzUnknown** from, IKzUnknown** to,
                                        std::int32_t* index) override {
        const CReading reading(workspace());
        const PacketRef found = need(packet);
        const ItemRef source = found->item.lock(), target = found->other.lock();
        *index =
            isOfChannels(*found) ? linkPlace(*source, *target, found->text) : itemPlace(*source, *target, found->text);
        if (const KzResult code = kzGiveItem(source.get(), from); kzFailed(code)) return code;
        return kzGiveItem(target.get(), to);
    }
    KzResult linkpackettranslation_Channels(void* packet, std::int32_t* from, std::int32_t* to) override {
        const CReading reading(workspace());
        const PacketRef found = need(packet);
        *from = isOfChannels(*found) ? found->item.lock()->findChannel(partOf(*found, 1)) : -1;
        *to = isOfChannels(*found) ? found->other.lock()->findChannel(partOf(*found, 2)) : -1;
        return KZe_OK;
    }

private:
    static bool isOfChannels(const SelectionPacket& packet) { return packet.text.find('\n') != std::string::npos; }
    static std::string partOf(const SelectionPacket& packet, int index) {
        std::string_view rest = packet.text;
        while (index-- > 0) rest.remove_prefix(std::min(rest.find('\n') + 1, rest.size()));
        return std::string(rest.substr(0, rest.find('\n')));
    }
    static std::int32_t itemPlace(const Item& source, const Item& target, const std::string& graph) {
        const std::vector<Item*> next = kzNextIn(source, *kzFindGraph(graph), true);
        return static_cast<std::int32_t>(std::find(next.begin(), next.end(), &target) - next.begin());
    }
    static std::int32_t linkPlace(const Item& source, const Item& target, const std::string& text) {
        const auto isIt = [&](const auto& link) { return link->target == &target && kzLinkText(*link) == text; };
        return static_cast<std::int32_t>(std::find_if(source.outputs.begin(), source.outputs.end(), isIt) -
                                         source.outputs.begin());
    }
};

// An added action is an item; those that every scene has go with their scene.
class CActionPackets final
    : public CTranslation<CActionPackets, "action", PacketKind::action, CKzIfc_ActionLayerPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult actionlayerpackettranslation_Packet(IKzUnknown* layer, void** packet) override {
        const SceneAction action = kzActionOf(layer);
        const CReading reading(workspace());
        CDocument& document = action.scene->document();
        if (!document.isOpen()) return KZe_NOTAVAILABLE;
        Item* item = document.byIdent(action.action);
        if (item == nullptr && !kzIsSceneAction(action.action)) return KZe_NOTAVAILABLE;
        return give({.kind = PacketKind::action,
                     .item = item != nullptr ? item->shared_from_this() : nullptr,
                     .document = &document,
                     .numbers = {item != nullptr ? 1U : 0U, 0, 0},
                     .text = action.action},
                    packet);
    }
    KzResult actionlayerpackettranslation_Layer(void* packet, IKzUnknown** layer) override {
        const CReading reading(workspace());
        const PacketRef found = need(packet);
        *layer = kzMakeActionClip(kzObjectOf(*found->document), found->text);
        return KZe_OK;
    }
    KzResult actionlayerpackettranslation_Item(void* packet, IKzUnknown** item) override {
        const CReading reading(workspace());
        const ItemRef clip = need(packet)->item.lock();
        return kzGiveItem(clip != nullptr ? clip->parent : nullptr, item);
    }
};

// The files need not exist, and none is in a cache here.
class CPresetPackets final
    : public CTranslation<CPresetPackets, "preset", PacketKind::preset, CKzIfc_PresetPathPacketTranslation> {
public:
    using CTranslation::CTranslation;
    KzResult presetpathpackettranslation_Packet(const char* path, void** packet) override {
        if (kzTextOf(path).empty()) return KZe_INVALIDARG;
        const CReading reading(workspace());
        return give({.kind = PacketKind::preset, .text = path}, packet);
    }
    KzResult presetpathpackettranslation_Path(void* packet, const char** path) override {
        const CReading reading(workspace());
        *path = kzLend(need(packet)->text);
        return KZe_OK;
    }
    KzResult presetpathpackettranslation_Entry(void* packet, IKzUnknown** /*entry*/) override {
        const CReading reading(workspace());
        need(packet);
        return KZe_NOTFOUND;
    }
};

}  // namespace

std::vector<PacketKindRow> kzItemPackets() {
    return {
        {KZsSELTYP_ITEM, &KZu_SELPACKET_ITEM, kzMakePackets<CItemPackets>},
        {KZsSELTYP_SCENE, nullptr, kzMakePackets<CScenePackets>},
        {KZsSELTYP_CHANNEL, &KZu_SELPACKET_CHANNEL, kzMakePackets<CChannelPackets>},
        {KZsSELTYP_LINK, &KZu_SELPACKET_LINK, kzMakePackets<CLinkPackets>},
        {KZsSELTYP_ACTIONLAYER, nullptr, kzMakePackets<CActionPackets>},
        {KZsSELTYP_PRESET, nullptr, kzMakePackets<CPresetPackets>},
    };
}

}  // namespace kzhost
