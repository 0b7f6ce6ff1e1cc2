// The types that every scene knows: the scene itself, locators, notes and references.
#include "host/document/types/type_tables.h"

#include "kz/action.h"
#include "kz/color_mapping.h"
#include "kz/item.h"
#include "kz/scene.h"
#include "kz/transform.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow scene[] = {
    choice(KZsICHAN_SCENE_UNITSYSTEM, "METR=meters MILL=millimeters INCH=inches FEET=feet GAME=game", KZi_UNITS_METERS)
        .constant(),
    choice(KZsICHAN_SCENE_UPAXIS, "x y z", 1).constant(),
    number(KZsICHAN_SCENE_GRAVITY, 9.80665).unit("m/s2"),
    itemReference(KZsICHAN_SCENE_MAINCAMERA),
    text(KZsICHAN_SCENE_COLORSPACE, KZs_CSPACE_LINEAR),
    text(KZsICHAN_SCENE_TITLE),
    text(KZsICHAN_SCENE_AUTHOR),
    prose(KZsICHAN_SCENE_COMMENT),
    integer(KZsICHAN_SCENE_SEED),
    percent(KZsICHAN_SCENE_DETAIL, 1),
};
constexpr ChannelRow sceneTime[] = {
    number(KZsICHAN_SCENETIME_FPS, 24).in(1, KZdICVAL_SCENE_MAX_FPS).unit("Hz").constant(),
    seconds(KZsICHAN_SCENETIME_START).constant(),
    seconds(KZsICHAN_SCENETIME_END, 5).constant(),
    seconds(KZsICHAN_SCENETIME_CURRENTSTART).constant(),
    seconds(KZsICHAN_SCENETIME_CURRENTEND, 5).constant(),
    seconds(KZsICHAN_SCENETIME_CURRENT).constant(),
    choice(KZsICHAN_SCENETIME_FORMAT, "seconds frames smpte film", KZiTIMEFORMAT_FRAMES).constant(),
};
constexpr ChannelRow locator[] = {
    metres(KZsICHAN_LOCATOR_SIZE, 1).from(0),
    choice(KZsICHAN_LOCATOR_VISIBLE, "default on off never"),
    toggle(KZsICHAN_LOCATOR_LOCK),
    choice(KZsICHAN_LOCATOR_RENDER, "default on off never"),
    choice(KZsICHAN_LOCATOR_SELECT, "default on off never"),
    percent(KZsICHAN_LOCATOR_DISSOLVE),
    choice(KZsICHAN_LOCATOR_DRAWSHAPE, "default custom"),
    choice(KZsICHAN_LOCATOR_ISSHAPE, "cross box sphere pyramid ring arrow"),
    choice(KZsICHAN_LOCATOR_ISALIGN, "none view"),
    choice(KZsICHAN_LOCATOR_ISAXIS, "x y z", 1),
    metres(KZsICHAN_LOCATOR_ISSIZE_X, 1).from(0),
    metres(KZsICHAN_LOCATOR_ISSIZE_Y, 1).from(0),
    metres(KZsICHAN_LOCATOR_ISSIZE_Z, 1).from(0),
    metres(KZsICHAN_LOCATOR_ISRADIUS, 0.5).from(0),
    toggle(KZsICHAN_LOCATOR_ISSOLID),
    choice(KZsICHAN_LOCATOR_LINK, "none line pipe"),
    grey(KZsICHAN_LOCATOR_WIRECOLOR, 0.3),
    grey(KZsICHAN_LOCATOR_FILLCOLOR, 0.8),
    choice(KZsICHAN_LOCATOR_WIREOPTIONS, "view item none"),
    choice(KZsICHAN_LOCATOR_FILLOPTIONS, "view item none"),
    itemReference(KZsICHAN_LOCATOR_TARGET),
    radians(KZsICHAN_LOCATOR_TARGETROLL),
    choice(KZsICHAN_LOCATOR_MIRROR, "none x y z"),
};
constexpr ChannelRow place[] = {
    metres(KZsICHAN_XFRMPOSITION_POS_X),
    metres(KZsICHAN_XFRMPOSITION_POS_Y),
    metres(KZsICHAN_XFRMPOSITION_POS_Z),
    radians(KZsICHAN_XFRMROTATION_ROT_X),
    radians(KZsICHAN_XFRMROTATION_ROT_Y),
    radians(KZsICHAN_XFRMROTATION_ROT_Z),
    choice(KZsICHAN_XFRMROTATION_ORDER, "xyz xzy yxz yzx zxy zyx", KZiROTORDER_ZXY),
    number(KZsICHAN_XFRMSCALE_SCL_X, 1),
    number(KZsICHAN_XFRMSCALE_SCL_Y, 1),
    number(KZsICHAN_XFRMSCALE_SCL_Z, 1),
};
constexpr ChannelRow matrices[] = {
    computed(KZsICHAN_LOCATOR_LOCALMATRIX, ChannelKind::localMatrix),
    computed(KZsICHAN_LOCATOR_WORLDMATRIX, ChannelKind::worldMatrix),
    computed(KZsICHAN_LOCATOR_PARENTMATRIX, ChannelKind::parentMatrix),
    computed(KZsICHAN_LOCATOR_INVERSEMATRIX, ChannelKind::inverseMatrix),
};
constexpr ChannelRow comment[] = {
    prose(KZsICHAN_COMMENT_TEXT),
    color(KZsICHAN_COMMENT_COLOR, 1, 0.95, 0.6),
    metres(KZsICHAN_COMMENT_WIDTH, 1).from(0),
    metres(KZsICHAN_COMMENT_HEIGHT, 0.5).from(0),
    text(KZsICHAN_COMMENT_FONT),
    number(KZsICHAN_COMMENT_FONTSIZE, 12).from(1).unit("pt"),
};
constexpr ChannelRow commandItem[] = {
    prose(KZsICHAN_COMMANDITEM_COMMAND),
    toggle(KZsICHAN_COMMANDITEM_ENABLE, true),
    choice(KZsICHAN_COMMANDITEM_TRIGGER, "manual select time"),
    toggle(KZsICHAN_COMMANDITEM_ONLOAD),
};
constexpr ChannelRow reference[] = {
    file(KZsICHAN_REFERENCE_PATH),
    toggle(KZsICHAN_REFERENCE_LOADED, true),
    toggle(KZsICHAN_REFERENCE_OVERRIDES, true),
    seconds(KZsICHAN_REFERENCE_TIMEOFFSET),
};
constexpr ChannelRow bookmark[] = {
    itemReference(KZsICHAN_BOOKMARK_VIEW),
    seconds(KZsICHAN_BOOKMARK_TIME),
    text(KZsICHAN_BOOKMARK_ACTION),
    text(KZsICHAN_BOOKMARK_SELECTION),
    color(KZsICHAN_BOOKMARK_COLOR, 0.2, 0.5, 1),
};
constexpr TypeRow types[] = {
    {KZsITYPE_ANY, "", "Item", {}, true},
    {KZsITYPE_SCENE, KZsITYPE_ANY, "Scene", {scene, sceneTime}, true},
    {KZsITYPE_LOCATORSUPER, KZsITYPE_ANY, "Locator", {place, locator, matrices}, true},
    {KZsITYPE_LOCATOR, KZsITYPE_LOCATORSUPER, "Locator"},
    {KZsITYPE_GROUPLOCATOR, KZsITYPE_LOCATORSUPER, "Group Locator"},
    {KZsITYPE_ITEMMODIFY, KZsITYPE_ANY, "Modifier", {}, true},
    {KZsITYPE_FOLDER, KZsITYPE_ANY, "Folder"},
    {KZsITYPE_COMMENT, KZsITYPE_ANY, "Comment", {comment}},
    {KZsITYPE_COMMANDITEM, KZsITYPE_ANY, "Command", {commandItem}},
    {KZsITYPE_LINK, KZsITYPE_ANY, "Link"},
    {KZsITYPE_PLACEHOLDER, KZsITYPE_ANY, "Placeholder", {}, true},
    {KZsITYPE_REFERENCE, KZsITYPE_ANY, "Scene Reference", {reference}},
    {KZsITYPE_BOOKMARK, KZsITYPE_ANY, "Bookmark", {bookmark}},
};

}  // namespace

const TypeTable sceneTypes{"scene", types};

}  // namespace kzhost::rows
