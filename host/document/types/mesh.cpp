// Meshes and other surfaces, curves and drawings.
#include "host/document/types/type_tables.h"

#include "kz/envelope.h"
#include "kz/item.h"
#include "kz/mesh.h"
#include "kz/surface.h"
#include "kz/vector_graphics.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow mesh[] = {
    object(KZsICHAN_MESH_MESH, KZsTYPE_MESH),
    toggle(KZsICHAN_MESH_SMOOTHING, true),
    radians(KZsICHAN_MESH_SMOOTHANGLE, 0.7).from(0),
    radians(KZsICHAN_MESH_CURVEREFINE, 0.17).from(0.001),
    metres(KZsICHAN_MESH_CURVERADIUS).from(0),
    toggle(KZsICHAN_MESH_CURVEFILL, true),
    integer(KZsICHAN_MESH_LEVELVIEW, 2).in(0, 16),
    integer(KZsICHAN_MESH_LEVELRENDER, 3).in(0, 16),
    choice(KZsICHAN_MESH_SUBDIVBOUNDARY, "smooth corner sharp", KZiSUBDIVBOUND_CORNER),
    toggle(KZsICHAN_MESH_SUBDIVADAPTIVE),
    number(KZsICHAN_MESH_SUBDIVRATE, 4).from(0.1).unit("px"),
    toggle(KZsICHAN_MESH_USECREASES, true),
    toggle(KZsICHAN_MESH_DRAWPOINTS),
    number(KZsICHAN_MESH_POINTRADIUS, 2).from(0).unit("px"),
};
constexpr ChannelRow staticMesh[] = {file(KZsICHAN_STATICMESH_FILE)};
constexpr ChannelRow proxyMesh[] = {
    file(KZsICHAN_PROXYMESH_FILE),
    integer(KZsICHAN_PROXYMESH_PREVIEW, 10000).from(0),
};
constexpr ChannelRow displacement[] = {
    toggle(KZsICHAN_DISPLACE_ENABLE, true),
    metres(KZsICHAN_DISPLACE_DISTANCE, 0.02),
    number(KZsICHAN_DISPLACE_RATE, 1).from(0.1).unit("px"),
};
constexpr ChannelRow blob[] = {
    itemReference(KZsICHAN_BLOB_SOURCE),
    metres(KZsICHAN_BLOB_RADIUS, 0.1).from(0),
    percent(KZsICHAN_BLOB_THRESHOLD, 0.5),
    radians(KZsICHAN_BLOB_SMOOTH, 0.7).from(0),
};
constexpr ChannelRow implicit[] = {
    choice(KZsICHAN_IMPLICIT_SHAPE, "sphere box capsule cylinder plane torus"),
    metres(KZsICHAN_IMPLICIT_SIZE, 1).from(0),
};
constexpr ChannelRow curve[] = {
    integer(KZsICHAN_CURVE_DEGREE, 3).in(1, 7),
    toggle(KZsICHAN_CURVE_CLOSED),
    percent(KZsICHAN_CURVE_START),
    percent(KZsICHAN_CURVE_END, 1),
    integer(KZsICHAN_CURVE_STEPS, 16).from(1),
    number(KZsICHAN_CURVE_TENSION),
    number(KZsICHAN_CURVE_UPVECTOR).xyz(0, 1, 0),
    metres(KZsICHAN_CURVE_WIDTH).from(0),
};
constexpr ChannelRow curveGroup[] = {
    object(KZsICHAN_CURVEGROUP_OUTPUT, KZsCHANEVAL_PATH),
    object(KZsICHAN_CURVEGROUP_MATRIX, KZsCHANEVAL_MATRIX),
    integer(KZsICHAN_CURVEGROUP_ORDER),
};
constexpr ChannelRow canvas[] = {
    file(KZsICHAN_CANVAS_FILE),
    metres(KZsICHAN_CANVAS_WIDTH, 1).from(0),
    metres(KZsICHAN_CANVAS_HEIGHT, 1).from(0),
    grey(KZsICHAN_CANVAS_BACKGROUND, 1),
};
constexpr TypeRow meshes[] = {
    {KZsITYPE_MESH, KZsITYPE_LOCATORSUPER, "Mesh", {mesh}},
    {KZsITYPE_MESHINST, KZsITYPE_LOCATORSUPER, "Mesh Instance"},
    {KZsITYPE_TRISURF, KZsITYPE_LOCATORSUPER, "Triangle Surface"},
    {KZsITYPE_STATICMESH, KZsITYPE_LOCATORSUPER, "Static Mesh", {staticMesh}},
    {KZsITYPE_PROXYMESH, KZsITYPE_LOCATORSUPER, "Proxy Mesh", {proxyMesh}},
    {KZsITYPE_IMPLICIT, KZsITYPE_LOCATORSUPER, "Implicit Surface", {implicit}},
    {KZsITYPE_BLOB, KZsITYPE_LOCATORSUPER, "Blob", {blob}},
};
constexpr PackageRow packages[] = {{KZsPKG_MESH_DISPLACE, displacement}};
constexpr TypeRow curves[] = {
    {KZsITYPE_CURVEGROUP, KZsITYPE_LOCATORSUPER, "Curve Group", {curveGroup}},
    {KZsITYPE_CURVE, KZsITYPE_LOCATORSUPER, "Curve", {curve}},
    {KZsITYPE_CANVAS, KZsITYPE_LOCATORSUPER, "Canvas", {canvas}},
};

}  // namespace

const TypeTable meshTypes{"mesh", meshes, packages};
const TypeTable curveTypes{"curve", curves};

}  // namespace kzhost::rows
