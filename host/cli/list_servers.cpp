// kzhost servers: a table of all servers.
#include "host/cli/list_servers.h"

#include "host/cli/program.h"
#include "host/cli/standard_streams.h"
#include "host/core/module_table.h"
#include "host/state/text.h"

#include "kz/module.h"

#include <algorithm>

namespace kzhost {

int kzListServers(CProgram& program) {
    if (const int status = program.start(); status != exitOk) return status;
    CKzHost& host = program.host();
    program.wakeInterpreters();
    const auto servers = host.modules().servers();
    std::size_t classWidth = 5;
    std::size_t nameWidth = 4;
    for (const KzServer& server : servers) {
        classWidth = std::max(classWidth, server.className.size());
        nameWidth = std::max(nameWidth, server.name.size());
    }
    CStandardStreams& streams = CStandardStreams::get();
    streams.print("{:<{}}  {:<{}}  {}\n", "class", classWidth, "name", nameWidth, "module, tags");
    for (const KzServer& server : servers) {
        const std::string label = server.className.empty() ? kzGuidText(server.iid) : server.className;
        streams.print("{:<{}}  {:<{}}  {}", label, classWidth, server.name, nameWidth, server.moduleName);
        if (server.className != KZa_MODULE)  // the tags of a module are its servers
            for (const auto& [type, value] : CModuleTable::tagsOf(server)) streams.print("  {}={}", type, value);
        streams.out("\n");
    }
    return exitOk;
}

}  // namespace kzhost
