// The host's own commands that concern modules and their servers.
#include "host/commands/builtin_server_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/command_text.h"
#include "host/core/listener_servers.h"
#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/core/needed_names.h"
#include "host/core/object.h"
#include "host/core/scripts.h"
#include "host/state/command_state.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <algorithm>
#include <string>

namespace kzhost {

namespace {

constexpr ArgumentRow serverListArguments[] = {
    {"class", KZsTYPE_STRING, kzOptional | kzQueryable, "the class of servers; queried, all classes"},
    {"name", KZsTYPE_STRING, kzOptional | kzQueryable, "queried, the servers of the class, or all"},
};

Texts queryServers(CModuleTable& modules, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return modules.classNames();
    Texts names;
    for (const KzServer& server : modules.servers(kzNeedClass(command.text("class")))) names.push_back(server.name);
    return names;
}

constexpr ArgumentRow moduleUpdateArguments[] = {{"module", KZsTYPE_STRING, 0, "the module's name"}};

void updateModule(CModuleTable& modules, CListenerTable& listeners, CLogStore& log, CBuiltinCommand& command) {
    const std::string name = command.text("module");
    if (kzFailed(kzUpdateModule(modules, listeners, log, name)))
        throw CommandTextError{KZe_NOTFOUND, "argument \"module\": there is no module \"" + name + "\""};
}

// Only the interpreter knows its files, so the host runs a script that reloads them.
constexpr const char* reloadScript = "# python\n"
                                     "from kzserv import loading\n"
                                     "loading.reload_changed()\n";

void reloadServers(CScriptRunner& scripts, CBuiltinCommand& command) {
    const auto script = CHostRef<CScript>::make("server.reload", reloadScript);
    const KzResult code = scripts.run(script, command.environment().state->flags(), "", command.run().message().raw());
    if (kzFailed(code)) throw code;
}

}  // namespace

void kzAddBuiltinServerCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules,
                                const std::shared_ptr<CScriptRunner>& scripts) {
    kzAddCommands(
        registry,
        {
            {KZsCMD_MODULE_UPDATE, "Update Module", "reads a module's servers again", KZfCMD_UI, moduleUpdateArguments,
             kzWith(updateModule, modules, registry.environment()->listeners, registry.environment()->log)},
            {KZsCMD_SERVER_LIST, "Servers", "what the loaded modules offer", KZfCMD_UI, serverListArguments,
             kzOnlyQueried, kzWith(queryServers, modules)},
            {"server.reload",
             "Reload Servers",
             "takes in server files that are new or have changed",
             KZfCMD_UI,
             {},
             kzWith(reloadServers, scripts)},
        });
}

}  // namespace kzhost
