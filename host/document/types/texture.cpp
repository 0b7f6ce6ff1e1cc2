// Textures, and the locators that place them.
#include "host/document/types/type_tables.h"

#include "kz/envelope.h"
#include "kz/image_tile.h"
#include "kz/item.h"
#include "kz/texture.h"

namespace kzhost::rows {

namespace {

constexpr const char* wraps = "reset repeat mirror edge";
constexpr ChannelRow locator[] = {
    choice(KZsICHAN_TEXTURELOC_PROJECTION, "planar cylindrical spherical cubic solid uv camera",
           KZiTEXTURE_PROJECTION_UV),
    choice(KZsICHAN_TEXTURELOC_AXIS, "x y z", 1),
    text(KZsICHAN_TEXTURELOC_UVMAP),
    toggle(KZsICHAN_TEXTURELOC_WORLD),
    choice(KZsICHAN_TEXTURELOC_WRAPU, wraps, KZiIMG_WRAP_REPEAT),
    choice(KZsICHAN_TEXTURELOC_WRAPV, wraps, KZiIMG_WRAP_REPEAT),
    number(KZsICHAN_TEXTURELOC_TILESU, 1),
    number(KZsICHAN_TEXTURELOC_TILESV, 1),
    radians(KZsICHAN_TEXTURELOC_ROTATION),
    itemReference(KZsICHAN_TEXTURELOC_FALLOFF),
    integer(KZsICHAN_TEXTURELOC_UDIM).from(0),
};
constexpr ChannelRow imageMap[] = {
    toggle(KZsICHAN_IMAGEMAP_AA, true),
    number(KZsICHAN_IMAGEMAP_AAVALUE, 1).from(0),
    number(KZsICHAN_IMAGEMAP_BRIGHT, 1).from(0),
    number(KZsICHAN_IMAGEMAP_CONTRAST).in(-1, 1),
    choice(KZsICHAN_IMAGEMAP_RGBA, "rgba rgb red green blue alpha"),
    choice(KZsICHAN_IMAGEMAP_ALPHA, "use ignore only"),
    number(KZsICHAN_IMAGEMAP_MIN),
    number(KZsICHAN_IMAGEMAP_MAX, 1),
};
constexpr ChannelRow constant[] = {
    grey(KZsICHAN_CONSTANT_COLOR, 1),
    number(KZsICHAN_CONSTANT_VALUE, 1),
};
// The two colours of every pattern.
constexpr ChannelRow colors[] = {
    grey(KZsICHAN_NOISE_COLOR1, 0),
    grey(KZsICHAN_NOISE_COLOR2, 1),
};
constexpr ChannelRow noise[] = {
    choice(KZsICHAN_NOISE_TYPE, "value gradient simplex turbulent", KZiPATTERN_NOISE_GRADIENT),
    integer(KZsICHAN_NOISE_FREQ, 4).in(1, 16),
    number(KZsICHAN_NOISE_RATIO, 2).from(1),
    number(KZsICHAN_NOISE_AMPL, 0.5).from(0),
    percent(KZsICHAN_NOISE_BIAS, 0.5),
    percent(KZsICHAN_NOISE_GAIN, 0.5),
};
constexpr ChannelRow cellular[] = {
    choice(KZsICHAN_CELLULAR_TYPE, "round angular"),
    percent(KZsICHAN_CELLULAR_TRANSITION, 1),
};
constexpr ChannelRow checker[] = {
    choice(KZsICHAN_CHECKER_TYPE, "square cube"),
    percent(KZsICHAN_CHECKER_SOFTNESS),
};
constexpr ChannelRow grid[] = {
    percent(KZsICHAN_GRID_WIDTH, 0.1),
    choice(KZsICHAN_GRID_TYPE, "square line triangle hexagon"),
};
constexpr ChannelRow wood[] = {
    number(KZsICHAN_WOOD_RINGS, 1).from(0),
    number(KZsICHAN_WOOD_GRAIN, 1).from(0),
};
constexpr ChannelRow brick[] = {
    percent(KZsICHAN_BRICK_MORTAR, 0.1),
    percent(KZsICHAN_BRICK_SHIFT, 0.5),
};
constexpr ChannelRow ramp[] = {
    choice(KZsICHAN_RAMP_INPUT, "u v x y z slope incidence distance"),
    gradient(KZsICHAN_RAMP_COLOR),
};
constexpr ChannelRow process[] = {
    percent(KZsICHAN_TEXTUREPROCESS_BIAS, 0.5),
    number(KZsICHAN_TEXTUREPROCESS_GAMMA, 1).from(0.01),
    toggle(KZsICHAN_TEXTUREPROCESS_CLAMP),
};
constexpr ChannelRow gradients[] = {
    gradient(KZsICHAN_GRADIENT_COLOR),
    gradient(KZsICHAN_GRADIENT_VALUE),
    text(KZsICHAN_GRADIENT_INPUT),
    number(KZsICHAN_GRADIENT_LOW),
    number(KZsICHAN_GRADIENT_HIGH, 1),
    choice(KZsICHAN_GRADIENT_REPEAT, "none repeat mirror"),
    toggle(KZsICHAN_GRADIENT_AUTOSIZE, true),
};
constexpr TypeRow types[] = {
    {KZsITYPE_TEXTURELOC, KZsITYPE_LOCATORSUPER, "Texture Locator", {locator}},
    {KZsITYPE_IMAGEMAP, KZsITYPE_TEXTURELAYER, "Image", {imageMap}},
    {KZsITYPE_CONSTANT, KZsITYPE_TEXTURELAYER, "Constant", {constant}},
    {KZsITYPE_NOISE, KZsITYPE_TEXTURELAYER, "Noise", {colors, noise}},
    {KZsITYPE_CELLULAR, KZsITYPE_TEXTURELAYER, "Cells", {colors, cellular}},
    {KZsITYPE_CHECKER, KZsITYPE_TEXTURELAYER, "Checker", {colors, checker}},
    {KZsITYPE_DOTS, KZsITYPE_TEXTURELAYER, "Dots", {colors}},
    {KZsITYPE_GRID, KZsITYPE_TEXTURELAYER, "Grid", {colors, grid}},
    {KZsITYPE_RIPPLES, KZsITYPE_TEXTURELAYER, "Ripples", {colors}},
    {KZsITYPE_WEAVE, KZsITYPE_TEXTURELAYER, "Weave", {colors}},
    {KZsITYPE_WOOD, KZsITYPE_TEXTURELAYER, "Wood", {colors, wood}},
    {KZsITYPE_BRICK, KZsITYPE_TEXTURELAYER, "Brick", {colors, brick}},
    {KZsITYPE_RAMP, KZsITYPE_TEXTURELAYER, "Ramp", {ramp}},
    {KZsITYPE_WEIGHTTEX, KZsITYPE_TEXTURELAYER, "Weight Map"},
    {KZsITYPE_OCCLUSION, KZsITYPE_TEXTURELAYER, "Occlusion", {colors}},
    {KZsITYPE_TEXTUREPROCESS, KZsITYPE_TEXTURELAYER, "Process", {process}},
    {KZsITYPE_GRADIENT, KZsITYPE_TEXTURELAYER, "Gradient", {gradients}},
};

}  // namespace

const TypeTable textureTypes{"texture", types};

}  // namespace kzhost::rows
