// The packages of channels that any item may get.
#include "host/document/types/type_tables.h"

#include "kz/package.h"
#include "kz/view_item.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow drawOptions[] = {
    choice(KZsICHAN_DRAWOPTIONS_STYLE, "default wireframe solid shaded textured"),
    percent(KZsICHAN_DRAWOPTIONS_ALPHA, 1),
    number(KZsICHAN_DRAWOPTIONS_LINEWIDTH, 1).from(0).unit("px"),
    number(KZsICHAN_DRAWOPTIONS_POINTSIZE, 2).from(0).unit("px"),
    toggle(KZsICHAN_DRAWOPTIONS_XRAY),
    toggle(KZsICHAN_DRAWOPTIONS_LABEL),
    text(KZsICHAN_DRAWOPTIONS_LABELTEXT),
    number(KZsICHAN_DRAWOPTIONS_LABELSIZE, 12).from(1).unit("px"),
};
constexpr ChannelRow tracking[] = {
    itemReference(KZsICHAN_TRACKING_TARGET),
    percent(KZsICHAN_TRACKING_STRENGTH, 1),
    seconds(KZsICHAN_TRACKING_DELAY).from(0),
    choice(KZsICHAN_TRACKING_AXIS, "x y z -x -y -z", 2),
};
constexpr ChannelRow timeRemap[] = {
    toggle(KZsICHAN_TIMEREMAP_ENABLE, true), gradient(KZsICHAN_TIMEREMAP_CURVE), number(KZsICHAN_TIMEREMAP_SPEED, 1),
    seconds(KZsICHAN_TIMEREMAP_START),       seconds(KZsICHAN_TIMEREMAP_END, 5), toggle(KZsICHAN_TIMEREMAP_LOOP),
    seconds(KZsICHAN_TIMEREMAP_OFFSET),
};
constexpr ChannelRow detail[] = {
    text(KZsICHAN_LOD_DISTANCES),
    choice(KZsICHAN_LOD_MODE, "automatic manual"),
    number(KZsICHAN_LOD_BIAS, 1).from(0),
    metres(KZsICHAN_LOD_FADE).from(0),
};
constexpr ChannelRow visibility[] = {
    toggle(KZsICHAN_VISIBILITY_VIEWPORT, true),   toggle(KZsICHAN_VISIBILITY_RENDER, true),
    toggle(KZsICHAN_VISIBILITY_CAMERA, true),     toggle(KZsICHAN_VISIBILITY_SHADOW, true),
    toggle(KZsICHAN_VISIBILITY_REFLECTION, true),
};
constexpr ChannelRow attachment[] = {
    file(KZsICHAN_ATTACHMENT_PATH),
    toggle(KZsICHAN_ATTACHMENT_EMBED),
    prose(KZsICHAN_ATTACHMENT_COMMENT),
};
constexpr ChannelRow drawOverride[] = {
    grey(KZsICHAN_DRAWOVERRIDE_WIRE, 0.3),
    grey(KZsICHAN_DRAWOVERRIDE_FILL, 0.8),
    choice(KZsICHAN_DRAWOVERRIDE_FILLMODE, "view item none"),
    choice(KZsICHAN_DRAWOVERRIDE_WIREMODE, "view item none"),
    toggle(KZsICHAN_DRAWOVERRIDE_XRAY),
    number(KZsICHAN_DRAWOVERRIDE_LINEWIDTH, 1).from(0).unit("px"),
};
constexpr ChannelRow label[] = {
    toggle(KZsICHAN_ITEMLABEL_SHOW, true),
    text(KZsICHAN_ITEMLABEL_TEXT),
    number(KZsICHAN_ITEMLABEL_SIZE, 12).from(1).unit("px"),
};
constexpr PackageRow packages[] = {
    {KZs_CHANPKG_GLDRAW, drawOptions}, {KZsPKG_GLDRAW_OPTIONS, drawOptions}, {KZs_CHANPKG_TRACKING, tracking},
    {KZsPKG_TRACKING, tracking},       {KZsPKG_TIMEREMAP, timeRemap},        {KZsPKG_LOD, detail},
    {KZsPKG_VISIBILITY, visibility},   {KZsPKG_ATTACHMENT, attachment},      {KZsPKG_DRAWOVERRIDE, drawOverride},
    {KZsPKG_ITEMLABEL, label},
};

}  // namespace

const TypeTable itemPackages{"package", {}, packages};

}  // namespace kzhost::rows
