// The listener service.
#include "host/services/listener_service.h"

#include "host/core/listener_table.h"
#include "host/core/object.h"
#include "host/core/service_base.h"
#include "host/state/text.h"

#include "kz/listener.h"
#include "kz/result.h"

#include <utility>

namespace kzhost {

namespace {

class CListenerService final : public CHosted<"listener service", CListenerService, CKzIfc_ListenerService>,
                               CServiceBase {
public:
    CListenerService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CListenerTable> listeners)
        : CServiceBase(std::move(context)), m_listeners(std::move(listeners)) {}

    KzResult listenerservice_AddListener(IKzUnknown* listener) override {
        enter("Listener.AddListener");
        return m_listeners->add(listener);
    }
    KzResult listenerservice_RemoveListener(IKzUnknown* listener) override {
        enter("Listener.RemoveListener");
        return m_listeners->remove(listener);
    }
    // The host has no ports of its own.
    KzResult listenerservice_FirePort(const char* /*port*/, IKzUnknown* /*argument*/) override {
        enter("Listener.FirePort");
        return KZe_NOTFOUND;
    }
    KzResult listenerservice_PortByName(const char* /*port*/, IKzUnknown** /*listenerPort*/) override {
        enter("Listener.PortByName");
        return KZe_NOTFOUND;
    }
    std::uint32_t listenerservice_ListenerCount(const char* type) override {
        enter("Listener.ListenerCount");
        return static_cast<std::uint32_t>(m_listeners->count(kzTextOf(type)));
    }

private:
    std::shared_ptr<CListenerTable> m_listeners;
};

}  // namespace

decltype(kzMakeListenerService) kzMakeListenerService = kzMakeService<CListenerService>;

}  // namespace kzhost
