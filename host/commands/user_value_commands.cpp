// The command for values that users and scripts define by name.
#include "host/commands/user_value_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/reasons.h"
#include "host/core/value_type_registry.h"
#include "host/state/user_values.h"
#include "host/state/value_types.h"

#include "kz/command.h"
#include "kz/result.h"
#include "kz/user_value.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

namespace kzhost {

namespace {

Texts splitChoices(const std::string& text) {
    Texts choices;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(';', at), text.size());
        if (end > at) choices.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return choices;
}

constexpr KzTextValueHint lifeHints[] = {{KZiUSERVALUE_LIFE_TEMPORARY, KZsUSERVALUE_LIFE_TEMPORARY},
                                         {KZiUSERVALUE_LIFE_CONFIG, KZsUSERVALUE_LIFE_CONFIG},
                                         {0, nullptr}};
constexpr ArgumentRow userValueArguments[] = {
    {"name", KZsTYPE_STRING, kzQueryable, "the value's name; queried, the names of all values"},
    {"value", KZsTYPE_STRING, kzOptional | kzQueryable, "what it is to be"},
    {"type", KZsTYPE_STRING, kzOptional | kzQueryable, "its type, when it is new"},
    {"choices", KZsTYPE_STRING, kzOptional | kzQueryable, "the words of a choice, as {red;green;blue}"},
    {"delete", KZsTYPE_BOOLEAN, kzOptional, "whether it is to go"},
    {KZsARG_USERVALUE_LIFE, KZsTYPE_CHOICE, kzOptional | kzQueryable,
     "how long it lives: temporary, until the session ends, or config, which keeps it for later sessions", lifeHints},
    {KZsARG_USERVALUE_USERNAME, KZsTYPE_STRING, kzOptional | kzQueryable, "its name for people"},
    {KZsARG_USERVALUE_DEFAULT, KZsTYPE_STRING, kzOptional | kzQueryable, "what it is reset to"},
    {KZsARG_USERVALUE_MIN, KZsTYPE_FLOAT, kzOptional | kzQueryable, "the least value of a number"},
    {KZsARG_USERVALUE_MAX, KZsTYPE_FLOAT, kzOptional | kzQueryable, "the greatest value of a number"},
    {KZsARG_USERVALUE_ACTION, KZsTYPE_STRING, kzOptional | kzQueryable, "a command that runs after each change"},
    {"reset", KZsTYPE_BOOLEAN, kzOptional, "whether it goes back to its default"},
};

const KzValueType* userValueType(CUserValues& values, CBuiltinCommand& command, std::uint32_t index) {
    if (index != 1) return nullptr;
    const auto former = values.find(command.text("name"));
    if (!former) return nullptr;
    // Choices with numbers of their own are taken by word or number, whatever their place.
    return former->choiceNumbers.empty() ? former->type : kzFindType(KZsTYPE_STRING);
}

Texts userValueChoices(CUserValues& values, CBuiltinCommand& command, std::uint32_t index) {
    if (index != 1) return {};
    const auto former = values.find(command.text("name"));
    return former && former->choiceNumbers.empty() ? former->choices : Texts();
}

UserValue newUserValue(CBuiltinCommand& command, const std::string& name) {
    UserValue value;
    value.choices = splitChoices(command.text("choices"));
    const std::string type =
        command.has("type") ? command.text("type") : (value.choices.empty() ? KZsTYPE_STRING : KZsTYPE_CHOICE);
    value.type = command.environment().types->find(type);
    if (value.type == nullptr)
        kzRefuse(KZe_CMD_DATATYPE_UNAVAILABLE,
                 "argument \"type\": " + kzThereIsNo("value type", type, command.environment().types->names()));
    value.cell = command.environment().types->cellBy(*value.type, [](const auto&) { return KZe_OK; }).value();
    if (type != KZsTYPE_CHOICE && !value.choices.empty())
        kzRefuse(KZe_INVALIDARG,
                 "argument \"choices\": a value of type " + type + " has none, only one of type choice");
    if (type == KZsTYPE_CHOICE && value.choices.empty())
        kzRefuse(KZe_CMD_MISSING_ARGS,
                 "argument \"choices\" is missing: the choice \"" + name + "\" needs words, as {red;green}");
    return value;
}

std::string oneOfChoices(const std::vector<std::string>& choices) {
    std::vector<KzTextValueHint> hints;
    hints.reserve(choices.size() + 1);
    for (const std::string& word : choices) hints.push_back({static_cast<std::int32_t>(hints.size()), word.c_str()});
    hints.push_back({0, nullptr});
    return kzOneOf(hints.data());
}

KzCell userValueCell(const CValueTypeRegistry& types, const UserValue& value, const char* argument,
                     const std::string& text) {
    if (const auto choice = value.choice(text)) return *choice;
    const auto cell = types.cellOfText(*value.type, text);
    if (!cell || (!value.choices.empty() && !value.isChoice(*cell)))
        kzRefuse(KZe_CMD_ERROR_SETTING_DATATYPE,
                 fmt::format("argument \"{}\": \"{}\" is not {}", argument, text,
                             value.choices.empty() ? types.expects(*value.type) : oneOfChoices(value.choices)));
    return *cell;
}

void setWithinRange(UserValue& value, const KzCell& cell) {
    auto allowed = value.within(cell);
    if (!allowed)
        kzRefuse(KZe_OUTOFBOUNDS,
                 fmt::format("argument \"value\": {} is outside {} to {}", kzFormatCell(*value.type, cell),
                             (value.flags & KZfUSERVALUE_MIN) != 0 ? fmt::format("{}", value.minimum) : "any",
                             (value.flags & KZfUSERVALUE_MAX) != 0 ? fmt::format("{}", value.maximum) : "any"));
    value.cell = *std::move(allowed);
}

// What is said of the value beside its type and what it is.
void describeUserValue(UserValue& value, CBuiltinCommand& command) {
    const auto takeEnd = [&](const char* argument, double UserValue::*end, std::uint32_t flag) {
        const auto number = command.number(argument);
        if (!number) return;
        if (!kzHasRange(*value.type) || *number != *number)
            kzRefuse(KZe_INVALIDARG,
                     fmt::format("argument \"{}\": only numbers have a range, between numbers", argument));
        value.*end = *number;
        value.flags |= flag;
    };
    takeEnd(KZsARG_USERVALUE_MIN, &UserValue::minimum, KZfUSERVALUE_MIN);
    takeEnd(KZsARG_USERVALUE_MAX, &UserValue::maximum, KZfUSERVALUE_MAX);
    constexpr std::uint32_t both = KZfUSERVALUE_MIN | KZfUSERVALUE_MAX;
    if ((value.flags & both) == both && value.minimum > value.maximum)
        kzRefuse(KZe_INVALIDARG,
                 fmt::format("argument \"min\": {} is above the greatest value, {}", value.minimum, value.maximum));
    if (value.isRangeEmpty())
        kzRefuse(KZe_INVALIDARG,
                 fmt::format("argument \"min\": no integer is from {} to {}", value.minimum, value.maximum));
    if (command.has(KZsARG_USERVALUE_USERNAME)) value.userName = command.text(KZsARG_USERVALUE_USERNAME);
    if (command.has(KZsARG_USERVALUE_ACTION)) value.action = command.text(KZsARG_USERVALUE_ACTION);
    if (command.has(KZsARG_USERVALUE_DEFAULT))
        value.initial = userValueCell(*command.environment().types, value, KZsARG_USERVALUE_DEFAULT,
                                      command.text(KZsARG_USERVALUE_DEFAULT));
}

void setUserValue(CUserValues& values, CBuiltinCommand& command) {
    const std::string name = command.text("name");
    const auto former = values.find(name);
    if (name.empty()) kzRefuse(KZe_INVALIDARG, "argument \"name\": a value needs a name");
    if (command.flag("delete")) {
        if (!values.remove(name))
            kzRefuse(KZe_NOTFOUND, "argument \"name\": there is no value \"" + name + "\" to delete");
        return;
    }
    if (former && command.has("type") && command.text("type") != former->type->name)
        kzRefuse(KZe_ALREADYEXISTS, fmt::format("argument \"type\": \"{}\" is of type {} already; delete it first",
                                                name, former->type->name));
    UserValue value = former ? *former : newUserValue(command, name);
    const bool isChanged = command.has("value") || command.flag("reset");
    if (former && isChanged && !command.has("type") && (former->flags & KZfUSERVALUE_READONLY) != 0)
        kzRefuse(KZe_NOACCESS,
                 "argument \"value\": \"" + name + "\" is read-only; only with its type it can be defined again");
    describeUserValue(value, command);
    if (command.has("value")) {
        // A word that was set before the choices were known is still a text.
        const auto choice =
            value.choices.empty() || !value.choiceNumbers.empty() ? std::nullopt : command.choice("value");
        setWithinRange(value, choice
                                  ? KzCell(*choice)
                                  : userValueCell(*command.environment().types, value, "value", command.text("value")));
    } else if (command.flag("reset") || (!former && value.initial)) {
        setWithinRange(value, value.start());
    }
    if (const auto life = command.integer(KZsARG_USERVALUE_LIFE)) value.life = static_cast<ValueLife>(*life);
    values.set(name, std::move(value));
}

Texts queryUserValue(CUserValues& values, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) return values.names();
    if (!command.has("name")) kzRefuse(KZe_CMD_MISSING_ARGS, "the name of the value is missing");
    const std::string name = command.text("name");
    const auto former = values.find(name);
    if (!former) kzRefuse(KZe_NOTFOUND, kzThereIsNo("user value", name, values.names()));
    if (index == 2) return {former->type->name};
    if (index == 5) return {std::to_string(static_cast<int>(former->life))};
    if (index == 3) return former->choices;
    if (index == 6) return {former->userName.empty() ? name : former->userName};
    if (index == 7) return {kzFormatCell(*former->type, former->start())};
    const auto end = [&](std::uint32_t flag, double number) {
        return (former->flags & flag) != 0 ? Texts{fmt::format("{}", number)} : Texts();
    };
    if (index == 8) return end(KZfUSERVALUE_MIN, former->minimum);
    if (index == 9) return end(KZfUSERVALUE_MAX, former->maximum);
    if (index == 10) return {former->action};
    return {kzFormatCell(*former->type, former->cell)};
}

}  // namespace

void kzAddUserValueCommands(CCommandRegistry& registry, const std::shared_ptr<CUserValues>& values) {
    kzAddCommands(registry,
                  {
                      {KZsCMD_USER_VALUE, "User Value", "defines, sets, asks for and deletes values of any type",
                       KZfCMD_UI, userValueArguments, kzWith(setUserValue, values), kzWith(queryUserValue, values),
                       kzWith(userValueType, values), kzWith(userValueChoices, values)},
                  });
}

}  // namespace kzhost
