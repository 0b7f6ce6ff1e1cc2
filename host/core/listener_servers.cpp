// Listeners that modules offer as servers: the host makes one of each and lets it listen.
#include "host/core/listener_servers.h"

#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <vector>

namespace kzhost {

namespace {

void attach(CListenerTable& listeners, CLogStore& log, const KzServer& server) {
    KzResult code = KZe_OK;
    try {
        CKzLoc_Unknown listener;
        code = listeners.add(CModuleTable::spawn(server, listener).raw());
    } catch (KzResult thrown) {
        code = thrown;
    }
    if (kzFailed(code))
        log.write("servers", code, "the listener \"" + server.name + "\" cannot listen: " + kzCodeName(code));
}

void attachIfNew(CListenerTable& listeners, CLogStore& log, const KzServer& server) {
    if (CListenerTable::isClass(server.className) && listeners.expects(server.className + ":" + server.name))
        attach(listeners, log, server);
}

}  // namespace

KzResult kzUpdateModule(CModuleTable& modules, CListenerTable& listeners, CLogStore& log, const std::string& name) {
    std::vector<KzServer> added;
    if (const KzResult code = modules.update(name, added); kzFailed(code)) return code;
    for (const KzServer& server : added) attachIfNew(listeners, log, server);
    for (const KzServer& server : added)
        if (server.className == KZa_COMMAND)
            listeners.commands([&](IKzCmdSysListener& each) { each.CommandAdded(server.name.c_str()); });
    for (const KzServer& server : added) modules.announce(server);
    listeners.moduleUpdated(name.c_str());
    return KZe_OK;
}

}  // namespace kzhost
