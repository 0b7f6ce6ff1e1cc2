// The tables of the host's own item types, one for each subject.
#pragma once

#include "host/document/types/channel_rows.h"

#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace kzhost {

class CItemTypeTable;

namespace rows {

struct TypeTable {
    const char* category;
    std::span<const TypeRow> types;
    std::span<const PackageRow> packages = {};
};

extern const TypeTable sceneTypes, transformTypes, groupTypes, animationTypes, modifierTypes, shaderTypes, textureTypes,
    clipTypes, lightTypes, meshTypes, meshOperationTypes, curveTypes, deformerTypes, falloffTypes, forceTypes,
    particleTypes, simulationTypes, replicatorTypes, volumeTypes, cacheTypes, renderTypes, viewTypes, schematicTypes,
    itemPackages;

void addTypes(CItemTypeTable& table);
std::map<std::string, std::vector<ChannelInfo>, std::less<>> channelPackages();

}  // namespace rows

}  // namespace kzhost
