// The services of a host by name and identifier.
#include "host/core/service_registry.h"

#include <utility>

namespace kzhost {

void CServiceRegistry::add(const char* name, const KzGuid& iid, Make make) {
    m_services.push_back({name, &iid, std::move(make), false});
}

IKzUnknown* CServiceRegistry::make(const KzGuid& iid) const {
    for (const Service& service : m_services)
        if (*service.iid == iid && !service.isRemoved) return service.make();
    return nullptr;
}

const KzGuid* CServiceRegistry::find(std::string_view name) const noexcept {
    for (const Service& service : m_services)
        if (service.name == name) return service.iid;
    return nullptr;
}

std::vector<std::string> CServiceRegistry::names() const {
    std::vector<std::string> names;
    for (const Service& service : m_services) names.push_back(service.name);
    return names;
}

void CServiceRegistry::remove(const KzGuid& iid) {
    for (Service& service : m_services)
        if (*service.iid == iid) service.isRemoved = true;
}

}  // namespace kzhost
