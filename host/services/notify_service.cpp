// The notification service.
#include "host/services/notify_service.h"

#include "host/core/notifier_table.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/state/command_state.h"
#include "host/state/text.h"

#include <utility>

namespace kzhost {

namespace {

class CNotifyService final : public CHosted<"notification service", CNotifyService, CKzIfc_NotifySysService>,
                             CServiceBase {
public:
    CNotifyService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CNotifierTable> notifiers,
                   std::shared_ptr<CCommandState> commands)
        : CServiceBase(std::move(context)), m_notifiers(std::move(notifiers)), m_commands(std::move(commands)) {}

    KzResult notifysysservice_Lookup(const char* name, const char* arguments, IKzUnknown** notifier) override {
        enter("NotifySys.Lookup");
        return found("NotifySys.Lookup", name, m_notifiers->lookup(kzString(name), kzString(arguments), notifier));
    }
    KzResult notifysysservice_Send(const char* name, const char* arguments, std::uint32_t flags) override {
        enter("NotifySys.Send");
        return found("NotifySys.Send", name, m_notifiers->send(kzString(name), kzString(arguments), flags));
    }
    KzResult notifysysservice_Defer(const char* name, const char* arguments, std::uint32_t flags) override {
        enter("NotifySys.Defer");
        const KzResult code = m_notifiers->defer(kzString(name), kzString(arguments), flags);
        if (m_commands->depth() == 0) m_notifiers->sendDeferred();
        return found("NotifySys.Defer", name, code);
    }
    std::uint32_t notifysysservice_DeferredCount() override {
        enter("NotifySys.DeferredCount");
        return m_notifiers->deferredCount();
    }
    KzResult notifysysservice_Register(IKzUnknown* notifier) override {
        enter("NotifySys.Register");
        return m_notifiers->add(notifier);
    }

private:
    static KzResult found(const char* place, const char* name, KzResult code) {
        if (code != KZe_NOTFOUND) return code;
        return kzBecause(code, place, [&] { return "there is no notifier \"" + kzString(name) + "\""; });
    }

    std::shared_ptr<CNotifierTable> m_notifiers;
    std::shared_ptr<CCommandState> m_commands;
};

}  // namespace

decltype(kzMakeNotifyService) kzMakeNotifyService = kzMakeService<CNotifyService>;

}  // namespace kzhost
