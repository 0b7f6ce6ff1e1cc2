// The scene service: makes, loads, saves, finds and closes scenes, and lists the item types.
#include "host/services/scene_service.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/document/evaluation.h"
#include "host/document/transform_values.h"
#include "host/objects/curve.h"
#include "host/objects/envelope.h"
#include "host/objects/evaluation_stack.h"
#include "host/objects/item_collection.h"
#include "host/objects/item_packages.h"
#include "host/objects/layers.h"
#include "host/objects/open_scenes.h"
#include "host/objects/scene.h"
#include "host/objects/scene_files.h"
#include "host/objects/transforms.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <utility>

namespace kzhost {

namespace {

class CSceneService final : public CHosted<"scene service", CSceneService, CKzIfc_SceneService>, CServiceBase {
public:
    CSceneService(std::shared_ptr<ServiceContext> context, std::shared_ptr<OpenScenes> scenes,
                  std::shared_ptr<CSceneFiles> files, std::shared_ptr<CPathAliases> aliases)
        : CServiceBase(std::move(context)), m_scenes(std::move(scenes)), m_files(std::move(files)),
          m_aliases(std::move(aliases)) {}

    KzResult sceneservice_Create(const char* name, IKzUnknown** scene) override {
        enter("Scene.Create");
        const auto made = kzOpenScene(*m_scenes->workspace, kzString(name));
        m_scenes->add(made);
        return made.give(scene);
    }
    KzResult sceneservice_Load(const char* path, IKzUnknown* monitor, IKzUnknown** scene) override {
        enter("Scene.Load");
        return m_files->load(m_aliases->place(path), monitor).give(scene);
    }
    KzResult sceneservice_Import(const char* path, IKzUnknown* scene, IKzUnknown* monitor) override {
        enter("Scene.Import");
        m_files->import(m_aliases->place(path), *kzOwn<CScene>(scene), monitor);
        return KZe_OK;
    }
    KzResult sceneservice_Save(IKzUnknown* scene, const char* path, const char* format) override {
        enter("Scene.Save");
        const std::string place = kzTextOf(path).empty() ? std::string() : m_aliases->place(path);
        return m_files->save(*kzOwn<CScene>(scene), place, kzString(format));
    }
    KzResult sceneservice_Close(IKzUnknown* scene) override {
        enter("Scene.Close");
        return m_scenes->close(kzOwn<CScene>(scene)) ? KZe_OK : KZe_NOTFOUND;
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
        const std::string place = m_aliases->expand(kzTextOf(path)).value_or(std::string());
        for (const auto& open : m_scenes->list)
            if (!place.empty() && open->document().filename() == place) return open.give(scene);
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
        return m_scenes->makeCurrent(kzOwn<CScene>(scene)) ? KZe_OK : KZe_NOTFOUND;
    }
    KzResult sceneservice_ItemTypeLookup(const char* name, std::int32_t* type) override {
        enter("Scene.ItemTypeLookup");
        const ItemType* row = kzFindItemType(kzTextOf(name));
        *type = row != nullptr ? row->number : KZiITYPE_UNKNOWN;
        if (row != nullptr) return KZe_OK;
        return kzBecause(KZe_NOTFOUND, "Scene.ItemTypeLookup", [&] {
            return kzThereIsNo("item type", kzTextOf(name), kzItemTypes(),
                               [](const ItemType& each) { return each.name; });
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
        return static_cast<std::uint32_t>(kzItemTypeTable().size());
    }
    KzResult sceneservice_ItemTypeByIndex(std::uint32_t index, std::int32_t* type) override {
        enter("Scene.ItemTypeByIndex");
        if (index >= kzItemTypeTable().size()) return KZe_OUTOFBOUNDS;
        *type = static_cast<std::int32_t>(index) + 1;
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
        struct Row {
            const char* name;
            IKzUnknown* (*make)();
        };
        static constexpr Row rows[] = {{"Curve", [] { return kzMakeCurve({}); }},
                                       {"EvaluationStack", kzMakeEvaluationStack},
                                       {"GroupEnumerator", kzMakeGroupEnumerator},
                                       {"PathStep", kzMakePathStep},
                                       {"TransformScan", kzMakeTransformScan}};
        const auto row = std::ranges::find_if(rows, [&](const Row& each) { return kzTextOf(name) == each.name; });
        if (row == std::end(rows))
            return kzBecause(KZe_NOTFOUND, "Scene.CreateWalker", [&] {
                return kzThereIsNo("walker", kzTextOf(name), rows, [](const Row& each) { return each.name; });
            });
        *walker = row->make();
        return KZe_OK;
    }
    KzResult sceneservice_LocatorTransform(IKzUnknown* locator, double time, KzVector3* position, KzVector3* angles,
                                           KzVector3* scale) override {
        enter("Scene.LocatorTransform");
        if (!std::isfinite(time)) return KZe_INVALIDARG;
        std::vector<ChannelRef> channels;
        CEvaluation* evaluation = nullptr;
        {
            const auto item = located(locator);
            evaluation = &kzEvaluationOf(item->document);
            for (const char* name :
                 {KZsICHAN_XFRMPOSITION_POS_X, KZsICHAN_XFRMROTATION_ROT_X, KZsICHAN_XFRMSCALE_SCL_X})
                for (std::int32_t i = 0, first = kzChannelIndex(*item, name); i < 3; ++i)
                    channels.push_back(kzChannelRef(*item, kzChannelAt(*item, first + i)));
        }
        const auto values = evaluation->read(channels, time);  // all of one moment
        for (std::size_t i = 0; i < values.size(); ++i) {
            KzVector3& vector = *std::array{position, angles, scale}[i / 3];
            vector.v[i % 3] = kzNumberOf(values[i]).value_or(0);
        }
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

    KzResult sceneservice_ItemTypeTag(std::int32_t type, const char* tag, const char** value) override {
        enter("Scene.ItemTypeTag");
        const ItemType& row = requireType(type);
        *value = row.tag(kzTextOf(tag));
        if (*value != nullptr) return KZe_OK;
        return kzBecause(KZe_NOTFOUND, "Scene.ItemTypeTag", [&] {
            return kzThereIsNo("tag", kzTextOf(tag), row.declaration().tags,
                               [](const auto& each) { return each.first; });
        });
    }
    KzResult sceneservice_ItemTypePackage(std::int32_t type, IKzUnknown** package) override {
        enter("Scene.ItemTypePackage");
        const auto found = kzItemPackages(*m_scenes->workspace)->types().find(requireType(type).name);
        if (found == nullptr || found->type->number != type) return KZe_NOTFOUND;
        *package = found->object.raw();
        (*package)->AddRef();
        return KZe_OK;
    }
    KzResult sceneservice_Bounds(IKzUnknown* item, double time, KzBounds* box) override {
        enter("Scene.Bounds");
        const auto own = kzOwn<CItem>(item);
        const auto inverse = kzInverse(kzWorldMatrix(*own, time));
        if (!inverse)
            return kzBecause(KZe_NOTAVAILABLE, "Scene.Bounds",
                             [&] { return "\"" + own->read()->uniqueName + "\" has a scale of 0"; });
        const auto bounds = kzBoundsOf(kzLayersBelow(*own->read()), *inverse, false, time);
        if (!bounds) return KZeINFINITE_BOUND;
        *box = *bounds;
        return KZe_OK;
    }

private:
    void enter(const char* operation) {
        CServiceBase::enter(operation);
        kzUpdateItemTypes(*m_scenes->workspace);
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
    std::shared_ptr<CSceneFiles> m_files;
    std::shared_ptr<CPathAliases> m_aliases;
};

}  // namespace

decltype(kzMakeSceneService) kzMakeSceneService = kzMakeService<CSceneService>;

}  // namespace kzhost
