// The command service.
#include "host/services/command_service.h"

#include "host/core/command_arguments.h"
#include "host/core/command_dispatcher.h"
#include "host/core/command_text.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/core/value_type_registry.h"
#include "host/core/values.h"
#include "host/state/command_state.h"
#include "host/state/text.h"

#include "kz/command.h"
#include "kz/message.h"
#include "kz/result.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

std::string nameOf(const CKzUser_Command& command) {
    std::string name = kzAnswer([&](const char** text) { return command.Name(text); });
    return name.empty() ? "unknown" : name;
}

class CCommandService final : public CHosted<"command service", CCommandService, CKzIfc_CommandService>, CServiceBase {
public:
    CCommandService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CCommandDispatcher> dispatcher,
                    std::shared_ptr<CCommandState> state, std::shared_ptr<CValueTypeRegistry> types)
        : CServiceBase(std::move(context)), m_dispatcher(std::move(dispatcher)), m_state(std::move(state)),
          m_types(std::move(types)) {}

    KzResult commandservice_Lookup(const char* name, std::uint32_t* tag) override;
    KzResult commandservice_LookupTag(std::uint32_t tag, const char** name) override {
        enter("Command.LookupTag");
        const auto entry = m_state->nameOf(tag);
        if (!entry) return KZe_NOTFOUND;
        *name = keep(*entry);
        return KZe_OK;
    }
    KzResult commandservice_CommandCount(std::uint32_t* count) override {
        enter("Command.CommandCount");
        *count = static_cast<std::uint32_t>(m_dispatcher->registry().names().size());
        return KZe_OK;
    }
    KzResult commandservice_CommandByIndex(std::uint32_t index, const char** name) override {
        enter("Command.CommandByIndex");
        return giveName(m_dispatcher->registry().names(), index, name);
    }
    KzResult commandservice_Spawn(std::uint32_t tag, const char* name, IKzUnknown** command) override;
    KzResult commandservice_SpawnFromString(const char* args, std::uint32_t* flags, std::int32_t* queryIndex,
                                            IKzUnknown** command) override;
    KzResult commandservice_GetToggleArgState(IKzUnknown* command, std::int32_t* state, IKzUnknown** value) override;
    KzResult commandservice_ProcessStringFlags(std::uint32_t flags, const char* text, std::uint32_t* newFlags,
                                               const char** rest) override;
    bool commandservice_IsCommand(const char* name) override {
        enter("Command.IsCommand");
        return m_dispatcher->registry().has(kzString(name));
    }
    KzResult commandservice_IsImplicitScript(const char* definition) override {
        enter("Command.IsImplicitScript");
        return m_dispatcher->isScript(kzTextOf(definition)) ? KZe_OK : KZe_NOTFOUND;
    }
    KzResult commandservice_SpawnImplicitScript(const char* definition, IKzUnknown** command) override;
    KzResult commandservice_ParseArgString(IKzUnknown* command, std::uint32_t alertFlags, const char* args) override;
    KzResult commandservice_ParseAttribObject(IKzUnknown* command, std::uint32_t alertFlags, IKzUnknown* args) override;
    KzResult commandservice_QueryArgString(IKzUnknown* command, std::uint32_t alertFlags, const char* args,
                                           std::int32_t includesName, IKzUnknown** values,
                                           std::uint32_t* queryIndex) override;
    KzResult commandservice_QueryIndex(IKzUnknown* command, std::uint32_t index, IKzUnknown** values) override;
    KzResult commandservice_CreateQueryObject(const char* type, IKzUnknown** values) override {
        enter("Command.CreateQueryObject");
        return m_types->makeArray(m_types->need(KZe_NOTFOUND, "Command.CreateQueryObject", kzTextOf(type)))
            .give(values);
    }
    KzResult commandservice_Execute(IKzUnknown* command, std::uint32_t flags) override {
        enter("Command.ExecuteCommand");
        const CKzUser_Command asCommand(command);
        return asCommand ? asCommand.Execute(flags) : KZe_INVALIDARG;
    }
    KzResult commandservice_ExecuteString(std::uint32_t flags, const char* text, IKzUnknown* message) override;
    KzResult commandservice_ExecuteArgString(std::uint32_t flags, std::int32_t queryMode, const char* args) override;
    KzResult commandservice_ToString(IKzUnknown* command, char* buffer, std::uint32_t length) override;
    KzResult commandservice_AliasCreate(const char* alias, const char* definition, std::uint32_t flags) override;
    KzResult commandservice_AliasRemove(const char* alias) override {
        enter("Command.AliasRemove");
        return m_dispatcher->registry().removeAlias(kzString(alias)) ? KZe_OK : KZe_CMD_NOT_ALIASED;
    }
    KzResult commandservice_AliasLookup(const char* alias, const char** definition) override;
    std::uint32_t commandservice_ExecDepth() override { return m_state->depth(); }
    KzResult commandservice_CurrentExecFlags(std::uint32_t* flags) override {
        enter("Command.CurrentExecFlags");
        *flags = m_state->flags();
        return KZe_OK;
    }
    // Nothing that a command does can be undone here.
    bool commandservice_IsUndoLocked() override {
        enter("Command.IsUndoLocked");
        return true;
    }
    KzResult commandservice_HistoryCount(std::uint32_t* count) override {
        enter("Command.HistoryCount");
        *count = m_state->historyCount();
        return KZe_OK;
    }
    KzResult commandservice_HistoryByIndex(std::uint32_t index, const char** text) override {
        enter("Command.HistoryByIndex");
        auto line = m_state->historyAt(index);
        if (!line) return KZe_OUTOFBOUNDS;
        *text = lend(std::move(*line));
        return KZe_OK;
    }

private:
    // Runs the action. An error in a command string goes to the log, once, where the string is parsed.
    template <class Action>
    KzResult reporting(const std::string& name, Action&& action, IKzUnknown* command = nullptr) const {
        try {
            return action();
        } catch (const CommandTextError& error) {
            return m_dispatcher->report(name, error, command);
        }
    }
    // As above, for the arguments of a command; INVALIDARG for another object.
    template <class Action> KzResult withArguments(IKzUnknown* command, Action&& action) const {
        CCommandArguments arguments(*m_types, command);
        return reporting(
            nameOf(arguments.command()), [&] { return action(arguments); }, command);
    }

    std::shared_ptr<CCommandDispatcher> m_dispatcher;
    std::shared_ptr<CCommandState> m_state;
    std::shared_ptr<CValueTypeRegistry> m_types;
};

KzResult CCommandService::commandservice_Lookup(const char* name, std::uint32_t* tag) {
    enter("Command.Lookup");
    const std::string commandName(kzTextOf(name));
    if (!m_dispatcher->registry().has(commandName))
        return kzBecause(KZe_CMD_UNKNOWN_COMMAND, "Command.Lookup",
                         [&] { return kzThereIsNo("command", commandName, m_dispatcher->registry().names()); });
    *tag = m_state->tagOf(commandName);
    return KZe_OK;
}

KzResult CCommandService::commandservice_Spawn(std::uint32_t tag, const char* name, IKzUnknown** command) {
    enter("Command.Spawn");
    const std::string commandName = tag != 0 ? m_state->nameOf(tag).value_or("") : kzString(name);
    return reporting(commandName, [&] {
        CKzUser_Command object;
        return m_dispatcher->spawn(commandName, object).get(command);
    });
}

KzResult CCommandService::commandservice_SpawnFromString(const char* args, std::uint32_t* flags,
                                                         std::int32_t* queryIndex, IKzUnknown** command) {
    enter("Command.SpawnFromString");
    const MarkedCommand marked = m_dispatcher->stripMarks(0, kzTextOf(args));
    return reporting(marked.rest.substr(0, marked.rest.find_first_of(" \t\n\r")), [&] {
        CKzUser_Command object;
        const auto query = m_dispatcher->parse(marked.rest, object);
        *flags = marked.flags;
        *queryIndex = query ? static_cast<std::int32_t>(*query) : KZiCMD_QUERYINDEX_NONE;
        return object.get(command);
    });
}

// On if the queried value of the toggle argument equals the given one or, without a given value, if it is true.
KzResult CCommandService::commandservice_GetToggleArgState(IKzUnknown* command, std::int32_t* state,
                                                           IKzUnknown** value) {
    enter("Command.GetToggleArgState");
    return withArguments(command, [&](const CCommandArguments& arguments) {
        std::uint32_t index = 0;
        if (kzFailed(arguments.command().ToggleArg(&index))) return KZe_CMD_TOGGLE_NO_ARGUMENT;
        const std::string onValue = kzAttributeText(arguments.attributes(), index);
        CKzLoc_Unknown array, object;
        const std::vector<std::string> now = arguments.query(index, array.out());
        const std::string present = now.empty() ? std::string() : now.front();
        const bool isOn =
            onValue.empty() ? !present.empty() && present != "0" && present != "false" : present == onValue;
        *state = isOn ? KZiCMD_TOGGLE_ON : KZiCMD_TOGGLE_OFF;
        const CKzUser_ValueArray values(array.raw());
        const KzResult code = now.empty() ? values.AddEmptyValue(object.out()) : values.GetValue(0, object.out());
        return kzFailed(code) ? code : object.get(value);
    });
}

KzResult CCommandService::commandservice_ProcessStringFlags(std::uint32_t flags, const char* text,
                                                            std::uint32_t* newFlags, const char** rest) {
    enter("Command.ProcessStringFlags");
    const MarkedCommand marked = m_dispatcher->stripMarks(flags, kzTextOf(text));
    if (marked.rest.empty()) return KZe_CMD_BAD_DEFINITION;
    *newFlags = marked.flags;
    *rest = text + (kzTextOf(text).size() - marked.rest.size());  // points into the caller's own text
    return KZe_OK;
}

KzResult CCommandService::commandservice_SpawnImplicitScript(const char* definition, IKzUnknown** command) {
    enter("Command.SpawnImplicitScript");
    return reporting("@", [&] {
        CKzUser_Command object;
        return m_dispatcher->spawnScript(kzTextOf(definition), object).get(command);
    });
}

KzResult CCommandService::commandservice_ParseArgString(IKzUnknown* command, std::uint32_t /*alertFlags*/,
                                                        const char* args) {
    enter("Command.ParseArgString");
    return withArguments(command, [&](CCommandArguments& arguments) {
        arguments.assign(kzParseArguments(kzTextOf(args)));
        return KZe_OK;
    });
}

KzResult CCommandService::commandservice_ParseAttribObject(IKzUnknown* command, std::uint32_t /*alertFlags*/,
                                                           IKzUnknown* args) {
    enter("Command.ParseAttribObject");
    const CKzUser_Attributes source(args);
    if (!source) return KZe_INVALIDARG;
    return withArguments(command, [&](CCommandArguments& arguments) {
        for (std::uint32_t index = 0; index < source.Count(); ++index) {
            const char* name = nullptr;
            if (const KzResult code = source.Name(index, &name); kzFailed(code)) return code;
            arguments.assignByName(kzString(name), kzAttributeText(source, index));
        }
        return KZe_OK;
    });
}

KzResult CCommandService::commandservice_QueryArgString(IKzUnknown* command, std::uint32_t /*alertFlags*/,
                                                        const char* args, std::int32_t includesName,
                                                        IKzUnknown** values, std::uint32_t* queryIndex) {
    enter("Command.QueryArgString");
    return withArguments(command, [&](CCommandArguments& arguments) {
        std::string_view text = kzTextOf(args);
        std::optional<std::uint32_t> query;
        if (includesName != 0 && m_dispatcher->registry().alias(kzFirstWord(text, &text))) {
            CKzUser_Command another;  // to see which argument the alias marks
            m_dispatcher->registry().spawn(kzTextOf(args), another, &query);
        }
        const std::vector<ArgumentText> texts = kzParseArguments(text);
        // Without a query mark the caller goes on to parse the string and execute the command.
        if (!query && std::none_of(texts.begin(), texts.end(), [](const ArgumentText& each) { return each.isQuery; }))
            return KZe_CMD_NO_QUERY_MARKED;
        const auto own = arguments.assign(texts);
        *queryIndex = own ? *own : query.value();
        arguments.query(*queryIndex, values);
        return KZe_OK;
    });
}

KzResult CCommandService::commandservice_QueryIndex(IKzUnknown* command, std::uint32_t index, IKzUnknown** values) {
    enter("Command.QueryIndex");
    return withArguments(command, [&](const CCommandArguments& arguments) {
        arguments.query(index, values);
        return KZe_OK;
    });
}

KzResult CCommandService::commandservice_ExecuteString(std::uint32_t flags, const char* text, IKzUnknown* message) {
    enter("Command.ExecuteString");
    const CCommandDispatcher::Outcome outcome = m_dispatcher->perform(kzTextOf(text), flags);
    if (const CKzUser_Message asMessage(message); asMessage && kzFailed(outcome.code)) {
        asMessage.SetCode(outcome.code);
        asMessage.SetMessage("commands", "said", 0);
        asMessage.SetArgumentString(1, outcome.message.c_str());
    }
    return outcome.code;
}

KzResult CCommandService::commandservice_ExecuteArgString(std::uint32_t flags, std::int32_t /*queryMode*/,
                                                          const char* args) {
    enter("Command.ExecuteArgString");
    return m_dispatcher->perform(kzTextOf(args), flags).code;
}

KzResult CCommandService::commandservice_ToString(IKzUnknown* command, char* buffer, std::uint32_t length) {
    enter("Command.ToString");
    const CCommandArguments arguments(*m_types, command);
    return kzFillText(arguments.write(nameOf(arguments.command())), buffer, length);
}

KzResult CCommandService::commandservice_AliasCreate(const char* alias, const char* definition,
                                                     std::uint32_t /*flags*/) {
    enter("Command.AliasCreate");
    const std::string name(kzTextOf(alias));
    if (!kzIsCommandName(name) || kzTextOf(definition).empty()) return KZe_INVALIDARG;
    return m_dispatcher->registry().addAlias(name, definition) ? KZe_OK : KZe_CMD_ALREADY_EXISTS;
}

KzResult CCommandService::commandservice_AliasLookup(const char* alias, const char** definition) {
    enter("Command.AliasLookup");
    const auto text = m_state->alias(kzString(alias));
    if (!text) return KZe_CMD_NOT_ALIASED;
    *definition = lend(*text);
    return KZe_OK;
}

}  // namespace

decltype(kzMakeCommandService) kzMakeCommandService = kzMakeService<CCommandService>;

}  // namespace kzhost
