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
};

const KzValueType* userValueType(CUserValues& values, CBuiltinCommand& command, std::uint32_t index) {
    if (index != 1) return nullptr;
    if (const auto former = values.find(command.text("name"))) return former->type;
    return nullptr;
}

Texts userValueChoices(CUserValues& values, CBuiltinCommand& command, std::uint32_t index) {
    if (index != 1) return {};
    const auto former = values.find(command.text("name"));
    return former ? former->choices : Texts();
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
    for (const std::string& word : choices) hints.push_back({static_cast<std::int32_t>(hints.size()), word.c_str()});
    hints.push_back({0, nullptr});
    return kzOneOf(hints.data());
}

KzCell userValueCell(const CValueTypeRegistry& types, const UserValue& value, const std::string& text) {
    const auto choice = std::find(value.choices.begin(), value.choices.end(), text);
    if (choice != value.choices.end()) return static_cast<std::int32_t>(choice - value.choices.begin());
    const auto cell = types.cellOfText(*value.type, text);
    const bool isIn = value.choices.empty() || (cell && kzNumberOf(*cell).value_or(-1) >= 0 &&
                                                *kzNumberOf(*cell) < static_cast<double>(value.choices.size()));
    if (!cell || !isIn)
        kzRefuse(KZe_CMD_ERROR_SETTING_DATATYPE,
                 fmt::format("argument \"value\": \"{}\" is not {}", text,
                             value.choices.empty() ? types.expects(*value.type) : oneOfChoices(value.choices)));
    return *cell;
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
    if (command.has("value")) {
        // A word that was set before the choices were known is still a text.
        const auto choice = value.choices.empty() ? std::nullopt : command.choice("value");
        value.cell =
            choice ? KzCell(*choice) : userValueCell(*command.environment().types, value, command.text("value"));
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
    return index == 3 ? former->choices : Texts{kzFormatCell(*former->type, former->cell)};
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
