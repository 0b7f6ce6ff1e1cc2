// The parts of one host. Each is shared with its users; only the composition root knows them all.
#pragma once

#include <memory>

namespace kzhost {

class CLogStore;
class CScriptRunner;
class CAutoSave;
class CCommandDispatcher;
class CCommandRegistry;
class CCommandState;
class CCommandStates;
class CDialogBoard;
class CDirCache;
class CDrops;
class CPathAliases;
class CImageFiles;
class CSoundFiles;
class CImportPaths;
class CItemPackages;
class CInterviews;
class CJobThreads;
class CListenerTable;
class CModuleTable;
class CMonitorBoard;
class CNotifierTable;
class CPersistence;
class CPreferences;
class CPresets;
class CPropertyTable;
class CReasonBook;
class CResultCache;
class CSceneFiles;
class CServedModifiers;
class CServiceRegistry;
class CSessionMemory;
class CTextBoard;
class CTreeViews;
class CUndoBlocks;
class CUserValues;
class CValueTypeRegistry;
struct CommandEnvironment;
struct OpenScenes;
struct QueryEnvironment;
struct RedirectRules;
struct ServiceContext;

struct HostParts {
    HostParts();

    // Plain state
    std::shared_ptr<ServiceContext> context;
    std::shared_ptr<CCommandState> commandState;
    std::shared_ptr<CDialogBoard> dialogs;
    std::shared_ptr<CPathAliases> files;
    std::shared_ptr<CImportPaths> importPaths;
    std::shared_ptr<CMonitorBoard> monitors;
    std::shared_ptr<CPreferences> preferences;
    std::shared_ptr<CPropertyTable> properties;
    std::shared_ptr<CTextBoard> texts;
    std::shared_ptr<CUserValues> userValues;
    // The core
    std::shared_ptr<CJobThreads> jobThreads;
    std::shared_ptr<CListenerTable> listeners;
    std::shared_ptr<CLogStore> log;
    std::shared_ptr<CInterviews> interviews;
    std::shared_ptr<CReasonBook> reasons;
    std::shared_ptr<CModuleTable> modules;
    std::shared_ptr<CNotifierTable> notifiers;
    std::shared_ptr<CResultCache> results;
    std::shared_ptr<CValueTypeRegistry> types;
    std::shared_ptr<OpenScenes> scenes;  // from above the core, as commands and scripts make steps of its history
    std::shared_ptr<CServedModifiers> modifiers;
    std::shared_ptr<CItemPackages> packages;
    std::shared_ptr<CUndoBlocks> undo;
    std::shared_ptr<CPersistence> persistence;
    std::shared_ptr<CSessionMemory> memory;
    std::shared_ptr<CScriptRunner> scripts;
    std::shared_ptr<CommandEnvironment> environment;
    std::shared_ptr<CCommandRegistry> registry;
    std::shared_ptr<CCommandStates> states;
    std::shared_ptr<CCommandDispatcher> dispatcher;
    std::shared_ptr<CServiceRegistry> services;
    // Parts that use both
    std::shared_ptr<RedirectRules> redirects;
    std::shared_ptr<CImageFiles> images;
    std::shared_ptr<CDirCache> dirCache;
    std::shared_ptr<CSoundFiles> sounds;
    std::shared_ptr<CPresets> presets;
    std::shared_ptr<CSceneFiles> sceneFiles;
    std::shared_ptr<CDrops> drops;
    std::shared_ptr<CAutoSave> autoSave;
    std::shared_ptr<CTreeViews> trees;
    std::shared_ptr<QueryEnvironment> queries;
};

}  // namespace kzhost
