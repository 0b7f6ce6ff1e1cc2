// The dialog service of a host without windows: messages go to the log, monitors to whoever shows them.
#include "host/core.h"

#include "kz/dialog.h"
#include "kz/result.h"

#include <algorithm>

namespace {

class CMonitor final : public CHosted<"monitor", CMonitor, CKzIfc_Monitor>, CHostService {
public:
    CMonitor(std::shared_ptr<CHostCore> core, std::string title) : CHostService(std::move(core)) {
        m_state.title = std::move(title);
        ++this->core().monitors.alive;
    }
    ~CMonitor() override { end(); }

    KzResult mon_Initialize(std::uint32_t count) override {
        enter("Monitor.Initialize");
        if (count == 0) return KZe_INVALIDARG;
        m_state.steps = count;
        m_state.done = 0;
        return show();
    }
    // More steps than announced are no error: the estimate was wrong, the work is what counts.
    KzResult mon_Increment(std::uint32_t count) override {
        enter("Monitor.Increment");
        m_state.done += count;
        if (m_state.steps != 0) m_state.done = std::min(m_state.done, m_state.steps);
        return show();
    }
    void end() {
        if (m_state.ended) return;
        m_state.ended = true;
        --core().monitors.alive;
        core().monitors.show(m_state);
    }

private:
    KzResult show() {
        if (!m_state.ended) core().monitors.show(m_state);
        return core().monitors.aborts() ? KZe_ABORT : KZe_OK;
    }

    MonitorState m_state;
};

class CDialogService final : public CHosted<"dialog service", CDialogService, CKzIfc_StdDialogService>, CHostService {
public:
    using CHostService::CHostService;

    // Nobody is there to answer: the message goes to the log and the answer is the cautious one.
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
        return CHostRef<CMonitor>::make(sharedCore(), std::string(kzTextOf(title))).give(monitor);
    }
    KzResult stddialogservice_MonitorReleaseObj(IKzUnknown* monitor) override {
        enter("StdDialog.MonitorReleaseObj");
        const auto held = CHostRef<CMonitor>::of(monitor);
        if (!held) return KZe_INVALIDARG;
        held->end();
        return KZe_OK;
    }
    KzResult stddialogservice_MonitorDepth(std::uint32_t* depth) override {
        enter("StdDialog.MonitorDepth");
        *depth = core().monitors.alive;
        return KZe_OK;
    }
    bool stddialogservice_IsInteractive() override { return false; }

private:
    KzResult nobody(const char* operation) const {
        enter(operation);
        return KZe_NOTAVAILABLE;
    }
};

KzResult CDialogService::stddialogservice_MessageOpen(IKzUnknown* message, std::uint32_t style, const char* /*help*/,
                                                      std::uint32_t* answer) {
    enter("StdDialog.MessageOpen");
    const CKzUser_Message held(message);
    if (!held) return KZe_INVALIDARG;
    core().log->write("dialogs", held->Code(), CMessageTables::textOf(*held.ptr()));
    *answer = style == KZiMSGDIALOG_YESNO      ? KZeMSGDIALOG_NO
              : style == KZiMSGDIALOG_OKCANCEL ? KZeMSGDIALOG_CANCEL
                                               : KZeMSGDIALOG_OK;
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeDialogService(const std::shared_ptr<CHostCore>& core) {
    return CDialogService::polymorph().wrap(std::make_unique<CDialogService>(core));
}
