// Puts the tables of all subjects together.
#include "host/document/types/type_tables.h"

#include "host/state/function_ref.h"

#include "kz/item.h"

namespace kzhost::rows {

namespace {

// A base has to come before the types that are based on it.
const TypeTable* const tables[] = {
    &sceneTypes,    &transformTypes, &groupTypes,  &animationTypes, &modifierTypes,   &shaderTypes,
    &textureTypes,  &clipTypes,      &lightTypes,  &meshTypes,      &curveTypes,      &meshOperationTypes,
    &deformerTypes, &falloffTypes,   &forceTypes,  &particleTypes,  &simulationTypes, &replicatorTypes,
    &volumeTypes,   &cacheTypes,     &renderTypes, &viewTypes,      &schematicTypes,  &itemPackages,
};

TypeDescription descriptionOf(const TypeRow& row, const char* category) {
    TypeDescription type{row.name, row.base, describe(row.channels), {}};
    if (*row.base != '\0') type.tags.emplace(KZs_ITEMTAG_SUPERTYPE, row.base);
    type.tags.emplace(KZs_ITEMTAG_CATEGORY, category);
    type.tags.emplace(KZs_ITEMTAG_PREFIX, row.title);
    if (row.isInternal) type.tags.emplace(KZs_ITEMTAG_INTERNAL, "1");
    return type;
}

}  // namespace

void eachType(CFunctionRef<void(TypeDescription type)> visit) {
    for (const TypeTable* each : tables)
        for (const TypeRow& row : each->types) visit(descriptionOf(row, each->category));
}

std::map<std::string, std::vector<ChannelInfo>, std::less<>> channelPackages() {
    std::map<std::string, std::vector<ChannelInfo>, std::less<>> all;
    for (const TypeTable* each : tables)
        for (const PackageRow& row : each->packages) all.emplace(row.name, describe(std::span(&row.channels, 1)));
    return all;
}

}  // namespace kzhost::rows
