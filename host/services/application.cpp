// The application object: every service of the host behind one pointer.
#include "host/services/application.h"

#include "host/core/log_store.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/core/service_registry.h"
#include "host/services/script_queries.h"
#include "host/state/driven_servers.h"
#include "host/state/property_table.h"
#include "host/state/text.h"
#include "host/state/version.h"

#include "kz/application.h"
#include "kz/base/description.h"
#include "kz/host.h"
#include "kz/result.h"
#include "kz/script.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace kzhost {

namespace {

class CApplication final
    : public CHosted<"application", CApplication, CKzIfc_ApplicationService, CKzIfc_Description, CKzIfc_ServerUse>,
      CServiceBase {
public:
    CApplication(std::shared_ptr<ServiceContext> context, std::shared_ptr<CServiceRegistry> services,
                 std::shared_ptr<const QueryEnvironment> queries, std::shared_ptr<CLogStore> log,
                 std::shared_ptr<CPropertyTable> properties)
        : CServiceBase(std::move(context)), m_services(std::move(services)), m_queries(std::move(queries)),
          m_log(std::move(log)), m_properties(std::move(properties)) {}

    // Services are sub-objects: QueryInterface hands them out.
    IKzUnknown* subObject(const KzGuid& iid) { return m_services->make(iid); }

    bool serveruse_Calls(const KzGuid* iid) override { return iid != nullptr && kzCallsServers(*iid); }

    KzResult applicationservice_ServiceByName(const char* name, IKzUnknown** service) override;
    std::uint32_t applicationservice_Version() override { return kzHostVersion; }
    std::uint32_t applicationservice_Build() override { return kzHostBuild; }
    KzResult applicationservice_Name(const char** name) override {
        enter("Application.Name");
        *name = kzHostName;
        return KZe_OK;
    }
    KzResult applicationservice_LanguageCode(const char** code) override {
        enter("Application.LanguageCode");
        *code = "en_US";
        return KZe_OK;
    }
    bool applicationservice_IsHeadless() override { return true; }
    bool applicationservice_IsMainThread() override { return std::this_thread::get_id() == context()->mainThread; }
    bool applicationservice_IsQuitting() override { return m_quitting; }
    KzResult applicationservice_RequestQuit(std::int32_t /*force*/) override {
        enter("Application.RequestQuit");
        m_quitting = true;
        return KZe_OK;
    }
    KzResult applicationservice_UserActivity(double* seconds) override {
        enter("Application.UserActivity");
        *seconds = m_log->now();
        return KZe_OK;
    }
    KzResult applicationservice_Property(const char* name, const char** value) override;
    KzResult applicationservice_SetProperty(const char* name, const char* value) override {
        enter("Application.SetProperty");
        if (kzTextOf(name).empty()) return KZe_INVALIDARG;
        m_properties->set(name, kzString(value));
        return KZe_OK;
    }

private:
    std::atomic<bool> m_quitting = false;
    std::shared_ptr<CServiceRegistry> m_services;
    std::shared_ptr<const QueryEnvironment> m_queries;
    std::shared_ptr<CLogStore> m_log;
    std::shared_ptr<CPropertyTable> m_properties;
};

KzResult CApplication::applicationservice_ServiceByName(const char* name, IKzUnknown** service) {
    enter("Application.ServiceByName");
    IKzUnknown* object = kzMakeNamedService(m_services, m_queries, kzTextOf(name));
    if (object == nullptr)
        return kzBecause(KZe_NOTFOUND, "Application.ServiceByName",
                         [&] { return kzThereIsNo("service", kzTextOf(name), m_services->names()); });
    *service = object;
    return KZe_OK;
}

KzResult CApplication::applicationservice_Property(const char* name, const char** value) {
    enter("Application.Property");
    const auto property = m_properties->get(kzString(name));
    if (!property) return KZe_NOTFOUND;
    *value = lend(*property);
    return KZe_OK;
}

}  // namespace

decltype(kzMakeApplication) kzMakeApplication = kzMakeService<CApplication>;

}  // namespace kzhost
