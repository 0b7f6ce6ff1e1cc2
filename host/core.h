// What all services of one host share. Everything that a module holds keeps it alive, so that nothing dangles when a
// module holds on to an object for longer than the host lives.
#pragma once

#include "host/calls.h"
#include "host/command_system.h"
#include "host/dialog_board.h"
#include "host/file_table.h"
#include "host/job_threads.h"
#include "host/listeners.h"
#include "host/log_store.h"
#include "host/message.h"
#include "host/message_tables.h"
#include "host/modules.h"
#include "host/monitors.h"
#include "host/object.h"
#include "host/property_table.h"
#include "host/reasons.h"
#include "host/scripts.h"
#include "host/text.h"
#include "host/text_pool.h"
#include "host/user_values.h"

#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

class CScene;

class CHostCore : public std::enable_shared_from_this<CHostCore> {
public:
    CHostCore();
    ~CHostCore();

    CCallWatch calls;
    CTextPool texts;
    std::shared_ptr<CLogStore> log = std::make_shared<CLogStore>();
    std::shared_ptr<CReasonBook> reasons = CReasonBook::open(log);
    CCommandSystem commands;
    CFileTable files;
    CUserValues userValues;
    CServedTypes servedTypes;
    CPropertyTable properties;
    CListenerTable listeners;
    CModuleTable modules;
    CMonitorBoard monitors;
    CDialogBoard dialogs;
    CScriptState scripts;
    CJobThreads jobThreads;
    std::vector<CHostRef<CScene>> scenes;  // the open ones; the current one is the last
    std::vector<std::string> importPaths;
    std::mutex importPathLock;
    std::thread::id mainThread = std::this_thread::get_id();

    // A new service object for that identifier; null when the host has no such service.
    IKzUnknown* makeService(const KzGuid& iid);
    // The service with that name ("value"); null when there is none.
    const KzGuid* serviceByName(std::string_view name) const noexcept;
    std::vector<std::string> serviceNames() const;
    // From now on the host behaves as if it lacked the service.
    void removeService(const KzGuid& iid);

    // The application object, as long as there is one; held by whoever made it.
    IKzUnknown* application() const noexcept { return m_application; }
    void setApplication(IKzUnknown* application) noexcept { m_application = application; }

    // Tells listeners that everything is there, once.
    void beginSession();
    // Tells listeners good-bye and lets go of them, while the modules that made them are still there.
    void endSession();
    // Tells the log's listeners, but not about what they do while they are told.
    void tellLog(const std::function<void(IKzLogListener&)>& tell);
    // The host ends: gives up all that belongs to modules.
    void close();

private:
    void tellListeners(const LogLine& line);

    std::vector<KzGuid> m_removed;
    IKzUnknown* m_application = nullptr;
    bool m_inSession = false;
};

// The base of every service: its core, and the announcement of each operation.
class CHostService {
public:
    explicit CHostService(std::shared_ptr<CHostCore> core) : m_core(std::move(core)) {}

protected:
    CHostCore& core() const noexcept { return *m_core; }
    const std::shared_ptr<CHostCore>& sharedCore() const noexcept { return m_core; }
    void enter(const char* operation) const { m_core->calls.enter(operation); }
    // A text for a caller who keeps the pointer: a name, of which there are only so many. It stays for ever.
    const char* keep(std::string_view text) const { return m_core->texts.keep(text); }
    // A text for a caller who copies it soon: each thread's last few stay, so that what is kept does not grow with what
    // is asked.
    static const char* lend(std::string text);
    // The local path of a file, which must be named and need not exist; throws INVALIDARG or NOTFOUND.
    std::string place(const char* path) const;

private:
    std::shared_ptr<CHostCore> m_core;
};

// How each service is made; each function stands in the file of its service.
using MakeHostService = IKzUnknown* (*)(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeCommandService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeDialogService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeFileService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeGuidService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeHostService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeImageService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeListenerService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeLogService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeMeshService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeMessageService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakePlatformService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeSceneService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeScriptService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeThreadService(const std::shared_ptr<CHostCore>& core);
IKzUnknown* kzMakeValueService(const std::shared_ptr<CHostCore>& core);
