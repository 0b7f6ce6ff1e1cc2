// The reference host.
#include "host/kz_host.h"

#include "host/core/command_dispatcher.h"
#include "host/core/interviews.h"
#include "host/core/job_threads.h"
#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/message.h"
#include "host/core/message_tables.h"
#include "host/core/module_table.h"
#include "host/core/notifier_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/result_cache.h"
#include "host/core/scripts.h"
#include "host/core/service_base.h"
#include "host/core/session_memory.h"
#include "host/host_parts.h"
#include "host/objects/drops.h"
#include "host/objects/image_files.h"
#include "host/objects/item_packages.h"
#include "host/objects/open_scenes.h"
#include "host/objects/served_modifiers.h"
#include "host/objects/tree_views.h"
#include "host/services/application.h"
#include "host/state/call_watch.h"
#include "host/state/path_aliases.h"
#include "host/state/property_table.h"
#include "host/state/text.h"

#include "kz/message.h"
#include "kz/result.h"

#include <filesystem>

namespace kzhost {

CKzHost::CKzHost() : m_parts(std::make_unique<HostParts>()) {
    *m_application.out() =
        kzMakeApplication(m_parts->context, m_parts->services, m_parts->queries, m_parts->log, m_parts->properties);
    modules().setApplication(m_application.raw());
}

CKzHost::~CKzHost() {
    listeners().endSession();
    m_parts->notifiers->clear();
    m_parts->results->dropAll(nullptr);
    memory().close();
    unload();
    listeners().endSession();
    reasons().writeCounts();
    scripts().clear();
    m_parts->scenes->list.clear();
    m_parts->modifiers->clear();
    modules().clear();
    log().close();
    modules().setApplication(nullptr);
}

CCallWatch& CKzHost::calls() const { return m_parts->context->calls; }
CCommandDispatcher& CKzHost::commands() const { return *m_parts->dispatcher; }
CDialogBoard& CKzHost::dialogs() const { return *m_parts->dialogs; }
CPathAliases& CKzHost::files() const { return *m_parts->files; }
CImageFiles& CKzHost::images() const { return *m_parts->images; }
CSceneFiles& CKzHost::sceneFiles() const { return *m_parts->sceneFiles; }
CImportPaths& CKzHost::importPaths() const { return *m_parts->importPaths; }
CListenerTable& CKzHost::listeners() const { return *m_parts->listeners; }
CLogStore& CKzHost::log() const { return *m_parts->log; }
CModuleTable& CKzHost::modules() const { return *m_parts->modules; }
CMonitorBoard& CKzHost::monitors() const { return *m_parts->monitors; }
CPropertyTable& CKzHost::properties() const { return *m_parts->properties; }
CSessionMemory& CKzHost::memory() const { return *m_parts->memory; }
CReasonBook& CKzHost::reasons() const { return *m_parts->reasons; }
CScriptRunner& CKzHost::scripts() const { return *m_parts->scripts; }
CServiceRegistry& CKzHost::services() const { return *m_parts->services; }
CTextBoard& CKzHost::texts() const { return *m_parts->texts; }

bool CKzHost::load(const std::string& path, std::string& why) {
    const std::string file = std::filesystem::absolute(path).lexically_normal().string();
    files().setAlias("module", std::filesystem::path(file).parent_path().string());
    return modules().load(file, why);
}

KzResult CKzHost::adopt(const std::string& name, IKzUnknown* module) {
    return modules().adopt(name, name, module, m_application.raw());
}

void CKzHost::unload() {
    m_parts->jobThreads->finish();  // jobs belong to modules
    m_parts->interviews->end();
    m_parts->modifiers->clear();
    m_parts->packages->clear();
    m_parts->drops->end();  // servers of modules wait for its end
    m_parts->trees->closeAll();
    modules().clear();
}

void CKzHost::failOperation(const std::string& operation, KzResult code, int times) {
    calls().fail(operation, code, times);
}

ScriptEnd CKzHost::run(const CHostRef<CScript>& script, std::uint32_t flags, const std::string& args) {
    const auto message = CHostRef<CMessage>::make();
    ScriptEnd end;
    end.code = scripts().run(script, flags, args.c_str(), message.raw());
    end.outcome = message->outcome();
    end.isTold = message->hasText();
    if (end.isTold) end.message = CMessageTables::textOf(*CKzUser_Message(message.raw()).ptr());
    return end;
}

}  // namespace kzhost
