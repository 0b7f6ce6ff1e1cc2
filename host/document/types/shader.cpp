// The shader tree: groups and materials.
#include "host/document/types/type_tables.h"

#include "kz/item.h"
#include "kz/material.h"
#include "kz/texture.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow tree[] = {
    toggle(KZsICHAN_LAYER_ENABLE, true),
    toggle(KZsICHAN_LAYER_INVERT),
    choice(
        KZsICHAN_LAYER_BLEND,
        "normal add subtract difference multiply divide screen overlay softlight hardlight darken lighten dodge burn"),
    percent(KZsICHAN_LAYER_OPACITY, 1),
    text(KZsICHAN_LAYER_EFFECT, KZs_FX_DIFFCOLOR),
    itemReference(KZsICHAN_LAYER_LOCATOR),
};
constexpr ChannelRow mask[] = {
    choice(KZsICHAN_SHADERMASK_TAGTYPE, "MATR=material PART=part PICK=selection FURR=fur", KZi_TAGTYPE_MATERIAL),
    text(KZsICHAN_SHADERMASK_TAG),
    itemReference(KZsICHAN_SHADERMASK_ITEM),
    toggle(KZsICHAN_SHADERMASK_ADDLAYER),
    toggle(KZsICHAN_SHADERMASK_INSTANCES, true),
};
constexpr ChannelRow material[] = {
    grey(KZsICHAN_MATERIAL_DIFFCOLOR, 0.6),
    percent(KZsICHAN_MATERIAL_DIFFAMOUNT, 0.8),
    percent(KZsICHAN_MATERIAL_DIFFROUGH),
    toggle(KZsICHAN_MATERIAL_CONSERVE, true),
    grey(KZsICHAN_MATERIAL_SPECCOLOR, 1),
    percent(KZsICHAN_MATERIAL_SPECAMOUNT, 0.04),
    percent(KZsICHAN_MATERIAL_SPECFRESNEL, 1),
    percent(KZsICHAN_MATERIAL_ROUGHNESS, 0.4),
    number(KZsICHAN_MATERIAL_ANISOTROPY).in(-1, 1),
    percent(KZsICHAN_MATERIAL_ANISOROTATION),
    grey(KZsICHAN_MATERIAL_REFLCOLOR, 1),
    percent(KZsICHAN_MATERIAL_REFLAMOUNT),
    percent(KZsICHAN_MATERIAL_REFLFRESNEL),
    toggle(KZsICHAN_MATERIAL_REFLBLUR),
    integer(KZsICHAN_MATERIAL_REFLRAYS, 64).from(1),
    percent(KZsICHAN_MATERIAL_COATAMOUNT),
    percent(KZsICHAN_MATERIAL_COATROUGH),
    percent(KZsICHAN_MATERIAL_COATBUMP, 1),
    percent(KZsICHAN_MATERIAL_BUMP, 1),
    metres(KZsICHAN_MATERIAL_BUMPAMP, 0.005),
    metres(KZsICHAN_MATERIAL_DISPLACE, 0.02),
    percent(KZsICHAN_MATERIAL_SMOOTHING, 1),
    radians(KZsICHAN_MATERIAL_SMOOTHANGLE, 0.7).from(0),
    toggle(KZsICHAN_MATERIAL_DOUBLESIDED),
    grey(KZsICHAN_MATERIAL_TRANCOLOR, 1),
    percent(KZsICHAN_MATERIAL_TRANAMOUNT),
    metres(KZsICHAN_MATERIAL_ABSORBDIST).from(0),
    number(KZsICHAN_MATERIAL_REFINDEX, 1.5).from(0),
    number(KZsICHAN_MATERIAL_DISPERSION).from(0),
    percent(KZsICHAN_MATERIAL_REFRROUGH),
    percent(KZsICHAN_MATERIAL_DISSOLVE),
    color(KZsICHAN_MATERIAL_SUBSCOLOR, 0.8, 0.5, 0.4),
    percent(KZsICHAN_MATERIAL_SUBSAMOUNT),
    metres(KZsICHAN_MATERIAL_SUBSDEPTH, 0.005).from(0),
    number(KZsICHAN_MATERIAL_SUBSPHASE).in(-1, 1),
    grey(KZsICHAN_MATERIAL_LUMICOLOR, 1),
    number(KZsICHAN_MATERIAL_RADIANCE).from(0).unit("W/m2 sr"),
    grey(KZsICHAN_MATERIAL_EXITCOLOR, 0),
};
constexpr ChannelRow hair[] = {
    color(KZsICHAN_HAIRMATERIAL_ROOTCOLOR, 0.15, 0.08, 0.04),
    color(KZsICHAN_HAIRMATERIAL_TIPCOLOR, 0.35, 0.2, 0.1),
    radians(KZsICHAN_HAIRMATERIAL_SHIFT, 0.05),
    radians(KZsICHAN_HAIRMATERIAL_WIDTH, 0.15).from(0),
    percent(KZsICHAN_HAIRMATERIAL_RANDOM, 0.1),
};
constexpr ChannelRow volume[] = {
    number(KZsICHAN_VOLUMEMATERIAL_DENSITY, 1).from(0).unit("1/m"),
    grey(KZsICHAN_VOLUMEMATERIAL_SCATTER, 0.8),
    grey(KZsICHAN_VOLUMEMATERIAL_ABSORB, 0.2),
    grey(KZsICHAN_VOLUMEMATERIAL_EMIT, 0),
    metres(KZsICHAN_VOLUMEMATERIAL_STEP, 0.1).from(1e-6),
};
constexpr TypeRow types[] = {
    {KZsITYPE_SHADERTREE, KZsITYPE_ANY, "Shader Tree", {}, true},
    {KZsITYPE_SHADERMASK, KZsITYPE_ANY, "Shader Group", {tree, mask}},
    {KZsITYPE_MATERIAL, KZsITYPE_ANY, "Material", {tree, material}},
    {KZsITYPE_SKINMATERIAL, KZsITYPE_MATERIAL, "Skin Material"},
    {KZsITYPE_TOONMATERIAL, KZsITYPE_MATERIAL, "Toon Material"},
    {KZsITYPE_HAIRMATERIAL, KZsITYPE_ANY, "Hair Material", {tree, hair}},
    {KZsITYPE_VOLUMEMATERIAL, KZsITYPE_ANY, "Volume Material", {tree, volume}},
    {KZsITYPE_SHADEREFFECT, KZsITYPE_ANY, "Shader Effect", {tree}},
    {KZsITYPE_TEXTURELAYER, KZsITYPE_ANY, "Texture", {tree}, true},
};

}  // namespace

const TypeTable shaderTypes{"shader", types};

}  // namespace kzhost::rows
