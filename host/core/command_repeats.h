// Commands that are executed again in place of what they did before: while the user drags, and in post mode, in which the
// last command gets other arguments. Each time its step of the history is undone first; if the new execution fails, the step
// comes back.
//
// All of it belongs to the main thread, as the history does. Executions on other threads take no part.
#pragma once

#include "kz/base/object.h"
#include "kz/command.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace kzhost {

class CCommandState;
class CListenerTable;
class CUndoBlocks;
struct ServiceContext;

class CCommandRepeats {
public:
    CCommandRepeats(std::shared_ptr<ServiceContext> context, std::shared_ptr<CCommandState> state,
                    std::shared_ptr<CListenerTable> listeners, std::shared_ptr<CUndoBlocks> undo);
    ~CCommandRepeats();
    CCommandRepeats(const CCommandRepeats&) = delete;
    CCommandRepeats& operator=(const CCommandRepeats&) = delete;

    // Called by a command that begins or ends a drag or post mode for the commands beside it. They throw CommandTextError.
    // Whatever is still on when the command around them ends, ends with it.
    void beginDrag();
    void endDrag();
    bool isDragging() const;
    void beginPost();
    void endPost();
    bool isPosting() const;
    // The command string of the execution that post mode may undo. Throws CommandTextError if there is none.
    std::string last() const;
    // Undoes it and executes `anew`, whose command string is `line`. `former` stands for it where listeners hear of it.
    KzResult repeat(IKzUnknown* former, const CKzUser_Command& anew, const std::string& name, std::string line,
                    std::uint32_t flags);

    class Execution;

private:
    struct Drag;
    class Retake;
    bool isOwnThread() const;
    void requireOwnThread(const char* what) const;
    void requireBeside() const;
    std::size_t depthBeside() const;
    void endBelow(std::size_t depth);

    std::shared_ptr<ServiceContext> m_context;
    std::shared_ptr<CCommandState> m_state;
    std::shared_ptr<CListenerTable> m_listeners;
    std::shared_ptr<CUndoBlocks> m_undo;
    std::shared_ptr<Drag> m_drag;
    std::optional<std::size_t> m_post;  // at which depth
    struct Done {
        std::string line;
        std::uint64_t revision;  // of the history, when its step had been made
    };
    std::optional<Done> m_last;
    bool m_isRepeating = false;
};

// One execution of any command.
class CCommandRepeats::Execution {
public:
    // Tells the listeners if that is one more step of a drag. `repeats` may be null.
    Execution(CCommandRepeats* repeats, IKzUnknown* command, std::string name);
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;
    ~Execution();

    bool isAnew() const noexcept { return m_isAnew; }
    // Undoes what the execution before it did, if that is still the last step of the history. May throw.
    void takeBack();
    // The command makes a step of the history; false where that is a part of another step, which cannot be undone by itself.
    bool beginStep();
    // The command has ended, and so has its own block. `line` is its command string.
    void settle(bool succeeded, const std::string& line);

private:
    CCommandRepeats* m_repeats = nullptr;
    std::string m_name;
    std::size_t m_depth = 0;
    std::shared_ptr<Drag> m_drag;  // in which it takes part
    bool m_isAnew = false, m_makesStep = false;
    std::unique_ptr<Retake> m_retake;
    std::uint64_t m_before = 0;
};

}  // namespace kzhost
