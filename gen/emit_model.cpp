// Parts "model" and "manifest": the whole description as data. The model is for programs that make documents of it or
// check against it; the manifest is what help() shows at run time.
#include <map>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "emit.h"
#include "families.h"
#include "python_view.h"

namespace kzgen {

namespace {

using Json = nlohmann::ordered_json;

template <class All, class Make> Json listOf(const All& all, Make make) {
    Json list = Json::array();
    for (const auto& each : all) list.push_back(make(each));
    return list;
}

Json valueOf(const Value& value) {
    struct Visitor {
        Json operator()(const IntegerValue& integer) const { return integer.value; }
        Json operator()(const RealValue& real) const { return real.value; }
        Json operator()(const TextValue& text) const { return text.text; }
        Json operator()(const Guid& guid) const { return guid.text; }
    };
    return std::visit(Visitor{}, value);
}

// Adds what is there. What is missing or false is left out, so that the files stay readable.
void addText(Json& json, const char* key, const std::string& text) {
    if (!text.empty()) json[key] = text;
}

Json typeJson(const Type& type) {
    Json json = {{"kind", info(type.kind).fullName()}};
    addText(json, type.kind == Kind::Object ? "interface" : "struct", type.name);
    addText(json, "length", lengthFormula(type));
    addText(json, "unsized", type.unsized);
    if (!type.families.empty()) json["families"] = listOf(type.families, [](const Family& each) { return each.name; });
    return json;
}

Json parameterJson(const Parameter* parameter) {
    Json json = {{"name", parameter->name}};
    json.update(typeJson(parameter->type));
    return json;
}

// What the adapter does with a call of the host.
Json servedJson(const Interface& each, const Method& method) {
    constexpr const char* answers[] = {"", "NOTIMPL", "0", "nothing"};
    if (method.inert != Inert::No) return {{"inert", answers[static_cast<std::size_t>(method.inert)]}};
    Json json = {
        {"name", pythonMethodName(each, method)},
        {"arguments", listOf(method.inputs(), [](const Parameter* input) { return pythonArgumentName(*input); })}};
    if (method.required) json["required"] = true;
    return json;
}

Json methodJson(const Model& model, const Interface& each, const Method& method) {
    Json json = {{"name", method.name},
                 {"signature", signature(method, method.name)},
                 {"doc", docString(model, method)},
                 {"code", method.returns.kind == Kind::Result}};
    addText(json, "summary", method.summary);
    if (method.returnsPlainValue()) json["returns"] = typeJson(method.returns);
    json["inputs"] = listOf(method.inputs(), &parameterJson);
    json["outputs"] = listOf(method.outputs(), &parameterJson);
    if (method.again) json["again"] = true;
    if (each.adapter) json["served"] = servedJson(each, method);
    return json;
}

Json interfaceJson(const Model& model, const Interface& each) {
    Json json = {{"name", each.name},
                 {"service", each.service},
                 {"adapter", each.adapter.has_value()},
                 {"identity", each.guid.text}};
    if (each.wrapped) json["type"] = (each.service ? "kz.service." : "kz.object.") + each.name;
    if (each.adapter && !each.adapter->empty()) json["base"] = "kzifc." + each.name;
    if (each.hasSymbol) json["symbol"] = "u_" + each.symbol;
    if (each.server) json["server"] = *each.server;
    json["summary"] = each.summary;
    json["methods"] = listOf(each.methods, [&](const Method& method) { return methodJson(model, each, method); });
    return json;
}

Json symbolJson(const Symbol& symbol) {
    Json json = {{"name", symbol.name}, {"value", valueOf(symbol.value)}, {"literal", pythonLiteral(symbol.value)}};
    addText(json, "summary", symbol.summary);
    return json;
}

// The constants and codes of a header by groups. What interfaces bring along comes first, as a group without a text.
Json groupsJson(const Header& header) {
    Json groups = Json::array();
    const Group* last = nullptr;
    for (const Symbol& symbol : symbolsOf(header)) {
        if (groups.empty() || symbol.group != last) {
            groups.push_back(Json::object());
            if (symbol.group != nullptr) {
                addText(groups.back(), "summary", symbol.group->summary);
                addText(groups.back(), "used", symbol.group->used);
            }
            groups.back()["symbols"] = Json::array();
            last = symbol.group;
        }
        groups.back()["symbols"].push_back(symbolJson(symbol));
    }
    return groups;
}

Json codeJson(const Code& code) {
    Json json = {{"name", code.name}, {"symbol", code.symbol()}, {"value", code.value}};
    addText(json, "summary", code.summary);
    return json;
}

Json tableJson(const Table& table) {
    const auto row = [](const Table::Row& each) { return Json::array({each.constant, each.size}); };
    return {{"name", table.name}, {"summary", table.summary}, {"rows", listOf(table.rows, row)}};
}

Json headerJson(const Model& model, const Header& header) {
    return {{"name", header.name},
            {"summary", header.summary},
            {"interfaces", listOf(header.interfaces, [&](const auto& each) { return interfaceJson(model, each); })},
            {"groups", groupsJson(header)},
            {"codes", listOf(header.codes, &codeJson)},
            {"tables", listOf(header.tables, &tableJson)}};
}

// Who takes and who returns what: families and objects by name, and for each the methods, as "Mesh.Merge".
class Uses {
public:
    explicit Uses(const Model& model) {
        for (const Header& header : model.headers)
            for (const Interface& each : header.interfaces)
                for (const Method& method : each.methods) {
                    const std::string name = each.stem() + "." + method.name;
                    add(method.returns, "returned", name);
                    for (const Parameter& parameter : method.parameters)
                        add(parameter.type, parameter.output ? "returned" : "taken", name);
                }
    }

    // With the constants of each family.
    [[nodiscard]] Json families(const Model& model) const {
        Json all = Json::object();
        for (const auto& [name, uses] : m_families) {
            all[name] = {{"symbols", familyMembers(model, name)}};
            all[name].update(uses);
        }
        return all;
    }
    [[nodiscard]] const Json& objects() const { return m_objects; }

private:
    void add(const Type& type, const char* use, const std::string& method) {
        for (const Family& family : type.families) addOnce(m_families[family.name][use], method);
        if (type.kind == Kind::Object && !type.name.empty()) addOnce(m_objects[type.name][use], method);
    }

    static void addOnce(Json& list, const std::string& method) {
        if (list.empty() || list.back() != method) list.push_back(method);
    }

    std::map<std::string, Json> m_families;
    Json m_objects = Json::object();
};

Json modelJson(const Model& model) {
    const Uses uses(model);
    return {{"hash", model.hash},
            {"headers", listOf(model.headers, [&](const Header& header) { return headerJson(model, header); })},
            {"families", uses.families(model)},
            {"objects", uses.objects()}};
}

// The manifest: for each type of the modules its methods with their texts, and the values of the constants.

void addMethods(Json& module, const Interface& each, bool served) {
    Json methods = Json::array();
    for (const Method& method : each.methods) {
        const std::string name = served ? pythonMethodName(each, method) : method.name;
        if (!name.empty()) methods.push_back({name, signature(method, name), method.summary});
    }
    module[each.name] = {each.summary, methods};
}

Json manifestJson(const Model& model) {
    Json json = {{"hash", model.hash}};
    for (const char* module : {"object", "service", "kzifc", "symbol", "result"}) json[module] = Json::object();
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces) {
            if (each.wrapped) addMethods(json[each.service ? "service" : "object"], each, false);
            if (each.adapter) addMethods(json["kzifc"], each, true);
        }
        for (const Symbol& symbol : symbolsOf(header)) json["symbol"][symbol.name] = valueOf(symbol.value);
        for (const Code& code : header.codes) json["result"][code.name] = code.value;
    }
    return json;
}

}  // namespace

void emitModel(const Model& model, Output& output) { output.write("model.json", modelJson(model).dump(1) + "\n"); }

void emitManifest(const Model& model, Output& output) {
    output.write("description.json", manifestJson(model).dump() + "\n");
}

}  // namespace kzgen
