// Actions, actors, sets of keys and markers, sounds, and caches of animation.
#include "host/document/types/type_tables.h"

#include "kz/action.h"
#include "kz/audio.h"
#include "kz/cache.h"
#include "kz/group.h"
#include "kz/item.h"
#include "kz/point_cache.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow actionClip[] = {
    toggle(KZsICHAN_ACTIONCLIP_ACTIVE),
    percent(KZsICHAN_ACTIONCLIP_WEIGHT, 1),
    choice(KZsICHAN_ACTIONCLIP_BLEND, "replace add multiply"),
    seconds(KZsICHAN_ACTIONCLIP_START),
    seconds(KZsICHAN_ACTIONCLIP_END, 5),
    number(KZsICHAN_ACTIONCLIP_SPEED, 1),
    integer(KZsICHAN_ACTIONCLIP_LOOPS, 1).from(0),
    seconds(KZsICHAN_ACTIONCLIP_FADEIN).from(0),
    seconds(KZsICHAN_ACTIONCLIP_FADEOUT).from(0),
};
constexpr ChannelRow actionPose[] = {
    percent(KZsICHAN_ACTIONPOSE_WEIGHT, 1),
    file(KZsICHAN_ACTIONPOSE_ICON),
};
constexpr ChannelRow actor[] = {
    grey(KZsICHAN_ACTOR_COLOR, 0.5),
    choice(KZsICHAN_ACTOR_SYMMETRY, "none x y z"),
    toggle(KZsICHAN_ACTOR_HIDDEN),
};
constexpr ChannelRow keySet[] = {toggle(KZsICHAN_KEYSET_SHOW, true)};
constexpr ChannelRow timeMarker[] = {
    seconds(KZsICHAN_TIMEMARKER_TIME),
    seconds(KZsICHAN_TIMEMARKER_LENGTH).from(0),
    color(KZsICHAN_TIMEMARKER_COLOR, 1, 0.6, 0),
    prose(KZsICHAN_TIMEMARKER_NOTE),
};
constexpr ChannelRow audioClip[] = {
    file(KZsICHAN_AUDIOCLIP_FILE),
    seconds(KZsICHAN_AUDIOCLIP_START),
    seconds(KZsICHAN_AUDIOCLIP_OFFSET).from(0),
    seconds(KZsICHAN_AUDIOCLIP_LENGTH).from(0),
    percent(KZsICHAN_AUDIOCLIP_VOLUME, 1),
    number(KZsICHAN_AUDIOCLIP_BALANCE).in(-1, 1),
    number(KZsICHAN_AUDIOCLIP_SPEED, 1),
    toggle(KZsICHAN_AUDIOCLIP_LOOP),
    toggle(KZsICHAN_AUDIOCLIP_MUTE),
    toggle(KZsICHAN_AUDIOCLIP_SCRUB, true),
    number(KZsICHAN_AUDIOCLIP_PITCH, 1).from(0),
    seconds(KZsICHAN_AUDIOCLIP_FADEIN).from(0),
    seconds(KZsICHAN_AUDIOCLIP_FADEOUT).from(0),
};
constexpr ChannelRow cache[] = {
    toggle(KZsICHAN_CACHEITEM_ENABLE, true),
    integer(KZsICHAN_CACHEITEM_START).unit("f"),
    integer(KZsICHAN_CACHEITEM_END, 120).unit("f"),
    integer(KZsICHAN_CACHEITEM_STEP, 1).from(1).unit("f"),
    file(KZsICHAN_CACHEITEM_FILE),
    toggle(KZsICHAN_CACHEITEM_ONDISK),
    choice(KZsICHAN_CACHEITEM_MODE, "record play"),
    toggle(KZsICHAN_CACHEITEM_BLEND, true),
    seconds(KZsICHAN_CACHEITEM_OFFSET),
    number(KZsICHAN_CACHEITEM_SPEED, 1),
    toggle(KZsICHAN_CACHEITEM_LOCK),
};
constexpr ChannelRow pointCache[] = {
    choice(KZsICHAN_POINTCACHE_MODE, "off record play"),
    file(KZsICHAN_POINTCACHE_FILE),
    seconds(KZsICHAN_POINTCACHE_START),
    seconds(KZsICHAN_POINTCACHE_END, 5),
    number(KZsICHAN_POINTCACHE_RATE, 24).from(0.001).unit("Hz"),
    choice(KZsICHAN_POINTCACHE_INTERPOLATE, "none linear cubic", KZiPOINTCACHE_INTERPOLATE_LINEAR),
    choice(KZsICHAN_POINTCACHE_SPACE, "local world"),
    toggle(KZsICHAN_POINTCACHE_MEMORY),
};
constexpr TypeRow animation[] = {
    {KZsITYPE_ACTIONCLIP, KZsITYPE_ANY, "Action", {actionClip}},
    {KZsITYPE_ACTIONPOSE, KZsITYPE_ANY, "Pose", {actionPose}},
    {KZsITYPE_ACTOR, KZsITYPE_GROUP, "Actor", {actor}},
    {KZsITYPE_KEYSET, KZsITYPE_GROUP, "Key Set", {keySet}},
    {KZsITYPE_TIMEMARKER, KZsITYPE_ANY, "Marker", {timeMarker}},
    {KZsITYPE_AUDIOCLIP, KZsITYPE_ANY, "Sound", {audioClip}},
};
constexpr TypeRow caches[] = {
    {KZsITYPE_CACHEITEM, KZsITYPE_ANY, "Cache", {cache}},
    {KZsITYPE_POINTCACHE, KZsITYPE_ANY, "Point Cache", {pointCache}},
};

}  // namespace

const TypeTable animationTypes{"animation", animation};
const TypeTable cacheTypes{"cache", caches};

}  // namespace kzhost::rows
