// The parts of one host: how they are made, and what they are given.
#include "host/host_parts.h"

#include "host/alias_commands.h"
#include "host/builtin_server_commands.h"
#include "host/command_dispatcher.h"
#include "host/command_service.h"
#include "host/command_system.h"
#include "host/dialog_board.h"
#include "host/dialog_service.h"
#include "host/file_service.h"
#include "host/file_table.h"
#include "host/guid_service.h"
#include "host/host_service.h"
#include "host/image_files.h"
#include "host/import_paths.h"
#include "host/job_threads.h"
#include "host/listener_service.h"
#include "host/listeners.h"
#include "host/log_commands.h"
#include "host/log_listeners.h"
#include "host/log_service.h"
#include "host/log_store.h"
#include "host/mesh_commands.h"
#include "host/message_service.h"
#include "host/modules.h"
#include "host/monitors.h"
#include "host/objects/image_service.h"
#include "host/objects/mesh_service.h"
#include "host/objects/scene_service.h"
#include "host/open_scenes.h"
#include "host/platform_service.h"
#include "host/property_table.h"
#include "host/reasons.h"
#include "host/script_commands.h"
#include "host/script_queries.h"
#include "host/script_service.h"
#include "host/scripts.h"
#include "host/served_values.h"
#include "host/service_base.h"
#include "host/service_registry.h"
#include "host/setting_commands.h"
#include "host/thread_service.h"
#include "host/user_value_commands.h"
#include "host/user_values.h"
#include "host/value_service.h"

#include "kz/command.h"
#include "kz/dialog.h"
#include "kz/file.h"
#include "kz/guid.h"
#include "kz/host.h"
#include "kz/image.h"
#include "kz/log.h"
#include "kz/message.h"
#include "kz/platform.h"
#include "kz/thread.h"

namespace {

void addCommands(const HostParts& host) {
    kzAddAliasCommands(host.registry);
    kzAddBuiltinServerCommands(*host.registry, host.modules, host.scripts);
    kzAddLogCommands(*host.registry, host.log, host.properties);
    kzAddMeshCommands(*host.registry, host.modules, host.scenes);
    kzAddScriptCommands(*host.registry, host.files, host.scripts);
    kzAddSettingCommands(*host.registry, host.files, host.properties);
    kzAddUserValueCommands(*host.registry, host.userValues);
}

// The registry belongs to these parts, so what makes a service holds single parts, and never the registry itself.
void addServices(const HostParts& host) {
    CServiceRegistry& services = *host.services;
    const auto add = [&](const char* name, const KzGuid& iid, auto make, const auto&... parts) {
        services.add(name, iid, [=, context = host.context] { return make(context, parts...); });
    };
    add("command", KZu_COMMANDSERVICE, kzMakeCommandService, host.dispatcher, host.commandState, host.types);
    add("dialog", KZu_STDDIALOGSERVICE, kzMakeDialogService, host.monitors, host.log);
    add("file", KZu_FILESERVICE, kzMakeFileService, host.files);
    add("guid", KZu_GUIDSERVICE, kzMakeGuidService);
    add("host", KZu_HOSTSERVICE, kzMakeHostService, host.modules, host.files, host.listeners, host.log);
    add("image", KZu_IMAGESERVICE, kzMakeImageService, host.files, host.images);
    add("listener", KZu_LISTENERSERVICE, kzMakeListenerService, host.listeners);
    add("log", KZu_LOGSERVICE, kzMakeLogService, host.log, host.listeners);
    add("mesh", KZu_MESHSERVICE, kzMakeMeshService);
    add("message", KZu_MESSAGESERVICE, kzMakeMessageService, host.log);
    add("platform", KZu_PLATFORMSERVICE, kzMakePlatformService, host.files, host.importPaths);
    add("scene", KZu_SCENESERVICE, kzMakeSceneService, host.scenes);
    add("script", KZu_SCRIPTSYSSERVICE, kzMakeScriptService, host.scripts, host.modules, host.files, host.log,
        host.queries);
    add("thread", KZu_THREADSERVICE, kzMakeThreadService, host.jobThreads);
    add("value", KZu_VALUESERVICE, kzMakeValueService, host.types, host.properties, host.queries);
}

}  // namespace

HostParts::HostParts()
    : context(std::make_shared<ServiceContext>()), commandState(std::make_shared<CCommandSystem>()),
      dialogs(std::make_shared<CDialogBoard>()), files(std::make_shared<CFileTable>()),
      importPaths(std::make_shared<CImportPaths>()), monitors(std::make_shared<CMonitorBoard>()),
      properties(std::make_shared<CPropertyTable>()), userValues(std::make_shared<CUserValues>()),
      jobThreads(std::make_shared<CJobThreads>()), listeners(std::make_shared<CListenerTable>()),
      log(std::make_shared<CLogStore>()), reasons(CReasonBook::open(log)), modules(std::make_shared<CModuleTable>()),
      types(std::make_shared<CValueTypes>(modules)), scripts(std::make_shared<CScriptState>(modules, log)),
      environment(std::make_shared<CommandEnvironment>(
          CommandEnvironment{context, commandState, dialogs, listeners, log, types})),
      registry(std::make_shared<CCommandRegistry>(environment, modules)),
      dispatcher(std::make_shared<CCommandDispatcher>(registry, files, scripts)),
      services(std::make_shared<CServiceRegistry>()), scenes(std::make_shared<OpenScenes>()),
      images(std::make_shared<CImageFiles>(context, modules, listeners, log, monitors)),
      queries(std::make_shared<QueryEnvironment>(
          QueryEnvironment{context, dispatcher, files, log, modules, properties, scripts, types, services})) {
    kzTellListeners(*log, listeners);
    addCommands(*this);
    addServices(*this);
}
