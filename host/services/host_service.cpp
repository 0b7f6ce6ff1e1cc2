// The host service: modules, servers, and factories for them.
#include "host/services/host_service.h"

#include "host/core/listener_servers.h"
#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/own_objects.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/host.h"
#include "kz/listener.h"
#include "kz/result.h"

#include <string>
#include <utility>

namespace kzhost {

namespace {

class CServerFactory final : public CHosted<"factory", CServerFactory, CKzIfc_Factory>, CServiceBase {
public:
    CServerFactory(std::shared_ptr<ServiceContext> context, const KzServer& server)
        : CServiceBase(std::move(context)), m_server(server) {}

    KzResult fac_Name(const char** name) override {
        *name = m_server.name.c_str();
        return KZe_OK;
    }
    KzResult fac_UserName(const char** name) override {
        if (const KzResult code = fac_InfoTag("server.username", name); kzSucceeded(code)) return code;
        return fac_Name(name);
    }
    KzResult fac_ClassName(const char** name) override {
        *name = m_server.className.c_str();
        return KZe_OK;
    }
    KzResult fac_ModuleName(const char** name) override {
        *name = m_server.moduleName.c_str();
        return KZe_OK;
    }
    KzResult fac_ClassGUID(KzGuid* iid) override {
        if (iid == nullptr) return KZe_INVALIDARG;
        *iid = m_server.iid;
        return KZe_OK;
    }
    KzResult fac_Spawn(IKzUnknown** object) override {
        CKzLoc_Unknown instance;
        return CModuleTable::spawn(m_server, instance).get(object);
    }
    KzResult fac_InfoTag(const char* type, const char** value) override;
    std::uint32_t fac_TagCount() override { return static_cast<std::uint32_t>(CModuleTable::tagsOf(m_server).size()); }

private:
    KzServer m_server;
};

KzResult CServerFactory::fac_InfoTag(const char* type, const char** value) {
    for (const auto& [name, text] : CModuleTable::tagsOf(m_server)) {
        if (name != kzTextOf(type)) continue;
        *value = keep(text);
        return KZe_OK;
    }
    return KZe_NOTFOUND;
}

class CHostService final : public CHosted<"host service", CHostService, CKzIfc_HostService>, CServiceBase {
public:
    CHostService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CModuleTable> modules,
                 std::shared_ptr<CPathAliases> files, std::shared_ptr<CListenerTable> listeners,
                 std::shared_ptr<CLogStore> log, std::shared_ptr<COwnObjects> own)
        : CServiceBase(std::move(context)), m_modules(std::move(modules)), m_files(std::move(files)),
          m_listeners(std::move(listeners)), m_log(std::move(log)), m_own(std::move(own)) {}

    KzResult hostservice_ServerCount(const char* type, std::uint32_t* count) override {
        enter("Host.ServerCount");
        *count = static_cast<std::uint32_t>(m_modules->servers(kzTextOf(type)).size());
        return KZe_OK;
    }
    KzResult hostservice_ServerByIndex(const char* type, std::uint32_t index, IKzUnknown** server) override {
        enter("Host.ServerByIndex");
        const auto all = m_modules->servers(kzTextOf(type));
        return index < all.size() ? giveFactory(all[index], server) : KZe_OUTOFBOUNDS;
    }
    KzResult hostservice_LookupServer(const char* type, const char* name, std::int32_t /*load*/,
                                      IKzUnknown** server) override {
        enter("Host.LookupServer");
        return giveFactory(require(type, name), server);
    }
    KzResult hostservice_SpawnServer(const char* type, const char* name, IKzUnknown** object) override {
        enter("Host.SpawnServer");
        // The host's own objects are made like those of a server, which comes first where it has the same name.
        const COwnObjects::Make* make = m_own->find(kzTextOf(type));
        if (make != nullptr && !m_modules->find(kzTextOf(type), kzTextOf(name))) return (*make)(kzString(name), object);
        CKzLoc_Unknown instance;
        return CModuleTable::spawn(require(type, name), instance).get(object);
    }
    KzResult hostservice_ModuleCount(std::uint32_t* count) override {
        enter("Host.ModuleCount");
        *count = static_cast<std::uint32_t>(m_modules->modules().size());
        return KZe_OK;
    }
    KzResult hostservice_ModuleByIndex(std::uint32_t index, IKzUnknown** module) override;
    KzResult hostservice_ModuleAdd(const char* path) override;
    KzResult hostservice_ModuleRemove(const char* /*path*/) override {
        enter("Host.ModuleRemove");
        return KZe_NOTSUPPORTED;  // the caller may be in the module to be unloaded
    }
    KzResult hostservice_ModuleUpdate(const char* name) override;
    KzResult hostservice_DefaultServer(const char* type, IKzUnknown** server) override {
        enter("Host.DefaultServer");
        const auto all = m_modules->servers(kzTextOf(type));
        return all.empty() || kzTextOf(type).empty() ? KZe_NOTFOUND : giveFactory(all.front(), server);
    }
    KzResult hostservice_ServerTag(const char* type, const char* name, const char* tag, const char** value) override;
    KzResult hostservice_ClassCount(std::uint32_t* count) override {
        enter("Host.ClassCount");
        *count = static_cast<std::uint32_t>(m_modules->classNames().size());
        return KZe_OK;
    }
    KzResult hostservice_ClassByIndex(std::uint32_t index, const char** type) override {
        enter("Host.ClassByIndex");
        return giveName(m_modules->classNames(), index, type);
    }
    bool hostservice_IsServer(const char* type, const char* name) override {
        enter("Host.IsServer");
        return m_modules->find(kzTextOf(type), kzTextOf(name)).has_value();
    }

private:
    KzResult giveFactory(const KzServer& server, IKzUnknown** out) const {
        return CHostRef<CServerFactory>::make(context(), server).give(out);
    }
    KzServer require(const char* type, const char* name) const {
        const auto server = m_modules->find(kzTextOf(type), kzTextOf(name));
        if (!server)
            throw kzBecause(KZe_NOTFOUND, "Host.Server", [&] {
                return kzThereIsNo(kzString(type) + " server", kzTextOf(name), m_modules->servers(kzTextOf(type)),
                                   [](const auto& each) { return each.name; });
            });
        return *server;
    }

    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CPathAliases> m_files;
    std::shared_ptr<CListenerTable> m_listeners;
    std::shared_ptr<CLogStore> m_log;
    std::shared_ptr<COwnObjects> m_own;
};

KzResult CHostService::hostservice_ModuleByIndex(std::uint32_t index, IKzUnknown** module) {
    enter("Host.ModuleByIndex");
    const auto all = m_modules->modules();
    if (index >= all.size()) return KZe_OUTOFBOUNDS;
    KzServer row;
    row.name = all[index].first;
    row.className = KZa_MODULE;
    row.moduleName = all[index].first;
    row.iid = KZu_MODULE;
    return giveFactory(row, module);
}

KzResult CHostService::hostservice_ModuleAdd(const char* path) {
    enter("Host.ModuleAdd");
    const auto file = m_files->resolve(kzTextOf(path));
    if (!file) return KZe_NOTFOUND;
    std::string why;
    if (m_modules->load(*file, why)) return KZe_OK;
    m_log->write("host", KZe_FAILED, why);
    return KZe_FAILED;
}

KzResult CHostService::hostservice_ModuleUpdate(const char* name) {
    enter("Host.ModuleUpdate");
    const std::string module(kzTextOf(name));
    const KzResult code = kzUpdateModule(*m_modules, *m_listeners, *m_log, module);
    if (code != KZe_NOTFOUND) return code;
    return kzBecause(code, "Host.ModuleUpdate", [&] {
        return kzThereIsNo("module", module, m_modules->modules(), [](const auto& each) { return each.first; });
    });
}

KzResult CHostService::hostservice_ServerTag(const char* type, const char* name, const char* tag, const char** value) {
    enter("Host.ServerTag");
    for (const auto& [key, text] : CModuleTable::tagsOf(require(type, name))) {
        if (key != kzTextOf(tag)) continue;
        *value = keep(text);
        return KZe_OK;
    }
    return KZe_NOTFOUND;
}

}  // namespace

decltype(kzMakeHostService) kzMakeHostService = kzMakeService<CHostService>;

}  // namespace kzhost
