// Deformers, joints and falloffs.
#include "host/document/types/type_tables.h"

#include "kz/deform.h"
#include "kz/deform_item.h"
#include "kz/falloff.h"
#include "kz/item.h"
#include "kz/mesh_map.h"
#include "kz/point_cache.h"

#include <numbers>

namespace kzhost::rows {

namespace {

constexpr ChannelRow common[] = {
    toggle(KZsICHAN_DEFORM_ENABLE, true),
    percent(KZsICHAN_DEFORM_STRENGTH, 1),
    choice(KZsICHAN_DEFORM_TYPE, "all map selection material part"),
    choice(KZsICHAN_DEFORM_MAPTYPE,
           "WGHT=weight TXUV=texture SDVW=subdiv MRPH=morph MSPT=spot CRGB=rgb CRGA=rgba NRML=normal TGNT=tangent "
           "EDGC=crease PICK=pick EPCK=edgepick VELO=velocity PRTV=particle RADI=radius HIDE=hide CUST=custom",
           KZi_MAPTYPE_WEIGHT),
    text(KZsICHAN_DEFORM_MAPNAME),
    choice(KZsICHAN_DEFORM_ORDER, "morph bind postbind world dynamics", KZiDEFORM_ORDER_WORLD),
    object(KZsICHAN_DEFORM_INFLUENCE, KZsCHANEVAL_MODIFIER),
    toggle(KZsICHAN_DEFORM_INVERT),
};
constexpr ChannelRow bend[] = {
    radians(KZsICHAN_BEND_ANGLE, std::numbers::pi / 2),
    choice(KZsICHAN_BEND_AXIS, "x y z", 1),
    metres(KZsICHAN_BEND_LENGTH, 1).from(0),
};
constexpr ChannelRow twist[] = {
    radians(KZsICHAN_TWIST_ANGLE, std::numbers::pi / 2),
    choice(KZsICHAN_TWIST_AXIS, "x y z", 1),
};
constexpr ChannelRow magnet[] = {
    metres(KZsICHAN_MAGNET_RADIUS, 0.5).from(0),
    percent(KZsICHAN_MAGNET_EASE, 1),
};
constexpr ChannelRow lattice[] = {
    integer(KZsICHAN_LATTICE_DIVISIONS_X, 2).from(1),
    integer(KZsICHAN_LATTICE_DIVISIONS_Y, 2).from(1),
    integer(KZsICHAN_LATTICE_DIVISIONS_Z, 2).from(1),
    percent(KZsICHAN_LATTICE_INTERPOLATE, 1),
    choice(KZsICHAN_LATTICE_OUTSIDE, "ignore extend clamp", KZiLATTICE_OUTSIDE_EXTEND),
};
constexpr ChannelRow spline[] = {
    itemReference(KZsICHAN_SPLINEDEFORM_CURVE), percent(KZsICHAN_SPLINEDEFORM_START),
    percent(KZsICHAN_SPLINEDEFORM_END, 1),      percent(KZsICHAN_SPLINEDEFORM_STRETCH, 1),
    radians(KZsICHAN_SPLINEDEFORM_ROLL),
};
constexpr ChannelRow morph[] = {
    number(KZsICHAN_MORPH_AMOUNT, 1),
    text(KZsICHAN_MORPH_MAP),
};
constexpr ChannelRow softLag[] = {
    number(KZsICHAN_SOFTLAG_SPRING, 50).from(0),
    number(KZsICHAN_SOFTLAG_DAMPING, 5).from(0),
    number(KZsICHAN_SOFTLAG_GRAVITY).unit("m/s2"),
};
constexpr ChannelRow wrap[] = {
    itemReference(KZsICHAN_WRAP_CAGE),
    metres(KZsICHAN_WRAP_DISTANCE, 0.1).from(0),
    seconds(KZsICHAN_WRAP_BIND),
};
constexpr ChannelRow displace[] = {
    itemReference(KZsICHAN_LAGRANGE_TEXTURE),
    metres(KZsICHAN_LAGRANGE_AMOUNT, 0.1),
    number(KZsICHAN_LAGRANGE_MIDDLE),
};
constexpr ChannelRow joint[] = {
    metres(KZsICHAN_JOINT_LENGTH, 0.25).from(0),
    metres(KZsICHAN_JOINT_RADIUS, 0.02).from(0),
};
constexpr ChannelRow skin[] = {choice(KZsICHAN_SKIN_METHOD, "linear dualquaternion blended")};
constexpr ChannelRow falloff[] = {
    percent(KZsICHAN_FALLOFF_STRENGTH, 1),
    choice(KZsICHAN_FALLOFF_MIX, "multiply add subtract maximum minimum replace"),
    choice(KZsICHAN_FALLOFF_SHAPE, "linear easein easeout smooth custom"),
    percent(KZsICHAN_FALLOFF_IN),
    percent(KZsICHAN_FALLOFF_OUT),
    toggle(KZsICHAN_FALLOFF_INVERT),
};
constexpr ChannelRow falloffSize[] = {
    metres(KZsICHAN_FALLOFF_SIZE_X, 1).from(0),
    metres(KZsICHAN_FALLOFF_SIZE_Y, 1).from(0),
    metres(KZsICHAN_FALLOFF_SIZE_Z, 1).from(0),
};
constexpr ChannelRow falloffAxis[] = {choice(KZsICHAN_FALLOFF_AXIS, "x y z", 1)};
constexpr ChannelRow falloffRadius[] = {metres(KZsICHAN_FALLOFF_RADIUS, 1).from(0)};
constexpr ChannelRow falloffMap[] = {text(KZsICHAN_FALLOFF_MAP)};
constexpr TypeRow deformers[] = {
    {KZsITYPE_DEFORM, KZsITYPE_LOCATORSUPER, "Deformer", {common}, true},
    {KZsITYPE_DEFORMGROUP, KZsITYPE_DEFORM, "Deformer Group"},
    {KZsITYPE_GENINFLUENCE, KZsITYPE_DEFORM, "Influence"},
    {KZsITYPE_SOFTLAG, KZsITYPE_DEFORM, "Soft Lag", {softLag}},
    {KZsITYPE_MORPHDEFORM, KZsITYPE_DEFORM, "Morph", {morph}},
    {KZsITYPE_BEND, KZsITYPE_DEFORM, "Bend", {bend}},
    {KZsITYPE_TWIST, KZsITYPE_DEFORM, "Twist", {twist}},
    {KZsITYPE_MAGNET, KZsITYPE_DEFORM, "Magnet", {magnet}},
    {KZsITYPE_LATTICE, KZsITYPE_DEFORM, "Lattice", {lattice}},
    {KZsITYPE_SPLINEDEFORM, KZsITYPE_DEFORM, "Spline Deformer", {spline}},
    {KZsITYPE_WRAP, KZsITYPE_DEFORM, "Wrap", {wrap}},
    {KZsITYPE_LAGRANGE, KZsITYPE_DEFORM, "Displace", {displace}},
    {KZsITYPE_SKIN, KZsITYPE_DEFORM, "Skin", {skin}},
    {KZsITYPE_POINTCACHEDEFORM, KZsITYPE_DEFORM, "Point Cache Deformer"},
    {KZsITYPE_JOINT, KZsITYPE_LOCATORSUPER, "Joint", {joint}},
};
constexpr TypeRow falloffs[] = {
    {KZsITYPE_FALLOFF, KZsITYPE_LOCATORSUPER, "Falloff", {falloff}, true},
    {KZsITYPE_FALLOFF_LINEAR, KZsITYPE_FALLOFF, "Linear Falloff", {falloffSize, falloffAxis}},
    {KZsITYPE_FALLOFF_RADIAL, KZsITYPE_FALLOFF, "Radial Falloff", {falloffSize, falloffRadius}},
    {KZsITYPE_FALLOFF_MAP, KZsITYPE_FALLOFF, "Map Falloff", {falloffMap}},
};

}  // namespace

const TypeTable deformerTypes{"deformer", deformers};
const TypeTable falloffTypes{"falloff", falloffs};

}  // namespace kzhost::rows
