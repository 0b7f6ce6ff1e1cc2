// The layer service: which meshes of the current scene are worked on.
#include "host/services/layer_service.h"

#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/document/transform_values.h"
#include "host/objects/layers.h"
#include "host/objects/open_scenes.h"

#include "kz/result.h"
#include "kz/scene.h"
#include "kz/selection.h"

#include <algorithm>
#include <utility>

namespace kzhost {

namespace {

constexpr auto active = static_cast<std::uint32_t>(KZf_LAYER_ACTIVE);

class CLayerService final : public CHosted<"layer service", CLayerService, CKzIfc_LayerService>, CServiceBase {
public:
    CLayerService(std::shared_ptr<ServiceContext> context, std::shared_ptr<OpenScenes> scenes)
        : CServiceBase(std::move(context)), m_scenes(std::move(scenes)) {}

    std::uint32_t layerservice_Count() override {
        enter("Layer.Count");
        const CReading reading(workspace());
        return static_cast<std::uint32_t>(layers().size());
    }
    KzResult layerservice_ByIndex(std::uint32_t index, IKzUnknown** item) override {
        enter("Layer.ByIndex");
        const CReading reading(workspace());
        return index < layers().size() ? kzGiveItem(layers()[index], item) : KZe_OUTOFBOUNDS;
    }
    std::uint32_t layerservice_State(IKzUnknown* item) override {
        enter("Layer.State");
        return kzLayerState(*layer(item));
    }
    KzResult layerservice_SetState(IKzUnknown* item, std::uint32_t mask, std::uint32_t state) override {
        enter("Layer.SetState");
        CEdit edit(workspace());
        const auto own = layer(item);
        if ((mask & ~static_cast<std::uint32_t>(KZm_LAYER_STATE)) != 0) return KZe_INVALIDARG;
        kzSetLayerState(*own, mask, state, edit);
        edit.commit();
        return KZe_OK;
    }
    KzResult layerservice_Main(IKzUnknown** item) override {
        enter("Layer.Main");
        const CReading reading(workspace());
        const auto scene = m_scenes->current();
        return scene ? kzGiveItem(kzMainLayer(scene->document()), item) : KZe_NOTFOUND;
    }
    KzResult layerservice_SetMain(IKzUnknown* item) override {
        enter("Layer.SetMain");
        CEdit edit(workspace());
        const auto main = static_cast<std::uint32_t>(KZf_LAYER_MAIN);
        kzSetLayerState(*layer(item), main, main, edit);
        edit.commit();
        return KZe_OK;
    }
    KzResult layerservice_Scan(std::uint32_t flags, IKzUnknown** scan) override {
        enter("Layer.Scan");
        const CReading reading(workspace());
        const std::uint32_t states = flags & static_cast<std::uint32_t>(KZm_LAYER_STATE);
        std::vector<Item*> scanned = layers();
        std::erase_if(scanned, [&](const Item* each) { return (kzLayerState(*each) & states) != states; });
        *scan = kzMakeLayerScan(m_scenes->workspace, scanned, flags, m_scenes->currentTime());
        return KZe_OK;
    }
    KzResult layerservice_ScanItem(IKzUnknown* item, std::uint32_t flags, IKzUnknown** scan) override {
        enter("Layer.ScanItem");
        const auto own = layer(item);
        *scan = kzMakeLayerScan(m_scenes->workspace, {&*own}, flags, m_scenes->currentTime());
        return KZe_OK;
    }
    KzResult layerservice_Scene(IKzUnknown** scene) override {
        enter("Layer.Scene");
        const CReading reading(workspace());
        return m_scenes->list.empty() ? KZe_NOTFOUND : m_scenes->current().give(scene);
    }
    KzResult layerservice_Center(const KzVector3* fallback, KzVector3* center) override {
        enter("Layer.Center");
        const KzVector3 otherwise = kzNotNull(fallback);
        const auto box = bounds(false);
        *center = box ? (box->min + box->max) * 0.5 : otherwise;
        return KZe_OK;
    }
    KzResult layerservice_SelectionBounds(std::int32_t selectedOnly, KzBounds* box) override {
        enter("Layer.SelectionBounds");
        const auto found = bounds(selectedOnly != 0);
        if (!found) return KZeINFINITE_BOUND;
        *box = *found;
        return KZe_OK;
    }
    KzResult layerservice_WorldToLayer(IKzUnknown* item, const KzVector3* world, KzVector3* local) override {
        enter("Layer.WorldToLayer");
        const KzVector3 place = kzNotNull(world);
        const auto inverse = kzInverse(matrixOf(item));
        if (!inverse)
            return kzBecause(KZe_NOTAVAILABLE, "Layer.WorldToLayer",
                             [&] { return "\"" + layer(item)->uniqueName + "\" has a scale of 0"; });
        *local = kzPlace(place, *inverse);
        return KZe_OK;
    }
    KzResult layerservice_LayerToWorld(IKzUnknown* item, const KzVector3* local, KzVector3* world) override {
        enter("Layer.LayerToWorld");
        const KzVector3 place = kzNotNull(local);
        *world = kzPlace(place, matrixOf(item));
        return KZe_OK;
    }

private:
    CWorkspace& workspace() const { return *m_scenes->workspace; }
    static CItemReading layer(IKzUnknown* item) {
        auto own = kzOwn<CItem>(item)->read();
        if (!kzIsLayer(*own))
            throw kzBecause(KZe_NOTFOUND, "Layer",
                            [&] { return "\"" + own->uniqueName + "\" is a " + own->type.name + " and no layer"; });
        return own;
    }
    // Listed anew after a change of the current scene.
    const std::vector<Item*>& layers() {
        const auto scene = m_scenes->current();
        const CDocument* document = scene ? &scene->document() : nullptr;
        const std::uint64_t stamp = document != nullptr ? document->stamp() : 0;
        if (scene.object() != m_listed.object() || stamp != m_stamp)
            m_layers = document != nullptr ? kzLayersOf(*document) : std::vector<Item*>();
        m_listed = scene;
        m_stamp = stamp;
        return m_layers;
    }
    std::optional<KzBounds> bounds(bool selectedOnly) {
        std::vector<CHostRef<CItem>> chosen;
        double time = 0;
        {
            const CReading reading(workspace());
            time = m_scenes->currentTime();
            for (Item* each : layers())
                if ((kzLayerState(*each) & active) != 0) chosen.push_back(kzObjectOf(*each));
        }
        return kzBoundsOf(chosen, kzIdentity(), selectedOnly, time);
    }
    KzMatrix4 matrixOf(IKzUnknown* item) const {
        double time = 0;
        {
            const auto own = layer(item);
            time = m_scenes->currentTime();
        }
        return kzWorldMatrix(*kzOwn<CItem>(item), time);
    }

    const std::shared_ptr<OpenScenes> m_scenes;
    CHostRef<CScene> m_listed;  // whose layers these are, as they were then
    std::uint64_t m_stamp = 0;
    std::vector<Item*> m_layers;
};

}  // namespace

decltype(kzMakeLayerService) kzMakeLayerService = kzMakeService<CLayerService>;

}  // namespace kzhost
