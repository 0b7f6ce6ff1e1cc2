// Makes the parts of one host and connects them.
#include "host/host_parts.h"

#include "host/commands/alias_commands.h"
#include "host/commands/audio_commands.h"
#include "host/commands/builtin_server_commands.h"
#include "host/commands/choice_commands.h"
#include "host/commands/document_commands.h"
#include "host/commands/drop_commands.h"
#include "host/commands/folder_commands.h"
#include "host/commands/image_commands.h"
#include "host/commands/interview_commands.h"
#include "host/commands/log_commands.h"
#include "host/commands/mesh_commands.h"
#include "host/commands/preset_commands.h"
#include "host/commands/reference_commands.h"
#include "host/commands/repeat_commands.h"
#include "host/commands/replace_commands.h"
#include "host/commands/scene_file_commands.h"
#include "host/commands/script_commands.h"
#include "host/commands/setting_commands.h"
#include "host/commands/tree_commands.h"
#include "host/commands/user_value_commands.h"
#include "host/commands/value_commands.h"
#include "host/core/command_dispatcher.h"
#include "host/core/command_registry.h"
#include "host/core/command_repeats.h"
#include "host/core/command_states.h"
#include "host/core/interviews.h"
#include "host/core/job_threads.h"
#include "host/core/listener_table.h"
#include "host/core/log_listeners.h"
#include "host/core/log_store.h"
#include "host/core/module_table.h"
#include "host/core/notifier_table.h"
#include "host/core/own_objects.h"
#include "host/core/persistence.h"
#include "host/core/reasons.h"
#include "host/core/result_cache.h"
#include "host/core/scripts.h"
#include "host/core/service_base.h"
#include "host/core/service_registry.h"
#include "host/core/session_memory.h"
#include "host/core/value_type_registry.h"
#include "host/objects/argument_hints.h"
#include "host/objects/attr_sequence.h"
#include "host/objects/auto_save.h"
#include "host/objects/buffer.h"
#include "host/objects/color_model.h"
#include "host/objects/dir_cache.h"
#include "host/objects/document_listeners.h"
#include "host/objects/document_undo.h"
#include "host/objects/drops.h"
#include "host/objects/file_redirect.h"
#include "host/objects/image_files.h"
#include "host/objects/int_range.h"
#include "host/objects/item_packages.h"
#include "host/objects/open_scenes.h"
#include "host/objects/presets.h"
#include "host/objects/references.h"
#include "host/objects/scene_files.h"
#include "host/objects/served_modifiers.h"
#include "host/objects/sound.h"
#include "host/objects/sound_files.h"
#include "host/objects/tree_views.h"
#include "host/objects/user_value.h"
#include "host/services/absent_services.h"
#include "host/services/audio_service.h"
#include "host/services/cache_service.h"
#include "host/services/channel_ui_service.h"
#include "host/services/color_mapping_service.h"
#include "host/services/command_service.h"
#include "host/services/dialog_service.h"
#include "host/services/dir_cache_service.h"
#include "host/services/drop_service.h"
#include "host/services/file_service.h"
#include "host/services/guid_service.h"
#include "host/services/host_service.h"
#include "host/services/image_processing_service.h"
#include "host/services/image_service.h"
#include "host/services/interview_service.h"
#include "host/services/io_service.h"
#include "host/services/layer_service.h"
#include "host/services/listener_service.h"
#include "host/services/log_service.h"
#include "host/services/mesh_service.h"
#include "host/services/message_service.h"
#include "host/services/network_service.h"
#include "host/services/notify_service.h"
#include "host/services/packet_service.h"
#include "host/services/persistence_service.h"
#include "host/services/platform_service.h"
#include "host/services/preset_services.h"
#include "host/services/scene_service.h"
#include "host/services/script_queries.h"
#include "host/services/script_service.h"
#include "host/services/selection_service.h"
#include "host/services/text_encoding_service.h"
#include "host/services/thread_service.h"
#include "host/services/undo_service.h"
#include "host/services/value_service.h"
#include "host/services/vertex_feature_service.h"
#include "host/state/command_state.h"
#include "host/state/dialog_board.h"
#include "host/state/import_paths.h"
#include "host/state/monitor_board.h"
#include "host/state/path_aliases.h"
#include "host/state/preferences.h"
#include "host/state/property_table.h"
#include "host/state/user_values.h"

#include "kz/audio.h"
#include "kz/block_io.h"
#include "kz/buffer.h"
#include "kz/cache.h"
#include "kz/channel_ui.h"
#include "kz/color.h"
#include "kz/color_mapping.h"
#include "kz/command.h"
#include "kz/dialog.h"
#include "kz/dir_cache.h"
#include "kz/file.h"
#include "kz/guid.h"
#include "kz/help.h"
#include "kz/host.h"
#include "kz/image.h"
#include "kz/image_processing.h"
#include "kz/kit.h"
#include "kz/listener.h"
#include "kz/log.h"
#include "kz/mesh.h"
#include "kz/message.h"
#include "kz/object.h"
#include "kz/package.h"
#include "kz/packet.h"
#include "kz/persist.h"
#include "kz/platform.h"
#include "kz/preset_browser.h"
#include "kz/scene.h"
#include "kz/script.h"
#include "kz/selection.h"
#include "kz/thread.h"
#include "kz/triangle.h"
#include "kz/ui_hints.h"
#include "kz/undo.h"
#include "kz/user_value.h"
#include "kz/value.h"

namespace kzhost {

namespace {

void addCommands(const HostParts& host) {
    kzAddAliasCommands(host.registry);
    kzAddAudioCommands(*host.registry, host.files, host.sounds);
    kzAddBuiltinServerCommands(*host.registry, host.modules, host.scripts);
    kzAddChoiceCommands(*host.registry, host.dispatcher, host.scenes);
    kzAddInterviewCommands(*host.registry, host.interviews);
    kzAddSceneCommands(*host.registry, host.scenes);
    kzAddSceneFileCommands(*host.registry, host.scenes, host.sceneFiles, host.files);
    kzAddReferenceCommands(*host.registry, host.scenes, kzMakeSceneReferences(host.scenes, host.sceneFiles));
    kzAddItemCommands(*host.registry, host.scenes);
    kzAddSelectCommands(*host.registry, host.modules, host.scenes);
    kzAddLayerCommands(*host.registry, host.scenes);
    kzAddChannelCommands(*host.registry, host.scenes);
    kzAddKeyCommands(*host.registry, host.scenes);
    kzAddUndoCommands(*host.registry, host.scenes);
    kzAddLogCommands(*host.registry, host.log, host.properties);
    kzAddMeshCommands(*host.registry, host.modules, host.scenes);
    kzAddFolderCommands(*host.registry, host.modules, host.dirCache, host.files);
    kzAddDropCommands(*host.registry, host.drops, host.scenes);
    kzAddImageCommands(*host.registry, host.modules, host.log, host.files, host.images);
    kzAddPresetCommands(*host.registry, {host.presets, host.scenes, host.images, host.files});
    kzAddPresetInfoCommands(*host.registry, {host.presets, host.scenes, host.images, host.files});
    kzAddRepeatCommands(*host.registry, host.dispatcher);
    kzAddReplaceCommands(*host.registry, host.modules, host.scenes);
    kzAddScriptCommands(*host.registry, host.files, host.scripts);
    kzAddSettingCommands(*host.registry, host.files, host.properties);
    kzAddTreeCommands(*host.registry, host.trees);
    kzAddTreeCellCommands(*host.registry, host.trees, host.dispatcher, host.drops);
    kzAddUserValueCommands(*host.registry, host.userValues);
    kzAddValueCommands(*host.registry, host.modules);
}

// What Host.SpawnServer makes besides the servers of modules.
std::shared_ptr<COwnObjects> ownObjects(const HostParts& host) {
    auto own = std::make_shared<COwnObjects>();
    const UserValueParts values{host.userValues, host.types, host.scenes->workspace, host.notifiers};
    own->add(KZa_USERVALUE, [=](const auto& name, auto** object) { return kzGiveUserValue(values, name, object); });
    own->add(KZa_VALUEREFERENCE,
             [=](const auto& name, auto** object) { return kzGiveValueReference(values, name, object); });
    const auto addPlain = [&](const char* type, IKzUnknown* (*make)()) {
        own->add(type, [make](const auto& /*name*/, IKzUnknown** object) {
            *object = make();
            return KZe_OK;
        });
    };
    // Empty, those of an argument of a command, as "item.create type", or those of a channel, as "item Ball size".
    own->add(KZa_UIHINTS, [dispatcher = host.dispatcher, modules = host.modules,
                           scenes = host.scenes](const std::string& name, IKzUnknown** object) {
        const std::size_t blank = name.rfind(' ');
        if (name.starts_with("item ") && blank > 5)
            return kzGiveChannelHints(*modules, *scenes, name.substr(5, blank - 5), name.substr(blank + 1), object);
        return kzGiveHints(*dispatcher, name, object);
    });
    own->add(KZa_COLORMODEL, [](const std::string& name, IKzUnknown** object) {
        *object = kzMakeColorModel(name);
        if (*object != nullptr) return KZe_OK;
        return kzBecause(KZe_NOTFOUND, "ColorModel",
                         [&] { return kzThereIsNo("color model", name, kzColorModelNames()); });
    });
    addPlain(KZa_ATTRSEQUENCE, kzMakeAttrSequence);
    addPlain(KZa_AUDIO, kzMakeSilence);
    addPlain(KZa_AUDIOWRITE, kzMakeSilence);
    addPlain(KZa_BUFFER, kzMakeBuffer);
    addPlain(KZa_INTRANGE, kzMakeIntRange);
    addPlain(KZa_STRINGTAG, kzMakeStringTags);
    return own;
}

// These parts own the registry, so the factories capture single parts, and never the registry itself.
void addServices(const HostParts& host) {
    CServiceRegistry& services = *host.services;
    const auto add = [&](const char* name, const KzGuid& iid, auto make, const auto&... parts) {
        services.add(name, iid, [=, context = host.context] { return make(context, parts...); });
    };
    add("audioanim", KZu_AUDIOANIMSERVICE, kzMakeAudioService, host.files, host.sounds);
    add("cache", KZu_CACHESERVICE, kzMakeCacheService, host.results);
    add("channelui", KZu_CHANNELUISERVICE, kzMakeChannelUIService, host.modules, host.types, host.scenes);
    add("colormapping", KZu_COLORMAPPINGSERVICE, kzMakeColorMappingService, host.images);
    add("command", KZu_COMMANDSERVICE, kzMakeCommandService, host.dispatcher, host.commandState, host.types);
    add("dialog", KZu_STDDIALOGSERVICE, kzMakeDialogService, host.monitors, host.log);
    add("dircache", KZu_DIRCACHESERVICE, kzMakeDirCacheService, host.dirCache, host.files);
    add("drop", KZu_DROPSERVICE, kzMakeDropService, host.drops);
    add("file", KZu_FILESERVICE, kzMakeFileService, host.files);
    add("guid", KZu_GUIDSERVICE, kzMakeGuidService);
    add("host", KZu_HOSTSERVICE, kzMakeHostService, host.modules, host.files, host.listeners, host.log,
        ownObjects(host));
    add("image", KZu_IMAGESERVICE, kzMakeImageService, host.files, host.images);
    add("imageprocessing", KZu_IMAGEPROCESSINGSERVICE, kzMakeImageProcessingService, host.files, host.images);
    add("layer", KZu_LAYERSERVICE, kzMakeLayerService, host.scenes);
    add("interviewer", KZu_INTERVIEWERSERVICE, kzMakeInterviewService, host.interviews);
    add("io", KZu_IOSERVICE, kzMakeIOService, host.files, host.scenes, host.redirects);
    add("listener", KZu_LISTENERSERVICE, kzMakeListenerService, host.listeners);
    add("log", KZu_LOGSERVICE, kzMakeLogService, host.log, host.listeners, host.texts);
    add("mesh", KZu_MESHSERVICE, kzMakeMeshService);
    add("message", KZu_MESSAGESERVICE, kzMakeMessageService, host.log);
    add("packet", KZu_PACKETSERVICE, kzMakePacketService, host.scenes, host.modules);
    add("network", KZu_NETWORKSERVICE, kzMakeNetworkService, host.files);
    add("notifysys", KZu_NOTIFYSYSSERVICE, kzMakeNotifyService, host.notifiers, host.commandState);
    add("persistence", KZu_PERSISTENCESERVICE, kzMakePersistenceService, host.persistence);
    add("platform", KZu_PLATFORMSERVICE, kzMakePlatformService, host.files, host.importPaths);
    add("presetbrowser", KZu_PRESETBROWSERSERVICE, kzMakePresetBrowserService, host.presets, host.files);
    add("presetdestination", KZu_PRESETDESTINATIONSERVICE, kzMakePresetDestinationService, host.presets, host.files);
    add("presetpackage", KZu_PRESETPACKAGESERVICE, kzMakePresetPackageService, host.files);
    add("scene", KZu_SCENESERVICE, kzMakeSceneService, host.scenes, host.sceneFiles, host.files);
    add("script", KZu_SCRIPTSYSSERVICE, kzMakeScriptService, host.scripts, host.modules, host.files, host.log,
        host.queries);
    add("selection", KZu_SELECTIONSERVICE, kzMakeSelectionService, host.scenes, host.modules);
    add("textencoding", KZu_TEXTENCODINGSERVICE, kzMakeTextEncodingService);
    add("thread", KZu_THREADSERVICE, kzMakeThreadService, host.jobThreads);
    add("undo", KZu_UNDOSERVICE, kzMakeUndoService, host.scenes);
    add("value", KZu_VALUESERVICE, kzMakeValueService, host.modules, host.types, host.properties, host.queries);
    add("vertexfeature", KZu_VERTEXFEATURESERVICE, kzMakeVertexFeatureService);
    for (const AbsentService& each : kzAbsentServices())
        services.add(each.name, *each.iid, [make = each.make, context = host.context] { return make(context); });
}

// Tells the clients of a notifier that all is to be read again.
auto notifierOf(const HostParts& host) {
    return [weak = std::weak_ptr(host.notifiers)](const char* name, const std::string& arguments) {
        if (const auto notifiers = weak.lock()) notifiers->tell(name, arguments, KZfNOTIFY_REFRESH);
    };
}

// User values, aliases of folders, and units.
void tellOfSettings(const HostParts& host) {
    const auto tell = notifierOf(host);
    // While a step is undone, what the action did is undone with its own step.
    const auto run = [dispatcher = std::weak_ptr(host.dispatcher),
                      workspace = std::weak_ptr(host.scenes->workspace)](const std::string& command) {
        const auto commands = dispatcher.lock();
        const auto history = workspace.lock();
        if (commands && history && !history->isUndoing()) commands->perform(command, 0);
    };
    host.userValues->setSink([tell, run, values = host.userValues.get(),
                              listeners = host.listeners](ValueEvent event, const std::string& name) {
        listeners->each<CKzLoc_UserValueListener>([&](IKzUserValueListener& each) {
            switch (event) {
            case ValueEvent::added: return each.Added(name.c_str());
            case ValueEvent::deleted: return each.Deleted(name.c_str());
            case ValueEvent::redefined: return each.DefinitionChanged(name.c_str());
            case ValueEvent::changed: return each.ValueChanged(name.c_str());
            }
        });
        tell(event == ValueEvent::changed ? KZsNOTIFIER_USERVALUE : KZsNOTIFIER_USERVALUE_DEF, name);
        if (event == ValueEvent::changed) kzRunValueAction(*values, name, run);
    });
    host.files->whenSet([tell] { tell(KZsNOTIFIER_PATHS, {}); });
    host.properties->whenSet([tell](const std::string& name) {
        if (name == "units") tell(KZsNOTIFIER_UNITS, {});
    });
}

}  // namespace

HostParts::HostParts()
    : context(std::make_shared<ServiceContext>()), commandState(std::make_shared<CCommandState>()),
      dialogs(std::make_shared<CDialogBoard>()), files(std::make_shared<CPathAliases>()),
      importPaths(std::make_shared<CImportPaths>()), monitors(std::make_shared<CMonitorBoard>()),
      preferences(std::make_shared<CPreferences>()), properties(std::make_shared<CPropertyTable>()),
      texts(std::make_shared<CTextBoard>()), userValues(std::make_shared<CUserValues>()),
      jobThreads(std::make_shared<CJobThreads>()), listeners(std::make_shared<CListenerTable>()),
      log(std::make_shared<CLogStore>()), interviews(std::make_shared<CInterviews>(log)),
      reasons(CReasonBook::open(log)), modules(std::make_shared<CModuleTable>()),
      notifiers(std::make_shared<CNotifierTable>(modules)), results(std::make_shared<CResultCache>()),
      types(std::make_shared<CValueTypeRegistry>(modules, properties)), scenes(std::make_shared<OpenScenes>()),
      modifiers(std::make_shared<CServedModifiers>(modules)), packages(std::make_shared<CItemPackages>(modules)),
      undo(kzMakeUndoBlocks(scenes->workspace)), persistence(std::make_shared<CPersistence>(preferences, types, log)),
      memory(std::make_shared<CSessionMemory>(
          CSessionMemory::Parts{commandState, log, persistence, preferences, properties, userValues, types})),
      scripts(std::make_shared<CScriptRunner>(modules, log, undo, notifiers)),
      environment(std::make_shared<CommandEnvironment>(
          CommandEnvironment{context, commandState, dialogs, listeners, log, notifiers, types, undo,
                             std::make_shared<CCommandRepeats>(context, commandState, listeners, undo)})),
      registry(std::make_shared<CCommandRegistry>(environment, modules)),
      states(std::make_shared<CCommandStates>(registry, notifiers, commandState)),
      dispatcher(std::make_shared<CCommandDispatcher>(registry, files, scripts)),
      services(std::make_shared<CServiceRegistry>()), redirects(std::make_shared<RedirectRules>()),
      images(std::make_shared<CImageFiles>(context, modules, listeners, log, monitors, files)),
      dirCache(std::make_shared<CDirCache>(modules, preferences, images, notifiers)),
      sounds(std::make_shared<CSoundFiles>(context, modules, log, monitors)),
      presets(std::make_shared<CPresets>(modules, scenes)),
      sceneFiles(std::make_shared<CSceneFiles>(
          SceneFileParts{context, modules, listeners, log, monitors, scenes, files, userValues, redirects})),
      drops(std::make_shared<CDrops>(modules, scenes, kzOwnDrops(scenes, presets, sceneFiles))),
      autoSave(std::make_shared<CAutoSave>(userValues, scenes, sceneFiles, modules, log)),
      trees(std::make_shared<CTreeViews>(modules, listeners, notifiers)),
      queries(std::make_shared<QueryEnvironment>(
          QueryEnvironment{context, dispatcher, files, log, modules, properties, scripts, types, services})) {
    kzTellListeners(*log, listeners, notifiers);
    kzTellListeners(
        scenes, listeners,
        [tell = notifierOf(*this), weak = std::weak_ptr(states), history = std::weak_ptr(undo)](bool ofHistory) {
            if (const auto blocks = history.lock(); blocks && ofHistory) blocks->historyChanged();
            if (ofHistory) tell(KZsNOTIFIER_UNDO, {});
            else if (const auto known = weak.lock()) known->changed();
        });
    tellOfSettings(*this);
    commandState->whenIdle = [waiting = notifiers.get(), known = states.get(), saving = autoSave.get()] {
        try {
            waiting->sendDeferred();
            known->changed();
            saving->check();
        } catch (...) {  // the command itself has ended, and nobody waits for this
            kzBecause(KZe_FAILED, "Command", [] { return "what follows the end of a command failed"; });
        }
    };
    modules->whenListed([tell = notifierOf(*this)] { tell(KZsNOTIFIER_MODULES, {}); });
    modules->whenAdded([entries = std::weak_ptr(persistence), types = std::weak_ptr(packages),
                        tell = notifierOf(*this)](const KzServer& server) {
        tell(KZsNOTIFIER_SERVERS, {});
        if (server.className == KZa_COMMAND) tell(KZsNOTIFIER_COMMANDS, {});
        if (const auto each = entries.lock(); each && server.className == KZa_PERSISTENCECLIENT)
            each->configureServer(server);
        if (const auto each = types.lock(); each && server.className == KZa_PACKAGE) each->types().declare(server);
    });
    scenes->workspace->setModifierSource(modifiers);
    scenes->workspace->setItemKeeper(packages);
    scenes->workspace->setWriter([weak = std::weak_ptr(sceneFiles), aliases = files](
                                     CDocument& document, const char* path, const char* format) -> KzResult {
        const auto writer = weak.lock();
        if (writer == nullptr) return KZe_NOTAVAILABLE;
        return writer->write(*kzObjectOf(document), aliases->place(path), kzString(format));
    });
    addCommands(*this);
    addServices(*this);
}

}  // namespace kzhost
