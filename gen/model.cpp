// What follows from the model by simple rules.
#include "model.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "text.h"

namespace kzgen {

namespace {

std::vector<const Parameter*> select(const std::vector<Parameter>& all, bool outputs) {
    std::vector<const Parameter*> some;
    for (const Parameter& parameter : all)
        if (parameter.output == outputs) some.push_back(&parameter);
    return some;
}

}  // namespace

std::vector<const Parameter*> Method::inputs() const { return select(parameters, false); }

std::vector<const Parameter*> Method::outputs() const { return select(parameters, true); }

Length Method::lengthOf(const Parameter& array) const {
    Length length;
    length.fixed = array.type.length.empty() ? 0 : 1;
    const auto placeOf = [&](const std::string& parameter) {
        const auto place = std::find_if(parameters.begin(), parameters.end(),
                                        [&](const Parameter& each) { return each.name == parameter; });
        return static_cast<std::size_t>(place - parameters.begin());
    };
    for (const Factor& factor : array.type.length) {
        if (factor.kind == Factor::Kind::Number) {
            length.fixed *= std::stoull(factor.name);
            continue;
        }
        Length::Term term{factor.kind, factor.name, {}};
        if (factor.kind == Factor::Kind::Parameter) term.places.push_back(placeOf(factor.name));
        std::transform(factor.arguments.begin(), factor.arguments.end(), std::back_inserter(term.places), placeOf);
        length.terms.push_back(std::move(term));
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

const Table* Header::findTable(std::string_view tableName) const {
    const auto table =
        std::find_if(tables.begin(), tables.end(), [&](const Table& each) { return each.name == tableName; });
    return table == tables.end() ? nullptr : &*table;
}

const Interface* Model::find(std::string_view interfaceName) const {
    for (const Header& header : headers) {
        for (const Interface& candidate : header.interfaces)
            if (!candidate.service && candidate.name == interfaceName) return &candidate;
    }
    return nullptr;
}

bool Model::hasMethod(std::string_view interfaceName, std::string_view method) const {
    const auto has = [&](const Interface& each) {
        return each.name == interfaceName &&
               std::any_of(each.methods.begin(), each.methods.end(), [&](const Method& m) { return m.name == method; });
    };
    return std::any_of(headers.begin(), headers.end(), [&](const Header& header) {
        return std::any_of(header.interfaces.begin(), header.interfaces.end(), has);
    });
}

std::string Model::wrapperName(const Type& type) const {
    if (type.name.empty()) return {};
    const Interface* interface = find(type.name);
    return interface != nullptr && interface->wrapped ? type.name : std::string(unknownName);
}

std::string lettersOf(std::string_view constantName) {
    if (constantName.size() < 2) return {};
    const char letter = constantName[0];
    if (constantName[1] == '_' && std::string_view("uasifmve").find(letter) != std::string_view::npos)
        return std::string(constantName.substr(0, 2));
    return isUpper(constantName[1]) && std::string_view("sifmvade").find(letter) != std::string_view::npos
               ? std::string(1, letter)
               : std::string();
}

}  // namespace kzgen
