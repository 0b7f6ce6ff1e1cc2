// The dialog service of a host without windows: messages go to the log, and monitors to the monitor board.
#include "host/services/dialog_service.h"

#include "host/core/log_store.h"
#include "host/core/message_tables.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/objects/monitor.h"
#include "host/state/monitor_board.h"
#include "host/state/text.h"

#include "kz/dialog.h"
#include "kz/message.h"
#include "kz/result.h"

#include <utility>

namespace kzhost {

namespace {

class CDialogService final : public CHosted<"dialog service", CDialogService, CKzIfc_StdDialogService>, CServiceBase {
public:
    static constexpr std::string_view needsWindow[] = {"FileOpen", "FileSave", "FolderOpen", "ColorOpen",
                                                       "StringEntry"};

    CDialogService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CMonitorBoard> monitors,
                   std::shared_ptr<CLogStore> log)
        : CServiceBase(std::move(context)), m_monitors(std::move(monitors)), m_log(std::move(log)) {}

    // Logs the message and returns the cautious answer, as nobody is there to answer.
    KzResult stddialogservice_MessageOpen(IKzUnknown* message, std::uint32_t style, const char* help,
                                          std::uint32_t* answer) override;
    KzResult stddialogservice_FileOpen(const char*, const char*, std::int32_t, const char*, IKzUnknown**) override {
        return nobody("StdDialog.FileOpen");
    }
    KzResult stddialogservice_FileSave(const char*, const char*, const char*, const char**, const char**) override {
        return nobody("StdDialog.FileSave");
    }
    KzResult stddialogservice_FolderOpen(const char*, const char*, const char**) override {
        return nobody("StdDialog.FolderOpen");
    }
    KzResult stddialogservice_ColorOpen(const KzFVector3*, KzFVector3*) override {
        return nobody("StdDialog.ColorOpen");
    }
    KzResult stddialogservice_StringEntry(const char*, const char*, const char*, const char**) override {
        return nobody("StdDialog.StringEntry");
    }
    KzResult stddialogservice_MonitorAllocate(const char* title, IKzUnknown** monitor) override {
        enter("StdDialog.MonitorAllocate");
        return CHostRef<CMonitor>::make(context(), m_monitors, kzString(title)).give(monitor);
    }
    KzResult stddialogservice_MonitorReleaseObj(IKzUnknown* monitor) override {
        enter("StdDialog.MonitorReleaseObj");
        const auto own = CHostRef<CMonitor>::of(monitor);
        if (!own) return KZe_INVALIDARG;
        own->end();
        return KZe_OK;
    }
    KzResult stddialogservice_MonitorDepth(std::uint32_t* depth) override {
        enter("StdDialog.MonitorDepth");
        *depth = m_monitors->alive;
        return KZe_OK;
    }
    KzResult stddialogservice_AsyncSystem(IKzUnknown** /*system*/) override {
        enter("StdDialog.AsyncSystem");
        return kzBecause(KZe_NOTAVAILABLE, "StdDialog.AsyncSystem", [] { return "this host has no background tasks"; });
    }
    bool stddialogservice_IsInteractive() override { return false; }

private:
    KzResult nobody(const char* operation) const {
        enter(operation);
        return KZe_NOTAVAILABLE;
    }

    std::shared_ptr<CMonitorBoard> m_monitors;
    std::shared_ptr<CLogStore> m_log;
};

KzResult CDialogService::stddialogservice_MessageOpen(IKzUnknown* message, std::uint32_t style, const char* /*help*/,
                                                      std::uint32_t* answer) {
    enter("StdDialog.MessageOpen");
    const CKzUser_Message asMessage(message);
    if (!asMessage) return KZe_INVALIDARG;
    m_log->write("dialogs", asMessage->Code(), CMessageTables::textOf(*asMessage.ptr()));
    *answer = style == KZiMSGDIALOG_YESNO      ? KZeMSGDIALOG_NO
              : style == KZiMSGDIALOG_OKCANCEL ? KZeMSGDIALOG_CANCEL
                                               : KZeMSGDIALOG_OK;
    return KZe_OK;
}

}  // namespace

decltype(kzMakeDialogService) kzMakeDialogService = kzMakeService<CDialogService>;

}  // namespace kzhost
