// Services that need what a program without windows does not have. The SDK generates their operations, which all ask the
// class for its refusal.
#include "host/services/absent_services.h"

#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"

#include "kz/absent.h"
#include "kz/result.h"

namespace kzhost {

namespace {

template <KzHostName reason> class CRefusal {
public:
    static KzResult refuse(const char* place) noexcept {
        return kzBecause(KZe_NOTAVAILABLE, place, [] { return std::string(reason.text); });
    }
};

template <template <class> class Slot, KzHostName name, KzHostName reason>
class CAbsentService final : public CHosted<name, CAbsentService<Slot, name, reason>, Slot>, public CRefusal<reason> {};

// Views are numbered from 0, and -1 is none of them.
class CNoViews final : public CHosted<"view service", CNoViews, CKzAbsentIfc_View3DportService>,
                       public CRefusal<"there are no views in a program without windows"> {
public:
    std::int32_t view3dportservice_Current() override { return -1; }
    std::int32_t view3dportservice_Mouse(std::int32_t* x, std::int32_t* y) override {
        *x = *y = 0;
        return -1;
    }
};

// NOLINTNEXTLINE(performance-unnecessary-value-param): all that make services take it so
template <class Class> IKzUnknown* make(std::shared_ptr<ServiceContext> /*context*/) { return kzMakeObject<Class>(); }

template <template <class> class Slot, KzHostName name, KzHostName reason>
constexpr auto makeAbsent = make<CAbsentService<Slot, name, reason>>;

constexpr AbsentService services[] = {
    {"deformer", &KZu_DEFORMERSERVICE,
     makeAbsent<CKzAbsentIfc_DeformerService, "deformer service", "this host does not deform meshes">},
    {"imagemonitor", &KZu_IMAGEMONITORSERVICE,
     makeAbsent<CKzAbsentIfc_ImageMonitorService, "image monitor service",
                "image monitors are windows, and this host has none">},
    {"inputmap", &KZu_INPUTMAPSERVICE,
     makeAbsent<CKzAbsentIfc_InputMapService, "input map service", "keys and buttons run commands only in a window">},
    {"nodal", &KZu_NODALSERVICE,
     makeAbsent<CKzAbsentIfc_NodalService, "nodal service", "schematic pages are windows, and this host has none">},
    {"particle", &KZu_PARTICLESERVICE,
     makeAbsent<CKzAbsentIfc_ParticleService, "particle service", "this host has no particles">},
    {"preview", &KZu_PREVIEWSERVICE,
     makeAbsent<CKzAbsentIfc_PreviewService, "preview service", "this host has no renderer">},
    {"render", &KZu_RENDERSERVICE,
     makeAbsent<CKzAbsentIfc_RenderService, "render service", "this host has no renderer">},
    {"rendercache", &KZu_RENDERCACHESERVICE,
     makeAbsent<CKzAbsentIfc_RenderCacheService, "render cache service", "this host has no renderer">},
    {"shader", &KZu_SHADERSERVICE,
     makeAbsent<CKzAbsentIfc_ShaderService, "shader service", "this host has no renderer">},
    {"tableau", &KZu_TABLEAUSERVICE,
     makeAbsent<CKzAbsentIfc_TableauService, "tableau service", "this host has no renderer that would take a tableau">},
    {"valuehud", &KZu_VALUEHUDSERVICE,
     makeAbsent<CKzAbsentIfc_ValueHUDService, "value HUD service", "there are no views in a program without windows">},
    {"variation", &KZu_VARIATIONSERVICE,
     makeAbsent<CKzAbsentIfc_VariationService, "variation service", "this host draws no variations to choose from">},
    {"view3dport", &KZu_VIEW3DPORTSERVICE, make<CNoViews>},
};

}  // namespace

std::span<const AbsentService> kzAbsentServices() noexcept { return services; }

}  // namespace kzhost
