// Operations on meshes.
#include "host/document/types/type_tables.h"

#include "kz/item.h"
#include "kz/mesh.h"
#include "kz/mesh_edit.h"
#include "kz/mesh_element.h"
#include "kz/mesh_operation.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow common[] = {
    toggle(KZsICHAN_MESHOP_ENABLE, true),
    object(KZsICHAN_MESHOP_OBJECT, KZsTYPE_MESHOP),
    choice(KZsICHAN_MESHOP_SELTYPE, "polygon edge vertex"),
    toggle(KZsICHAN_MESHOP_SELINVERT),
    toggle(KZsICHAN_MESHOP_FALLOFF),
    choice(KZsICHAN_MESHOP_SPACE, "local world parent"),
};
constexpr ChannelRow extrude[] = {
    metres(KZsICHAN_EXTRUDE_DISTANCE, 0.1),
    metres(KZsICHAN_EXTRUDE_OFFSET_X),
    metres(KZsICHAN_EXTRUDE_OFFSET_Y),
    metres(KZsICHAN_EXTRUDE_OFFSET_Z),
    integer(KZsICHAN_EXTRUDE_SEGMENTS, 1).from(1),
    toggle(KZsICHAN_EXTRUDE_GROUP, true),
};
constexpr ChannelRow bevel[] = {
    metres(KZsICHAN_BEVEL_SHIFT),
    metres(KZsICHAN_BEVEL_INSET, 0.01),
    metres(KZsICHAN_BEVEL_WIDTH, 0.01).from(0),
    integer(KZsICHAN_BEVEL_ROUNDLEVEL).from(0),
    choice(KZsICHAN_BEVEL_PROFILE, "linear round curve", KZiBEVEL_PROFILE_ROUND),
};
constexpr ChannelRow boolean[] = {
    choice(KZsICHAN_BOOLEAN_MODE, "union subtract intersect add stamp tunnel core slice", KZiSOLIDDRILL_SUBTRACT),
    itemReference(KZsICHAN_BOOLEAN_CUTTER),
    text(KZsICHAN_BOOLEAN_MATERIAL),
};
constexpr ChannelRow merge[] = {
    itemReference(KZsICHAN_MERGE_SOURCE),
    toggle(KZsICHAN_MERGE_WORLD, true),
};
constexpr ChannelRow array[] = {
    integer(KZsICHAN_MESHARRAY_COUNT_X, 2).from(1),
    integer(KZsICHAN_MESHARRAY_COUNT_Y, 1).from(1),
    integer(KZsICHAN_MESHARRAY_COUNT_Z, 1).from(1),
};
constexpr ChannelRow sweep[] = {
    itemReference(KZsICHAN_SWEEP_PROFILE),
    itemReference(KZsICHAN_SWEEP_PATH),
    integer(KZsICHAN_SWEEP_STEPS, 16).from(1),
    choice(KZsICHAN_SWEEP_CAP, "none start end both", KZiSWEEP_CAP_BOTH),
};
constexpr ChannelRow thicken[] = {
    metres(KZsICHAN_THICKEN_AMOUNT, 0.01),
    toggle(KZsICHAN_THICKEN_SIDES),
};
constexpr ChannelRow smooth[] = {
    percent(KZsICHAN_SMOOTH_STRENGTH, 0.5),
    integer(KZsICHAN_SMOOTH_ITERATIONS, 1).from(0),
    toggle(KZsICHAN_SMOOTH_LOCKBORDER),
};
constexpr ChannelRow triangulate[] = {
    choice(KZsICHAN_TRIANGULATE_METHOD, "fan strip quality", KZiTRIANGULATE_QUALITY),
    toggle(KZsICHAN_TRIANGULATE_NGONS),
};
constexpr ChannelRow reduce[] = {
    percent(KZsICHAN_REDUCE_RATIO, 0.5),
    toggle(KZsICHAN_REDUCE_KEEPBORDER, true),
};
constexpr ChannelRow assignTag[] = {
    choice(KZsICHAN_ASSIGNTAG_TYPE,
           "PSRF=surface PPRT=piece PSET=set PSMG=smoothgroup PFNT=font PSTR=string PJST=justify PGLY=glyph",
           KZi_PTAG_SURFACE),
    text(KZsICHAN_ASSIGNTAG_NAME),
};
constexpr TypeRow types[] = {
    {KZsITYPE_MESHOP, KZsITYPE_ITEMMODIFY, "Mesh Operation", {common}},
    {KZsITYPE_MESHOP_EXTRUDE, KZsITYPE_MESHOP, "Extrude", {extrude}},
    {KZsITYPE_MESHOP_BEVEL, KZsITYPE_MESHOP, "Bevel", {bevel}},
    {KZsITYPE_MESHOP_BOOLEAN, KZsITYPE_MESHOP, "Boolean", {boolean}},
    {KZsITYPE_MESHOP_MERGE, KZsITYPE_MESHOP, "Merge", {merge}},
    {KZsITYPE_MESHOP_ARRAY, KZsITYPE_MESHOP, "Array", {array}},
    {KZsITYPE_MESHOP_CURVESWEEP, KZsITYPE_MESHOP, "Sweep", {sweep}},
    {KZsITYPE_MESHOP_THICKEN, KZsITYPE_MESHOP, "Thicken", {thicken}},
    {KZsITYPE_MESHOP_SMOOTH, KZsITYPE_MESHOP, "Smooth", {smooth}},
    {KZsITYPE_MESHOP_TRIANGULATE, KZsITYPE_MESHOP, "Triangulate", {triangulate}},
    {KZsITYPE_MESHOP_REDUCE, KZsITYPE_MESHOP, "Reduce", {reduce}},
    {KZsITYPE_MESHOP_ASSIGNTAG, KZsITYPE_MESHOP, "Assign Tag", {assignTag}},
};

}  // namespace

const TypeTable meshOperationTypes{"mesh operation", types};

}  // namespace kzhost::rows
