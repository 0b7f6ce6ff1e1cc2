// The command that runs a mesh operation of a module.
#include "host/commands/mesh_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/command_text.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/refusal.h"
#include "host/document/transform_values.h"
#include "host/objects/open_scenes.h"
#include "host/objects/scene.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include "kz/mesh.h"
#include "kz/mesh_operation.h"
#include "kz/transform.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

constexpr ArgumentRow meshOperateArguments[] = {
    {"operation", KZsTYPE_STRING, kzQueryable, "the mesh operation's server name; queried, all of them"},
    {"item", KZsTYPE_STRING, kzOptional, "the mesh item of the current scene; the first one when it is left out"},
};

Texts queryOperations(CModuleTable& modules, CBuiltinCommand& /*command*/, std::uint32_t /*index*/) {
    Texts texts;
    for (const KzServer& server : modules.servers(KZa_MESHOPERATION)) texts.push_back(server.name);
    return texts;
}

CHostRef<CItem> meshItem(OpenScenes& open, CBuiltinCommand& command) {
    const auto& scenes = open.list;
    if (scenes.empty()) throw CommandTextError{KZe_NOTFOUND, "there is no scene, and so no mesh"};
    const std::int32_t type = kzFindItemType(KZsITYPE_MESH)->number;
    const std::string name = command.text("item");
    CKzLoc_Unknown item;
    const KzResult code = name.empty() ? scenes.back()->scene_ItemByIndex(type, 0, item.out())
                                       : scenes.back()->scene_ItemLookup(name.c_str(), item.out());
    if (kzFailed(code) || !kzOwn<CItem>(item.raw())->item_TestType(type))
        throw CommandTextError{KZe_NOTFOUND, name.empty()
                                                 ? "the current scene has no mesh item"
                                                 : "argument \"item\": there is no mesh item \"" + name + "\""};
    return kzOwn<CItem>(item.raw());
}

bool hasTag(const KzTags& tags, std::string_view name) {
    const auto tag = std::ranges::find(tags, name, &std::pair<std::string, std::string>::first);
    return tag != tags.end() && tag->second == "1";
}

// The first kind of elements that the operation works on.
std::int32_t elementsOf(const KzTags& tags) {
    constexpr std::pair<const char*, std::int32_t> kinds[] = {
        {"vertex", KZiMESHELT_POINT}, {"edge", KZiMESHELT_EDGE}, {"polygon", KZiMESHELT_POLYGON}};
    const auto tag = std::ranges::find(tags, KZsTAG_MESHOP_SELECTION, &std::pair<std::string, std::string>::first);
    const std::string first = tag != tags.end() ? tag->second.substr(0, tag->second.find(' ')) : std::string();
    for (const auto& [name, kind] : kinds)
        if (first == name) return kind;
    return KZiMESHELT_POINT;
}

// What the operation wants to know before it is evaluated.
void prepare(const CKzUser_MeshOperation& operation, const KzTags& tags, const CItem& item) {
    if (!hasTag(tags, KZsTAG_MESHOP_TRANSFORM)) return;
    const KzMatrix4 world = kzWorldMatrix(item, 0);
    const auto axis = [&](int row) { return KzVector3{{world.m[row][0], world.m[row][1], world.m[row][2]}}; };
    const RotationAndScale parts = kzRotationAndScale(kzMatrixOfRows(axis(0), axis(1), axis(2)));
    const KzVector3 position = axis(3), rotation = kzEulerOfRotation(parts.rotation, KZiROTORDER_XYZ);
    if (const KzResult code = operation.SetTransform(&position, &rotation, &parts.scale); kzRefuses(code)) throw code;
}

// An operation that fails leaves the mesh as it was.
void operateMesh(CModuleTable& modules, OpenScenes& scenes, CBuiltinCommand& command) {
    const std::string name = command.text("operation");
    const auto server = modules.find(KZa_MESHOPERATION, name);
    if (!server)
        throw CommandTextError{KZe_NOTFOUND, "argument \"operation\": there is no mesh operation \"" + name + "\""};
    const CHostRef<CItem> item = meshItem(scenes, command);
    const CHostRef<CMesh> mesh = item->mesh();
    CKzLoc_Unknown object;
    const CKzUser_MeshOperation operation(CModuleTable::spawn(*server, object).raw());
    if (!operation) throw KZe_NOINTERFACE;
    const KzTags tags = CModuleTable::tagsOf(*server);
    prepare(operation, tags, *item);
    const CMeshData before = mesh->data;
    const KzResult code = operation.Evaluate(mesh.raw(), elementsOf(tags), KZiMESHOP_MODE_FREEZE);
    if (kzFailed(code)) {
        mesh->data = before;
        mesh->data.changed(~0U);
        throw code;
    }
}

}  // namespace

void kzAddMeshCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                       const std::shared_ptr<OpenScenes>& scenes) {
    kzAddCommands(registry,
                  {
                      {"mesh.operate", "Operate on Mesh", "runs a mesh operation on a mesh of the current scene",
                       KZfCMD_UNDO | KZfCMD_MODEL, meshOperateArguments, kzWith(operateMesh, modules, scenes),
                       kzWith(queryOperations, modules)},
                  });
}

}  // namespace kzhost
