// Listeners that modules offer as servers: the host makes one of each and lets it listen.
#include "host/listener_servers.h"

#include "host/core.h"

#include "kz/result.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr const char* classes[] = {KZa_SESSIONLISTENER, KZa_CMDSYSLISTENER, KZa_LOGLISTENER};

void attach(CHostCore& core, const KzServer& server) {
    KzResult code = KZe_OK;
    try {
        CKzLoc_Unknown listener;
        code = core.listeners.add(CModuleTable::spawn(server, listener).raw());
    } catch (KzResult thrown) {
        code = thrown;
    }
    if (kzFailed(code))
        core.log->write("servers", code, "the listener \"" + server.name + "\" cannot listen: " + kzCodeName(code));
}

void attachIfNew(CHostCore& core, const KzServer& server) {
    const bool listens = std::any_of(std::begin(classes), std::end(classes),
                                     [&](const char* className) { return server.className == className; });
    if (listens && core.listeners.expects(server.className + ":" + server.name)) attach(core, server);
}

}  // namespace

KzResult kzUpdateModule(CHostCore& core, const std::string& name) {
    std::vector<KzServer> added;
    if (const KzResult code = core.modules.update(name, added); kzFailed(code)) return code;
    for (const KzServer& server : added) attachIfNew(core, server);
    for (const KzServer& server : added)
        if (server.className == KZa_COMMAND)
            core.listeners.commands([&](IKzCmdSysListener& each) { each.CommandAdded(server.name.c_str()); });
    core.listeners.moduleUpdated(name.c_str());
    return KZe_OK;
}

void kzAttachListenerServers(CHostCore& core) {
    for (const KzServer& server : core.modules.servers()) attachIfNew(core, server);
}
