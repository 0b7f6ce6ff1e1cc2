// Clips: pictures and films from files, and filters of images.
#include "host/document/types/type_tables.h"

#include "kz/clip.h"
#include "kz/color_mapping.h"
#include "kz/image_filter.h"
#include "kz/item.h"
#include "kz/texture.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow still[] = {
    file(KZsICHAN_VIDEOSTILL_FILENAME),
    text(KZsICHAN_VIDEOSTILL_COLORSPACE, KZs_CSPACE_AUTO),
    choice(KZsICHAN_VIDEOSTILL_INTERLACE, "none even odd"),
    choice(KZsICHAN_VIDEOSTILL_ALPHAMODE, "use ignore only"),
};
constexpr const char* endModes = "blank hold repeat bounce";
constexpr ChannelRow sequence[] = {
    file(KZsICHAN_VIDEOSEQUENCE_PATTERN),
    integer(KZsICHAN_VIDEOSEQUENCE_FIRST, 1).from(0),
    integer(KZsICHAN_VIDEOSEQUENCE_LAST, 1).from(0),
    integer(KZsICHAN_VIDEOSEQUENCE_OFFSET).unit("f"),
    number(KZsICHAN_VIDEOSEQUENCE_FPS, 24).from(0.001).unit("Hz"),
    choice(KZsICHAN_VIDEOSEQUENCE_ENDMODE, endModes, KZiCLIPEND_HOLD),
};
constexpr ChannelRow moving[] = {
    number(KZsICHAN_VIDEOCLIP_ASPECT, 1).from(0.001),
    number(KZsICHAN_VIDEOCLIP_EXPOSURE),
    number(KZsICHAN_VIDEOCLIP_PROXYSCALE, 1).in(0.001, 1),
    seconds(KZsICHAN_VIDEOCLIP_STARTTIME),
    seconds(KZsICHAN_VIDEOCLIP_OFFSET),
    number(KZsICHAN_VIDEOCLIP_SPEED, 1),
    toggle(KZsICHAN_VIDEOCLIP_REVERSE),
    choice(KZsICHAN_VIDEOCLIP_ENDMODE, endModes, KZiCLIPEND_HOLD),
    toggle(KZsICHAN_VIDEOCLIP_FRAMEBLEND),
    integer(KZsICHAN_VIDEOCLIP_PRELOAD).from(0).unit("f"),
};
constexpr ChannelRow version[] = {
    integer(KZsICHAN_CLIPVERSION_CURRENT).from(0),
    toggle(KZsICHAN_CLIPVERSION_FOLLOW, true),
};
constexpr ChannelRow filter[] = {
    text(KZsICHAN_IMAGEFILTER_FILTER),
    percent(KZsICHAN_IMAGEFILTER_AMOUNT, 1),
    number(KZsICHAN_IMAGEFILTER_RADIUS, 4).from(0).unit("px"),
    number(KZsICHAN_IMAGEFILTER_THRESHOLD, 1).from(0),
    itemReference(KZsICHAN_IMAGEFILTER_MASK),
    toggle(KZsICHAN_IMAGEFILTER_CLAMP),
    text(KZsICHAN_IMAGEFILTER_SPACE),
};
constexpr TypeRow types[] = {
    {KZsITYPE_VIDEOSTILL, KZsITYPE_ANY, "Still", {still}},
    {KZsITYPE_VIDEOSEQUENCE, KZsITYPE_ANY, "Sequence", {still, sequence}},
    {KZsITYPE_VIDEOCLIP, KZsITYPE_ANY, "Film", {still, moving}},
    {KZsITYPE_VIDEOLIVE, KZsITYPE_ANY, "Live Film", {still, moving}},
    {KZsITYPE_CLIPFOLDER, KZsITYPE_FOLDER, "Clip Folder"},
    {KZsITYPE_CLIPVERSION, KZsITYPE_ANY, "Clip Version", {version}},
    {KZsITYPE_IMAGEFILTER, KZsITYPE_ANY, "Image Filter", {filter}},
};

}  // namespace

const TypeTable clipTypes{"clip", types};

}  // namespace kzhost::rows
