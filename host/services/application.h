// The application object: every service of the host behind one pointer.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CLogStore;
class CPropertyTable;
class CServiceRegistry;
struct QueryEnvironment;
struct ServiceContext;

IKzUnknown* kzMakeApplication(std::shared_ptr<ServiceContext> context, std::shared_ptr<CServiceRegistry> services,
                              std::shared_ptr<const QueryEnvironment> queries, std::shared_ptr<CLogStore> log,
                              std::shared_ptr<CPropertyTable> properties);

}  // namespace kzhost
