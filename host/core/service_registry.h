// The services of a host by name and identifier, and how each is made.
#pragma once

#include "kz/base/unknown.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

class CServiceRegistry {
public:
    using Make = std::function<IKzUnknown*()>;
    // `iid` is a constant of the SDK; `make` gives a new service object with one reference.
    void add(const char* name, const KzGuid& iid, Make make);

    // A new service object for that identifier; null when the host has no such service.
    IKzUnknown* make(const KzGuid& iid) const;
    // The identifier of the service with that name ("value"); null when there is none.
    const KzGuid* find(std::string_view name) const noexcept;
    std::vector<std::string> names() const;
    // From now on the host behaves as if it lacked the service.
    void remove(const KzGuid& iid);

private:
    struct Service {
        std::string name;
        const KzGuid* iid = nullptr;
        Make make;
        bool isRemoved = false;
    };
    std::vector<Service> m_services;
};

}  // namespace kzhost
