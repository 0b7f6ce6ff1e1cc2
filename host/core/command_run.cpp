// The execution of any command.
#include "host/core/command_run.h"

#include "host/core/argument_dialog.h"
#include "host/core/command_arguments.h"
#include "host/core/listener_table.h"
#include "host/core/log_store.h"
#include "host/core/message_tables.h"
#include "host/core/refusal.h"
#include "host/state/command_state.h"
#include "host/state/text.h"

#include "kz/message.h"
#include "kz/result.h"

namespace kzhost {

KzResult CCommandRun::execute(IKzUnknown* command, const std::string& name, std::uint32_t flags,
                              const std::function<KzResult()>& body) {
    if (flags == ~0U) flags = KZfCMD_EXEC_DEFAULT;
    m_message->msg_Reset();
    const CommandEnvironment& environment = *m_environment;
    environment.listeners->commands(
        [&](IKzCmdSysListener& each) { each.ExecutePre(command, KZiCMDEXEC_TYPE_COMMAND, 0, 0); });
    const CCommandState::Depth depth(*environment.state, flags);
    KzResult code = KZe_OK;
    std::string text;
    try {
        code = prepare(command, flags);
        if (!kzFailed(code)) code = body();
        if (!kzFailed(code) && kzFailed(m_message->msg_Code())) code = m_message->msg_Code();
    } catch (const CommandTextError& error) {
        code = error.code;
        text = error.text;
    } catch (...) {
        code = kzCodeOfException();
    }
    if (kzFailed(code)) tell(name, code, text, flags);
    else if (environment.state->depth() == 1) remember(command, name, flags);
    const int succeeded = kzSucceeded(code) ? 1 : 0;
    environment.listeners->commands([&](IKzCmdSysListener& each) {
        each.ExecuteResult(command, KZiCMDEXEC_TYPE_COMMAND, 0, 0, succeeded);
        each.ExecutePost(command, 0, 0);
    });
    return code;
}

// Checks that the command is enabled, runs its dialog and lets it prepare. A module that does not implement Enable is
// enabled.
KzResult CCommandRun::prepare(IKzUnknown* command, std::uint32_t flags) {
    CCommandArguments arguments(*m_environment->types, command);
    if (const KzResult code = arguments.command().Enable(m_message.raw()); kzRefuses(code)) return code;
    arguments.requireEnabled();
    if (const KzResult code = kzAskArguments(*m_environment->dialogs, arguments, flags); kzFailed(code)) return code;
    arguments.requireGiven();
    const KzResult code = arguments.command().PreExecute();
    return kzRefuses(code) ? code : KZe_OK;
}

// The history holds what users and scripts ran, not what commands ran in turn.
void CCommandRun::remember(IKzUnknown* command, const std::string& name, std::uint32_t flags) {
    std::uint32_t what = 0;
    const CCommandArguments arguments(*m_environment->types, command);
    if ((flags & KZfCMD_EXEC_NOHISTORY) != 0 ||
        (kzSucceeded(arguments.command().Flags(&what)) && (what & KZfCMD_QUIET) != 0))
        return;
    m_environment->state->remember(arguments.write(name));
}

// A reason that the command itself has put into the message stays.
void CCommandRun::tell(const std::string& name, KzResult code, const std::string& text, std::uint32_t flags) {
    if (kzSucceeded(m_message->msg_Code())) m_message->msg_SetCode(code);
    if (!m_message->hasText()) {
        m_message->msg_SetMessage("commands", "failed", 0);
        m_message->msg_SetArgumentString(1, name.c_str());
        m_message->msg_SetArgumentString(2, (text.empty() ? CMessageTables::codeText(code) : text).c_str());
    }
    const CKzUser_Message asMessage(m_message.raw());
    if ((flags & KZfCMD_EXEC_NOALERTS) == 0)
        m_environment->log->write("commands", code, CMessageTables::textOf(*asMessage.ptr()));
}

}  // namespace kzhost
