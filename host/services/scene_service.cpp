// The scene service: makes, finds and closes scenes, and lists the item types.
#include "host/services/scene_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/curve.h"
#include "host/objects/document_listeners.h"
#include "host/objects/envelope.h"
#include "host/objects/group.h"
#include "host/objects/item_collection.h"
#include "host/objects/open_scenes.h"
#include "host/objects/scene.h"
#include "host/objects/transform_values.h"
#include "host/state/text.h"

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

class CSceneService final : public CHosted<"scene service", CSceneService, CKzIfc_SceneService>, CServiceBase {
public:
    CSceneService(std::shared_ptr<ServiceContext> context, std::shared_ptr<OpenScenes> scenes)
        : CServiceBase(std::move(context)), m_scenes(std::move(scenes)) {}

    KzResult sceneservice_Create(const char* name, IKzUnknown** scene) override {
        enter("Scene.Create");
        const auto made = kzOpenScene(*m_scenes->workspace, kzString(name));
        const auto previous = change([&](auto& list) { list.push_back(made); });
        kzTellSceneListeners(*m_scenes, [&](IKzSceneItemListener& each) { each.SceneCreated(made.raw()); });
        tellCurrent(previous);
        return made.give(scene);
    }
    KzResult sceneservice_Close(IKzUnknown* scene) override {
        enter("Scene.Close");
        const auto closed = kzOwn<CScene>(scene);
        if (!isOpen(closed)) return KZe_NOTFOUND;
        kzTellSceneListeners(*m_scenes, [&](IKzSceneItemListener& each) { each.SceneClosing(closed.raw()); });
        if (!isOpen(closed)) return KZe_NOTFOUND;  // a listener was faster
        const std::string path = closed->document().filename();
        const auto previous = change(
            [&](auto& list) { std::erase_if(list, [&](const auto& each) { return each.object() == closed.object(); }); });
        closed->close();
        kzTellSceneListeners(*m_scenes, [&](IKzSceneItemListener& each) {
            each.SceneClosed(path.empty() ? nullptr : path.c_str());
        });
        tellCurrent(previous.object() != closed.object() ? previous : CHostRef<CScene>(), previous.object() == closed.object());
        return KZe_OK;
    }
    std::uint32_t sceneservice_Count() override {
        enter("Scene.Count");
        return static_cast<std::uint32_t>(m_scenes->list.size());
    }
    KzResult sceneservice_ByIndex(std::uint32_t index, IKzUnknown** scene) override {
        enter("Scene.ByIndex");
        return index < m_scenes->list.size() ? m_scenes->list[index].give(scene) : KZe_OUTOFBOUNDS;
    }
    KzResult sceneservice_Lookup(const char* path, IKzUnknown** scene) override {
        enter("Scene.Lookup");
        for (const auto& open : m_scenes->list)
            if (!open->document().filename().empty() && open->document().filename() == kzTextOf(path)) return open.give(scene);
        return kzBecause(KZe_NOTFOUND, "Scene.Lookup", [&] {
            return kzThereIsNo("open scene", kzTextOf(path), m_scenes->list,
                               [](const auto& open) { return open->document().filename(); });
        });
    }
    KzResult sceneservice_Current(IKzUnknown** scene) override {
        enter("Scene.Current");
        return m_scenes->list.empty() ? KZe_NOTFOUND : m_scenes->list.back().give(scene);
    }
    KzResult sceneservice_SetCurrent(IKzUnknown* scene) override {
        enter("Scene.SetCurrent");
        const auto current = kzOwn<CScene>(scene);
        if (!isOpen(current)) return KZe_NOTFOUND;
        tellCurrent(change([&](auto& list) {
            const auto place =
                std::find_if(list.begin(), list.end(), [&](const auto& each) { return each.object() == current.object(); });
            std::rotate(place, place + 1, list.end());
        }));
        return KZe_OK;
    }
    KzResult sceneservice_ItemTypeLookup(const char* name, std::int32_t* type) override {
        enter("Scene.ItemTypeLookup");
        const ItemType* row = kzFindItemType(kzTextOf(name));
        *type = row != nullptr ? row->number : KZiITYPE_UNKNOWN;
        if (row != nullptr) return KZe_OK;
        return kzBecause(KZe_NOTFOUND, "Scene.ItemTypeLookup", [&] {
            return kzThereIsNo("item type", kzTextOf(name), kzItemTypes(), [](const auto& each) { return each.name; });
        });
    }
    KzResult sceneservice_ItemTypeName(std::int32_t type, const char** name) override {
        enter("Scene.ItemTypeName");
        *name = requireType(type).name;
        return KZe_OK;
    }
    KzResult sceneservice_ItemTypeSuper(std::int32_t type, std::int32_t* base) override {
        enter("Scene.ItemTypeSuper");
        *base = requireType(type).base;
        return KZe_OK;
    }
    bool sceneservice_ItemTypeTest(std::int32_t type, std::int32_t base) override {
        enter("Scene.ItemTypeTest");
        return kzIsItemType(type, base);
    }
    std::uint32_t sceneservice_ItemTypeCount() override {
        enter("Scene.ItemTypeCount");
        return static_cast<std::uint32_t>(kzItemTypes().size());
    }
    KzResult sceneservice_ItemTypeByIndex(std::uint32_t index, std::int32_t* type) override {
        enter("Scene.ItemTypeByIndex");
        if (index >= kzItemTypes().size()) return KZe_OUTOFBOUNDS;
        *type = kzItemTypes()[index].number;
        return KZe_OK;
    }
    KzResult sceneservice_ItemTypeTag(std::int32_t type, const char* tag, const char** value) override {
        enter("Scene.ItemTypeTag");
        const char* text = requireType(type).tag(kzTextOf(tag));
        if (text == nullptr)
            return kzBecause(KZe_NOTFOUND, "Scene.ItemTypeTag", [&] {
                return "the type " + std::string(requireType(type).name) + " has no tag \"" + kzString(tag) + "\"";
            });
        *value = lend(text);
        return KZe_OK;
    }
    KzResult sceneservice_CreateCollection(IKzUnknown** items) override {
        enter("Scene.CreateCollection");
        return CHostRef<CItemCollection>::make(m_scenes->workspace).give(items);
    }
    KzResult sceneservice_CreateMatrix(IKzUnknown** matrix) override {
        enter("Scene.CreateMatrix");
        *matrix = kzMakeMatrix(4, kzIdentity());
        return KZe_OK;
    }
    KzResult sceneservice_CreateQuaternion(IKzUnknown** rotation) override {
        enter("Scene.CreateQuaternion");
        *rotation = kzMakeQuaternion();
        return KZe_OK;
    }
    KzResult sceneservice_CreateEnvelope(std::int32_t integer, IKzUnknown** envelope) override {
        enter("Scene.CreateEnvelope");
        *envelope = kzMakeEnvelope(kzMakeEnvelopeHome(integer != 0));
        return KZe_OK;
    }
    KzResult sceneservice_CreateWalker(const char* name, IKzUnknown** walker) override {
        enter("Scene.CreateWalker");
        if (kzTextOf(name) == "Curve") *walker = kzMakeCurve({});
        else if (kzTextOf(name) == "PathStep") *walker = kzMakePathStep();
        else if (kzTextOf(name) == "GroupEnumerator") *walker = kzMakeGroupEnumerator();
        else if (kzTextOf(name) == "TransformScan") *walker = kzMakeTransformScan();
        else
            return kzBecause(KZe_NOTFOUND, "Scene.CreateWalker", [&] {
                return kzThereIsNo("walker", kzTextOf(name), {"Curve", "GroupEnumerator", "PathStep", "TransformScan"});
            });
        return KZe_OK;
    }
    KzResult sceneservice_LocatorTransform(IKzUnknown* locator, double /*time*/, KzVector3* position, KzVector3* angles,
                                           KzVector3* scale) override {
        enter("Scene.LocatorTransform");
        const auto item = located(locator);
        *position = vectorOf(*item, KZsICHAN_XFRMPOSITION_POS_X);
        *angles = vectorOf(*item, KZsICHAN_XFRMROTATION_ROT_X);
        *scale = vectorOf(*item, KZsICHAN_XFRMSCALE_SCL_X);
        return KZe_OK;
    }
    KzResult sceneservice_SetLocatorPosition(IKzUnknown* locator, const KzVector3* position, double time,
                                             const char* action) override {
        enter("Scene.SetLocatorPosition");
        return setVector(locator, KZsICHAN_XFRMPOSITION_POS_X, position, time, action);
    }
    KzResult sceneservice_SetLocatorRotation(IKzUnknown* locator, const KzVector3* angles, double time,
                                             const char* action) override {
        enter("Scene.SetLocatorRotation");
        return setVector(locator, KZsICHAN_XFRMROTATION_ROT_X, angles, time, action);
    }
    KzResult sceneservice_SetLocatorScale(IKzUnknown* locator, const KzVector3* scale, double time,
                                          const char* action) override {
        enter("Scene.SetLocatorScale");
        return setVector(locator, KZsICHAN_XFRMSCALE_SCL_X, scale, time, action);
    }

    KzResult sceneservice_Bounds(IKzUnknown* item, double /*time*/, KzBounds* box) override {
        enter("Scene.Bounds");
        const auto own = kzOwn<CItem>(item)->read();
        const auto bounds = kzBoundsOf(*own);
        if (!bounds) return KZeINFINITE_BOUND;
        *box = *bounds;
        return KZe_OK;
    }

private:
    bool isOpen(const CHostRef<CScene>& scene) const {
        const CReading reading(*m_scenes->workspace);
        return static_cast<bool>(m_scenes->find(&scene->document()));
    }
    // Changes the list of scenes, and returns the one that was the current one before.
    template <class Change> CHostRef<CScene> change(const Change& change) {
        CEdit edit(*m_scenes->workspace);
        const auto before = m_scenes->current();
        change(m_scenes->list);
        if (m_scenes->current().object() != before.object()) m_scenes->workspace->selection().sceneChanged(edit);
        edit.commit();
        return before;
    }
    // Tells of the current scene if it is another one now.
    void tellCurrent(const CHostRef<CScene>& previous, bool isClosed = false) {
        CHostRef<CScene> current;
        {
            const CReading reading(*m_scenes->workspace);
            current = m_scenes->current();
        }
        if (current.object() == previous.object() && !isClosed) return;
        kzTellSceneListeners(*m_scenes,
                             [&](IKzSceneItemListener& each) { each.SceneCurrent(current.raw(), previous.raw()); });
    }
    static const ItemType& requireType(std::int32_t type) {
        const ItemType* row = kzFindItemType(type);
        if (row == nullptr) throw KZe_NOTFOUND;
        return *row;
    }
    static CItemReading located(IKzUnknown* locator) {
        auto item = kzOwn<CItem>(locator)->read();
        if (item->findChannel(KZsICHAN_LOCATOR_WORLDMATRIX) < 0) throw KZe_INVALIDARG;
        return item;
    }
    static KzVector3 vectorOf(const Item& item, const char* firstChannel) {
        const std::int32_t first = kzChannelIndex(item, firstChannel);
        KzVector3 vector{};
        for (std::int32_t i = 0; i < 3; ++i)
            vector.v[i] = kzNumberOf(item.valueOf(kzChannelAt(item, first + i))).value_or(0);
        return vector;
    }
    static KzResult setVector(IKzUnknown* locator, const char* firstChannel, const KzVector3* value, double time,
                              const char* action) {
        const auto item = located(locator);
        CKzUser_ChannelWrite write;
        CKzLoc_Unknown access;
        if (const KzResult code = kzObjectOf(item->document)->scene_WriteChannels(action, time, access.out());
            kzFailed(code))
            return code;
        write.set(access.raw());
        return write.Vector(locator, kzChannelIndex(*item, firstChannel), value);
    }

    std::shared_ptr<OpenScenes> m_scenes;
};

}  // namespace

decltype(kzMakeSceneService) kzMakeSceneService = kzMakeService<CSceneService>;

}  // namespace kzhost
