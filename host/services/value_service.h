// The value service: creating values, text hints, conversions and units.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CPropertyTable;
class CValueTypeRegistry;
struct QueryEnvironment;
struct ServiceContext;

IKzUnknown* kzMakeValueService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CValueTypeRegistry> types,
                               std::shared_ptr<CPropertyTable> properties,
                               std::shared_ptr<const QueryEnvironment> queries);

}  // namespace kzhost
