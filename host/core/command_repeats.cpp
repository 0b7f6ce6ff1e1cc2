// Commands that are executed again in place of what they did before.
#include "host/core/command_repeats.h"

#include "host/core/command_text.h"
#include "host/core/listener_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/core/undo_blocks.h"
#include "host/state/command_state.h"

#include "kz/result.h"

#include <thread>

namespace kzhost {

struct CCommandRepeats::Drag {
    std::size_t depth;
    std::string name = {};                       // of the command that is executed anew
    std::optional<std::uint64_t> revision = {};  // of the history, when its step had been made
    bool isRunning = false;                      // so that what listeners run meanwhile takes no part
};

// Undoes a step and keeps what is done next in a block, which either stands for the step or is undone in favour of it.
class CCommandRepeats::Retake {
public:
    // `isTaken` tells whether the step could be undone: not if the history has changed since that revision.
    Retake(CUndoBlocks& undo, std::uint64_t revision, const std::string& name)
        : m_undo(undo), m_isTaken(undo.undoLast(revision)) {
        if (!m_isTaken) return;
        m_revision = undo.revision();
        m_depth = undo.depth();
        try {
            undo.begin(name);
        } catch (...) {
            settle(false);
            throw;
        }
    }
    Retake(const Retake&) = delete;
    Retake& operator=(const Retake&) = delete;
    ~Retake() {
        if (m_isTaken) settle(false);
    }
    bool isTaken() const noexcept { return m_isTaken; }

    // Returns the history's revision if the last step is now that of the command.
    std::optional<std::uint64_t> settle(bool succeeded) noexcept {
        try {
            return succeeded ? keep() : putBack();
        } catch (...) {
            kzBecause(KZe_FAILED, "Command", [] { return "what a command had done could not be done again"; });
            return {};
        }
    }

private:
    std::optional<std::uint64_t> keep() {
        m_isTaken = false;
        m_undo.endAbove(m_depth);
        if (m_undo.revision() != m_revision) return m_undo.revision();
        m_undo.forgetUndone();  // nothing has been done in place of the step
        return {};
    }
    std::optional<std::uint64_t> putBack() {
        m_isTaken = false;
        m_undo.discardAbove(m_depth);
        m_undo.redoLast();
        return m_undo.revision();
    }

    CUndoBlocks& m_undo;
    bool m_isTaken;
    std::uint64_t m_revision = 0;
    std::size_t m_depth = 0;
};

CCommandRepeats::CCommandRepeats(std::shared_ptr<ServiceContext> context, std::shared_ptr<CCommandState> state,
                                 std::shared_ptr<CListenerTable> listeners, std::shared_ptr<CUndoBlocks> undo)
    : m_context(std::move(context)), m_state(std::move(state)), m_listeners(std::move(listeners)),
      m_undo(std::move(undo)) {}

CCommandRepeats::~CCommandRepeats() = default;

bool CCommandRepeats::isOwnThread() const { return std::this_thread::get_id() == m_context->mainThread; }

void CCommandRepeats::requireOwnThread(const char* what) const {
    if (!isOwnThread()) throw CommandTextError{KZe_MAINTHREADONLY, std::string(what) + " belongs to the main thread"};
}

// How many commands run around the one that calls.
std::size_t CCommandRepeats::depthBeside() const {
    const std::size_t depth = m_state->depth();
    return depth > 0 ? depth - 1 : 0;
}

// What is a part of an open block cannot be undone by itself.
void CCommandRepeats::requireBeside() const {
    if (m_drag != nullptr)
        throw CommandTextError{KZe_CMD_ALREADY_REFIRING, "a drag is going on; it ends with command.refire state:false"};
    if (m_post)
        throw CommandTextError{KZe_CMD_POSTMODE_ACTIVE, "post mode is on; it ends with command.postMode state:false"};
    if (m_undo->depth() != 0)
        throw CommandTextError{KZe_CMD_ILLEGAL_REFIRE_BEGIN,
                               "a block of the history is open, so no command in it can be undone by itself"};
}

void CCommandRepeats::beginDrag() {
    requireOwnThread("a drag");
    requireBeside();
    m_drag = std::make_shared<Drag>(Drag{.depth = depthBeside()});
    m_listeners->commands([](IKzCmdSysListener& each) { each.RefireBegin(); });
}

void CCommandRepeats::endDrag() {
    requireOwnThread("a drag");
    if (m_drag == nullptr)
        throw CommandTextError{KZe_CMD_ILLEGAL_REFIRE_END,
                               "no drag is going on; one begins with command.refire state:true"};
    m_drag.reset();
    m_listeners->commands([](IKzCmdSysListener& each) { each.RefireEnd(); });
}

bool CCommandRepeats::isDragging() const {
    requireOwnThread("a drag");
    return m_drag != nullptr;
}

void CCommandRepeats::beginPost() {
    requireOwnThread("post mode");
    requireBeside();
    (void)last();
    m_post = depthBeside();
    m_listeners->commands([](IKzCmdSysListener& each) { each.PostModeBegin(); });
}

void CCommandRepeats::endPost() {
    requireOwnThread("post mode");
    if (!m_post)
        throw CommandTextError{KZe_CMD_POSTMODE_NOT_ACTIVE,
                               "post mode is off; it begins with command.postMode state:true"};
    m_post.reset();
    m_listeners->commands([](IKzCmdSysListener& each) { each.PostModeEnd(); });
}

bool CCommandRepeats::isPosting() const {
    requireOwnThread("post mode");
    return m_post.has_value();
}

std::string CCommandRepeats::last() const {
    requireOwnThread("post mode");
    if (!m_last || m_undo->freshRevision() != m_last->revision)
        throw CommandTextError{KZe_CMD_NOTHING_TO_UNDO,
                               "the last step of the history was not made by a command that can be executed again"};
    return m_last->line;
}

KzResult CCommandRepeats::repeat(IKzUnknown* former, const CKzUser_Command& anew, const std::string& name,
                                 std::string line, std::uint32_t flags) {
    requireOwnThread("post mode");
    if (!m_post)
        throw CommandTextError{KZe_CMD_POSTMODE_NOT_ACTIVE,
                               "post mode is off; it begins with command.postMode state:true"};
    if (m_isRepeating || m_undo->depth() != 0)
        throw CommandTextError{KZe_CMD_BLOCK_OPEN, "a command that is not done yet cannot be executed again"};
    m_listeners->commands([&](IKzCmdSysListener& each) { each.PostModeUndoNext(former); });
    (void)last();  // a listener may have changed the history
    struct Repeating {
        bool& flag;
        explicit Repeating(bool& set) : flag(set) { flag = true; }
        ~Repeating() { flag = false; }
    } const repeating(m_isRepeating);
    Retake retake(*m_undo, m_last->revision, name);
    m_listeners->commands([&](IKzCmdSysListener& each) { each.BlockEndedPostMode(former, 0); });
    const KzResult code = anew.Execute(flags);
    if (const auto revision = retake.settle(kzSucceeded(code)); !revision) m_last.reset();
    else if (kzSucceeded(code)) m_last = Done{std::move(line), *revision};
    else if (m_last) m_last->revision = *revision;
    return code;
}

// A drag or post mode ends at the latest with the command in which it began.
void CCommandRepeats::endBelow(std::size_t depth) {
    if (m_drag != nullptr && m_drag->depth > depth) endDrag();
    if (m_post && *m_post > depth) endPost();
}

CCommandRepeats::Execution::Execution(CCommandRepeats* repeats, IKzUnknown* command, std::string name)
    : m_name(std::move(name)) {
    if (repeats == nullptr || !repeats->isOwnThread()) return;
    m_repeats = repeats;
    m_depth = repeats->m_state->depth();
    const auto drag = repeats->m_drag;
    if (drag == nullptr || drag->depth != m_depth || drag->isRunning) return;
    m_drag = drag;
    m_drag->isRunning = true;
    m_isAnew = m_drag->name == m_name;
    if (m_isAnew) repeats->m_listeners->commands([&](IKzCmdSysListener& each) { each.RefiringNext(command); });
}

CCommandRepeats::Execution::~Execution() {
    if (m_drag != nullptr) m_drag->isRunning = false;
    if (m_repeats == nullptr) return;
    m_retake.reset();
    try {
        m_repeats->endBelow(m_depth);
    } catch (...) {  // the command itself has ended
        kzBecause(KZe_FAILED, "Command", [] { return "a drag could not be ended"; });
    }
}

void CCommandRepeats::Execution::takeBack() {
    if (m_isAnew && m_drag->revision)
        m_retake = std::make_unique<Retake>(*m_repeats->m_undo, *m_drag->revision, m_name);
    if (m_retake != nullptr && !m_retake->isTaken()) m_retake.reset();
}

bool CCommandRepeats::Execution::beginStep() {
    if (m_repeats == nullptr || (m_retake == nullptr && m_repeats->m_undo->depth() != 0)) return false;
    m_before = m_repeats->m_undo->freshRevision();
    return m_makesStep = true;
}

void CCommandRepeats::Execution::settle(bool succeeded, const std::string& line) {
    if (m_repeats == nullptr) return;
    CUndoBlocks& undo = *m_repeats->m_undo;
    std::optional<std::uint64_t> revision;
    if (m_retake != nullptr) revision = m_retake->settle(succeeded);
    else if (m_makesStep && undo.revision() != m_before && undo.lastName() == m_name) revision = undo.revision();
    m_retake.reset();
    if (!m_makesStep) {
        if (m_drag != nullptr && m_isAnew && revision)
            m_drag->revision = revision;  // it was refused, and the step is back
        return;
    }
    if (m_drag != nullptr) {
        m_drag->name = m_name;
        m_drag->revision = revision;
    }
    if (!succeeded || !revision || m_repeats->m_isRepeating) return;
    m_repeats->m_last = Done{line, *revision};
    if (m_repeats->m_post) m_repeats->m_listeners->commands([](IKzCmdSysListener& each) { each.PostModeRestart(); });
}

}  // namespace kzhost
