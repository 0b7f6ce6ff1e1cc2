// What the execution of any command needs of its host.
#pragma once

#include <memory>

class CCommandSystem;
class CDialogBoard;
class CListenerTable;
class CLogStore;
class CValueTypes;
struct ServiceContext;

struct CommandEnvironment {
    std::shared_ptr<ServiceContext> context;
    std::shared_ptr<CCommandSystem> state;  // names, aliases, history, and what runs now
    std::shared_ptr<CDialogBoard> dialogs;
    std::shared_ptr<CListenerTable> listeners;
    std::shared_ptr<CLogStore> log;
    std::shared_ptr<CValueTypes> types;
};
using CommandEnvironmentPtr = std::shared_ptr<const CommandEnvironment>;
