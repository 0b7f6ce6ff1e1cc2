// The script service: finding and running scripts, and the services that scripts may query.
#include "host/services/script_service.h"

#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/scripts.h"
#include "host/core/service_base.h"
#include "host/services/script_queries.h"
#include "host/state/path_aliases.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/script.h"

#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

class CScriptService final : public CHosted<"script service", CScriptService, CKzIfc_ScriptSysService>, CServiceBase {
public:
    CScriptService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CScriptRunner> scripts,
                   std::shared_ptr<CModuleTable> modules, std::shared_ptr<CPathAliases> files,
                   std::shared_ptr<CLogStore> log, std::shared_ptr<const QueryEnvironment> queries)
        : CServiceBase(std::move(context)), m_scripts(std::move(scripts)), m_modules(std::move(modules)),
          m_files(std::move(files)), m_log(std::move(log)), m_queries(std::move(queries)) {}

    // Scripts are files here, so there are no script managers.
    KzResult scriptsysservice_ManagerCount(std::uint32_t* count) override {
        enter("ScriptSys.ManagerCount");
        *count = 0;
        return KZe_OK;
    }
    KzResult scriptsysservice_ManagerByIndex(std::uint32_t /*index*/, IKzUnknown** /*manager*/) override {
        enter("ScriptSys.ManagerByIndex");
        return KZe_OUTOFBOUNDS;
    }
    KzResult scriptsysservice_Lookup(const char* name, IKzUnknown** script) override {
        enter("ScriptSys.Lookup");
        return read(name).give(script);
    }
    KzResult scriptsysservice_Run(const char* name, std::uint32_t flags, const char* args,
                                  IKzUnknown* message) override {
        enter("ScriptSys.Run");
        return m_scripts->run(read(name), flags, args, message);
    }
    KzResult scriptsysservice_RunText(const char* text, std::uint32_t flags, const char* args,
                                      IKzUnknown* message) override {
        enter("ScriptSys.RunText");
        const auto script = CHostRef<CScript>::make("<text>", kzString(text));
        return m_scripts->run(script, flags, args, message);
    }
    KzResult scriptsysservice_InterpreterCount(std::uint32_t* count) override {
        enter("ScriptSys.InterpreterCount");
        *count = static_cast<std::uint32_t>(m_modules->servers(KZa_TEXTSCRIPTINTERPRETER).size());
        return KZe_OK;
    }
    KzResult scriptsysservice_InterpreterByIndex(std::uint32_t index, IKzUnknown** interpreter) override;
    KzResult scriptsysservice_LineInterpreterByName(const char* name, IKzUnknown** interpreter) override;
    KzResult scriptsysservice_ServiceCount(std::uint32_t* count) override {
        enter("ScriptSys.ServiceCount");
        *count = static_cast<std::uint32_t>(kzQueryServices().size());
        return KZe_OK;
    }
    KzResult scriptsysservice_ServiceByIndex(std::uint32_t index, const char** name) override {
        enter("ScriptSys.ServiceByIndex");
        if (index >= kzQueryServices().size()) return KZe_OUTOFBOUNDS;
        *name = kzQueryServices()[index];
        return KZe_OK;
    }
    KzResult scriptsysservice_ServiceQuery(const char* name, IKzUnknown** query) override {
        enter("ScriptSys.ServiceQuery");
        return kzMakeQuery(m_queries, kzTextOf(name), query);
    }
    std::uint32_t scriptsysservice_Depth() override {
        enter("ScriptSys.Depth");
        return static_cast<std::uint32_t>(m_scripts->depth());
    }

private:
    CHostRef<CScript> read(const char* name) const;

    std::shared_ptr<CScriptRunner> m_scripts;
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CPathAliases> m_files;
    std::shared_ptr<CLogStore> m_log;
    std::shared_ptr<const QueryEnvironment> m_queries;
};

CHostRef<CScript> CScriptService::read(const char* name) const {
    const std::string_view scriptName = kzTextOf(name);
    if (scriptName.empty()) throw KZe_INVALIDARG;
    const auto path = kzFindScript(*m_files, std::string(scriptName));
    if (!path)
        throw kzBecause(KZe_NOTFOUND, "ScriptSys", [&] {
            return "there is no script \"" + std::string(scriptName) +
                   "\", neither as a path nor in the folder scripts:";
        });
    std::string problem;
    auto script = kzReadScript(*path, problem);
    if (!script) {
        m_log->write("scripts", KZe_SCRIPT_ERROR, *path + ": " + problem);
        throw KZe_SCRIPT_ERROR;
    }
    return script;
}

KzResult CScriptService::scriptsysservice_InterpreterByIndex(std::uint32_t index, IKzUnknown** interpreter) {
    enter("ScriptSys.InterpreterByIndex");
    const auto all = m_modules->servers(KZa_TEXTSCRIPTINTERPRETER);
    if (index >= all.size()) return KZe_OUTOFBOUNDS;
    CKzLoc_Unknown object;
    return CModuleTable::spawn(all[index], object).get(interpreter);
}

KzResult CScriptService::scriptsysservice_LineInterpreterByName(const char* name, IKzUnknown** interpreter) {
    enter("ScriptSys.LineInterpreterByName");
    const auto server = m_modules->find(KZa_LINEINTERPRETER, kzTextOf(name));
    if (!server)
        return kzBecause(KZe_NOTFOUND, "ScriptSys.LineInterpreterByName", [&] {
            return kzThereIsNo("line interpreter", kzTextOf(name), m_modules->servers(KZa_LINEINTERPRETER),
                               [](const auto& each) { return each.name; });
        });
    CKzLoc_Unknown object;
    return CModuleTable::spawn(*server, object).get(interpreter);
}

}  // namespace

decltype(kzMakeScriptService) kzMakeScriptService = kzMakeService<CScriptService>;

}  // namespace kzhost
