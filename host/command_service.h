// The command service.
#pragma once

#include <memory>

class IKzUnknown;
class CCommandDispatcher;
class CCommandSystem;
class CValueTypes;
struct ServiceContext;

IKzUnknown* kzMakeCommandService(std::shared_ptr<ServiceContext> context,
                                 std::shared_ptr<CCommandDispatcher> dispatcher, std::shared_ptr<CCommandSystem> state,
                                 std::shared_ptr<CValueTypes> types);
