// What the execution of any command needs of its host.
#pragma once

#include <memory>

namespace kzhost {

class CLogStore;
class CCommandRepeats;
class CCommandState;
class CDialogBoard;
class CListenerTable;
class CNotifierTable;
class CUndoBlocks;
class CValueTypeRegistry;
struct ServiceContext;

struct CommandEnvironment {
    std::shared_ptr<ServiceContext> context;
    std::shared_ptr<CCommandState> state;  // names, aliases, history, and what runs now
    std::shared_ptr<CDialogBoard> dialogs;
    std::shared_ptr<CListenerTable> listeners;
    std::shared_ptr<CLogStore> log;
    std::shared_ptr<CNotifierTable> notifiers;
    std::shared_ptr<CValueTypeRegistry> types;
    std::shared_ptr<CUndoBlocks> undo;
    std::shared_ptr<CCommandRepeats> repeats;  // null where none are wanted
};
using CommandEnvironmentPtr = std::shared_ptr<const CommandEnvironment>;

}  // namespace kzhost
