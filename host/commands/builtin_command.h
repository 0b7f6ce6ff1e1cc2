// Built-in commands: each is described by a row of a table, and one class implements them all.
#pragma once

#include "host/core/command_registry.h"
#include "host/core/command_run.h"
#include "host/core/host_command.h"
#include "host/core/object.h"
#include "host/core/service_base.h"
#include "host/state/function_ref.h"
#include "host/state/value_types.h"

#include "kz/command.h"
#include "kz/value.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kzhost {

class CBuiltinCommand;
using Texts = std::vector<std::string>;

struct ArgumentRow {
    const char* name;
    const char* type;
    std::uint32_t flags;
    const char* description;
    const KzTextValueHint* hints = nullptr;
};

struct CommandRow {
    const char* name;
    const char* userName;
    const char* description;
    std::uint32_t flags;
    std::span<const ArgumentRow> arguments;
    // Throws CommandTextError, or a code.
    std::function<void(CBuiltinCommand& command)> execute;
    // The texts that answer a query of that argument; null where nothing can be queried.
    std::function<Texts(CBuiltinCommand& command, std::uint32_t index)> query = nullptr;
    // Override an argument's type and choices if these depend on other arguments.
    std::function<const KzValueType*(CBuiltinCommand& command, std::uint32_t index)> type = nullptr;
    std::function<Texts(CBuiltinCommand& command, std::uint32_t index)> choices = nullptr;
    int toggle = -1;
    // Throws why the command is not enabled at present. Null for one that always is.
    std::function<void()> enable = nullptr;
};

inline constexpr std::uint32_t kzOptional = KZfCMDARG_OPTIONAL;
inline constexpr std::uint32_t kzQueryable = KZfCMDARG_QUERY;

// Binds the state that a row's function works on to its first parameters.
template <class Function, class... State> auto kzWith(Function function, const std::shared_ptr<State>&... state) {
    return
        [function, state...](CBuiltinCommand& command, auto... rest) { return function(*state..., command, rest...); };
}

// Ends a command with a code and a full sentence.
[[noreturn]] void kzRefuse(KzResult code, std::string text);
// The `execute` of a command that can only be queried.
void kzOnlyQueried(CBuiltinCommand& command);

void kzAddCommands(CCommandRegistry& registry, std::vector<CommandRow> rows);

class CBuiltinCommand final
    : public CHosted<"command", CBuiltinCommand, CKzIfc_Command, CKzIfc_Attributes, CKzIfc_HostCommand>,
      public CHostSelf<CBuiltinCommand>,
      CServiceBase {
public:
    CBuiltinCommand(const CommandEnvironmentPtr& environment, std::shared_ptr<const CommandRow> row, std::uint32_t tag);

    KzResult cmd_Tag(std::uint32_t* tag) override;
    KzResult cmd_Name(const char** name) override;
    KzResult cmd_UserName(const char** name) override;
    KzResult cmd_ButtonName(const char** name) override { return cmd_UserName(name); }
    KzResult cmd_Desc(const char** text) override;
    KzResult cmd_Tooltip(const char** text) override { return cmd_Desc(text); }
    KzResult cmd_Flags(std::uint32_t* flags) override;
    KzResult cmd_Message(IKzUnknown** message) override { return m_run.message().give(message); }
    KzResult cmd_Enable(IKzUnknown* message) override;
    KzResult cmd_Execute(std::uint32_t flags) override;
    KzResult cmd_ToggleArg(std::uint32_t* index) override;
    KzResult cmd_ArgFlags(std::uint32_t index, std::uint32_t* flags) override;
    KzResult cmd_ArgClear(std::uint32_t index) override;
    KzResult cmd_ArgResetAll() override;
    KzResult cmd_ArgUserName(std::uint32_t index, const char** name) override { return attr_Name(index, name); }
    KzResult cmd_ArgDesc(std::uint32_t index, const char** text) override;
    KzResult cmd_ArgType(std::uint32_t index, const char** type) override { return attr_TypeName(index, type); }
    KzResult cmd_ArgTypeDesc(std::uint32_t index, const char** text) override;
    KzResult cmd_Query(std::uint32_t index, IKzUnknown* values) override;
    KzResult cmd_NotifyAddClient(std::int32_t argument, IKzUnknown* client) override;
    KzResult cmd_NotifyRemoveClient(IKzUnknown* client) override;

    std::uint32_t attr_Count() override { return static_cast<std::uint32_t>(m_row->arguments.size()); }
    KzResult attr_Name(std::uint32_t index, const char** name) override;
    KzResult attr_Lookup(const char* name, std::uint32_t* index) override;
    std::uint32_t attr_Type(std::uint32_t index) override { return typeOf(index).storage; }
    KzResult attr_TypeName(std::uint32_t index, const char** type) override;
    KzResult attr_Hints(std::uint32_t index, const KzTextValueHint** hints) override;
    KzResult attr_Value(std::uint32_t index, std::int32_t create, IKzUnknown** value) override;
    KzResult attr_GetInt(std::uint32_t index, std::int32_t* value) override;
    KzResult attr_SetInt(std::uint32_t index, std::int32_t value) override;
    KzResult attr_GetFlt(std::uint32_t index, double* value) override;
    KzResult attr_SetFlt(std::uint32_t index, double value) override;
    KzResult attr_GetString(std::uint32_t index, char* buffer, std::uint32_t length) override;
    KzResult attr_SetString(std::uint32_t index, const char* value) override;

    void hostcommand_Fail(KzResult code, const std::string& text) override { m_run.fail(code, text); }

    // For the rows' functions. Throws for an argument that the row lacks.
    const CommandEnvironment& environment() const { return *m_environment; }
    bool has(std::string_view argument) const { return m_values[indexOf(argument)].has_value(); }
    std::string text(std::string_view name) const;
    std::optional<std::int32_t> integer(std::string_view name) const;
    std::optional<double> number(std::string_view name) const;
    // The number of a choice that was set as one; nothing for a text, which has yet to be looked up.
    std::optional<std::int32_t> choice(std::string_view name) const;
    bool flag(std::string_view argument) const { return integer(argument).value_or(0) != 0; }
    const CommandRow& row() const { return *m_row; }
    CCommandRun& run() { return m_run; }

private:
    const ArgumentRow& argument(std::uint32_t index) const;
    std::uint32_t indexOf(std::string_view name) const;
    const KzValueType& typeOf(std::uint32_t index);
    const KzCell& cellOf(std::uint32_t index) const;
    // Calls `get` with the argument as a value of its served type.
    KzResult askServed(std::uint32_t index, CFunctionRef<KzResult(const CKzUser_Value& value)> get);
    KzResult setServed(std::uint32_t index, CFunctionRef<KzResult(const CKzUser_Value& value)> set);
    KzResult refuses(std::uint32_t index, std::string_view text);

    CommandEnvironmentPtr m_environment;
    std::shared_ptr<const CommandRow> m_row;
    std::uint32_t m_tag;
    CCommandRun m_run;
    std::vector<std::optional<KzCell>> m_values;
    std::vector<KzTextValueHint> m_hints;  // the hints of an argument whose choices vary
};

}  // namespace kzhost
