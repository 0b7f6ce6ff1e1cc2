// Volumes, and grids of cells.
#include "host/document/types/type_tables.h"

#include "kz/item.h"
#include "kz/voxel.h"

namespace kzhost::rows {

namespace {

constexpr ChannelRow volume[] = {
    number(KZsICHAN_VOLUME_DENSITY, 1).from(0),
    percent(KZsICHAN_VOLUME_SCATTER, 0.5),
};
constexpr ChannelRow grid[] = {
    text(KZsICHAN_VOXEL_FEATURE, "density"),
    metres(KZsICHAN_VOXEL_CELLSIZE, 0.05).from(1e-6),
    percent(KZsICHAN_VOXEL_SHARPNESS, 0.5),
    number(KZsICHAN_VOXEL_STEPSIZE, 0.5).from(0.001),
    number(KZsICHAN_VOXEL_ISOVALUE, 0.5),
    choice(KZsICHAN_VOXEL_FILTER, "nearest linear cubic", KZiVOXEL_FILTER_LINEAR),
};
constexpr ChannelRow fromFile[] = {file(KZsICHAN_VOXEL_FILE)};
constexpr TypeRow types[] = {
    {KZsITYPE_VOLUME, KZsITYPE_LOCATORSUPER, "Volume", {volume}},
    {KZsITYPE_VOXELITEM, KZsITYPE_LOCATORSUPER, "Voxel Grid", {grid}},
    {KZsITYPE_VOXELFILE, KZsITYPE_LOCATORSUPER, "Voxel File", {fromFile, grid}},
};

}  // namespace

const TypeTable volumeTypes{"volume", types};

}  // namespace kzhost::rows
