// The tables of the host's own item types, one for each subject.
#pragma once

#include "host/document/types/channel_rows.h"
#include "host/state/function_ref.h"

#include <map>
#include <span>
#include <string>
#include <vector>

namespace kzhost::rows {

// What a type of items is made of.
struct TypeDescription {
    std::string name;
    std::string base;  // a name, too
    std::vector<ChannelInfo> channels;
    std::map<std::string, std::string, std::less<>> tags;  // by s_ITEMTAG names
};

struct TypeTable {
    const char* category;
    std::span<const TypeRow> types;
    std::span<const PackageRow> packages = {};
};

extern const TypeTable sceneTypes, transformTypes, groupTypes, animationTypes, modifierTypes, shaderTypes, textureTypes,
    clipTypes, lightTypes, meshTypes, meshOperationTypes, curveTypes, deformerTypes, falloffTypes, forceTypes,
    particleTypes, simulationTypes, replicatorTypes, volumeTypes, cacheTypes, renderTypes, viewTypes, schematicTypes,
    itemPackages;

// The types in an order in which each comes behind its base.
void eachType(CFunctionRef<void(TypeDescription type)> visit);
std::map<std::string, std::vector<ChannelInfo>, std::less<>> channelPackages();

}  // namespace kzhost::rows
