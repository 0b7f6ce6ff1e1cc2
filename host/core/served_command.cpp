// The host's front for commands that modules implement.
#include "host/core/served_command.h"

#include "host/core/notifier_table.h"
#include "host/state/text.h"

#include "kz/base/object_output.h"
#include "kz/message.h"
#include "kz/result.h"

#include <string>
#include <utility>

namespace kzhost {

CServedCommand::CServedCommand(CommandEnvironmentPtr environment, IKzUnknown* inner, std::string name,
                               std::uint32_t tag)
    : CServiceBase(environment->context), m_environment(std::move(environment)), m_inner(inner),
      m_name(std::move(name)), m_tag(tag), m_run(m_environment, m_name) {
    if (!m_inner) throw KZe_NOINTERFACE;
}

IKzUnknown* CServedCommand::subObject(const KzGuid& iid) {
    void* interface = nullptr;
    return kzSucceeded(m_inner.ptr()->QueryInterface(&iid, &interface)) ? static_cast<IKzUnknown*>(interface) : nullptr;
}

KzResult CServedCommand::cmd_Tag(std::uint32_t* tag) {
    *tag = m_tag;
    return KZe_OK;
}

KzResult CServedCommand::cmd_Name(const char** name) {
    *name = m_name.c_str();
    return KZe_OK;
}

IKzUnknown* CServedCommand::ownMessage(CKzUser_Message& message) const {
    CKzLoc_Unknown object;
    if (kzFailed(kzTakeOutput(object, [&](IKzUnknown** output) { return m_inner.Message(output); })) ||
        !message.set(object.raw()))
        return nullptr;
    const bool hasText = !kzMessageText(*message.ptr(), &IKzMessage::Key).empty();
    return hasText || kzFailed(message.Code()) ? message.raw() : nullptr;
}

KzResult CServedCommand::cmd_Message(IKzUnknown** message) {
    CKzUser_Message own;
    if (std::exchange(m_isToldAll, false)) return m_run.message().give(message);
    return m_run.message()->isSilent() && ownMessage(own) != nullptr ? own.get(message) : m_run.message().give(message);
}

template <class Operation> KzResult CServedCommand::told(const Operation& operation) {
    const KzResult code = operation();
    CKzUser_Message own;
    if (ownMessage(own) != nullptr) m_run.adopt(*own.ptr());
    return code;
}

KzResult CServedCommand::cmd_Execute(std::uint32_t flags) {
    enter("Command.Execute");
    m_isToldAll = false;
    return m_run.execute(rawSelf(), flags, [this](std::uint32_t given) {
        const KzResult code = told([&] { return m_inner.Execute(given); });
        m_isToldAll = true;
        return code;
    });
}

// Clients that the module does not take hear from the host whether the command is enabled.
KzResult CServedCommand::cmd_NotifyAddClient(std::int32_t argument, IKzUnknown* client) {
    const KzResult code = m_inner.NotifyAddClient(argument, client);
    return code == KZe_NOTIMPL && argument == KZiCMDARG_ALL ? m_environment->notifiers->addToState(m_name, client)
                                                            : code;
}

KzResult CServedCommand::cmd_NotifyRemoveClient(IKzUnknown* client) {
    const KzResult code = m_inner.NotifyRemoveClient(client);
    return code == KZe_NOTIMPL ? m_environment->notifiers->removeFromState(m_name, client) : code;
}

KzResult CServedCommand::cmd_Query(std::uint32_t index, IKzUnknown* values) {
    return m_run.query([&] {
        const KzResult code = m_inner.Query(index, values);
        return kzFailed(code) ? told([code] { return code; }) : code;
    });
}

}  // namespace kzhost
