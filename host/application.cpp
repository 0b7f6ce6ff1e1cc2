// The application object: every service of the host behind one pointer.
#include "host/application.h"

#include "host/queries.h"
#include "host/version.h"

#include "kz/application.h"
#include "kz/base/description.h"
#include "kz/result.h"
#include "kz/script.h"

#include <algorithm>
#include <atomic>

namespace {

class CApplication final : public CHosted<"application", CApplication, CKzIfc_ApplicationService, CKzIfc_Description>,
                           CHostService {
public:
    using CHostService::CHostService;

    // Where the support layer finds the services.
    IKzUnknown* subObject(const KzGuid& iid) { return core().makeService(iid); }

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
    bool applicationservice_IsMainThread() override { return std::this_thread::get_id() == core().mainThread; }
    bool applicationservice_IsQuitting() override { return m_quitting; }
    KzResult applicationservice_RequestQuit(std::int32_t /*force*/) override {
        enter("Application.RequestQuit");
        m_quitting = true;
        return KZe_OK;
    }
    KzResult applicationservice_UserActivity(double* seconds) override {
        enter("Application.UserActivity");
        *seconds = core().log->now();
        return KZe_OK;
    }
    KzResult applicationservice_Property(const char* name, const char** value) override;
    KzResult applicationservice_SetProperty(const char* name, const char* value) override {
        enter("Application.SetProperty");
        if (kzTextOf(name).empty()) return KZe_INVALIDARG;
        core().properties.set(name, std::string(kzTextOf(value)));
        return KZe_OK;
    }

private:
    std::atomic<bool> m_quitting = false;
};

KzResult CApplication::applicationservice_ServiceByName(const char* name, IKzUnknown** service) {
    enter("Application.ServiceByName");
    IKzUnknown* made = kzMakeNamedService(sharedCore(), kzTextOf(name));
    if (made == nullptr)
        return kzBecause(KZe_NOTFOUND, "Application.ServiceByName",
                         [&] { return kzThereIsNo("service", kzTextOf(name), core().serviceNames()); });
    *service = made;
    return KZe_OK;
}

KzResult CApplication::applicationservice_Property(const char* name, const char** value) {
    enter("Application.Property");
    const auto found = core().properties.get(std::string(kzTextOf(name)));
    if (!found) return KZe_NOTFOUND;
    *value = lend(*found);
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeApplication(const std::shared_ptr<CHostCore>& core) {
    return CApplication::polymorph().wrap(std::make_unique<CApplication>(core));
}
