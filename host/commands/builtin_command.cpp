// Built-in commands as objects.
#include "host/commands/builtin_command.h"

#include "host/core/command_text.h"
#include "host/core/notifier_table.h"
#include "host/core/object.h"
#include "host/core/reason_memory.h"
#include "host/core/reasons.h"
#include "host/core/refusal.h"
#include "host/core/value_type_registry.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"

#include "kz/message.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

// A failure of which only the code gets here is told with the reason that was given for it.
template <class Work> KzResult withReasons(const Work& work) {
    const CReasonMemory memory;
    try {
        work();
        return KZe_OK;
    } catch (KzResult code) {
        if (std::string reason = CReasonMemory::latest(code); !reason.empty()) kzRefuse(code, std::move(reason));
        throw;
    }
}

}  // namespace

void kzRefuse(KzResult code, std::string text) { throw CommandTextError{code, std::move(text)}; }

void kzOnlyQueried(CBuiltinCommand& /*command*/) { throw KZe_CMD_NOT_EXECUTABLE; }

void kzAddCommands(CCommandRegistry& registry, std::vector<CommandRow> rows) {
    for (CommandRow& each : rows) {
        const auto row = std::make_shared<const CommandRow>(std::move(each));
        registry.add(row->name, [row, environment = registry.environment()](std::uint32_t tag) {
            return kzMakeObject<CBuiltinCommand>(environment, row, tag);
        });
    }
}

CBuiltinCommand::CBuiltinCommand(const CommandEnvironmentPtr& environment, std::shared_ptr<const CommandRow> row,
                                 std::uint32_t tag)
    : CServiceBase(environment->context), m_environment(environment), m_row(std::move(row)), m_tag(tag),
      m_run(environment, m_row->name), m_values(m_row->arguments.size()) {}

const ArgumentRow& CBuiltinCommand::argument(std::uint32_t index) const {
    if (index >= m_row->arguments.size()) throw KZe_OUTOFBOUNDS;
    return m_row->arguments[index];
}

std::uint32_t CBuiltinCommand::indexOf(std::string_view name) const {
    for (std::uint32_t index = 0; index < m_row->arguments.size(); ++index)
        if (name == m_row->arguments[index].name) return index;
    throw kzBecause(KZe_CMD_UNKNOWN_ARGUMENT, "Attributes.Lookup", [&] {
        return kzThereIsNo("argument", name, m_row->arguments, [](const auto& each) { return each.name; });
    });
}

const KzValueType& CBuiltinCommand::typeOf(std::uint32_t index) {
    const ArgumentRow& row = argument(index);
    const KzValueType* type = m_row->type != nullptr ? m_row->type(*this, index) : nullptr;
    if (type == nullptr) type = kzFindType(row.type);
    if (type == nullptr) throw KZe_CMD_DATATYPE_UNAVAILABLE;
    return *type;
}

const KzCell& CBuiltinCommand::cellOf(std::uint32_t index) const {
    argument(index);
    if (!m_values[index]) throw KZe_NOTFOUND;
    return *m_values[index];
}

std::string CBuiltinCommand::text(std::string_view name) const {
    const std::uint32_t index = indexOf(name);
    if (!m_values[index]) return {};
    return kzFormatCell(*kzFindType(KZsTYPE_STRING), *m_values[index]);
}

std::optional<std::int32_t> CBuiltinCommand::integer(std::string_view name) const {
    const std::uint32_t index = indexOf(name);
    return m_values[index] ? kzIntegerOf(*m_values[index]) : std::nullopt;
}

std::optional<double> CBuiltinCommand::number(std::string_view name) const {
    const auto& cell = m_values[indexOf(name)];
    return cell ? kzNumberOf(*cell) : std::nullopt;
}

std::optional<std::int32_t> CBuiltinCommand::choice(std::string_view name) const {
    const auto& cell = m_values[indexOf(name)];
    const auto* number = cell ? std::get_if<std::int32_t>(&*cell) : nullptr;
    return number != nullptr ? std::optional(*number) : std::nullopt;
}

KzResult CBuiltinCommand::cmd_Tag(std::uint32_t* tag) {
    *tag = m_tag;
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_Name(const char** name) {
    *name = m_row->name;
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_UserName(const char** name) {
    *name = m_row->userName;
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_Desc(const char** text) {
    *text = m_row->description;
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_Flags(std::uint32_t* flags) {
    *flags = m_row->flags;
    return KZe_OK;
}

// What it says reaches the user through the message, and whoever executes the command, in any case.
KzResult CBuiltinCommand::cmd_Enable(IKzUnknown* message) {
    if (m_row->enable == nullptr) return KZe_OK;
    try {
        m_row->enable();
        return KZe_OK;
    } catch (const CommandTextError& error) {
        const CKzUser_Message told(message);
        told.SetCode(error.code);
        told.SetMessage("commands", "failed", 0);
        told.SetArgumentString(1, m_row->name);
        told.SetArgumentString(2, error.text.c_str());
        return error.code;
    }
}

// Nobody tells when the answer to a single query becomes another one.
KzResult CBuiltinCommand::cmd_NotifyAddClient(std::int32_t argument, IKzUnknown* client) {
    if (argument == KZiCMDARG_ALL) return m_environment->notifiers->addToState(m_row->name, client);
    return kzBecause(KZe_NOTAVAILABLE, "Command.NotifyAddClient",
                     [] { return "a built-in command tells of its state as a whole: pass iCMDARG_ALL"; });
}

KzResult CBuiltinCommand::cmd_NotifyRemoveClient(IKzUnknown* client) {
    return m_environment->notifiers->removeFromState(m_row->name, client);
}

KzResult CBuiltinCommand::cmd_Execute(std::uint32_t flags) {
    enter("Command.Execute");
    return m_run.execute(rawSelf(), flags,
                         [this](std::uint32_t /*flags*/) { return withReasons([&] { m_row->execute(*this); }); });
}

KzResult CBuiltinCommand::cmd_ToggleArg(std::uint32_t* index) {
    if (m_row->toggle < 0) return KZe_NOTFOUND;
    *index = static_cast<std::uint32_t>(m_row->toggle);
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_ArgFlags(std::uint32_t index, std::uint32_t* flags) {
    *flags = argument(index).flags | (m_values[index] ? KZfCMDARG_VALUE_SET : 0U);
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_ArgClear(std::uint32_t index) {
    argument(index);
    m_values[index].reset();
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_ArgResetAll() {
    std::fill(m_values.begin(), m_values.end(), std::nullopt);
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_ArgDesc(std::uint32_t index, const char** text) {
    *text = argument(index).description;
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_ArgTypeDesc(std::uint32_t index, const char** text) {
    const KzTextValueHint* hints = nullptr;
    const bool isChoice = kzSucceeded(attr_Hints(index, &hints));
    *text = keep(isChoice ? kzOneOf(hints) : m_environment->types->expects(typeOf(index)));
    return KZe_OK;
}

KzResult CBuiltinCommand::cmd_Query(std::uint32_t index, IKzUnknown* values) {
    enter("Command.Query");
    const CKzUser_ValueArray target(values);
    if (!target) return KZe_INVALIDARG;
    return m_run.query([&] {
        if (m_row->query == nullptr || (argument(index).flags & KZfCMDARG_QUERY) == 0)
            return KZe_CMD_ARGUMENT_NOT_QUERYABLE;
        return withReasons([&] {
            for (const std::string& text : m_row->query(*this, index)) kzDemand(target->AddString(text.c_str()));
        });
    });
}

KzResult CBuiltinCommand::attr_Name(std::uint32_t index, const char** name) {
    *name = argument(index).name;
    return KZe_OK;
}

KzResult CBuiltinCommand::attr_Lookup(const char* name, std::uint32_t* index) {
    *index = indexOf(kzTextOf(name));
    return KZe_OK;
}

KzResult CBuiltinCommand::attr_TypeName(std::uint32_t index, const char** type) {
    *type = typeOf(index).name;
    return KZe_OK;
}

KzResult CBuiltinCommand::attr_Hints(std::uint32_t index, const KzTextValueHint** hints) {
    *hints = argument(index).hints;
    if (m_row->choices != nullptr) {
        const auto choices = m_row->choices(*this, index);
        m_hints.clear();
        for (const std::string& choice : choices)
            m_hints.push_back({static_cast<std::int32_t>(m_hints.size()), keep(choice)});
        m_hints.push_back({0, nullptr});
        if (!choices.empty()) *hints = m_hints.data();
    }
    return *hints != nullptr ? KZe_OK : KZe_NOTFOUND;
}

KzResult CBuiltinCommand::attr_Value(std::uint32_t index, std::int32_t create, IKzUnknown** value) {
    const KzValueType& type = typeOf(index);
    if (!m_values[index] && create == 0) return KZe_NOTFOUND;
    return m_environment->types->makeValue(type, value, m_values[index] ? &*m_values[index] : nullptr);
}

KzResult CBuiltinCommand::askServed(std::uint32_t index, CFunctionRef<KzResult(const CKzUser_Value& value)> get) {
    const KzCell cell = cellOf(index);
    CKzLoc_Unknown object;
    const KzResult code = m_environment->types->makeValue(typeOf(index), object.out(), &cell);
    return kzFailed(code) ? code : get(CKzUser_Value(object.raw()));
}

KzResult CBuiltinCommand::setServed(std::uint32_t index, CFunctionRef<KzResult(const CKzUser_Value& value)> set) {
    const auto cell = m_environment->types->cellBy(typeOf(index), set);
    if (!cell) return KZe_CMD_ERROR_SETTING_DATATYPE;
    m_values[index] = cell;
    return KZe_OK;
}

KzResult CBuiltinCommand::refuses(std::uint32_t index, std::string_view text) {
    return kzBecause(KZe_CMD_ERROR_SETTING_DATATYPE, "Attributes", [&] {
        const char* expected = nullptr;
        cmd_ArgTypeDesc(index, &expected);
        return std::string("argument \"") + argument(index).name + "\": " + kzIsNot(text, expected);
    });
}

KzResult CBuiltinCommand::attr_GetInt(std::uint32_t index, std::int32_t* value) {
    if (typeOf(index).isServed) return askServed(index, [value](const auto& served) { return served.GetInt(value); });
    const KzCell& cell = cellOf(index);
    const KzTextValueHint* hints = nullptr;
    const auto* word = std::get_if<std::string>(&cell);
    const bool isWord = word != nullptr && kzSucceeded(attr_Hints(index, &hints));
    const auto number = isWord ? kzChoiceOf(hints, typeOf(index), *word) : kzIntegerOf(cell);
    if (!number) return KZe_INVALIDARG;
    *value = *number;
    return KZe_OK;
}

KzResult CBuiltinCommand::attr_SetInt(std::uint32_t index, std::int32_t value) {
    if (typeOf(index).isServed) return setServed(index, [value](const auto& served) { return served.SetInt(value); });
    return attr_SetFlt(index, value);
}

KzResult CBuiltinCommand::attr_GetFlt(std::uint32_t index, double* value) {
    if (typeOf(index).isServed) return askServed(index, [value](const auto& served) { return served.GetFlt(value); });
    const auto number = kzNumberOf(cellOf(index));
    if (!number) return KZe_INVALIDARG;
    *value = *number;
    return KZe_OK;
}

KzResult CBuiltinCommand::attr_SetFlt(std::uint32_t index, double value) {
    if (typeOf(index).isServed) return setServed(index, [value](const auto& served) { return served.SetFlt(value); });
    const auto cell = kzCellOf(typeOf(index), value);
    if (!cell) return refuses(index, fmt::format("{}", value));
    m_values[index] = cell;
    return KZe_OK;
}

KzResult CBuiltinCommand::attr_GetString(std::uint32_t index, char* buffer, std::uint32_t length) {
    return kzFillCell(typeOf(index), cellOf(index), buffer, length);
}

// Choices are set by their words.
KzResult CBuiltinCommand::attr_SetString(std::uint32_t index, const char* value) {
    const std::string_view wanted = kzTextOf(value);
    const KzTextValueHint* hints = nullptr;
    if (kzSucceeded(attr_Hints(index, &hints))) {
        const auto choice = kzChoiceOf(hints, typeOf(index), wanted);
        if (!choice) return refuses(index, wanted);
        m_values[index].emplace(std::in_place_type<std::int32_t>, *choice);
        return KZe_OK;
    }
    const auto cell = m_environment->types->cellOfText(typeOf(index), wanted);
    if (!cell) return refuses(index, wanted);
    m_values[index] = cell;
    return KZe_OK;
}

}  // namespace kzhost
