// Places of a scene as destinations of drops.
#include "host/objects/drops.h"

#include "host/core/reasons.h"
#include "host/objects/item_packages.h"
#include "host/state/text.h"

#include "kz/color.h"
#include "kz/destination.h"
#include "kz/group.h"
#include "kz/mesh_operation.h"
#include "kz/profile.h"
#include "kz/scene_graph.h"
#include "kz/shader.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

constexpr const char* place = "Drop";

// What most destinations answer from. The codes that they promise are no failures of anybody, so nothing is logged.
template <KzHostName name, class Class, template <class> class... Slots>
class CPlace : public CHosted<name, Class, Slots...> {
public:
    explicit CPlace(DropPlace place) : m_place(std::move(place)) {}

protected:
    KzResult giveItem(IKzUnknown** item) const { return m_place.item ? m_place.item.give(item) : KZe_NOTFOUND; }
    // A place among children is inside the item; one without a position is at the item, among its siblings.
    bool isInside() const { return m_place.position >= 0; }
    KzResult giveOver(IKzUnknown** item) const { return isInside() ? KZe_NOTFOUND : giveItem(item); }
    KzResult giveParent(IKzUnknown** parent) const {
        return isInside() || !m_place.item ? giveItem(parent) : m_place.item->item_Parent(parent);
    }
    std::int32_t index() const {
        if (isInside() || !m_place.item) return m_place.position;
        const auto item = m_place.item->read();
        if (item->parent == nullptr) return m_place.item->item_RootPosition();
        return static_cast<std::int32_t>(item->parent->children.positionOf(*item));
    }
    KzResult giveLocation(KzVector3* position) const {
        if (!m_place.item) return KZe_NOTAVAILABLE;
        *position = kzPlace(KzVector3{}, kzWorldMatrix(*m_place.item, 0));
        return KZe_OK;
    }

    const DropPlace m_place;
};

class CLocatorPlace final : public CPlace<"locator destination", CLocatorPlace, CKzIfc_LocatorDest> {
public:
    using CPlace::CPlace;
    KzResult locd_Item(IKzUnknown** item) override { return giveItem(item); }
    KzResult locd_Location(KzVector3* /*position*/) override { return KZe_NOTAVAILABLE; }
};

class CClipPlace final : public CPlace<"clip destination", CClipPlace, CKzIfc_ClipDest> {
public:
    using CPlace::CPlace;
    KzResult locd_Item(IKzUnknown** item) override { return giveOver(item); }
    KzResult locd_Folder(IKzUnknown** folder) override { return giveParent(folder); }
    std::int32_t locd_Index() override { return index(); }
};

class CShaderPlace final : public CPlace<"shader destination", CShaderPlace, CKzIfc_ShaderDest> {
public:
    using CPlace::CPlace;
    KzResult locd_Item(IKzUnknown** item) override { return giveOver(item); }
    KzResult locd_Parent(IKzUnknown** parent) override { return giveParent(parent); }
    std::int32_t locd_Index() override { return index(); }
};

// The item is the mesh.
class CMeshOpPlace final : public CPlace<"mesh operation destination", CMeshOpPlace, CKzIfc_MeshOpDest> {
public:
    using CPlace::CPlace;
    KzResult locd_Item(IKzUnknown** item) override {
        const auto mesh = m_place.item->read();
        const auto& operations = kzLinksOf(*mesh, KZsGRAPH_MESHOPS).forward;
        const auto at = static_cast<std::size_t>(m_place.position);
        return at < operations.size() ? kzGiveItem(operations[at], item) : KZe_NOTFOUND;
    }
    KzResult locd_Mesh(IKzUnknown** mesh) override { return giveItem(mesh); }
    std::int32_t locd_Index() override { return m_place.position; }
    std::uint32_t locd_Where() override { return KZiDROPWHERE_ABOVE; }
};

// The position is the index of a polygon.
class CMeshPlace final : public CPlace<"mesh destination", CMeshPlace, CKzIfc_MeshDest> {
public:
    using CPlace::CPlace;
    KzResult meshd_Item(IKzUnknown** item) override { return giveItem(item); }
    KzResult meshd_Polygon(KzElementId* polygon) override {
        if (!isInside()) return KZe_NOTFOUND;
        *polygon = m_place.item->mesh()->data.polygons.byIndex(static_cast<std::uint32_t>(m_place.position)).id;
        return KZe_OK;
    }
    KzResult meshd_Location(KzVector3* position, KzVector3* normal) override {
        if (!isInside()) return KZe_NOTFOUND;
        const KzMatrix4 world = kzWorldMatrix(*m_place.item, 0);
        CMeshData& data = m_place.item->mesh()->data;
        const MeshPolygon& polygon = data.polygons.byIndex(static_cast<std::uint32_t>(m_place.position));
        const KzVector3 middle = data.centerOf(polygon), tip = middle + kzUnit(data.normalOf(polygon));
        *position = kzPlace(middle, world);
        *normal = kzUnit(kzPlace(tip, world) - *position);
        return KZe_OK;
    }
};

class CChannelPlace final : public CPlace<"channel destination", CChannelPlace, CKzIfc_ChannelDest> {
public:
    using CPlace::CPlace;
    KzResult chand_Channel(IKzUnknown** item, std::int32_t* channel) override {
        *channel = m_place.channel;
        return giveItem(item);
    }
    std::uint32_t chand_Where() override { return KZiDROPWHERE_ON; }
};

class CItemTypePlace final : public CPlace<"item type destination", CItemTypePlace, CKzIfc_ItemTypeDest> {
public:
    using CPlace::CPlace;
    KzResult ityped_Scene(IKzUnknown** scene) override { return m_place.scene.give(scene); }
    std::int32_t ityped_Type() override { return m_place.item->item_Type(); }
};

class CGroupPlace final : public CPlace<"group destination", CGroupPlace, CKzIfc_GroupDest> {
public:
    using CPlace::CPlace;
    KzResult grpd_Group(IKzUnknown** group) override { return giveItem(group); }
    std::int32_t grpd_Position() override { return m_place.position; }
};

// A member of the group, by its position; with none of its own, the end of the list.
class CGroupItemPlace final : public CPlace<"group member destination", CGroupItemPlace, CKzIfc_GroupMemberItemDest> {
public:
    using CPlace::CPlace;
    KzResult grpmid_Group(IKzUnknown** group) override { return giveItem(group); }
    KzResult grpmid_Item(IKzUnknown** item) override {
        const auto group = m_place.item->read();
        const auto& members = kzLinksOf(*group, KZsGRAPH_GROUPS).forward;
        const auto at = static_cast<std::size_t>(m_place.position);
        return at < members.size() ? kzGiveItem(members[at], item) : KZe_NOTFOUND;
    }
    std::int32_t grpmid_Position() override { return m_place.position; }
};

class CGroupChannelPlace final
    : public CPlace<"group channel destination", CGroupChannelPlace, CKzIfc_GroupMemberChanDest> {
public:
    using CPlace::CPlace;
    KzResult grpmcd_Group(IKzUnknown** group) override { return giveItem(group); }
    KzResult grpmcd_Channel(IKzUnknown** item, std::int32_t* channel) override {
        const auto group = m_place.item->read();
        const auto at = static_cast<std::size_t>(m_place.position);
        if (at >= group->channelMembers.size()) return KZe_NOTFOUND;
        const ChannelMember& member = group->channelMembers[at];
        *channel = member.item->indexOf(*member.channel);
        return kzGiveItem(member.item, item);
    }
    std::int32_t grpmcd_Position() override { return m_place.position; }
};

class CScenePlace final : public CPlace<"scene item destination", CScenePlace, CKzIfc_SceneItemPreDest> {
public:
    using CPlace::CPlace;
    KzResult sipd_Scene(IKzUnknown** scene) override { return m_place.scene.give(scene); }
    KzResult sipd_Item(IKzUnknown** item) override { return giveItem(item); }
    KzResult sipd_Parent(IKzUnknown** parent) override { return giveItem(parent); }
    std::int32_t sipd_Position() override { return m_place.position; }
    KzResult sipd_Location(KzVector3* position) override { return giveLocation(position); }
};

// A layer of the scene, whose mesh the preset's one replaces.
class CMeshLayerPlace final : public CPlace<"mesh layer destination", CMeshLayerPlace, CKzIfc_MeshLayerPreDest> {
public:
    using CPlace::CPlace;
    KzResult mlpd_Item(IKzUnknown** item) override { return giveItem(item); }
    KzResult mlpd_Position(KzVector3* /*position*/, KzVector3* /*normal*/) override { return KZe_NOTFOUND; }
    std::int32_t mlpd_Mode() override { return KZiMESHLAYERPRE_REPLACE; }
};

// The three channels of a colour, from the one that the place names.
class CColorPlace final : public CPlace<"color destination", CColorPlace, CKzIfc_ColorPreDest> {
public:
    using CPlace::CPlace;
    KzResult colpd_Color(KzFVector3* rgb) override {
        CKzLoc_Unknown reader;
        if (const KzResult code = m_place.scene->scene_Channels(nullptr, m_place.time, reader.out()); kzFailed(code))
            return code;
        return CKzUser_ChannelRead(reader.raw()).Color(m_place.item.raw(), m_place.channel, rgb);
    }
    KzResult colpd_TestColor(const KzFVector3* rgb) override {
        const auto item = m_place.item->read();
        for (std::int32_t i = 0; i < 3; ++i)
            if (!kzChannelAt(*item, m_place.channel + i).takes(rgb->v[i]))
                return kzBecause(KZe_NOTSUPPORTED, place, [&] {
                    return fmt::format("the channel {} does not take {}", kzChannelAt(*item, m_place.channel + i).name,
                                       rgb->v[i]);
                });
        return KZe_OK;
    }
    KzResult colpd_SetColor(const KzFVector3* rgb, std::uint32_t flags) override;
};

float brightnessOf(const KzFVector3& rgb) { return std::max({rgb.v[0], rgb.v[1], rgb.v[2]}); }

KzResult CColorPlace::colpd_SetColor(const KzFVector3* rgb, std::uint32_t flags) {
    KzFVector3 color = *rgb, now{};
    if ((flags & KZfCOLORPREDEST_KEEPVALUE) != 0) {
        if (const KzResult code = colpd_Color(&now); kzFailed(code)) return code;
        const float present = brightnessOf(color);
        for (float& each : color.v) each = present > 0 ? each * brightnessOf(now) / present : brightnessOf(now);
    }
    if (const KzResult code = colpd_TestColor(&color); kzFailed(code)) return code;
    CKzLoc_Unknown object;
    const double time = m_place.time;
    if (const KzResult code = m_place.scene->scene_WriteChannels(nullptr, time, object.out()); kzFailed(code))
        return code;
    const CKzUser_ChannelWrite write(object.raw());
    if ((flags & KZfCOLORPREDEST_KEYFRAME) == 0) return write.Color(m_place.item.raw(), m_place.channel, &color);
    for (std::int32_t i = 0; i < 3; ++i)
        if (const KzResult code = write.DoubleKey(m_place.item.raw(), m_place.channel + i, color.v[i], time, 1);
            kzFailed(code))
            return code;
    return KZe_OK;
}

// What a kind needs besides a scene.
enum Needs { nothing, anItem, aMesh, aGroup, aChannel, aColor };

struct PlaceRow {
    const KzGuid* iid;
    Needs needs;
    IKzUnknown* (*make)(const DropPlace& place);
};
template <class Class> IKzUnknown* make(const DropPlace& place) { return kzMakeObject<Class>(place); }

constexpr PlaceRow rows[] = {
    {&KZu_LOCATORDEST, nothing, make<CLocatorPlace>},
    {&KZu_CLIPDEST, nothing, make<CClipPlace>},
    {&KZu_SHADERDEST, nothing, make<CShaderPlace>},
    {&KZu_SCENEITEMPREDEST, nothing, make<CScenePlace>},
    {&KZu_MESHOPDEST, aMesh, make<CMeshOpPlace>},
    {&KZu_MESHDEST, aMesh, make<CMeshPlace>},
    {&KZu_MESHLAYERPREDEST, aMesh, make<CMeshLayerPlace>},
    {&KZu_CHANNELDEST, aChannel, make<CChannelPlace>},
    {&KZu_COLORPREDEST, aColor, make<CColorPlace>},
    {&KZu_ITEMTYPEDEST, anItem, make<CItemTypePlace>},
    {&KZu_GROUPDEST, aGroup, make<CGroupPlace>},
    {&KZu_GROUPMEMBERITEMDEST, aGroup, make<CGroupItemPlace>},
    {&KZu_GROUPMEMBERCHANDEST, aGroup, make<CGroupChannelPlace>},
};

// Why the place cannot be one of that kind; empty if it can.
std::string lackOf(const DropPlace& place, Needs needs) {
    if (needs == nothing) return {};
    if (!place.item) return "an item";
    const auto is = [&](const char* type) { return place.item->type().isA(kzFindItemType(type)->number); };
    const auto item = place.item->read();
    switch (needs) {
    case aMesh: return is(KZsITYPE_MESH) ? "" : "an item of the type mesh";
    case aGroup: return is(KZsITYPE_GROUP) ? "" : "an item of the type group";
    case aChannel: return place.channel >= 0 ? "" : "a channel";
    case aColor: {
        const ChannelInfo* first =
            place.channel >= 0 ? item->channelAt(static_cast<std::size_t>(place.channel)) : nullptr;
        return first != nullptr && first->vectorSize >= 3 && first->name.ends_with(".R") ? ""
                                                                                         : "the channel of a colour";
    }
    default: return {};
    }
}

}  // namespace

IKzUnknown* kzMakeDestination(const DropKind& kind, const DropPlace& where) {
    CKzLoc_Unknown own;
    const CItemPackages* packages = kzItemPackages(where.scene->document().workspace());
    if (where.item && packages != nullptr && kzSucceeded(packages->offered(*where.item, *kind.iid, own.out()))) {
        own.raw()->AddRef();
        return own.raw();
    }
    for (const PlaceRow& row : rows) {
        if (row.iid != kind.iid) continue;
        const std::string lack = lackOf(where, row.needs);
        if (lack.empty()) return row.make(where);
        throw kzBecause(KZe_INVALIDARG, place, [&] { return fmt::format("{} needs {}", kind.name, lack); });
    }
    throw kzBecause(KZe_NOTSUPPORTED, place,
                    [&] { return fmt::format("only an item whose package is a {} has such a place", kind.type); });
}

}  // namespace kzhost
