// How types and parameters read in C++.
#include "cpp_view.h"

#include <fmt/format.h>

namespace kzgen {

namespace {

std::string parameterType(const Parameter& parameter) {
    if (parameter.type.kind == Kind::Pointer && !parameter.type.name.empty())
        return parameter.type.name + (parameter.output ? "**" : "*");
    return info(parameter.type.kind).parameterType(parameter.output);
}

std::string parameterText(const std::string& type, const std::string& name, Names names) {
    switch (names) {
    case Names::Declared: return type + " " + name;
    case Names::Commented: return fmt::format("{} /*{}*/", type, name);
    default: return name;
    }
}

}  // namespace

std::string returnType(const Type& type) {
    return type.kind == Kind::Pointer && !type.name.empty() ? type.name + "*" : std::string(info(type.kind).type);
}

std::string parameterList(const Method& method, Names names) {
    std::vector<std::string> all;
    for (const Parameter& parameter : method.parameters) {
        all.push_back(parameterText(parameterType(parameter), parameter.name, names));
        if (parameter.type.kind == Kind::Text)
            all.push_back(parameterText("uint32_t", parameter.name + "Length", names));
    }
    return fmt::format("{}", fmt::join(all, ", "));
}

}  // namespace kzgen
