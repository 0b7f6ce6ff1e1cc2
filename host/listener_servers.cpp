// Listeners that modules offer as servers: the host makes one of each and lets it listen.
#include "host/listener_servers.h"

#include "host/core.h"

#include "kz/result.h"

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

std::set<std::string> commandNames(const CHostCore& core) {
    std::set<std::string> names;
    for (const KzServer& server : core.modules.servers(KZa_COMMAND)) names.insert(server.name);
    return names;
}

}  // namespace

KzResult kzUpdateModule(CHostCore& core, const std::string& name) {
    const std::set<std::string> former = commandNames(core);
    if (const KzResult code = core.modules.update(name); kzFailed(code)) return code;
    kzAttachListenerServers(core);
    for (const std::string& each : commandNames(core))
        if (!former.contains(each))
            core.listeners.commands([&](IKzCmdSysListener& listener) { listener.CommandAdded(each.c_str()); });
    core.listeners.moduleUpdated(name.c_str());
    return KZe_OK;
}

void kzAttachListenerServers(CHostCore& core) {
    for (const char* className : classes)
        for (const KzServer& server : core.modules.servers(className))
            if (core.listeners.expects(server.className + ":" + server.name)) attach(core, server);
}
