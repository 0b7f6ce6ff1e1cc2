// Groups, and what the schematic shows.
#include "host/document/types/type_tables.h"

#include "kz/group.h"
#include "kz/item.h"
#include "kz/schematic.h"

namespace kzhost::rows {

namespace {

constexpr const char* inherit = "none on off";
constexpr ChannelRow group[] = {
    choice(KZsICHAN_GROUP_VISIBLE, inherit), choice(KZsICHAN_GROUP_RENDER, inherit),
    choice(KZsICHAN_GROUP_SELECT, inherit),  choice(KZsICHAN_GROUP_LOCK, inherit),
    choice(KZsICHAN_GROUP_ENABLE, inherit),  grey(KZsICHAN_GROUP_COLOR, 0.5),
    toggle(KZsICHAN_GROUP_AUTOADD),
};
constexpr ChannelRow assembly[] = {
    integer(KZsICHAN_ASSEMBLY_VERSION, 1).from(0),
    toggle(KZsICHAN_ASSEMBLY_EXPOSE, true),
    toggle(KZsICHAN_ASSEMBLY_LOCKED),
    file(KZsICHAN_ASSEMBLY_ICON),
};
constexpr ChannelRow selectionSet[] = {
    text(KZsICHAN_SELECTIONSET_TYPE, "item"),
    toggle(KZsICHAN_SELECTIONSET_LOCKED),
};
constexpr ChannelRow backdrop[] = {
    number(KZsICHAN_SCHMBACKDROP_WIDTH, 400).from(1).unit("px"),
    number(KZsICHAN_SCHMBACKDROP_HEIGHT, 300).from(1).unit("px"),
    grey(KZsICHAN_SCHMBACKDROP_COLOR, 0.4),
    text(KZsICHAN_SCHMBACKDROP_TITLE),
    percent(KZsICHAN_SCHMBACKDROP_OPACITY, 0.5),
};
constexpr TypeRow groups[] = {
    {KZsITYPE_GROUP, KZsITYPE_ANY, "Group", {group}},
    {KZsITYPE_ASSEMBLY, KZsITYPE_GROUP, "Assembly", {assembly}},
    {KZsITYPE_SELECTIONSET, KZsITYPE_GROUP, "Selection Set", {selectionSet}},
};
constexpr TypeRow schematics[] = {
    {KZsITYPE_SCHMGROUP, KZsITYPE_ANY, "Schematic Group"},
    {KZsITYPE_SCHMNODE, KZsITYPE_ANY, "Schematic Node"},
    {KZsITYPE_SCHMBACKDROP, KZsITYPE_ANY, "Schematic Backdrop", {backdrop}},
};

}  // namespace

const TypeTable groupTypes{"group", groups};
const TypeTable schematicTypes{"schematic", schematics};

}  // namespace kzhost::rows
