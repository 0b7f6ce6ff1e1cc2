// Part "wrap": for each header its wrapper types with one thunk a method, its constants and its result codes.
#include <iterator>
#include <set>

#include <fmt/format.h>

#include "emit.h"
#include "families.h"
#include "python_view.h"
#include "text.h"

namespace kzgen {

namespace {

// The wrapper type that Python gets for an object; none for a plain object or one whose interface has no type.
std::string typedWrapper(const Model& model, const Type& type) {
    const std::string name = type.kind == Kind::Object ? model.wrapperName(type) : "";
    return name.empty() || name == unknownName ? "" : name;
}

std::string termName(const Interface& each, const Length::Term& term) {
    switch (term.kind) {
    case Factor::Kind::Table: return fmt::format("TableFactor<&kz{}, {}>", term.name, term.places[0]);
    case Factor::Kind::Method:
        return fmt::format("MethodFactor<&IKz{}::{}{}{}>", each.stem(), term.name, term.places.empty() ? "" : ", ",
                           fmt::join(term.places, ", "));
    default: return fmt::format("ParameterFactor<{}>", term.places[0]);
    }
}

// An array's class takes the size of one element in bytes, the constant part of the length in elements (0 if the length
// is not known), and the factors of the length.
std::string arrayName(const Interface& each, const Method& method, const Parameter& array, std::string_view open) {
    const Length length = method.lengthOf(array);
    std::string name = fmt::format("{}, {}", open, length.fixed);
    for (const Length::Term& term : length.terms) name += ", " + termName(each, term);
    return name + ">";
}

std::string marshalledName(const Interface& each, const Method& method, const Parameter& parameter) {
    const KindInfo& kind = info(parameter.type.kind);
    const std::string_view name = parameter.output ? kind.out : kind.in;
    if (kind.has(array)) return arrayName(each, method, parameter, name);
    const bool once = parameter.type.kind == Kind::Text && !method.again;
    return std::string(name) + (once ? "Once" : "");
}

// The wrapper types of the objects that a method returns, in order, as the elements of an array.
std::string typeElements(const Model& model, const Method& method) {
    std::vector<std::string> elements;
    const auto add = [&](const Type& type) {
        const std::string name = typedWrapper(model, type);
        if (type.kind == Kind::Object) elements.push_back(name.empty() ? "nullptr" : "&kzType_" + name);
    };
    add(method.returns);
    for (const Parameter* output : method.outputs()) add(output->type);
    return fmt::format("{}", fmt::join(elements, ", "));
}

// The template arguments of the marshaller: whether there is a result code, and the classes of the parameters.
std::string signatureOf(const Interface& each, const Method& method) {
    std::string signature = fmt::format("{}", method.returns.kind == Kind::Result);
    for (const Parameter& parameter : method.parameters)
        signature += fmt::format(", {}", marshalledName(each, method, parameter));
    return signature;
}

void emitThunk(const Model& model, const Interface& each, const Method& method, Text out) {
    const std::string name = each.stem() + "_" + method.name;
    const std::string types = typeElements(model, method);
    if (!types.empty()) fmt::format_to(out, "constexpr const KzWrapperType* {}_types[] = {{{}}};\n", name, types);
    fmt::format_to(out,
                   "PyObject* {0}(PyObject* self, PyObject* args) {{ return KzCall<{1}>::call(self, args, "
                   "&IKz{2}::{3}{4}); }}\n",
                   name, signatureOf(each, method), each.stem(), method.name,
                   types.empty() ? "" : ", " + name + "_types");
}

void emitType(const Model& model, const Interface& each, Text out) {
    fmt::format_to(out, "// {}\n\nnamespace {{\n\n", each.stem());
    for (const Method& method : each.methods) emitThunk(model, each, method, out);
    fmt::format_to(out, "\nPyMethodDef {}_methods[] = {{\n", each.stem());
    if (!each.service) fmt::format_to(out, "    KZ_GENERIC_METHODS,\n");
    for (const Method& method : each.methods) {
        // The families of constants stand behind the end of the docstring, where only wrap/constant_names.h looks.
        fmt::format_to(out, "    {{\"{0}\", {1}_{0}, METH_VARARGS, {2} \"\\0{3}\"}},\n", method.name, each.stem(),
                       literal(docString(model, method), '\"'), docFamilies(method));
    }
    fmt::format_to(out, "    {{nullptr, nullptr, 0, nullptr}},\n}};\n\n}}  // namespace\n\n");
    fmt::format_to(out, "KzWrapperType kzType_{0} = {{{{}}, \"{1}\", &KZu_{2}, {0}_methods, {3}}};\n\n", each.stem(),
                   each.name, each.symbol, literal(each.summary, '\"'));
}

struct SymbolRow {
    const std::string& name;
    std::string operator()(const IntegerValue& integer) const {
        return fmt::format("{{\"{}\", KzSymbolRow::{}, {}}}", name, integer.isLong ? "longInteger" : "integer",
                           integer.value);
    }
    std::string operator()(const RealValue& real) const { return fmt::format("{{\"{}\", {}}}", name, real.written); }
    std::string operator()(const TextValue& text) const {
        return fmt::format("{{\"{}\", {}}}", name, literal(text.text, '\"'));
    }
    std::string operator()(const Guid& guid) const { return fmt::format("{{\"{}\", \"{}\"}}", name, guid.text); }
};

std::vector<std::string> symbolRows(const Header& header) {
    std::vector<std::string> rows;
    for (const Symbol& each : symbolsOf(header)) rows.push_back(std::visit(SymbolRow{each.name}, each.value));
    return rows;
}

std::vector<std::string> resultRows(const Header& header) {
    std::vector<std::string> rows;
    for (const Code& code : header.codes) rows.push_back(fmt::format("{{\"{}\", 0x{:08X}}}", code.name, code.value));
    return rows;
}

std::vector<std::string> typeRows(const Header& header, bool services) {
    std::vector<std::string> rows;
    for (const Interface& each : header.interfaces)
        if (each.wrapped && each.service == services) rows.push_back("&kzType_" + each.stem());
    return rows;
}

// Writes an array of rows and returns its name, or "{}" if there are no rows.
std::string emitRows(std::string_view type, const std::string& name, const std::vector<std::string>& rows, Text out) {
    if (rows.empty()) return "{}";
    fmt::format_to(out, "{} {}[] = {{\n    {},\n}};\n\n", type, name, fmt::join(rows, ",\n    "));
    return name;
}

// The header's own wrapper types and those that its methods return. They are declared where they are used, because a list of
// all would make every description a part of every source.
std::set<std::string> namedTypes(const Model& model, const Header& header) {
    std::set<std::string> names;
    for (const Interface& each : header.interfaces) {
        if (!each.wrapped) continue;
        names.insert(each.stem());
        for (const Method& method : each.methods) {
            names.insert(typedWrapper(model, method.returns));
            for (const Parameter* output : method.outputs()) names.insert(typedWrapper(model, output->type));
        }
    }
    names.erase("");
    return names;
}

std::string headerText(const Model& model, const Header& header) {
    std::string text = openingLines("//", header.summary, header);
    const Text out = std::back_inserter(text);
    fmt::format_to(out,
                   "#include \"wrap/marshal.h\"\n#include \"wrap/registration.h\"\n\n#include \"kz/{}.h\"\n\n"
                   "using namespace kz_marshal;\n\n",
                   header.name);
    for (const std::string& type : namedTypes(model, header))
        fmt::format_to(out, "extern KzWrapperType kzType_{};\n", type);
    fmt::format_to(out, "\n");
    for (const Interface& each : header.interfaces)
        if (each.wrapped) emitType(model, each, out);
    fmt::format_to(out, "namespace {{\n\n");
    const std::string& name = header.name;
    const std::string objects = emitRows("constexpr KzWrapperType*", name + "_objects", typeRows(header, false), out);
    const std::string services = emitRows("constexpr KzWrapperType*", name + "_services", typeRows(header, true), out);
    const std::string symbols = emitRows("constexpr KzSymbolRow", name + "_symbols", symbolRows(header), out);
    const std::string results = emitRows("constexpr KzResultRow", name + "_results", resultRows(header), out);
    fmt::format_to(out,
                   "}}  // namespace\n\nextern const KzHeaderRows kzHeader_{0};\nconst KzHeaderRows kzHeader_{0} = "
                   "{{\"{0}\", {1}, {2}, {3}, {4}}};\n",
                   name, objects, services, symbols, results);
    return text;
}

// Where a kind and its classes differ, the build stops here with the kind's name, before any thunk that uses it.
void emitKindAsserts(Text out) {
    for (const KindInfo& kind : allKinds()) {
        const std::string_view rest = kind.has(array) ? ", 0>" : "";
        const std::string_view length = kind.kind == Kind::Text ? ", uint32_t" : "";
        const std::string reason =
            fmt::format("\"{}: gen/kinds.def and wrap/marshal_kinds.h differ\"", kind.fullName());
        if (kind.fits(KindUse::Input)) {
            fmt::format_to(out, "static_assert(isInputOf<{}{}, '{}', {}>, {});\n", kind.in, rest, kind.letter,
                           kind.parameterType(false), reason);
        }
        if (kind.fits(KindUse::Output)) {
            fmt::format_to(out, "static_assert(isOutputOf<{}{}, {}{}>, {});\n", kind.out, rest,
                           kind.parameterType(true), length, reason);
        }
    }
}

// Each family of integers that a method takes or returns, with its constants: "fFIND", "fFIND_CASE,fFIND_WORD".
void emitFamilies(const Model& model, Text out) {
    std::set<std::string> names;
    const auto add = [&](const Type& type) {
        for (const Family& family : type.families) names.insert(family.name);
    };
    for (const Header& header : model.headers)
        for (const Interface& each : header.interfaces)
            for (const Method& method : each.methods) {
                add(method.returns);
                for (const Parameter& parameter : method.parameters) add(parameter.type);
            }
    fmt::format_to(out, "constexpr KzFamilyRow families[] = {{\n");
    for (const std::string& name : names)
        fmt::format_to(out, "    {{\"{}\", \"{}\"}},\n", name, fmt::join(familyMembers(model, name), ","));
    fmt::format_to(out, "}};\n");
}

std::string headerList(const Model& model) {
    std::string text = openingLines("//", "The headers in the order of registration.", model);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#include \"wrap/marshal_kinds.h\"\n#include \"wrap/registration.h\"\n\n");
    for (const Header& header : model.headers)
        fmt::format_to(out, "extern const KzHeaderRows kzHeader_{};\n", header.name);
    fmt::format_to(out, "\nnamespace {{\n\nusing namespace kz_marshal;\n\n");
    emitKindAsserts(out);
    fmt::format_to(out, "\nconstexpr const KzHeaderRows* all[] = {{\n");
    for (const Header& header : model.headers) fmt::format_to(out, "    &kzHeader_{},\n", header.name);
    fmt::format_to(out, "}};\n\n");
    emitFamilies(model, out);
    fmt::format_to(out, "\n}}  // namespace\n\nconst std::span<const KzHeaderRows* const> kzHeaders(all);\n"
                        "const std::span<const KzFamilyRow> kzFamilies(families);\n");
    return text;
}

}  // namespace

void emitWrap(const Model& model, Output& output) {
    for (const Header& header : model.headers) output.write(header.name + ".cpp", headerText(model, header));
    output.write("headers.cpp", headerList(model));
}

}  // namespace kzgen
