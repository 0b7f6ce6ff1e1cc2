// The census and its two forms.
#include "census.h"

#include <algorithm>
#include <numeric>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "python_view.h"

namespace kzgen {

namespace {

std::size_t total(const std::map<std::string, std::size_t>& counts) {
    return std::accumulate(counts.begin(), counts.end(), std::size_t{0},
                           [](std::size_t sum, const auto& entry) { return sum + entry.second; });
}

std::size_t count(const AdapterCensus& adapter, Inert inert) {
    const auto entry = adapter.inert.find(inert);
    return entry == adapter.inert.end() ? 0 : entry->second;
}

void countAdapter(Census& census, const Interface& each) {
    AdapterCensus adapter{each.name, *each.adapter, 0, {}};
    for (const Method& method : each.methods)
        ++(method.inert == Inert::No ? adapter.forwarded : adapter.inert[method.inert]);
    census.adapters.push_back(std::move(adapter));
}

void countMethod(Census& census, const Method& method) {
    ++census.methods;
    census.plainValueMethods += method.returnsPlainValue() ? 1 : 0;
    census.voidMethods += method.returns.kind == Kind::Void ? 1 : 0;
    if (method.returnsPlainValue()) ++census.returns[argumentDocType(method.returns)];
    for (const Parameter& parameter : method.parameters) {
        const std::string type = argumentDocType(parameter.type);
        const KindInfo& kind = info(parameter.type.kind);
        if (parameter.output) {
            ++census.returns[type];
        } else {
            ++census
                  .parameters[kind.kind == Kind::Guid ? "string (a GUID) O" : fmt::format("{} {}", type, kind.letter)];
        }
    }
}

void countInterface(Census& census, const Interface& each) {
    census.interfaces += each.service ? 0 : 1;
    census.constants["u_"] += each.hasSymbol ? 1 : 0;
    census.constants["a_"] += each.server ? 1 : 0;
    if (each.adapter) countAdapter(census, each);
    if (!each.wrapped) {
        census.hostMethods += each.methods.size();
        return;
    }
    (each.service ? census.services : census.types).push_back(each.name);
    for (const Method& method : each.methods) countMethod(census, method);
}

std::string table(const std::map<std::string, std::size_t>& counts) {
    std::string text;
    for (const auto& [name, number] : counts) text += fmt::format("  {:<20} {:>6}\n", name, number);
    return text;
}

// Sorted names, those that begin with the same letter on one line: a new name changes one line.
std::string nameLines(std::string_view title, const std::vector<std::string>& names) {
    std::string text;
    char letter = '\0';
    for (const std::string& name : names) {
        text += name[0] == letter ? "" : fmt::format("{}{}", text.empty() ? "" : "\n", title);
        text += " " + name;
        letter = name[0];
    }
    return text + "\n";
}

std::string adapterLine(const AdapterCensus& adapter) {
    std::string line = fmt::format("  {:<30} {:<16} {:>3}", adapter.name,
                                   adapter.prefix.empty() ? "(none)" : adapter.prefix + "_", adapter.forwarded);
    if (adapter.inertTotal() != 0) {
        line += fmt::format(" +{} (NOTIMPL {}, 0 {}, nothing {})", adapter.inertTotal(),
                            count(adapter, Inert::NotImplemented), count(adapter, Inert::Zero),
                            count(adapter, Inert::Nothing));
    }
    return line + "\n";
}

AdapterCensus sumOf(const std::vector<AdapterCensus>& adapters) {
    AdapterCensus sum;
    for (const AdapterCensus& adapter : adapters) {
        sum.forwarded += adapter.forwarded;
        for (const auto& [inert, number] : adapter.inert) sum.inert[inert] += number;
    }
    return sum;
}

nlohmann::json adapterJson(const AdapterCensus& adapter) {
    return {{"prefix", adapter.prefix},
            {"forwarded", adapter.forwarded},
            {"inert",
             {{"NOTIMPL", count(adapter, Inert::NotImplemented)},
              {"0", count(adapter, Inert::Zero)},
              {"nothing", count(adapter, Inert::Nothing)}}}};
}

}  // namespace

std::size_t AdapterCensus::inertTotal() const {
    return std::accumulate(inert.begin(), inert.end(), std::size_t{0},
                           [](std::size_t sum, const auto& entry) { return sum + entry.second; });
}

Census takeCensus(const Model& model) {
    Census census;
    census.headers = model.headers.size();
    census.types = {std::string(unknownName), "storage"};
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces) countInterface(census, each);
        for (const Constant& each : header.constants) ++census.constants[lettersOf(each.name)];
        for (const Code& each : header.codes) {
            ++census.constants[each.headerOwn ? "e" : "e_"];
            census.resultCodes.push_back(each.name);
        }
    }
    std::sort(census.types.begin(), census.types.end());
    std::sort(census.services.begin(), census.services.end());
    std::sort(census.resultCodes.begin(), census.resultCodes.end());
    std::sort(census.adapters.begin(), census.adapters.end(),
              [](const AdapterCensus& a, const AdapterCensus& b) { return a.name < b.name; });
    return census;
}

std::string asText(const Census& census) {
    const AdapterCensus sum = sumOf(census.adapters);
    std::string text;
    const auto line = [&](std::string_view name, std::size_t number, const std::string& note = {}) {
        text += fmt::format("{:<22} {:>6}{}\n", name, number, note.empty() ? "" : "  " + note);
    };
    line("headers", census.headers);
    line("object types", census.types.size(), "Unknown and storage among them");
    line("services", census.services.size());
    line("interfaces", census.interfaces, "with and without a type");
    line("methods", census.methods, "that Python can call");
    line("  plain-value", census.plainValueMethods);
    line("  void", census.voidMethods);
    line("host-only methods", census.hostMethods, "of interfaces without a type");
    line("result codes", census.resultCodes.size());
    line("constants", total(census.constants));
    text += table(census.constants);
    line("arguments", total(census.parameters), "by kind and parse letter");
    text += table(census.parameters);
    line("returned values", total(census.returns));
    text += table(census.returns);
    line("adapters", census.adapters.size(),
         fmt::format("{} forwarded; {} inert: NOTIMPL {}, 0 {}, nothing {}", sum.forwarded, sum.inertTotal(),
                     count(sum, Inert::NotImplemented), count(sum, Inert::Zero), count(sum, Inert::Nothing)));
    for (const AdapterCensus& adapter : census.adapters) text += adapterLine(adapter);
    return text + nameLines("type", census.types) + nameLines("service", census.services) +
           nameLines("code", census.resultCodes);
}

std::string asJson(const Census& census) {
    nlohmann::ordered_json json;
    json["headers"] = census.headers;
    json["types"] = census.types;
    json["services"] = census.services;
    json["interfaces"] = census.interfaces;
    json["methods"] = census.methods;
    json["plainValueMethods"] = census.plainValueMethods;
    json["voidMethods"] = census.voidMethods;
    json["hostMethods"] = census.hostMethods;
    json["parameters"] = census.parameters;
    json["returns"] = census.returns;
    json["constants"] = census.constants;
    json["resultCodes"] = census.resultCodes;
    for (const AdapterCensus& adapter : census.adapters) json["adapters"][adapter.name] = adapterJson(adapter);
    return json.dump(2) + "\n";
}

}  // namespace kzgen
