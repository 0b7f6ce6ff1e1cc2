// Sets the arguments of any command through its interfaces.
#include "host/core/command_arguments.h"

#include "host/core/host_command.h"
#include "host/core/message.h"
#include "host/core/message_tables.h"
#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include "kz/base/object_output.h"
#include "kz/message.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>

namespace kzhost {

namespace {

constexpr std::uint32_t mostArguments = 1000;

// What the command's message says of a failure, without the command's name where the text is the host's own.
std::string reasonOf(const CKzUser_Command& command, KzResult code) {
    CKzLoc_Unknown object;
    if (kzFailed(kzTakeOutput(object, [&](IKzUnknown** output) { return command.Message(output); })))
        return CMessageTables::codeText(code);
    const CKzUser_Message message(object.raw());
    if (!message || kzSucceeded(message.Code())) return CMessageTables::codeText(code);
    const bool isNamed = kzMessageText(*message.ptr(), &IKzMessage::Table) == "commands" &&
                         kzMessageText(*message.ptr(), &IKzMessage::Key) == "failed";
    return isNamed ? kzMessageArgument(*message.ptr(), 2) : CMessageTables::textOf(*message.ptr());
}

}  // namespace

std::string kzAttributeText(const CKzUser_Attributes& attributes, std::uint32_t index) {
    std::string text;
    const auto read = [&](char* buffer, std::uint32_t length) { return attributes.GetString(index, buffer, length); };
    if (kzReadText(text, read) == KZe_SHORTBUFFER)
        throw CommandTextError{KZe_SHORTBUFFER, fmt::format("the text of argument {} is too long", index + 1)};
    return text;
}

CCommandArguments::CCommandArguments(CValueTypeRegistry& types, IKzUnknown* command)
    : m_types(types), m_command(command), m_attributes(command) {
    if (!m_command) throw KZe_INVALIDARG;
}

std::string CCommandArguments::nameOf(std::uint32_t index) const {
    return kzAnswer([&](const char** name) { return m_attributes.Name(index, name); });
}

std::uint32_t CCommandArguments::find(const std::string& name) const {
    std::string names;
    for (std::uint32_t index = 0; index < count(); ++index) {
        if (nameOf(index) == name) return index;
        names += (names.empty() ? "" : ", ") + nameOf(index);
    }
    if (names.empty())
        throw CommandTextError{KZe_CMD_HAS_NO_ARGUMENTS, "argument \"" + name + "\": the command has no arguments"};
    throw CommandTextError{KZe_CMD_UNKNOWN_ARGUMENT,
                           fmt::format("there is no argument \"{}\"; there are {}. A value with a colon is written "
                                       "in braces or quotes",
                                       name, names)};
}

// A value without a name goes to the first argument that is not read-only and that neither the string nor an alias has set.
std::uint32_t CCommandArguments::placeOf(const ArgumentText& argument, std::vector<bool>& isAssigned) const {
    if (argument.name.empty()) {
        const CKzLoc_HostCommand own(m_command.raw());
        const std::vector<bool> presets = own ? own->Presets() : std::vector<bool>();
        const auto isTaken = [&](std::size_t index) {
            return isAssigned[index] || (index < presets.size() && presets[index]) ||
                   (!argument.isQuery && (flagsOf(static_cast<std::uint32_t>(index)) & KZfCMDARG_READONLY) != 0);
        };
        std::size_t free = 0;
        while (free < isAssigned.size() && isTaken(free)) ++free;
        if (free == isAssigned.size())
            throw CommandTextError{isAssigned.empty() ? KZe_CMD_HAS_NO_ARGUMENTS : KZe_CMD_TOO_MANY_ARGUMENTS,
                                   fmt::format("\"{}\" at position {} is one argument too many; the command takes {}",
                                               argument.value, argument.at, isAssigned.size())};
        isAssigned[free] = true;
        return static_cast<std::uint32_t>(free);
    }
    const std::uint32_t index = find(argument.name);
    if (isAssigned[index])
        throw CommandTextError{
            KZe_CMD_ARGUMENT_ALREADY_SET,
            fmt::format("argument \"{}\" at position {} is given twice", argument.name, argument.at)};
    isAssigned[index] = true;
    return index;
}

std::optional<std::uint32_t> CCommandArguments::assign(const std::vector<ArgumentText>& arguments) {
    std::vector<bool> isAssigned(count());
    return assign(arguments, isAssigned);
}

std::optional<std::uint32_t> CCommandArguments::preset(const std::vector<ArgumentText>& arguments) {
    std::vector<bool> isAssigned(count());
    const auto query = assign(arguments, isAssigned);
    if (const CKzLoc_HostCommand own(m_command.raw()); own) {
        std::vector<bool>& presets = own->Presets();
        presets.resize(isAssigned.size());
        std::transform(isAssigned.begin(), isAssigned.end(), presets.begin(), presets.begin(), std::logical_or<>());
    }
    return query;
}

std::optional<std::uint32_t> CCommandArguments::assign(const std::vector<ArgumentText>& arguments,
                                                       std::vector<bool>& isAssigned) {
    std::optional<std::uint32_t> query;
    for (const ArgumentText& argument : arguments) {
        const std::uint32_t index = placeOf(argument, isAssigned);
        if (!argument.isQuery) set(index, argument.isQuoted ? argument.value : toggled(index, argument.value));
        else if (query)
            throw CommandTextError{KZe_CMD_TOO_MANY_QUERIES_MARKED,
                                   fmt::format("only one argument can be queried at a time, not \"{}\" and \"{}\"",
                                               nameOf(*query), nameOf(index))};
        else query = index;
    }
    return query;
}

std::vector<std::string> CCommandArguments::query(std::uint32_t index, IKzUnknown** array) const {
    std::vector<std::string> texts;
    try {
        const std::string type = kzAnswer([&](const char** name) { return m_attributes.TypeName(index, name); });
        const auto values = m_types.makeArray(m_types.need(KZe_CMD_DATATYPE_UNAVAILABLE, "Command.Query", type));
        if (const KzResult code = m_command.Query(index, values.raw()); kzFailed(code))
            throw CommandTextError{code, fmt::format("argument \"{}\": {}", nameOf(index), reasonOf(m_command, code))};
        const CKzUser_ValueArray read(values.raw());
        for (std::uint32_t at = 0; at < values->va_Count(); ++at)
            if (const auto get = [&](char* text, std::uint32_t length) { return read.GetString(at, text, length); };
                kzReadText(texts.emplace_back(), get) == KZe_SHORTBUFFER)
                throw KZe_SHORTBUFFER;
        if (array != nullptr) values.give(array);
    } catch (KzResult code) {
        throw CommandTextError{code, fmt::format("argument \"{}\": {}", nameOf(index), CMessageTables::codeText(code))};
    }
    return texts;
}

void CCommandArguments::assignByName(const std::string& name, const std::string& value) {
    const std::uint32_t index = find(name);
    set(index, toggled(index, value));
}

void CCommandArguments::set(std::uint32_t index, const std::string& text) {
    requireSettable(index, text);
    give(index, text, put(index, text));
}

// Choices are set by their words. A command that takes no numbers gets the word itself.
KzResult CCommandArguments::put(std::uint32_t index, const std::string& text) {
    m_flags.clear();
    const KzValueType* type = typeOf(index);
    const KzTextValueHint* choices = choicesOf(index, type);
    if (choices == nullptr) return m_attributes->SetString(index, text.c_str());
    const auto choice = kzChoiceOf(choices, *type, text);
    if (!choice) return KZe_CMD_ERROR_SETTING_DATATYPE;
    const KzResult code = m_attributes->SetInt(index, *choice);
    return code == KZe_NOTIMPL ? m_attributes->SetString(index, text.c_str()) : code;
}

// The log says what a value was refused, so a password that no value of the type takes must not get there.
void CCommandArguments::requireSettable(std::uint32_t index, const std::string& text) {
    const std::uint32_t flags = flagsOf(index);
    if ((flags & KZfCMDARG_READONLY) != 0)
        throw CommandTextError{KZe_CMD_ERROR_SETTING_DATATYPE,
                               fmt::format("argument \"{}\" cannot be set, only queried", nameOf(index))};
    const KzValueType* type = (flags & KZfCMDARG_PASSWORD) != 0 ? typeOf(index) : nullptr;
    if (type != nullptr && !type->isServed && choicesOf(index, type) == nullptr && !kzParseCell(*type, text))
        give(index, text, KZe_INVALIDARG);
}

const KzValueType* CCommandArguments::typeOf(std::uint32_t index) const {
    const char* type = nullptr;
    return kzSucceeded(m_attributes->TypeName(index, &type)) ? m_types.find(kzTextOf(type)) : nullptr;
}

const KzTextValueHint* CCommandArguments::choicesOf(std::uint32_t index, const KzValueType* type) const {
    const KzTextValueHint* hints = nullptr;
    if (type == nullptr || type->storage != KZiVALUE_TYPE_INTEGER || type->isServed) return nullptr;
    if (kzFailed(m_attributes->Hints(index, &hints)) || hints == nullptr || hints->text == nullptr) return nullptr;
    return hints;
}

// A command may parse what users type by itself.
void CCommandArguments::answer(std::uint32_t index, const std::string& text) {
    requireSettable(index, text);
    m_flags.clear();
    const KzResult code = m_command->ArgParseString(index, text.c_str());
    if (code == KZe_NOTIMPL) set(index, toggled(index, text));
    else give(index, text, code);
}

// `code` is the result of setting the text as it is. A module's attributes may accept numbers only as numbers.
void CCommandArguments::give(std::uint32_t index, const std::string& text, KzResult code) {
    if (code == KZe_NOTIMPL)
        if (const auto integer = kzParseInteger(text)) code = m_attributes->SetInt(index, *integer);
    if (code == KZe_NOTIMPL)
        if (const auto number = kzParseNumber(text)) code = m_attributes->SetFlt(index, *number);
    if (kzSucceeded(code)) return;
    if (code == KZe_INVALIDARG) code = KZe_CMD_ERROR_SETTING_DATATYPE;  // a module's value gives no other code
    const std::string shown = isSecret(index) ? "the password" : "\"" + text + "\"";
    throw CommandTextError{code, fmt::format("argument \"{}\": {} is not {}", nameOf(index), shown, expected(index))};
}

std::string CCommandArguments::expected(std::uint32_t index) const {
    std::string text = kzAnswer([&](const char** answer) { return m_command->ArgTypeDesc(index, answer); });
    if (!text.empty()) return text;
    const KzValueType* type = typeOf(index);
    if (const KzTextValueHint* choices = choicesOf(index, type)) return kzOneOf(choices);
    return type != nullptr ? m_types.expects(*type) : "what it takes";
}

// For a toggle, "a|b" means the value after the present one.
std::string CCommandArguments::toggled(std::uint32_t index, const std::string& value) {
    if (value.find('|') == std::string::npos || (flagsOf(index) & KZfCMDARG_TOGGLE) == 0) return value;
    std::vector<std::string> choices;
    for (std::size_t at = 0; at <= value.size();) {
        const std::size_t end = std::min(value.find('|', at), value.size());
        choices.push_back(value.substr(at, end - at));
        at = end + 1;
    }
    const std::vector<std::string> present = query(index);
    for (std::size_t at = 0; at < choices.size() && !present.empty(); ++at) {
        put(index, choices[at]);
        if (kzAttributeText(m_attributes, index) == present.front()) return choices[(at + 1) % choices.size()];
    }
    return choices.front();
}

std::uint32_t CCommandArguments::count() const {
    if (!m_count) m_count = m_attributes.Count();
    if (*m_count <= mostArguments) return *m_count;
    throw CommandTextError{KZe_CMD_BAD_DEFINITION, fmt::format("the command claims to take {} arguments", *m_count)};
}

std::optional<std::uint32_t> CCommandArguments::givenFlags(std::uint32_t index) const {
    const auto [entry, isNew] = m_flags.try_emplace(index);
    std::uint32_t flags = 0;
    if (isNew && kzSucceeded(m_command->ArgFlags(index, &flags))) entry->second = flags;
    return entry->second;
}

void CCommandArguments::forget() {
    m_count.reset();
    m_flags.clear();
}

KzResult CCommandArguments::enabledCode(std::uint32_t index) const {
    const KzResult code = m_command->ArgEnable(index);
    return code == KZe_NOTIMPL ? KZe_OK : code;
}

std::optional<std::uint32_t> CCommandArguments::missing() const {
    constexpr std::uint32_t notMissing = KZfCMDARG_OPTIONAL | KZfCMDARG_VALUE_SET;
    for (std::uint32_t index = 0; index < count(); ++index)
        if (const auto flags = givenFlags(index); flags && (*flags & notMissing) == 0 && isEnabled(index)) return index;
    return {};
}

void CCommandArguments::requireGiven() const {
    const auto index = missing();
    if (!index) return;
    const std::string meaning = kzAnswer([&](const char** text) { return m_command->ArgDesc(*index, text); });
    throw CommandTextError{KZe_CMD_MISSING_ARGS, fmt::format("argument \"{}\" is missing{}{}", nameOf(*index),
                                                             meaning.empty() ? "" : "; it is ", meaning)};
}

void CCommandArguments::requireEnabled() const {
    for (std::uint32_t index = 0; index < count(); ++index) {
        if (!isSet(index)) continue;
        if (const KzResult code = enabledCode(index); kzFailed(code))
            throw CommandTextError{code, "argument \"" + nameOf(index) + "\" cannot be used now"};
    }
}

std::string CCommandArguments::wordOf(std::uint32_t index, const std::string& answer) const {
    const KzTextValueHint* choice = choicesOf(index, typeOf(index));
    const auto number = choice != nullptr ? kzParseInteger(answer) : std::nullopt;
    const char* word = number ? kzWordOf(choice, *number) : nullptr;
    return word != nullptr ? word : answer;
}

// As text, a choice would be a number, which may also be the word of another choice, or a truth value. No other text needs
// the type, which is one question less to a command in Python.
std::string CCommandArguments::exactText(std::uint32_t index) const {
    std::string text = kzAttributeText(m_attributes, index);
    if (!kzParseInteger(text) && text != "true" && text != "false") return text;
    std::int32_t number = 0;
    const KzTextValueHint* choice = choicesOf(index, typeOf(index));
    const bool isChoice = choice != nullptr && kzSucceeded(m_attributes->GetInt(index, &number));
    const char* word = isChoice ? kzWordOf(choice, number) : nullptr;
    return word != nullptr ? word : text;
}

std::string CCommandArguments::shown(std::uint32_t index) const {
    const std::string text = exactText(index);
    const KzValueType* type = typeOf(index);
    const auto cell = type != nullptr && !type->isServed && type->storage == KZiVALUE_TYPE_FLOAT
                          ? kzParseCell(*type, text)
                          : std::nullopt;
    return cell ? m_types.shown(*type, *cell) : text;
}

std::string CCommandArguments::write(const std::string& name) const {
    std::string text = name;
    for (std::uint32_t index = 0; index < count(); ++index)
        if (isSet(index) && !isSecret(index)) text += " " + kzWriteArgument(nameOf(index), exactText(index));
    return text;
}

}  // namespace kzhost
