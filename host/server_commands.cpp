// The host's own commands that concern modules and their servers.
#include "host/builtin_command.h"

#include "host/listener_servers.h"
#include "host/objects/scene.h"
#include "host/scripts.h"

#include "kz/mesh_operation.h"
#include "kz/result.h"
#include "kz/value.h"

#include <algorithm>

namespace {

using Texts = std::vector<std::string>;

constexpr std::uint32_t optional = KZfCMDARG_OPTIONAL;
constexpr std::uint32_t queryable = KZfCMDARG_QUERY;

constexpr ArgumentRow serverListArguments[] = {
    {"class", KZsTYPE_STRING, optional | queryable, "the class of servers; queried, all classes"},
    {"name", KZsTYPE_STRING, optional | queryable, "queried, the servers of the class, or all"},
};

void listNothing(CBuiltinCommand& /*command*/) { throw KZe_CMD_NOT_EXECUTABLE; }

Texts queryServers(CBuiltinCommand& command, std::uint32_t index) {
    Texts texts;
    for (const KzServer& server : command.core().modules.servers(index == 0 ? "" : command.text("class"))) {
        const std::string& text = index == 0 ? server.className : server.name;
        if (index == 1 || std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
    }
    return texts;
}

constexpr ArgumentRow moduleUpdateArguments[] = {{"module", KZsTYPE_STRING, 0, "the module's name"}};

void updateModule(CBuiltinCommand& command) {
    const std::string name = command.text("module");
    if (kzFailed(kzUpdateModule(command.core(), name)))
        throw CommandTextError{KZe_NOTFOUND, "argument \"module\": there is no module \"" + name + "\""};
}

// The interpreter knows its files; the host only asks it to look at them.
constexpr const char* reloadScript = "# python\n"
                                     "from kzserv import loading\n"
                                     "loading.reload_changed()\n";

void reloadServers(CBuiltinCommand& command) {
    const auto script = CHostRef<CScript>::make("server.reload", reloadScript);
    CHostCore& core = command.core();
    const KzResult code = core.scripts.run(core, script, core.commands.flags(), "", command.run().message().raw());
    if (kzFailed(code)) throw code;
}

constexpr ArgumentRow meshOperateArguments[] = {
    {"operation", KZsTYPE_STRING, queryable, "the mesh operation's server name; queried, all of them"},
    {"item", KZsTYPE_STRING, optional, "the mesh item of the current scene; the first one when it is left out"},
};

Texts queryOperations(CBuiltinCommand& command, std::uint32_t /*index*/) {
    Texts texts;
    for (const KzServer& server : command.core().modules.servers(KZa_MESHOPERATION)) texts.push_back(server.name);
    return texts;
}

CHostRef<CItem> meshItem(CBuiltinCommand& command) {
    auto& scenes = command.core().scenes;
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

// An operation that fails leaves the mesh as it was.
void operateMesh(CBuiltinCommand& command) {
    const std::string name = command.text("operation");
    const auto server = command.core().modules.find(KZa_MESHOPERATION, name);
    if (!server)
        throw CommandTextError{KZe_NOTFOUND, "argument \"operation\": there is no mesh operation \"" + name + "\""};
    const CHostRef<CItem> item = meshItem(command);
    const CHostRef<CMesh> mesh = item->mesh();
    CKzLoc_Unknown made;
    const CKzUser_MeshOperation operation(CModuleTable::spawn(*server, made).raw());
    if (!operation) throw KZe_NOINTERFACE;
    const CMeshData before = mesh->data;
    const KzResult code = operation.Evaluate(mesh.raw(), KZiMESHELT_POINT, KZiMESHOP_MODE_FREEZE);
    if (kzFailed(code)) {
        mesh->data = before;
        mesh->data.changed(~0U);
        throw code;
    }
    if (item->item_IsValid()) item->scene().touch();
}

constexpr CommandRow commands[] = {
    {"mesh.operate", "Operate on Mesh", "runs a mesh operation on a mesh of the current scene", KZfCMD_MODEL,
     meshOperateArguments, operateMesh, queryOperations},
    {KZsCMD_MODULE_UPDATE, "Update Module", "reads a module's servers again", KZfCMD_UI, moduleUpdateArguments,
     updateModule},
    {KZsCMD_SERVER_LIST, "Servers", "what the loaded modules offer", KZfCMD_UI, serverListArguments, listNothing,
     queryServers},
    {"server.reload",
     "Reload Servers",
     "takes in server files that are new or have changed",
     KZfCMD_UI,
     {},
     reloadServers},
};

}  // namespace

std::span<const CommandRow> kzServerCommands() noexcept { return commands; }
