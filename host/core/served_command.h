// The host's front for commands that modules implement.
#pragma once

#include "host/core/command_run.h"
#include "host/core/host_command.h"
#include "host/core/object.h"
#include "host/core/service_base.h"

#include "kz/command.h"

#include <string>

namespace kzhost {

// Forwards every operation to the module's object. Executing it also notifies the listeners, and there is always a message
// with the outcome: the module's own if it says anything.
class CServedCommand final : public CHosted<"served command", CServedCommand, CKzIfc_Command, CKzIfc_HostCommand>,
                             public CHostSelf<CServedCommand>,
                             CServiceBase {
public:
    CServedCommand(CommandEnvironmentPtr environment, IKzUnknown* inner, std::string name, std::uint32_t tag);

    // Other interfaces, above all the attributes, are those of the module's object.
    IKzUnknown* subObject(const KzGuid& iid);

    KzResult cmd_Tag(std::uint32_t* tag) override;
    KzResult cmd_Name(const char** name) override;
    KzResult cmd_UserName(const char** name) override { return orName(m_inner.UserName(name), name); }
    KzResult cmd_ButtonName(const char** name) override { return orName(m_inner.ButtonName(name), name); }
    KzResult cmd_Desc(const char** text) override { return m_inner.Desc(text); }
    KzResult cmd_Tooltip(const char** text) override { return m_inner.Tooltip(text); }
    KzResult cmd_Help(const char** text) override { return m_inner.Help(text); }
    KzResult cmd_Example(const char** text) override { return m_inner.Example(text); }
    KzResult cmd_Icon(const char** name) override { return m_inner.Icon(name); }
    KzResult cmd_Flags(std::uint32_t* flags) override { return m_inner.Flags(flags); }
    KzResult cmd_PostExecFlags(std::uint32_t* flags) override { return m_inner.PostExecFlags(flags); }
    KzResult cmd_PostExecBehaviorFlags(std::uint32_t* flags) override { return m_inner.PostExecBehaviorFlags(flags); }
    KzResult cmd_PostExecHints(const char** hints) override { return m_inner.PostExecHints(hints); }
    KzResult cmd_SandboxGUID(const char** iid) override { return m_inner.SandboxGUID(iid); }
    KzResult cmd_Message(IKzUnknown** message) override;
    KzResult cmd_Enable(IKzUnknown* message) override { return m_inner.Enable(message); }
    KzResult cmd_ContainedEnable() override { return m_inner.ContainedEnable(); }
    KzResult cmd_Interact() override { return m_inner.Interact(); }
    KzResult cmd_PreExecute() override { return m_inner.PreExecute(); }
    KzResult cmd_Execute(std::uint32_t flags) override;
    KzResult cmd_ToggleArg(std::uint32_t* index) override { return m_inner.ToggleArg(index); }
    KzResult cmd_ArgFlags(std::uint32_t index, std::uint32_t* flags) override { return m_inner.ArgFlags(index, flags); }
    KzResult cmd_ArgClear(std::uint32_t index) override { return m_inner.ArgClear(index); }
    KzResult cmd_ArgResetAll() override { return m_inner.ArgResetAll(); }
    KzResult cmd_ArgSetDatatypes() override { return m_inner.ArgSetDatatypes(); }
    KzResult cmd_ArgUserName(std::uint32_t index, const char** name) override {
        return m_inner.ArgUserName(index, name);
    }
    KzResult cmd_ArgDesc(std::uint32_t index, const char** text) override { return m_inner.ArgDesc(index, text); }
    KzResult cmd_ArgExample(std::uint32_t index, const char** text) override { return m_inner.ArgExample(index, text); }
    KzResult cmd_ArgType(std::uint32_t index, const char** type) override { return m_inner.ArgType(index, type); }
    KzResult cmd_ArgTypeUserName(std::uint32_t index, const char** name) override {
        return m_inner.ArgTypeUserName(index, name);
    }
    KzResult cmd_ArgTypeDesc(std::uint32_t index, const char** text) override {
        return m_inner.ArgTypeDesc(index, text);
    }
    KzResult cmd_DialogInit() override { return m_inner.DialogInit(); }
    KzResult cmd_DialogArgChange(std::uint32_t index) override { return m_inner.DialogArgChange(index); }
    KzResult cmd_ArgEnable(std::uint32_t index) override { return m_inner.ArgEnable(index); }
    KzResult cmd_ArgParseString(std::uint32_t index, const char* text) override {
        return m_inner.ArgParseString(index, text);
    }
    KzResult cmd_ArgOptionUserName(std::uint32_t index, std::uint32_t option, const char** name) override {
        return m_inner.ArgOptionUserName(index, option, name);
    }
    KzResult cmd_ArgOptionDesc(std::uint32_t index, std::uint32_t option, const char** text) override {
        return m_inner.ArgOptionDesc(index, option, text);
    }
    KzResult cmd_ArgOptionIconName(std::uint32_t index, std::uint32_t option, const char** name) override {
        return m_inner.ArgOptionIconName(index, option, name);
    }
    KzResult cmd_DialogFormatting(const char** format) override { return m_inner.DialogFormatting(format); }
    KzResult cmd_IconImage(std::int32_t width, std::int32_t height, IKzUnknown** image) override {
        return m_inner.IconImage(width, height, image);
    }
    KzResult cmd_NotifyAddClient(std::int32_t argument, IKzUnknown* client) override;
    KzResult cmd_NotifyRemoveClient(IKzUnknown* client) override;
    KzResult cmd_Copy(IKzUnknown* source) override { return m_inner.Copy(source); }
    KzResult cmd_Query(std::uint32_t index, IKzUnknown* values) override;

    void hostcommand_Fail(KzResult code, const std::string& text) override { m_run.fail(code, text); }

private:
    // Runs an operation of the module's object. The module's message, if it says anything, is copied into the run's.
    template <class Operation> KzResult told(const Operation& operation);
    // The module's own message if it says anything; null otherwise.
    IKzUnknown* ownMessage(CKzUser_Message& message) const;
    // Falls back to the command's name where the module has no name for people.
    KzResult orName(KzResult code, const char** name) {
        return kzSucceeded(code) && *name != nullptr ? code : cmd_Name(name);
    }

    const CommandEnvironmentPtr m_environment;
    CKzUser_Command m_inner;
    std::string m_name;
    std::uint32_t m_tag;
    bool m_isToldAll = false;  // the run's message has what the module's object had to say
    CCommandRun m_run;
};

}  // namespace kzhost
