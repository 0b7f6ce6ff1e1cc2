// Commands that calculate with values of any type, and with colours, by the host's own models and by those of modules.
#include "host/commands/value_commands.h"

#include "host/commands/builtin_command.h"
#include "host/core/module_table.h"
#include "host/core/reasons.h"
#include "host/core/value_type_registry.h"
#include "host/core/values.h"
#include "host/objects/color_model.h"
#include "host/state/text.h"

#include "kz/color.h"
#include "kz/command.h"
#include "kz/result.h"
#include "kz/value.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace kzhost {

namespace {

constexpr KzTextValueHint mathHints[] = {{KZiVALMATH_ADD, "add"},           {KZiVALMATH_SUBTRACT, "subtract"},
                                         {KZiVALMATH_MULTIPLY, "multiply"}, {KZiVALMATH_DIVIDE, "divide"},
                                         {KZiVALMATH_MODULO, "modulo"},     {KZiVALMATH_POWER, "power"},
                                         {KZiVALMATH_MIN, "min"},           {KZiVALMATH_MAX, "max"},
                                         {KZiVALMATH_AVERAGE, "average"},   {0, nullptr}};
constexpr ArgumentRow mathArguments[] = {
    {"type", KZsTYPE_STRING, 0, "the type of both values"},
    {"left", KZsTYPE_STRING, 0, "a value"},
    {"right", KZsTYPE_STRING, kzOptional, "another one; without it, the operation has none"},
    {"operation", KZsTYPE_CHOICE, kzOptional, "what is done with both; add without it", mathHints},
    {"weight", KZsTYPE_FLOAT, kzOptional,
     "in place of an operation: blends both, from 0 for the left to 1 for the right"},
    {"step", KZsTYPE_INTEGER, kzOptional,
     "in place of an operation: 1 or -1 for the value that a user would choose next"},
    {"result", KZsTYPE_STRING, kzOptional | kzQueryable, "what comes out, as text"},
    {"distance", KZsTYPE_FLOAT, kzOptional | kzQueryable, "how far the values are apart"},
    {"length", KZsTYPE_FLOAT, kzOptional | kzQueryable, "the length of the left one"},
};

void demandMath(KzResult code, const char* what) {
    if (kzFailed(code)) kzRefuse(code, fmt::format("the type has no {} for these values: {}", what, kzCodeName(code)));
}

double calculated(std::int32_t operation, double left, double right) {
    switch (operation) {
    case KZiVALMATH_SUBTRACT: return left - right;
    case KZiVALMATH_MULTIPLY: return left * right;
    case KZiVALMATH_DIVIDE: return left / right;
    case KZiVALMATH_MODULO: return std::fmod(left, right);
    case KZiVALMATH_POWER: return std::pow(left, right);
    case KZiVALMATH_MIN: return std::min(left, right);
    case KZiVALMATH_MAX: return std::max(left, right);
    case KZiVALMATH_AVERAGE: return left / 2 + right / 2;
    default: return left + right;
    }
}

// Values of the host's own types are numbers; a module's type has its arithmetic, or none.
class CValueSum {
public:
    CValueSum(CBuiltinCommand& command, const CValueTypeRegistry& types, const KzValueType& type) : m_command(command) {
        take(types, type, "left", m_left);
        if (command.has("right")) take(types, type, "right", m_right);
        else if (kzFailed(types.makeValue(type, m_right.out()))) throw KZe_FAILED;
        if (kzFailed(types.makeValue(type, m_result.out()))) throw KZe_FAILED;
    }

    std::string result() {
        const CKzUser_ValueMath math(m_left.raw());
        if (const auto step = m_command.integer("step")) {
            if (math) demandMath(math.Step(*step < 0 ? KZiVALSTEP_DOWN : KZiVALSTEP_UP, m_left.raw()), "step");
            else setNumber(m_left, number(m_left) + (*step < 0 ? -1 : 1));
        } else if (const auto weight = m_command.number("weight")) {
            if (!std::isfinite(*weight)) kzRefuse(KZe_INVALIDARG, "argument \"weight\": it is no number");
            if (math) {
                demandMath(math.Blend(*weight, m_left.raw(), m_right.raw(), m_result.raw()), "blending");
                return kzValueText(m_result.raw());
            }
            setNumber(m_left, std::lerp(number(m_left), number(m_right), *weight));
        } else {
            const std::int32_t operation = m_command.integer("operation").value_or(KZiVALMATH_ADD);
            if (math) demandMath(math.Math(operation, m_left.raw(), m_right.raw()), "such operation");
            else setNumber(m_left, calculated(operation, number(m_left), number(m_right)));
        }
        return kzValueText(m_left.raw());
    }
    double distance() {
        double distance = 0;
        if (const CKzUser_ValueMath math(m_left.raw()); math)
            demandMath(math.Distance(m_left.raw(), m_right.raw(), &distance), "distance");
        else distance = std::abs(number(m_left) - number(m_right));
        if (!std::isfinite(distance)) kzRefuse(KZe_INVALIDARG, "the distance is no number");
        return distance;
    }
    double length() {
        double length = 0;
        if (const CKzUser_ValueMath math(m_left.raw()); math) demandMath(math.Length(m_left.raw(), &length), "length");
        else length = std::abs(number(m_left));
        return length;
    }

private:
    void take(const CValueTypeRegistry& types, const KzValueType& type, const char* argument, CKzLoc_Unknown& value) {
        if (const KzResult code = types.makeValue(type, value.out()); kzFailed(code)) throw code;
        const std::string text = m_command.text(argument);
        if (const KzResult code = kzSetValueText(value.raw(), text.c_str()); kzFailed(code))
            kzRefuse(code, fmt::format("argument \"{}\": {}", argument, kzIsNot(text, types.expects(type))));
    }
    static double number(const CKzLoc_Unknown& value) {
        double number = 0;
        if (kzFailed(CKzUser_Value(value.raw()).GetFlt(&number)))
            kzRefuse(KZe_NOTSUPPORTED,
                     "values of this type are no numbers, and nobody says how to calculate with them");
        return number;
    }
    static void setNumber(const CKzLoc_Unknown& value, double number) {
        if (!std::isfinite(number)) kzRefuse(KZe_INVALIDARG, "the result is no number");
        if (const KzResult code = CKzUser_Value(value.raw()).SetFlt(number); kzFailed(code))
            kzRefuse(code, fmt::format("the type has no value {}", number));
    }

    CBuiltinCommand& m_command;
    CKzLoc_Unknown m_left, m_right, m_result;
};

Texts queryMath(CBuiltinCommand& command, std::uint32_t index) {
    CValueTypeRegistry& types = *command.environment().types;
    const KzValueType* type = types.find(command.text("type"));
    if (type == nullptr)
        kzRefuse(KZe_NOTFOUND, "argument \"type\": " + kzThereIsNo("value type", command.text("type"), types.names()));
    CValueSum sum(command, types, *type);
    if (index == 6) return {sum.result()};
    return {fmt::format("{}", index == 7 ? sum.distance() : sum.length())};
}

constexpr ArgumentRow modelArguments[] = {
    {"model", KZsTYPE_STRING, kzQueryable, "a colour model; queried, all of them"},
    {"color", KZsTYPE_STRING, kzOptional | kzQueryable,
     "red, green and blue, as {1 0.5 0}; queried, those of the components"},
    {"components", KZsTYPE_STRING, kzOptional | kzQueryable,
     "the components in the model; queried, those of the colour"},
    {"component", KZsTYPE_INTEGER, kzOptional, "one of the components, counted from 0"},
    {"position", KZsTYPE_FLOAT, kzOptional, "where on the slider of that component the queried colour is, 0 to 1"},
    {"description", KZsTYPE_STRING, kzOptional | kzQueryable,
     "what the model and its components are called, and their ranges"},
};

template <std::size_t size> std::array<float, size> numbersOf(CBuiltinCommand& command, const char* argument) {
    std::array<float, size> numbers{};
    std::size_t count = 0;
    const std::string text = command.text(argument);
    for (std::size_t at = text.find_first_not_of(' '); at != std::string::npos;) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        const auto number = kzParseNumber(std::string_view(text).substr(at, end - at));
        if (!number || count == size)
            kzRefuse(KZe_INVALIDARG,
                     fmt::format("argument \"{}\": \"{}\" is not up to {} numbers", argument, text, size));
        numbers[count++] = static_cast<float>(*number);
        at = text.find_first_not_of(' ', end);
    }
    return numbers;
}

void takeModel(const CModuleTable& modules, const std::string& name, CKzUser_ColorModel& model) {
    if (IKzUnknown* own = kzMakeColorModel(name)) {
        model.set(own);
        own->Release();
        return;
    }
    std::vector<std::string> names = kzColorModelNames();
    for (const KzServer& server : modules.servers(KZa_COLORMODEL)) {
        names.push_back(server.name);
        if (server.name != name) continue;
        CKzLoc_Unknown object;
        model.set(CModuleTable::spawn(server, object).raw());
        return;
    }
    kzRefuse(KZe_NOTFOUND, "argument \"model\": " + kzThereIsNo("color model", name, names));
}

Texts describedModel(const CKzUser_ColorModel& model, std::uint32_t count) {
    const auto asked = [](const auto& ask) { return kzAnswer(ask); };
    Texts lines{fmt::format("{} ({}), flags {}", asked([&](const char** text) { return model.UserName(text); }),
                            asked([&](const char** text) { return model.Name(text); }), model.Flags())};
    for (std::uint32_t at = 0; at < count; ++at) {
        double minimum = 0, maximum = 1;
        if (kzFailed(model.ComponentRange(at, &minimum, &maximum))) minimum = 0, maximum = 1;
        lines.push_back(fmt::format("{}, {}, {:.6g} to {:.6g}{}",
                                    asked([&](const char** text) { return model.ComponentName(at, text); }),
                                    asked([&](const char** text) { return model.ComponentType(at, text); }), minimum,
                                    maximum, model.IsPeriodic(at) ? ", periodic" : ""));
    }
    return lines;
}

Texts queryModel(CModuleTable& modules, CBuiltinCommand& command, std::uint32_t index) {
    if (index == 0) {
        Texts names = kzColorModelNames();
        for (const KzServer& server : modules.servers(KZa_COLORMODEL)) names.push_back(server.name);
        return names;
    }
    CKzUser_ColorModel model;
    takeModel(modules, command.text("model"), model);
    const std::uint32_t count = model.ComponentCount();
    if (count > 4) kzRefuse(KZe_FAILED, fmt::format("the model says that it has {} components; 4 is the most", count));
    if (index == 5) return describedModel(model, count);
    auto components = numbersOf<4>(command, "components");
    Texts answer;
    if (index == 2) {
        const auto color = numbersOf<3>(command, "color");
        const KzFVector3 rgb{{color[0], color[1], color[2]}};
        demandMath(model.FromRGB(&rgb, components.data()), "components");
        for (std::uint32_t at = 0; at < count; ++at) answer.push_back(fmt::format("{}", components[at]));
        return answer;
    }
    KzFVector3 rgb{};
    if (const auto component = command.integer("component"))
        demandMath(model.Slider(static_cast<std::uint32_t>(*component), command.number("position").value_or(0),
                                components.data(), &rgb),
                   "slider");
    else demandMath(model.ToRGB(components.data(), &rgb), "colour");
    for (const float each : rgb.v) answer.push_back(fmt::format("{}", each));
    return answer;
}

}  // namespace

void kzAddValueCommands(CCommandRegistry& registry, const std::shared_ptr<CModuleTable>& modules) {
    kzAddCommands(registry,
                  {
                      {"value.math", "Calculate", "answers what comes out of an operation on values of a type",
                       KZfCMD_UI, mathArguments, kzOnlyQueried, queryMath},
                      {"color.model", "Color Model", "takes colours apart and puts them together", KZfCMD_UI,
                       modelArguments, kzOnlyQueried, kzWith(queryModel, modules)},
                  });
}

}  // namespace kzhost
