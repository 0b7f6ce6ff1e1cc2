// The vertex feature service.
#include "host/services/vertex_feature_service.h"

#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/state/text.h"

#include "kz/mesh_map.h"
#include "kz/tableau.h"
#include "kz/triangle.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kzhost {

namespace {

struct Feature {
    std::int32_t code;
    const char* name;
    const char* userName;
    std::uint32_t dimension;
    std::uint32_t flags;
    std::int32_t mapType;  // 0 if no map gives it
};

constexpr Feature features[] = {
    {KZi_TBLX_FEATURE_POSITION, "position", "Position", 3, KZfVFEATURE_POSITION, 0},
    {KZi_TBLX_FEATURE_OBJECTPOS, "objectPosition", "Position before Deformation", 3, 0, 0},
    {KZi_TBLX_FEATURE_NORMAL, "normal", "Normal", 3, KZfVFEATURE_DIRECTION | KZfVFEATURE_COMPUTED, KZi_MAPTYPE_NORMAL},
    {KZi_TBLX_FEATURE_VELOCITY, "velocity", "Velocity", 3, KZfVFEATURE_DIRECTION, KZi_MAPTYPE_VELOCITY},
    {KZi_TBLX_FEATURE_UV, "texture", "Texture Coordinates", 2, KZfVFEATURE_NAMED, KZi_MAPTYPE_TEXTURE},
    {KZi_TBLX_FEATURE_TANGENT, "tangent", "Tangents", 6,
     KZfVFEATURE_NAMED | KZfVFEATURE_DIRECTION | KZfVFEATURE_COMPUTED, KZi_MAPTYPE_TANGENT},
    {KZi_TBLX_FEATURE_WEIGHT, "weight", "Weight", 1, KZfVFEATURE_NAMED, KZi_MAPTYPE_WEIGHT},
    {KZi_TBLX_FEATURE_COLOR, "color", "Colour", 4, KZfVFEATURE_NAMED, KZi_MAPTYPE_RGBA},
    {KZi_TBLX_FEATURE_RADIUS, "radius", "Radius", 1, 0, KZi_MAPTYPE_RADIUS},
    {KZi_TBLX_FEATURE_PARTICLE, "particle", "Particle Number", 1, 0, KZi_MAPTYPE_PARTICLE},
    {KZi_TBLX_FEATURE_EDGE, "edge", "Distances to Edges", 3, KZfVFEATURE_COMPUTED, 0},
    {KZi_TBLX_FEATURE_AGE, "age", "Particle Age", 1, 0, 0},
};

class CVertexFeatureService final
    : public CHosted<"vertex feature service", CVertexFeatureService, CKzIfc_VertexFeatureService>,
      CServiceBase {
public:
    using CServiceBase::CServiceBase;

    std::uint32_t vertexfeatureservice_Count() override {
        enter("VertexFeature.Count");
        return static_cast<std::uint32_t>(std::size(features));
    }
    KzResult vertexfeatureservice_ByIndex(std::uint32_t index, std::int32_t* feature) override {
        enter("VertexFeature.ByIndex");
        if (index >= std::size(features)) return KZe_OUTOFBOUNDS;
        *feature = features[index].code;
        return KZe_OK;
    }
    KzResult vertexfeatureservice_Lookup(const char* name, std::int32_t* feature) override {
        enter("VertexFeature.Lookup");
        for (const Feature& each : features)
            if (kzTextOf(name) == each.name) return *feature = each.code, KZe_OK;
        return kzBecause(KZe_NOTFOUND, "VertexFeature.Lookup", [&] {
            return kzThereIsNo("feature", kzTextOf(name), features, [](const Feature& each) { return each.name; });
        });
    }
    KzResult vertexfeatureservice_Name(std::int32_t feature, const char** name) override {
        enter("VertexFeature.Name");
        return give(feature, name, &Feature::name);
    }
    KzResult vertexfeatureservice_UserName(std::int32_t feature, const char** name) override {
        enter("VertexFeature.UserName");
        return give(feature, name, &Feature::userName);
    }
    std::uint32_t vertexfeatureservice_Dimension(std::int32_t feature) override {
        enter("VertexFeature.Dimension");
        const Feature* each = find(feature);
        return each != nullptr ? each->dimension : 0;
    }
    std::uint32_t vertexfeatureservice_Flags(std::int32_t feature) override {
        enter("VertexFeature.Flags");
        const Feature* each = find(feature);
        return each != nullptr ? each->flags : 0;
    }
    std::int32_t vertexfeatureservice_MapType(std::int32_t feature) override {
        enter("VertexFeature.MapType");
        const Feature* each = find(feature);
        return each != nullptr ? each->mapType : 0;
    }

private:
    static const Feature* find(std::int32_t code) {
        const auto* each = std::find_if(std::begin(features), std::end(features),
                                        [code](const Feature& feature) { return feature.code == code; });
        return each != std::end(features) ? each : nullptr;
    }
    static KzResult give(std::int32_t code, const char** text, const char* Feature::*member) {
        const Feature* each = find(code);
        if (each == nullptr) return KZe_NOTFOUND;
        *text = each->*member;
        return KZe_OK;
    }
};

}  // namespace

decltype(kzMakeVertexFeatureService) kzMakeVertexFeatureService = kzMakeService<CVertexFeatureService>;

}  // namespace kzhost
