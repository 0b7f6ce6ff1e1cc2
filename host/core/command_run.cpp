// The execution of any command.
#include "host/core/command_run.h"

#include "host/core/argument_dialog.h"
#include "host/core/command_arguments.h"
#include "host/core/command_repeats.h"
#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/message_tables.h"
#include "host/core/notifier_table.h"
#include "host/core/refusal.h"
#include "host/core/undo_blocks.h"
#include "host/state/command_state.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"

#include "kz/message.h"
#include "kz/result.h"

#include <fmt/format.h>

namespace kzhost {

namespace {

constexpr std::size_t deepestCommand = 100;  // each takes some of the stack

// Commands that say nothing about themselves are taken to be undoable. One that changes the scene and does not say that it
// can be undone leaves no step, and one that only changes what is shown has nothing to do with the history.
UndoKind undoKindOf(std::uint32_t what, std::uint32_t flags) {
    if ((flags & KZfCMD_EXEC_NOUNDO) != 0) return UndoKind::noStep;
    if ((what & KZmCMD_TYPE) == 0 || (what & KZfCMD_UNDO) != 0) return UndoKind::block;
    return (what & KZfCMD_MODEL) != 0 ? UndoKind::noStep : UndoKind::untouched;
}

// 0 for a command that says nothing about itself.
std::uint32_t commandFlagsOf(const CCommandArguments& arguments) {
    std::uint32_t what = 0;
    return kzFailed(arguments.command().Flags(&what)) ? 0 : what;
}

}  // namespace

template <class Body> CCommandRun::Verdict CCommandRun::verdictOf(const Body& body) const {
    try {
        const KzResult code = body();
        return {kzSucceeded(code) && kzFailed(m_message->msg_Code()) ? m_message->msg_Code() : code, {}};
    } catch (const CommandTextError& error) {
        return {error.code, error.text};
    } catch (...) {
        return {kzCodeOfException(), {}};
    }
}

KzResult CCommandRun::execute(IKzUnknown* command, std::uint32_t flags,
                              CFunctionRef<KzResult(std::uint32_t flags)> body) {
    if (flags == ~0U) flags = KZfCMD_EXEC_DEFAULT;
    m_message->msg_Reset();
    const CommandEnvironment& environment = *m_environment;
    CCommandRepeats::Execution execution(environment.repeats.get(), command, m_name);
    const std::int32_t type = execution.isAnew() ? KZiCMDEXEC_TYPE_REFIRE : KZiCMDEXEC_TYPE_COMMAND;
    if (execution.isAnew()) flags |= KZfCMD_EXEC_ALREADYFIRED;
    environment.listeners->commands([&](IKzCmdSysListener& each) { each.ExecutePre(command, type, 0, 0); });
    const CCommandState::Depth depth(*environment.state, flags);
    std::string line;
    bool isBlock = false, isKeptInHistory = false;
    const Verdict verdict = verdictOf([&] {
        if (environment.state->depth() > deepestCommand)
            throw CommandTextError{KZe_FAILED, fmt::format("{} commands run inside one another", deepestCommand)};
        CCommandArguments arguments(*m_environment->types, command);
        if (execution.isAnew() && (commandFlagsOf(arguments) & KZfCMD_NOREFIRE) == 0) execution.takeBack();
        const KzResult code = prepare(arguments, flags);
        if (kzFailed(code)) return code;
        const std::uint32_t what = commandFlagsOf(arguments);
        const UndoKind kind = undoKindOf(what, flags);
        isBlock = kind == UndoKind::block;
        isKeptInHistory = isKept(what, flags);
        // Written before the command runs, as what it does may change what its arguments mean.
        if ((isBlock && execution.beginStep()) || isKeptInHistory) line = arguments.write(m_name);
        if (isBlock) environment.listeners->commands([&](IKzCmdSysListener& each) { each.BlockBegin(command, 0); });
        const CUndoBlock block(environment.undo.get(), kind, m_name);
        return body(flags);
    });
    if (isBlock) environment.listeners->commands([&](IKzCmdSysListener& each) { each.BlockEnd(command, 0, 0); });
    execution.settle(kzSucceeded(verdict.code), line);
    if (kzFailed(verdict.code)) {
        tell(verdict);
        if ((flags & KZfCMD_EXEC_NOALERTS) == 0) environment.log->write("commands", verdict.code, reason());
    } else if (isKeptInHistory) {
        environment.state->remember(std::move(line));
        environment.notifiers->tell(KZsNOTIFIER_HISTORY, {}, KZfNOTIFY_REFRESH);
    }
    const int succeeded = kzSucceeded(verdict.code) ? 1 : 0;
    environment.listeners->commands([&](IKzCmdSysListener& each) {
        each.ExecuteResult(command, type, 0, 0, succeeded);
        each.ExecutePost(command, 0, 0);
    });
    return verdict.code;
}

KzResult CCommandRun::query(CFunctionRef<KzResult()> body) {
    m_message->msg_Reset();
    const Verdict verdict = verdictOf(body);
    if (kzFailed(verdict.code)) tell(verdict);
    return verdict.code;
}

// Checks that the command is enabled, runs its dialog and lets it prepare. A module that does not implement Enable is
// enabled.
KzResult CCommandRun::prepare(CCommandArguments& arguments, std::uint32_t flags) {
    if (const KzResult code = arguments.command().Enable(m_message.raw()); kzRefuses(code)) return code;
    arguments.requireEnabled();
    if (kzWantsDialog(arguments, flags)) {
        if (const KzResult code = kzAskArguments(*m_environment->dialogs, arguments); kzFailed(code)) return code;
        arguments.forget();
    }
    arguments.requireGiven();
    const KzResult code = arguments.command().PreExecute();
    if (code != KZe_NOTIMPL) arguments.forget();  // it may have set arguments
    return kzRefuses(code) ? code : KZe_OK;
}

// The history holds what users and scripts ran, not what commands ran in turn.
bool CCommandRun::isKept(std::uint32_t what, std::uint32_t flags) const {
    return m_environment->state->depth() <= 1 && (flags & KZfCMD_EXEC_NOHISTORY) == 0 && (what & KZfCMD_QUIET) == 0;
}

void CCommandRun::fail(KzResult code, const std::string& text) {
    m_message->msg_Reset();
    tell({code, text});
}

void CCommandRun::adopt(IKzMessage& message) {
    m_message->copyFrom(message);
    const CKzUser_Message own(m_message.raw());
    const bool isNameless = kzMessageText(*own.ptr(), &IKzMessage::Table) == "commands" &&
                            kzMessageText(*own.ptr(), &IKzMessage::Key) == "failed" &&
                            kzMessageArgument(*own.ptr(), 1).empty();
    if (isNameless) m_message->msg_SetArgumentString(1, m_name.c_str());
}

std::string CCommandRun::reason() const {
    const CKzUser_Message message(m_message.raw());
    return CMessageTables::textOf(*message.ptr());
}

// A reason that the command itself has put into the message stays.
void CCommandRun::tell(const Verdict& verdict) {
    if (kzSucceeded(m_message->msg_Code())) m_message->msg_SetCode(verdict.code);
    if (m_message->hasText()) return;
    const std::string text = verdict.text.empty() ? CMessageTables::codeText(verdict.code) : verdict.text;
    m_message->msg_SetMessage("commands", "failed", 0);
    m_message->msg_SetArgumentString(1, m_name.c_str());
    m_message->msg_SetArgumentString(2, text.c_str());
}

}  // namespace kzhost
