// Forces, particles, bodies that are simulated, and copies of items.
#include "host/document/types/type_tables.h"

#include "kz/force.h"
#include "kz/item.h"
#include "kz/particle.h"
#include "kz/replicator.h"
#include "kz/simulation.h"

#include <numbers>

namespace kzhost::rows {

namespace {

constexpr double turn = 2 * std::numbers::pi;
constexpr ChannelRow force[] = {
    toggle(KZsICHAN_FORCE_ENABLE, true),
    number(KZsICHAN_FORCE_STRENGTH, 1),
    metres(KZsICHAN_FORCE_FALLOFF, 1).from(0),
    choice(KZsICHAN_FORCE_FALLOFFMODE, "none linear inverse square"),
    toggle(KZsICHAN_FORCE_USEMASS),
    percent(KZsICHAN_FORCE_NOISE),
    metres(KZsICHAN_FORCE_NOISESIZE, 1).from(0.001),
};
constexpr ChannelRow direction[] = {
    number(KZsICHAN_FORCE_DIRECTION_X),
    number(KZsICHAN_FORCE_DIRECTION_Y, -1),
    number(KZsICHAN_FORCE_DIRECTION_Z),
};
constexpr ChannelRow wind[] = {
    number(KZsICHAN_WIND_SPEED, 5).unit("m/s"),
    percent(KZsICHAN_WIND_GUST, 0.2),
};
constexpr ChannelRow drag[] = {
    number(KZsICHAN_DRAG_LINEAR, 0.1).from(0),
    number(KZsICHAN_DRAG_QUADRATIC).from(0),
};
constexpr ChannelRow vortex[] = {
    number(KZsICHAN_FORCEVORTEX_TWIST, 1),
    number(KZsICHAN_FORCEVORTEX_LIFT),
};
constexpr ChannelRow turbulence[] = {
    number(KZsICHAN_TURBULENCE_AMPLITUDE, 1),
    integer(KZsICHAN_TURBULENCE_OCTAVES, 3).in(1, 16),
};
constexpr ChannelRow newton[] = {number(KZsICHAN_NEWTON_MASS, 1).from(0).unit("kg")};
constexpr ChannelRow emitter[] = {
    number(KZsICHAN_EMITTER_RATE, 100).from(0).unit("Hz"),
    percent(KZsICHAN_EMITTER_RATEVARY),
    integer(KZsICHAN_EMITTER_LIMIT).from(0),
    seconds(KZsICHAN_EMITTER_START),
    seconds(KZsICHAN_EMITTER_END, 5),
    number(KZsICHAN_EMITTER_SPEED, 1).unit("m/s"),
    percent(KZsICHAN_EMITTER_SPEEDVARY, 0.1),
    radians(KZsICHAN_EMITTER_SPREAD, turn / 24).in(0, turn / 2),
    seconds(KZsICHAN_EMITTER_LIFE, 2).from(0),
    percent(KZsICHAN_EMITTER_LIFEVARY),
    metres(KZsICHAN_EMITTER_SIZE, 0.01).from(0),
    percent(KZsICHAN_EMITTER_SIZEVARY),
    number(KZsICHAN_EMITTER_MASS, 0.001).from(0).unit("kg"),
    choice(KZsICHAN_EMITTER_SHAPE, "point box disc sphere mesh"),
    integer(KZsICHAN_EMITTER_SEED),
};
constexpr ChannelRow particleSimulation[] = {
    toggle(KZsICHAN_PARTSIM_SIMULATE, true),   integer(KZsICHAN_PARTSIM_SUBSTEPS, 1).from(1),
    toggle(KZsICHAN_PARTSIM_COLLIDE, true),    toggle(KZsICHAN_PARTSIM_SELFCOLLIDE),
    seconds(KZsICHAN_PARTSIM_PREROLL).from(0),
};
constexpr ChannelRow particleCache[] = {
    file(KZsICHAN_PARTCACHE_FILE),
    seconds(KZsICHAN_PARTCACHE_OFFSET),
    number(KZsICHAN_PARTCACHE_SPEED, 1),
    choice(KZsICHAN_PARTCACHE_LOOP, "none repeat mirror"),
};
constexpr ChannelRow particleView[] = {
    choice(KZsICHAN_PARTVIEW_DISPLAY, "point cross sphere box number"),
    percent(KZsICHAN_PARTVIEW_FRACTION, 1),
    color(KZsICHAN_PARTVIEW_COLOR, 0.2, 0.6, 1),
};
constexpr ChannelRow surfaceGenerator[] = {
    itemReference(KZsICHAN_SURFGEN_SURFACE),
    number(KZsICHAN_SURFGEN_DENSITY, 100).from(0).unit("1/m2"),
    metres(KZsICHAN_SURFGEN_SPACING, 0.1).from(0),
    choice(KZsICHAN_SURFGEN_METHOD, "random uniform poisson polygon vertex"),
};
constexpr ChannelRow solver[] = {
    toggle(KZsICHAN_SOLVER_ENABLE, true),
    seconds(KZsICHAN_SOLVER_START),
    seconds(KZsICHAN_SOLVER_END, 5),
    integer(KZsICHAN_SOLVER_RATE, 120).from(1).unit("Hz"),
    number(KZsICHAN_SOLVER_GRAVITY_X).unit("m/s2"),
    number(KZsICHAN_SOLVER_GRAVITY_Y, -9.80665).unit("m/s2"),
    number(KZsICHAN_SOLVER_GRAVITY_Z).unit("m/s2"),
    integer(KZsICHAN_SOLVER_ITERATIONS, 10).from(1),
};
constexpr ChannelRow body[] = {
    choice(KZsICHAN_DYNAMICS_MODE, "none static active kinematic", KZiDYNAMICS_MODE_ACTIVE),
    number(KZsICHAN_DYNAMICS_MASS).from(0).unit("kg"),
    number(KZsICHAN_DYNAMICS_DENSITY, 1000).from(0).unit("kg/m3"),
    number(KZsICHAN_DYNAMICS_VELOCITY).xyz(0, 0, 0).unit("m/s"),
};
constexpr ChannelRow collider[] = {
    percent(KZsICHAN_DYNAMICS_BOUNCE, 0.3),
    percent(KZsICHAN_DYNAMICS_FRICTION, 0.5),
    choice(KZsICHAN_DYNAMICS_SHAPE, "box sphere capsule plane hull mesh", KZiCOLLIDE_SHAPE_HULL),
    metres(KZsICHAN_DYNAMICS_MARGIN, 0.001).from(0),
    integer(KZsICHAN_DYNAMICS_GROUP).from(0),
};
constexpr ChannelRow rigid[] = {body[0],     body[1],     body[2],     body[3],    collider[0],
                                collider[1], collider[2], collider[3], collider[4]};
constexpr ChannelRow soft[] = {
    percent(KZsICHAN_SOFT_STRETCH, 0.9),
    percent(KZsICHAN_SOFT_BENDING, 0.1),
    percent(KZsICHAN_SOFT_DAMPING, 0.02),
    number(KZsICHAN_SOFT_PRESSURE).unit("N/m2"),
};
constexpr ChannelRow replicator[] = {
    itemReference(KZsICHAN_REPLICATOR_SOURCE),
    itemReference(KZsICHAN_REPLICATOR_PARTICLE),
    choice(KZsICHAN_REPLICATOR_SOURCEMODE, "random cycle weighted byindex"),
    choice(KZsICHAN_REPLICATOR_ALIGN, "none normal path target"),
    integer(KZsICHAN_REPLICATOR_SEED),
    toggle(KZsICHAN_REPLICATOR_COLLECT),
    toggle(KZsICHAN_REPLICATOR_USEROTATION, true),
    toggle(KZsICHAN_REPLICATOR_USESCALE, true),
    number(KZsICHAN_REPLICATOR_SCALEMIN, 1).from(0),
    number(KZsICHAN_REPLICATOR_SCALEMAX, 1).from(0),
    radians(KZsICHAN_REPLICATOR_ROTATEVARY).xyz(0, 0, 0),
    metres(KZsICHAN_REPLICATOR_POSITIONVARY).xyz(0, 0, 0),
};
constexpr ChannelRow array[] = {
    integer(KZsICHAN_ARRAY_COUNT, 5).from(0),
    metres(KZsICHAN_ARRAY_SPACING, 1),
    metres(KZsICHAN_ARRAY_JITTER).from(0),
};
constexpr ChannelRow radialArray[] = {
    metres(KZsICHAN_ARRAY_RADIUS, 1).from(0),
    radians(KZsICHAN_ARRAY_STARTANGLE),
    radians(KZsICHAN_ARRAY_ENDANGLE, turn),
};
constexpr ChannelRow pathArray[] = {
    itemReference(KZsICHAN_ARRAY_PATH),
    percent(KZsICHAN_ARRAY_OFFSETSTART),
    percent(KZsICHAN_ARRAY_OFFSETEND, 1),
};
constexpr ChannelRow arrayDraw[] = {
    color(KZsICHAN_ARRAYDRAW_COLOR, 1, 0.8, 0.2),
    number(KZsICHAN_ARRAYDRAW_SIZE, 4).from(0).unit("px"),
};
constexpr TypeRow forces[] = {
    {KZsITYPE_FORCE, KZsITYPE_LOCATORSUPER, "Force", {force}, true},
    {KZsITYPE_FORCE_RADIAL, KZsITYPE_FORCE, "Radial Force"},
    {KZsITYPE_FORCE_LINEAR, KZsITYPE_FORCE, "Linear Force", {direction}},
    {KZsITYPE_FORCE_WIND, KZsITYPE_FORCE, "Wind", {direction, wind}},
    {KZsITYPE_FORCE_DRAG, KZsITYPE_FORCE, "Drag", {drag}},
    {KZsITYPE_FORCE_VORTEX, KZsITYPE_FORCE, "Vortex", {direction, vortex}},
    {KZsITYPE_FORCE_TURBULENCE, KZsITYPE_FORCE, "Turbulence", {turbulence}},
    {KZsITYPE_FORCE_NEWTON, KZsITYPE_FORCE, "Gravitation", {newton}},
};
constexpr TypeRow particles[] = {
    {KZsITYPE_PARTICLE, KZsITYPE_LOCATORSUPER, "Particles"},
    {KZsITYPE_PARTSIM, KZsITYPE_PARTICLE, "Particle Simulation", {particleSimulation}},
    {KZsITYPE_EMITTER, KZsITYPE_LOCATORSUPER, "Emitter", {emitter}},
    {KZsITYPE_EMITTER_CURVE, KZsITYPE_EMITTER, "Curve Emitter"},
    {KZsITYPE_EMITTER_SURFACE, KZsITYPE_EMITTER, "Surface Emitter"},
    {KZsITYPE_EMITTER_SOURCE, KZsITYPE_EMITTER, "Source Emitter"},
    {KZsITYPE_PARTCACHE, KZsITYPE_PARTICLE, "Particle Cache", {particleCache}},
    {KZsITYPE_SURFGEN, KZsITYPE_LOCATORSUPER, "Surface Generator", {surfaceGenerator}},
    {KZsITYPE_PARTSTEP, KZsITYPE_ITEMMODIFY, "Particle Step"},
};
constexpr TypeRow simulations[] = {
    {KZsITYPE_SOLVER, KZsITYPE_ANY, "Solver", {solver}},
    {KZsITYPE_COLLISIONITEM, KZsITYPE_ITEMMODIFY, "Collider", {collider}},
    {KZsITYPE_SOFTBODY, KZsITYPE_ITEMMODIFY, "Soft Body", {body, collider, soft}},
    {KZsITYPE_CLOTH, KZsITYPE_SOFTBODY, "Cloth"},
};
constexpr TypeRow replicators[] = {
    {KZsITYPE_REPLICATOR, KZsITYPE_LOCATORSUPER, "Replicator", {replicator}},
    {KZsITYPE_ARRAY, KZsITYPE_LOCATORSUPER, "Array", {array}},
    {KZsITYPE_ARRAY_RADIAL, KZsITYPE_ARRAY, "Radial Array", {radialArray}},
    {KZsITYPE_ARRAY_PATH, KZsITYPE_ARRAY, "Path Array", {pathArray}},
};
constexpr PackageRow particlePackages[] = {{KZsPKG_PARTICLE_VIEW, particleView}};
constexpr PackageRow simulationPackages[] = {
    {KZsPKG_DYNAMICS_RIGID, rigid},
    {KZsPKG_DYNAMICS_SOFT, soft},
    {KZsPKG_DYNAMICS_COLLIDER, collider},
};
constexpr PackageRow replicatorPackages[] = {{KZsPKG_ARRAY_DRAW_OPTIONS, arrayDraw}};

}  // namespace

const TypeTable forceTypes{"force", forces};
const TypeTable particleTypes{"particle", particles, particlePackages};
const TypeTable simulationTypes{"simulation", simulations, simulationPackages};
const TypeTable replicatorTypes{"replicator", replicators, replicatorPackages};

}  // namespace kzhost::rows
