// The command service.
#pragma once

#include <memory>

class IKzUnknown;

namespace kzhost {

class CCommandDispatcher;
class CCommandState;
class CValueTypeRegistry;
struct ServiceContext;

IKzUnknown* kzMakeCommandService(std::shared_ptr<ServiceContext> context,
                                 std::shared_ptr<CCommandDispatcher> dispatcher, std::shared_ptr<CCommandState> state,
                                 std::shared_ptr<CValueTypeRegistry> types);

}  // namespace kzhost
