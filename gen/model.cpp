// What follows from the model by simple rules.
#include "model.h"

#include <algorithm>
#include <cctype>

namespace kzgen {

namespace {

std::string toLower(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower;
}

std::vector<const Parameter*> select(const std::vector<Parameter>& all, bool outputs) {
    std::vector<const Parameter*> some;
    for (const Parameter& parameter : all) {
        if (parameter.output == outputs) {
            some.push_back(&parameter);
        }
    }
    return some;
}

}  // namespace

bool isDigits(const std::string& factor) {
    return std::all_of(factor.begin(), factor.end(), [](unsigned char c) { return std::isdigit(c); });
}

std::vector<const Parameter*> Method::inputs() const { return select(parameters, false); }

std::vector<const Parameter*> Method::outputs() const { return select(parameters, true); }

Length Method::lengthOf(const Parameter& array) const {
    Length length;
    length.fixed = array.type.length.empty() ? 0 : 1;
    const auto all = inputs();
    for (const std::string& factor : array.type.length) {
        if (isDigits(factor)) {
            length.fixed *= std::stoull(factor);
        } else {
            const auto named =
                std::find_if(all.begin(), all.end(), [&](const Parameter* each) { return each->name == factor; });
            length.inputs.push_back(static_cast<size_t>(named - all.begin()));
        }
    }
    return length;
}

bool Guid::wellFormed() const {
    constexpr std::string_view shape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    return text.size() == shape.size() &&
           std::equal(text.begin(), text.end(), shape.begin(), [](unsigned char c, char expected) {
               return expected == '-' ? c == '-' : std::isxdigit(c) != 0;
           });
}

std::string Interface::stem() const { return service ? name + "Service" : name; }

std::string Interface::prefix() const { return adapter && !adapter->empty() ? *adapter : toLower(stem()); }

const Interface* Model::find(std::string_view interfaceName) const {
    for (const Header& header : headers) {
        for (const Interface& candidate : header.interfaces) {
            if (!candidate.service && candidate.name == interfaceName) {
                return &candidate;
            }
        }
    }
    return nullptr;
}

std::string Model::wrapperName(const Type& type) const {
    if (type.name.empty()) {
        return {};
    }
    const Interface* found = find(type.name);
    return found != nullptr && found->wrapped ? type.name : std::string(unknownName);
}

std::string familyOf(std::string_view constantName) {
    if (constantName.size() < 2) {
        return {};
    }
    const char letter = constantName[0];
    if (constantName[1] == '_' && std::string_view("uasifmve").find(letter) != std::string_view::npos) {
        return std::string(constantName.substr(0, 2));
    }
    const bool upper = std::isupper(static_cast<unsigned char>(constantName[1])) != 0;
    return upper && std::string_view("sifmvade").find(letter) != std::string_view::npos ? std::string(1, letter)
                                                                                        : std::string();
}

}  // namespace kzgen
