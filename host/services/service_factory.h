// How services are made. Each service's header declares a factory, with the parts of the host that the service works
// on.
#pragma once

#include "host/core/object.h"

#include <memory>
#include <utility>

namespace kzhost {

struct ServiceContext;

template <class... Parts>
using ServiceFactory = IKzUnknown* (*)(std::shared_ptr<ServiceContext> context, std::shared_ptr<Parts>... parts);

template <class Service, class... Parts>
IKzUnknown* kzMakeService(std::shared_ptr<ServiceContext> context, std::shared_ptr<Parts>... parts) {
    return kzMakeObject<Service>(std::move(context), std::move(parts)...);
}

}  // namespace kzhost
