// The listener service.
#include "host/core.h"

#include "kz/result.h"

namespace {

class CListenerService final : public CHosted<"listener service", CListenerService, CKzIfc_ListenerService>,
                               CHostService {
public:
    using CHostService::CHostService;

    KzResult listenerservice_AddListener(IKzUnknown* listener) override {
        enter("Listener.AddListener");
        return core().listeners.add(listener);
    }
    KzResult listenerservice_RemoveListener(IKzUnknown* listener) override {
        enter("Listener.RemoveListener");
        return core().listeners.remove(listener);
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
        return static_cast<std::uint32_t>(core().listeners.count(kzTextOf(type)));
    }
};

}  // namespace

IKzUnknown* kzMakeListenerService(const std::shared_ptr<CHostCore>& core) {
    return CListenerService::polymorph().wrap(std::make_unique<CListenerService>(core));
}
