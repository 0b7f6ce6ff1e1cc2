// Lights, their materials, and the environment.
#include "host/document/types/type_tables.h"

#include "kz/item.h"
#include "kz/lighting.h"

#include <numbers>

namespace kzhost::rows {

namespace {

constexpr double degree = std::numbers::pi / 180;
constexpr ChannelRow light[] = {
    number(KZsICHAN_LIGHT_INTENSITY, 3).from(0),
    choice(KZsICHAN_LIGHT_UNIT, "radiance watt lumen candela lux"),
    choice(KZsICHAN_LIGHT_FALLOFF, "none linear square", KZiLIGHT_FALLOFF_SQUARE),
    integer(KZsICHAN_LIGHT_SAMPLES, 64).from(1),
    choice(KZsICHAN_LIGHT_SHADOWTYPE, "none traced mapped", KZiLIGHT_SHADOW_TRACED),
    integer(KZsICHAN_LIGHT_SHADOWRES, 1024).from(1).unit("px"),
    metres(KZsICHAN_LIGHT_SHADOWBIAS, 0.001).from(0),
    toggle(KZsICHAN_LIGHT_VISCAMERA, true),
    toggle(KZsICHAN_LIGHT_VISREFL, true),
    toggle(KZsICHAN_LIGHT_LINKED),
    choice(KZsICHAN_LIGHT_LINKMODE, "exclude include"),
    itemReference(KZsICHAN_LIGHT_TARGET),
};
constexpr ChannelRow sun[] = {
    radians(KZsICHAN_SUNLIGHT_SPREAD, 0.53 * degree).from(0),
    radians(KZsICHAN_SUNLIGHT_AZIMUTH, 135 * degree),
    radians(KZsICHAN_SUNLIGHT_HEIGHT, 45 * degree).in(-90 * degree, 90 * degree),
    number(KZsICHAN_SUNLIGHT_HAZE, 1).from(0),
    integer(KZsICHAN_SUNLIGHT_DAY, 172).in(1, 366),
    number(KZsICHAN_SUNLIGHT_HOUR, 12).in(0, 24).unit("h"),
    number(KZsICHAN_SUNLIGHT_LAT).in(-90, 90).unit("deg"),
    number(KZsICHAN_SUNLIGHT_LON).in(-180, 180).unit("deg"),
};
constexpr ChannelRow point[] = {metres(KZsICHAN_POINTLIGHT_RADIUS).from(0)};
constexpr ChannelRow spot[] = {
    radians(KZsICHAN_SPOTLIGHT_CONE, 40 * degree).in(0, 180 * degree),
    radians(KZsICHAN_SPOTLIGHT_EDGE, 5 * degree).in(0, 180 * degree),
    metres(KZsICHAN_SPOTLIGHT_BASE).from(0),
    toggle(KZsICHAN_SPOTLIGHT_VOLUME),
    metres(KZsICHAN_SPOTLIGHT_HEIGHT, 5).from(0),
};
constexpr ChannelRow areaShape[] = {
    choice(KZsICHAN_AREALIGHT_SHAPE, "RECT=rectangle DISC=disc ELLI=ellipse", KZi_LIGHT_SHAPE_RECTANGLE),
};
constexpr ChannelRow areaSize[] = {
    metres(KZsICHAN_AREALIGHT_WIDTH, 1).from(0),
    metres(KZsICHAN_AREALIGHT_HEIGHT, 1).from(0),
};
constexpr ChannelRow cylinder[] = {metres(KZsICHAN_CYLINDERLIGHT_LENGTH, 1).from(0)};
constexpr ChannelRow dome[] = {metres(KZsICHAN_DOMELIGHT_RADIUS).from(0)};
constexpr ChannelRow profile[] = {file(KZsICHAN_PROFILELIGHT_FILE)};
constexpr ChannelRow material[] = {
    grey(KZsICHAN_LIGHTMATERIAL_COLOR, 1),       number(KZsICHAN_LIGHTMATERIAL_KELVIN, 6504).in(1000, 40000).unit("K"),
    grey(KZsICHAN_LIGHTMATERIAL_SHADOW, 0),      percent(KZsICHAN_LIGHTMATERIAL_DIFFUSE, 1),
    percent(KZsICHAN_LIGHTMATERIAL_SPECULAR, 1), percent(KZsICHAN_LIGHTMATERIAL_CAUSTICS, 1),
    percent(KZsICHAN_LIGHTMATERIAL_SCATTER, 1),  percent(KZsICHAN_LIGHTMATERIAL_ATTENUATE),
};
constexpr ChannelRow environment[] = {
    choice(KZsICHAN_ENVIRONMENT_TYPE, "constant twocolor fourcolor daylight", KZiENVIRONMENT_FOURCOLOR),
    number(KZsICHAN_ENVIRONMENT_RADIANCE, 1).from(0).unit("W/m2 sr"),
    color(KZsICHAN_ENVIRONMENT_ZENITH, 0.2, 0.35, 0.7),
    color(KZsICHAN_ENVIRONMENT_SKY, 0.6, 0.75, 0.95),
    color(KZsICHAN_ENVIRONMENT_GROUND, 0.45, 0.4, 0.35),
    color(KZsICHAN_ENVIRONMENT_NADIR, 0.2, 0.18, 0.16),
    number(KZsICHAN_ENVIRONMENT_SKYEXP, 4).from(0),
    choice(KZsICHAN_ENVIRONMENT_FOG, "none linear exp"),
    color(KZsICHAN_ENVIRONMENT_FOGCOLOR, 0.7, 0.75, 0.8),
    toggle(KZsICHAN_ENVIRONMENT_VISCAMERA, true),
    toggle(KZsICHAN_ENVIRONMENT_VISREFL, true),
};
constexpr TypeRow types[] = {
    {KZsITYPE_LIGHT, KZsITYPE_LOCATORSUPER, "Light", {light}, true},
    {KZsITYPE_SUNLIGHT, KZsITYPE_LIGHT, "Sun Light", {sun}},
    {KZsITYPE_POINTLIGHT, KZsITYPE_LIGHT, "Point Light", {point}},
    {KZsITYPE_SPOTLIGHT, KZsITYPE_LIGHT, "Spot Light", {spot}},
    {KZsITYPE_AREALIGHT, KZsITYPE_LIGHT, "Area Light", {areaShape, areaSize}},
    {KZsITYPE_CYLINDERLIGHT, KZsITYPE_LIGHT, "Cylinder Light", {cylinder, point}},
    {KZsITYPE_DOMELIGHT, KZsITYPE_LIGHT, "Dome Light", {dome}},
    {KZsITYPE_PORTALLIGHT, KZsITYPE_LIGHT, "Portal Light", {areaSize}},
    {KZsITYPE_MESHLIGHT, KZsITYPE_LIGHT, "Mesh Light"},
    {KZsITYPE_PROFILELIGHT, KZsITYPE_LIGHT, "Profile Light", {profile}},
    {KZsITYPE_LIGHTMATERIAL, KZsITYPE_ANY, "Light Material", {material}},
    {KZsITYPE_ENVIRONMENT, KZsITYPE_ANY, "Environment", {environment}},
};

}  // namespace

const TypeTable lightTypes{"light", types};

}  // namespace kzhost::rows
