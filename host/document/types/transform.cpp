// Transforms as items of their own, and constraints.
#include "host/document/types/type_tables.h"

#include "kz/item.h"
#include "kz/transform.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow transform[] = {
    toggle(KZsICHAN_XFRM_ENABLE, true),
    object(KZsICHAN_XFRM_MATRIX, KZsCHANEVAL_MATRIX),
};
constexpr ChannelRow scale[] = {
    number(KZsICHAN_XFRMSCALE_SCL_X, 1),
    number(KZsICHAN_XFRMSCALE_SCL_Y, 1),
    number(KZsICHAN_XFRMSCALE_SCL_Z, 1),
    toggle(KZsICHAN_XFRMSCALE_INHERIT, true),
};
constexpr ChannelRow rotation[] = {
    radians(KZsICHAN_XFRMROTATION_ROT_X),
    radians(KZsICHAN_XFRMROTATION_ROT_Y),
    radians(KZsICHAN_XFRMROTATION_ROT_Z),
    choice(KZsICHAN_XFRMROTATION_ORDER, "xyz xzy yxz yzx zxy zyx", KZiROTORDER_ZXY),
};
constexpr ChannelRow position[] = {
    metres(KZsICHAN_XFRMPOSITION_POS_X),
    metres(KZsICHAN_XFRMPOSITION_POS_Y),
    metres(KZsICHAN_XFRMPOSITION_POS_Z),
};
constexpr ChannelRow shear[] = {
    number(KZsICHAN_XFRMSHEAR_XY).unit("m/m"),
    number(KZsICHAN_XFRMSHEAR_XZ).unit("m/m"),
    number(KZsICHAN_XFRMSHEAR_YZ).unit("m/m"),
};
// In place of the computed one.
constexpr ChannelRow anyMatrix[] = {matrix(KZsICHAN_XFRM_MATRIX)};
constexpr ChannelRow constraint[] = {
    toggle(KZsICHAN_CONSTRAINT_ENABLE, true), percent(KZsICHAN_CONSTRAINT_BLEND, 1),
    toggle(KZsICHAN_CONSTRAINT_COMPENSATE),   number(KZsICHAN_CONSTRAINT_OFFSET_X),
    number(KZsICHAN_CONSTRAINT_OFFSET_Y),     number(KZsICHAN_CONSTRAINT_OFFSET_Z),
    toggle(KZsICHAN_CONSTRAINT_AXISX, true),  toggle(KZsICHAN_CONSTRAINT_AXISY, true),
    toggle(KZsICHAN_CONSTRAINT_AXISZ, true),  choice(KZsICHAN_CONSTRAINT_SPACE, "world parent local"),
};
constexpr ChannelRow direction[] = {
    choice(KZsICHAN_CONSDIRECTION_AIM, "x y z -x -y -z", 2),
    choice(KZsICHAN_CONSDIRECTION_UP, "x y z -x -y -z", 1),
    radians(KZsICHAN_CONSDIRECTION_ROLL),
};
constexpr ChannelRow path[] = {
    percent(KZsICHAN_CONSPATH_PERCENT),
    toggle(KZsICHAN_CONSPATH_ORIENT, true),
    radians(KZsICHAN_CONSPATH_BANK),
};
constexpr ChannelRow surface[] = {
    toggle(KZsICHAN_CONSSURFACE_NORMAL, true),
    choice(KZsICHAN_CONSSURFACE_PROJECT, "nearest normal x y z"),
};
constexpr ChannelRow distance[] = {
    metres(KZsICHAN_CONSDISTANCE_MINIMUM).from(0),
    metres(KZsICHAN_CONSDISTANCE_MAXIMUM, 1).from(0),
};
constexpr TypeRow types[] = {
    {KZsITYPE_TRANSFORM, KZsITYPE_ANY, "Transform", {transform}, true},
    {KZsITYPE_XFRMSCALE, KZsITYPE_TRANSFORM, "Scale", {scale}},
    {KZsITYPE_XFRMROTATION, KZsITYPE_TRANSFORM, "Rotation", {rotation}},
    {KZsITYPE_XFRMPOSITION, KZsITYPE_TRANSFORM, "Position", {position}},
    {KZsITYPE_XFRMPIVOT, KZsITYPE_XFRMPOSITION, "Pivot"},
    {KZsITYPE_XFRMSHEAR, KZsITYPE_TRANSFORM, "Shear", {shear}},
    {KZsITYPE_XFRMMATRIX, KZsITYPE_TRANSFORM, "Matrix", {anyMatrix}},
    {KZsITYPE_CONSPOSITION, KZsITYPE_ITEMMODIFY, "Position Constraint", {constraint}},
    {KZsITYPE_CONSROTATION, KZsITYPE_ITEMMODIFY, "Rotation Constraint", {constraint}},
    {KZsITYPE_CONSSCALE, KZsITYPE_ITEMMODIFY, "Scale Constraint", {constraint}},
    {KZsITYPE_CONSDIRECTION, KZsITYPE_ITEMMODIFY, "Direction Constraint", {constraint, direction}},
    {KZsITYPE_CONSPATH, KZsITYPE_ITEMMODIFY, "Path Constraint", {constraint, path}},
    {KZsITYPE_CONSSURFACE, KZsITYPE_ITEMMODIFY, "Surface Constraint", {constraint, surface}},
    {KZsITYPE_CONSDISTANCE, KZsITYPE_ITEMMODIFY, "Distance Constraint", {constraint, distance}},
};

}  // namespace

const TypeTable transformTypes{"transform", types};

}  // namespace kzhost::rows
