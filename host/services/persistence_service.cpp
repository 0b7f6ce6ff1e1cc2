// The persistence service: entries that modules keep in the user's configuration.
#include "host/services/persistence_service.h"

#include "host/core/object.h"
#include "host/core/persistence.h"
#include "host/core/service_base.h"
#include "host/state/text.h"

#include "kz/persist.h"
#include "kz/result.h"

#include <utility>

namespace kzhost {

namespace {

class CPersistenceService final : public CHosted<"persistence service", CPersistenceService, CKzIfc_PersistenceService>,
                                  CServiceBase {
public:
    CPersistenceService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CPersistence> entries)
        : CServiceBase(std::move(context)), m_entries(std::move(entries)) {}

    KzResult persistenceservice_Begin(const char* name, std::uint32_t kind, IKzUnknown** entry) override {
        enter("Persistence.Begin");
        return give(m_entries->begin(kzString(name), kind), entry);
    }
    KzResult persistenceservice_AddValue(const char* name, const char* type, const char* preset,
                                         IKzUnknown** entry) override {
        enter("Persistence.AddValue");
        return give(m_entries->addValue(kzString(name), kzString(type), kzString(preset)), entry);
    }
    KzResult persistenceservice_End() override {
        enter("Persistence.End");
        m_entries->end();
        return KZe_OK;
    }
    KzResult persistenceservice_Configure(const char* name, IKzUnknown* client) override {
        enter("Persistence.Configure");
        return m_entries->configure(kzString(name), client);
    }
    KzResult persistenceservice_Lookup(const char* path, IKzUnknown** entry) override {
        enter("Persistence.Lookup");
        return give(m_entries->lookup(kzTextOf(path)), entry);
    }
    KzResult persistenceservice_Import(const char* path) override {
        enter("Persistence.Import");
        return m_entries->import(kzString(path));
    }
    KzResult persistenceservice_Export(const char* name, const char* path) override {
        enter("Persistence.Export");
        return m_entries->exportTo(kzString(name), kzString(path));
    }
    bool persistenceservice_IsModified(const char* name) override {
        enter("Persistence.IsModified");
        return m_entries->isModified(kzString(name));
    }

private:
    KzResult give(PersistentNode& node, IKzUnknown** entry) {
        *entry = m_entries->makeEntry(node);
        return KZe_OK;
    }

    std::shared_ptr<CPersistence> m_entries;
};

}  // namespace

decltype(kzMakePersistenceService) kzMakePersistenceService = kzMakeService<CPersistenceService>;

}  // namespace kzhost
