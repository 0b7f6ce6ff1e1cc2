// Cameras, and how a scene is rendered.
#include "host/document/types/type_tables.h"

#include "kz/color_mapping.h"
#include "kz/item.h"
#include "kz/render.h"
#include "kz/render_item.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow camera[] = {
    choice(KZsICHAN_CAMERA_PROJECTION, "perspective orthographic spherical"),
    metres(KZsICHAN_CAMERA_FOCALLENGTH, 0.05).from(0.0001),
    metres(KZsICHAN_CAMERA_APERTUREX, 0.036).from(0.0001),
    metres(KZsICHAN_CAMERA_APERTUREY, 0.024).from(0.0001),
    metres(KZsICHAN_CAMERA_OFFSETX),
    metres(KZsICHAN_CAMERA_OFFSETY),
    metres(KZsICHAN_CAMERA_ORTHOWIDTH, 2).from(0.0001),
    metres(KZsICHAN_CAMERA_FOCUS, 2).from(0.0001),
    number(KZsICHAN_CAMERA_FSTOP, 4).from(0.01),
    seconds(KZsICHAN_CAMERA_SHUTTER, 1.0 / 48).from(0),
    metres(KZsICHAN_CAMERA_NEAR, 0.01).from(0.000001),
    metres(KZsICHAN_CAMERA_FAR, 10000).from(0.000001),
    metres(KZsICHAN_CAMERA_EYES, 0.065).from(0),
    metres(KZsICHAN_CAMERA_CONVERGENCE, 2).from(0.0001),
};
constexpr ChannelRow frames[] = {
    integer(KZsICHAN_RENDER_FIRST).unit("f"),
    integer(KZsICHAN_RENDER_LAST, 120).unit("f"),
    integer(KZsICHAN_RENDER_STEP, 1).from(1).unit("f"),
    number(KZsICHAN_RENDER_RESX, 1280).from(1),
    number(KZsICHAN_RENDER_RESY, 720).from(1),
    choice(KZsICHAN_RENDER_RESUNIT, "pixels percent inches centimeters"),
    number(KZsICHAN_RENDER_DPI, 300).from(1).unit("px/in"),
    number(KZsICHAN_RENDER_PASPECT, 1).from(0.001),
    toggle(KZsICHAN_RENDER_REGION),
    percent(KZsICHAN_RENDER_REGX0),
    percent(KZsICHAN_RENDER_REGX1, 1),
    percent(KZsICHAN_RENDER_REGY0),
    percent(KZsICHAN_RENDER_REGY1, 1),
    integer(KZsICHAN_RENDER_CAMERA).from(0),
    text(KZsICHAN_RENDER_ENGINE),
    integer(KZsICHAN_RENDER_BUCKETX, 32).from(1).unit("px"),
    integer(KZsICHAN_RENDER_BUCKETY, 32).from(1).unit("px"),
    choice(KZsICHAN_RENDER_BUCKETORDER, "rows columns spiral random hilbert", KZiRENDER_ORDER_HILBERT),
};
constexpr ChannelRow quality[] = {
    integer(KZsICHAN_RENDER_AA, 8).from(1),
    choice(KZsICHAN_RENDER_AAFILTER, "box triangle gaussian lanczos mitchell", KZiRENDER_AAFILTER_GAUSSIAN),
    number(KZsICHAN_RENDER_FINERATE, 0.25).from(0.001).unit("px"),
    percent(KZsICHAN_RENDER_FINETHRESH, 0.1),
    toggle(KZsICHAN_RENDER_DISPENABLE, true),
    number(KZsICHAN_RENDER_DISPRATE, 1).from(0.001).unit("px"),
    number(KZsICHAN_RENDER_DISPRATIO, 4).from(1),
    toggle(KZsICHAN_RENDER_RAYSHADOW, true),
    integer(KZsICHAN_RENDER_REFLDEPTH, 8).from(0),
    integer(KZsICHAN_RENDER_REFRDEPTH, 8).from(0),
    percent(KZsICHAN_RENDER_RAYTHRESH, 0.001),
    toggle(KZsICHAN_RENDER_MBLUR),
    toggle(KZsICHAN_RENDER_DOF),
    toggle(KZsICHAN_RENDER_STEREO),
    toggle(KZsICHAN_RENDER_WRITEBUFFERS),
    integer(KZsICHAN_RENDER_SEED),
    text(KZsICHAN_RENDER_DENOISER, KZs_RENDER_DENOISER_NONE),
};
constexpr ChannelRow indirect[] = {
    grey(KZsICHAN_RENDER_AMBCOLOR, 1),
    number(KZsICHAN_RENDER_AMBRAD).from(0).unit("W/m2 sr"),
    toggle(KZsICHAN_RENDER_GLOBENABLE),
    choice(KZsICHAN_RENDER_GLOBSCOPE, "none primary bounced volumes", KZiRENDER_SCOPE_PRIMARY),
    integer(KZsICHAN_RENDER_GLOBLIMIT, 1).from(0),
    integer(KZsICHAN_RENDER_GLOBRAYS, 64).from(1),
    toggle(KZsICHAN_RENDER_IRRCACHE, true),
    number(KZsICHAN_RENDER_IRRRATE, 2.5).from(0.001).unit("px"),
    number(KZsICHAN_RENDER_IRRRATIO, 6).from(1),
    integer(KZsICHAN_RENDER_IRRINTERP, 1).from(1),
    file(KZsICHAN_RENDER_IRRFILE),
    toggle(KZsICHAN_RENDER_CAUSENABLE),
    integer(KZsICHAN_RENDER_CAUSTOTAL, 10000).from(0),
    integer(KZsICHAN_RENDER_CAUSLOCAL, 32).from(1),
    toggle(KZsICHAN_RENDER_DIRECTENABLE, true),
    toggle(KZsICHAN_RENDER_SUBSENABLE, true),
};
constexpr ChannelRow output[] = {
    toggle(KZsICHAN_RENDEROUTPUT_ENABLE, true),
    text(KZsICHAN_RENDEROUTPUT_EFFECT, KZs_FX_OUTPUT_FINAL),
    file(KZsICHAN_RENDEROUTPUT_FILENAME),
    text(KZsICHAN_RENDEROUTPUT_FORMAT),
    text(KZsICHAN_RENDEROUTPUT_COLORSPACE, KZs_CSPACE_SRGB),
    number(KZsICHAN_RENDEROUTPUT_GAMMA, 1).from(0.01),
    number(KZsICHAN_RENDEROUTPUT_EXPOSURE),
    number(KZsICHAN_RENDEROUTPUT_BLACK),
    number(KZsICHAN_RENDEROUTPUT_WHITE, 1),
    choice(KZsICHAN_RENDEROUTPUT_TONEMAP, "none simple filmic photo falsecolor"),
    number(KZsICHAN_RENDEROUTPUT_SATURATION, 1).from(0),
    toggle(KZsICHAN_RENDEROUTPUT_CLAMP, true),
    percent(KZsICHAN_RENDEROUTPUT_DITHER, 1),
    choice(KZsICHAN_RENDEROUTPUT_STEREO, "side over lines color"),
    toggle(KZsICHAN_RENDEROUTPUT_BLOOM),
    number(KZsICHAN_RENDEROUTPUT_BLOOMTHRESH, 1).from(0),
    percent(KZsICHAN_RENDEROUTPUT_BLOOMRADIUS, 0.02),
    integer(KZsICHAN_RENDEROUTPUT_OCCRAYS, 64).from(1),
    metres(KZsICHAN_RENDEROUTPUT_OCCRANGE, 1).from(0),
    metres(KZsICHAN_RENDEROUTPUT_DEPTHMAX, 100).from(0),
    toggle(KZsICHAN_RENDEROUTPUT_DENOISE),
    itemReference(KZsICHAN_RENDEROUTPUT_GROUP),
};
constexpr ChannelRow pass[] = {
    text(KZsICHAN_RENDERPASS_NAME),
    toggle(KZsICHAN_RENDERPASS_ENABLE, true),
    toggle(KZsICHAN_RENDERPASS_ACTIVE),
};
constexpr TypeRow types[] = {
    {KZsITYPE_CAMERA, KZsITYPE_LOCATORSUPER, "Camera", {camera}},
    {KZsITYPE_RENDER, KZsITYPE_ANY, "Render", {frames, quality, indirect}},
    {KZsITYPE_RENDEROUTPUT, KZsITYPE_ANY, "Render Output", {output}},
    {KZsITYPE_RENDERPASS, KZsITYPE_ANY, "Render Pass", {pass}},
};

}  // namespace

const TypeTable renderTypes{"render", types};

}  // namespace kzhost::rows
