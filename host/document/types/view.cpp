// Items that help in views, and remembered views.
#include "host/document/types/type_tables.h"

#include "kz/item.h"
#include "kz/view.h"
#include "kz/view_item.h"

#include <numbers>

namespace kzhost::rows {

namespace {

constexpr ChannelRow backdrop[] = {
    itemReference(KZsICHAN_BACKDROP_IMAGE),
    choice(KZsICHAN_BACKDROP_PROJECTION, "camera perspective top bottom front back left right light",
           KZiVIEW_SPACE_FRONT),
    percent(KZsICHAN_BACKDROP_OPACITY, 1),
    number(KZsICHAN_BACKDROP_BRIGHTNESS).in(-1, 1),
    number(KZsICHAN_BACKDROP_CONTRAST).in(-1, 1),
    toggle(KZsICHAN_BACKDROP_INVERT),
    metres(KZsICHAN_BACKDROP_WIDTH, 1).from(0),
    metres(KZsICHAN_BACKDROP_HEIGHT, 1).from(0),
    metres(KZsICHAN_BACKDROP_OFFSETX),
    metres(KZsICHAN_BACKDROP_OFFSETY),
    radians(KZsICHAN_BACKDROP_ROTATION),
    toggle(KZsICHAN_BACKDROP_ASPECT, true),
    toggle(KZsICHAN_BACKDROP_BLEND, true),
    toggle(KZsICHAN_BACKDROP_INFRONT),
    toggle(KZsICHAN_BACKDROP_PIXELATED),
};
constexpr ChannelRow ruler[] = {
    metres(KZsICHAN_RULER_LENGTH, 1).from(0),
    integer(KZsICHAN_RULER_DIVISIONS, 10).from(1),
    text(KZsICHAN_RULER_UNIT, KZsUNIT_METER),
    toggle(KZsICHAN_RULER_SHOWVALUE, true),
    number(KZsICHAN_RULER_TEXTSIZE, 12).from(1).unit("px"),
    integer(KZsICHAN_RULER_PRECISION, 2).in(0, 15),
    percent(KZsICHAN_RULER_COLORR, 1),
    percent(KZsICHAN_RULER_COLORG, 1),
    percent(KZsICHAN_RULER_COLORB, 1),
};
constexpr ChannelRow protractor[] = {
    radians(KZsICHAN_PROTRACTOR_ANGLE, std::numbers::pi / 2),
    metres(KZsICHAN_PROTRACTOR_RADIUS, 0.5).from(0),
    choice(KZsICHAN_PROTRACTOR_AXIS, "x y z", 1),
    toggle(KZsICHAN_PROTRACTOR_REFLEX),
};
// The size is that of the letters, in place of the symbol's.
constexpr ChannelRow note[] = {
    prose(KZsICHAN_NOTE_TEXT),
    text(KZsICHAN_NOTE_AUTHOR),
    text(KZsICHAN_NOTE_DATE),
    number(KZsICHAN_NOTE_SIZE, 14).from(1).unit("px"),
    choice(KZsICHAN_NOTE_ALIGN, "left center right"),
    toggle(KZsICHAN_NOTE_FRAME, true),
    toggle(KZsICHAN_NOTE_BACKGROUND, true),
    toggle(KZsICHAN_NOTE_FACECAMERA, true),
    toggle(KZsICHAN_NOTE_DONE),
    toggle(KZsICHAN_NOTE_LINE, true),
};
constexpr ChannelRow guide[] = {
    choice(KZsICHAN_GUIDE_DIRECTION, "x y z"), metres(KZsICHAN_GUIDE_SPACING, 0.1).from(0),
    integer(KZsICHAN_GUIDE_COUNT, 1).from(1),  toggle(KZsICHAN_GUIDE_SNAP, true),
    toggle(KZsICHAN_GUIDE_INFINITE, true),     choice(KZsICHAN_GUIDE_STYLE, "solid dashed dotted", 1),
};
constexpr ChannelRow section[] = {
    toggle(KZsICHAN_SECTION_ENABLE, true),  toggle(KZsICHAN_SECTION_FLIP),
    toggle(KZsICHAN_SECTION_CAP, true),     color(KZsICHAN_SECTION_CAPCOLOR, 0.8, 0.3, 0.2),
    toggle(KZsICHAN_SECTION_OUTLINE, true), itemReference(KZsICHAN_SECTION_ITEMS),
};
constexpr ChannelRow viewMark[] = {
    metres(KZsICHAN_VIEWMARK_CENTERX),
    metres(KZsICHAN_VIEWMARK_CENTERY),
    metres(KZsICHAN_VIEWMARK_CENTERZ),
    radians(KZsICHAN_VIEWMARK_HEADING),
    radians(KZsICHAN_VIEWMARK_PITCH),
    radians(KZsICHAN_VIEWMARK_BANK),
    metres(KZsICHAN_VIEWMARK_SCALE, 2).from(0.000001),
    text(KZsICHAN_VIEWMARK_SPACE, KZsVIEW_SPACE_PERSPECTIVE),
    text(KZsICHAN_VIEWMARK_STYLE, KZsVIEW_STYLE_SHADED),
    itemReference(KZsICHAN_VIEWMARK_CAMERA),
};
constexpr TypeRow types[] = {
    {KZsITYPE_BACKDROP, KZsITYPE_LOCATORSUPER, "Backdrop", {backdrop}},
    {KZsITYPE_RULER, KZsITYPE_LOCATORSUPER, "Ruler", {ruler}},
    {KZsITYPE_PROTRACTOR, KZsITYPE_LOCATORSUPER, "Protractor", {protractor}},
    {KZsITYPE_NOTE, KZsITYPE_LOCATORSUPER, "Note", {note}},
    {KZsITYPE_GUIDE, KZsITYPE_LOCATORSUPER, "Guide", {guide}},
    {KZsITYPE_SECTION, KZsITYPE_LOCATORSUPER, "Section Plane", {section}},
    {KZsITYPE_VIEWMARK, KZsITYPE_ANY, "View", {viewMark}},
};

}  // namespace

const TypeTable viewTypes{"view", types};

}  // namespace kzhost::rows
