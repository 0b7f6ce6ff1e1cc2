// Modifiers of channels.
#include "host/document/types/type_tables.h"

#include "kz/channel_mod.h"
#include "kz/item.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow common[] = {
    toggle(KZsICHAN_CHANMODIFY_ENABLE, true),
    percent(KZsICHAN_CHANMODIFY_STRENGTH, 1),
    number(KZsICHAN_CHANMODIFY_INPUT),
    number(KZsICHAN_CHANMODIFY_OUTPUT).with(KZfCHAN_READONLY),
};
constexpr ChannelRow mathBasic[] = {
    choice(KZsICHAN_MATHBASIC_OPERATION, "add subtract multiply divide modulo power minimum maximum"),
    number(KZsICHAN_MATHBASIC_INPUT1),
    number(KZsICHAN_MATHBASIC_INPUT2),
};
constexpr ChannelRow mathFunction[] = {
    choice(KZsICHAN_MATHFUNC_FUNCTION, "abs sin cos tan sqrt exp log floor fraction"),
    choice(KZsICHAN_MATHFUNC_ANGLEUNIT, "rad deg"),
    number(KZsICHAN_MATHFUNC_PRESCALE, 1),
    number(KZsICHAN_MATHFUNC_POSTSCALE, 1),
};
constexpr ChannelRow mathVector[] = {
    choice(KZsICHAN_MATHVECTOR_OPERATION, "sum cross dot angle length normalize"),
    number(KZsICHAN_MATHVECTOR_INPUT1).xyz(0, 0, 0),
    number(KZsICHAN_MATHVECTOR_INPUT2).xyz(0, 0, 0),
    number(KZsICHAN_MATHVECTOR_OUTPUT).xyz(0, 0, 0).with(KZfCHAN_READONLY),
    number(KZsICHAN_MATHVECTOR_SCALAR).with(KZfCHAN_READONLY),
};
constexpr ChannelRow mathMatrix[] = {
    choice(KZsICHAN_MATHMATRIX_OPERATION, "multiply invert transpose blend"),
    matrix(KZsICHAN_MATHMATRIX_INPUTS),
    percent(KZsICHAN_MATHMATRIX_BLEND, 0.5),
    object(KZsICHAN_MATHMATRIX_OUTPUT, KZsCHANEVAL_MATRIX),
};
constexpr ChannelRow noise[] = {
    number(KZsICHAN_MODNOISE_AMPLITUDE, 1), number(KZsICHAN_MODNOISE_FREQUENCY, 1).from(0).unit("Hz"),
    number(KZsICHAN_MODNOISE_OFFSET),       integer(KZsICHAN_MODNOISE_OCTAVES, 1).in(1, 16),
    number(KZsICHAN_MODNOISE_GAIN, 0.5),    number(KZsICHAN_MODNOISE_LACUNARITY, 2).from(1),
    integer(KZsICHAN_MODNOISE_SEED),        toggle(KZsICHAN_MODNOISE_SIGNED, true),
};
constexpr ChannelRow wave[] = {
    choice(KZsICHAN_MODWAVE_SHAPE, "sine triangle saw square pulse"),
    seconds(KZsICHAN_MODWAVE_PERIOD, 1).from(1e-6),
    percent(KZsICHAN_MODWAVE_PHASE),
    number(KZsICHAN_MODWAVE_LOW, -1),
    number(KZsICHAN_MODWAVE_HIGH, 1),
};
constexpr ChannelRow clamp[] = {
    number(KZsICHAN_MODCLAMP_MINIMUM),
    number(KZsICHAN_MODCLAMP_MAXIMUM, 1),
    number(KZsICHAN_MODCLAMP_SOFTNESS).from(0),
};
constexpr ChannelRow smooth[] = {
    seconds(KZsICHAN_MODSMOOTH_WINDOW, 0.25).from(0),
    integer(KZsICHAN_MODSMOOTH_SAMPLES, 8).in(1, KZiMODSMOOTH_MAX_SAMPLES),
    toggle(KZsICHAN_MODSMOOTH_CENTERED, true),
};
constexpr ChannelRow cycle[] = {
    seconds(KZsICHAN_MODCYCLE_START),
    seconds(KZsICHAN_MODCYCLE_LENGTH, 1).from(1e-6),
    toggle(KZsICHAN_MODCYCLE_RELATIVE),
    seconds(KZsICHAN_MODCYCLE_BLEND).from(0),
};
constexpr ChannelRow select[] = {
    integer(KZsICHAN_MODSWITCH_SELECTOR).from(0),
    number(KZsICHAN_MODSWITCH_INPUTS),
};
constexpr ChannelRow logic[] = {
    choice(KZsICHAN_MODLOGIC_OPERATION, "equal less greater and or not"),
    number(KZsICHAN_MODLOGIC_VALUE1),
    number(KZsICHAN_MODLOGIC_VALUE2),
    number(KZsICHAN_MODLOGIC_TRUEVALUE, 1),
    number(KZsICHAN_MODLOGIC_FALSEVALUE),
};
constexpr ChannelRow random[] = {
    integer(KZsICHAN_MODRANDOM_SEED),
    number(KZsICHAN_MODRANDOM_MINIMUM),
    number(KZsICHAN_MODRANDOM_MAXIMUM, 1),
    seconds(KZsICHAN_MODRANDOM_HOLD).from(0),
};
constexpr ChannelRow spring[] = {
    number(KZsICHAN_MODSPRING_STIFFNESS, 50).from(0),
    number(KZsICHAN_MODSPRING_DAMPING, 5).from(0),
    number(KZsICHAN_MODSPRING_MASS, 1).from(1e-6).unit("kg"),
    seconds(KZsICHAN_MODSPRING_START),
};
constexpr ChannelRow timeOffset[] = {seconds(KZsICHAN_MODTIMEOFFSET_OFFSET)};
constexpr ChannelRow distance[] = {
    metres(KZsICHAN_MODDISTANCE_POINT1).xyz(0, 0, 0),
    metres(KZsICHAN_MODDISTANCE_POINT2).xyz(0, 0, 0),
    number(KZsICHAN_MODDISTANCE_SCALE, 1),
};
constexpr ChannelRow relation[] = {
    gradient(KZsICHAN_MODRELATION_CURVE),
    number(KZsICHAN_MODRELATION_INPUT),
};
constexpr ChannelRow expression[] = {
    prose(KZsICHAN_MODEXPRESSION_TEXT),
    number(KZsICHAN_MODEXPRESSION_RESULT).with(KZfCHAN_READONLY),
};
constexpr TypeRow types[] = {
    {KZsITYPE_CHANMODIFY, KZsITYPE_ANY, "Channel Modifier", {common}, true},
    {KZsITYPE_CHANEFFECT, KZsITYPE_CHANMODIFY, "Channel Effect", {}, true},
    {KZsITYPE_MATHBASIC, KZsITYPE_CHANMODIFY, "Basic Math", {mathBasic}},
    {KZsITYPE_MATHFUNC, KZsITYPE_CHANMODIFY, "Math Function", {mathFunction}},
    {KZsITYPE_MATHVECTOR, KZsITYPE_CHANMODIFY, "Vector Math", {mathVector}},
    {KZsITYPE_MATHMATRIX, KZsITYPE_CHANMODIFY, "Matrix Math", {mathMatrix}},
    {KZsITYPE_MODNOISE, KZsITYPE_CHANMODIFY, "Noise", {noise}},
    {KZsITYPE_MODWAVE, KZsITYPE_CHANMODIFY, "Wave", {wave}},
    {KZsITYPE_MODCLAMP, KZsITYPE_CHANMODIFY, "Clamp", {clamp}},
    {KZsITYPE_MODSMOOTH, KZsITYPE_CHANMODIFY, "Smooth", {smooth}},
    {KZsITYPE_MODCYCLE, KZsITYPE_CHANMODIFY, "Cycle", {cycle}},
    {KZsITYPE_MODSWITCH, KZsITYPE_CHANMODIFY, "Switch", {select}},
    {KZsITYPE_MODLOGIC, KZsITYPE_CHANMODIFY, "Logic", {logic}},
    {KZsITYPE_MODRANDOM, KZsITYPE_CHANMODIFY, "Random", {random}},
    {KZsITYPE_MODSPRING, KZsITYPE_CHANMODIFY, "Spring", {spring}},
    {KZsITYPE_MODTIMEOFFSET, KZsITYPE_CHANMODIFY, "Time Offset", {timeOffset}},
    {KZsITYPE_MODDISTANCE, KZsITYPE_CHANMODIFY, "Distance", {distance}},
    {KZsITYPE_MODRELATION, KZsITYPE_CHANMODIFY, "Relation", {relation}},
    {KZsITYPE_MODEXPRESSION, KZsITYPE_CHANMODIFY, "Expression", {expression}},
};

}  // namespace

const TypeTable modifierTypes{"channel modifier", types};

}  // namespace kzhost::rows
