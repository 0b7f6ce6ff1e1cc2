// Part "wrap": for each header its wrapper types with one thunk a method, its constants and its result codes.
#include <algorithm>
#include <array>
#include <iterator>

#include <fmt/format.h>

#include "emit.h"
#include "python_view.h"

namespace kzgen {

namespace {

using Text = std::back_insert_iterator<std::string>;

// How the hand-written marshalling calls a kind as an input and as an output; an array is left open behind the bytes of
// one element.
struct Marshalled {
    Kind kind;
    std::string_view input;
    std::string_view output;
};

constexpr std::array marshalled = {
    Marshalled{Kind::Bool, "", "OutValue<bool>"},
    Marshalled{Kind::Int, "InInt", "OutValue<std::int32_t>"},
    Marshalled{Kind::Uint, "InUint", "OutValue<std::uint32_t>"},
    Marshalled{Kind::Size, "InSize", "OutValue<std::intptr_t>"},
    Marshalled{Kind::Float, "InFloat", "OutValue<float>"},
    Marshalled{Kind::Double, "InDouble", "OutValue<double>"},
    Marshalled{Kind::String, "InString", "OutValue<const char*>"},
    Marshalled{Kind::Text, "", "OutText"},
    Marshalled{Kind::Guid, "InGuid", ""},
    Marshalled{Kind::Object, "InObject", "OutObject"},
    Marshalled{Kind::Vector2, "InVector<KzVector2>", "OutVector<KzVector2>"},
    Marshalled{Kind::Vector3, "InVector<KzVector3>", "OutVector<KzVector3>"},
    Marshalled{Kind::Vector4, "InVector<KzVector4>", "OutVector<KzVector4>"},
    Marshalled{Kind::FVector2, "InVector<KzFVector2>", "OutVector<KzFVector2>"},
    Marshalled{Kind::FVector3, "InVector<KzFVector3>", "OutVector<KzFVector3>"},
    Marshalled{Kind::FVector4, "InVector<KzFVector4>", "OutVector<KzFVector4>"},
    Marshalled{Kind::Matrix3, "InMatrix<KzMatrix3>", "OutMatrix<KzMatrix3>"},
    Marshalled{Kind::Matrix4, "InMatrix<KzMatrix4>", "OutMatrix<KzMatrix4>"},
    Marshalled{Kind::FMatrix3, "InMatrix<KzFMatrix3>", "OutMatrix<KzFMatrix3>"},
    Marshalled{Kind::FMatrix4, "InMatrix<KzFMatrix4>", "OutMatrix<KzFMatrix4>"},
    Marshalled{Kind::Bounds, "InBounds", "OutBounds"},
    Marshalled{Kind::Quaternion, "InVector<KzQuaternion>", "OutVector<KzQuaternion>"},
    Marshalled{Kind::Id, "InId", "OutId"},
    Marshalled{Kind::Pointer, "InPointer", "OutPointer"},
    Marshalled{Kind::FloatArray, "InArray<4", "OutArray<4"},
    Marshalled{Kind::DoubleArray, "InArray<8", ""},
    Marshalled{Kind::IntArray, "InArray<4", ""},
    Marshalled{Kind::UintArray, "InArray<4", "OutArray<4"},
    Marshalled{Kind::ByteArray, "InArray<1", ""},
    Marshalled{Kind::IdArray, "InArray<8", ""},
    Marshalled{Kind::DataArray, "InArray<1", "OutArray<1"},
    Marshalled{Kind::Hints, "InHints", "OutHints"},
    Marshalled{Kind::Blocks, "InBlocks", ""},
};

// The wrapper that Python gets for an object: none for an object of unknown kind or of a kind without a type.
std::string typedWrapper(const Model& model, const Type& type) {
    const std::string name = type.kind == Kind::Object ? model.wrapperName(type) : "";
    return name.empty() || name == unknownName ? "" : name;
}

std::string termName(const Interface& each, const Length::Term& term) {
    switch (term.kind) {
    case Factor::Kind::Looked: return fmt::format("Looked<&kz{}, {}>", term.name, term.places[0]);
    case Factor::Kind::Asked:
        return fmt::format("Asked<&IKz{}::{}{}{}>", each.stem(), term.name, term.places.empty() ? "" : ", ",
                           fmt::join(term.places, ", "));
    default: return fmt::format("Counted<{}>", term.places[0]);
    }
}

// An array is named with the bytes of one element, the fixed number of elements, 0 where nobody knows, and what to
// multiply them by.
std::string arrayName(const Interface& each, const Method& method, const Parameter& array, std::string_view open) {
    const Length length = method.lengthOf(array);
    std::string name = fmt::format("{}, {}", open, length.fixed);
    for (const Length::Term& term : length.terms) {
        name += ", " + termName(each, term);
    }
    return name + ">";
}

std::string marshalledName(const Interface& each, const Method& method, const Parameter& parameter) {
    const auto row = std::find_if(marshalled.begin(), marshalled.end(),
                                  [&](const Marshalled& m) { return m.kind == parameter.type.kind; });
    const std::string_view name = parameter.output ? row->output : row->input;
    if (isArray(parameter.type.kind)) {
        return arrayName(each, method, parameter, name);
    }
    const bool once = parameter.type.kind == Kind::Text && !method.again;
    return std::string(name) + (once ? "Once" : "");
}

// The wrapper types of the objects that a method returns, in order, as the elements of an array.
std::string typeElements(const Model& model, const Method& method) {
    std::vector<std::string> elements;
    const auto add = [&](const Type& type) {
        const std::string name = typedWrapper(model, type);
        if (type.kind == Kind::Object) {
            elements.push_back(name.empty() ? "nullptr" : "&kzType_" + name);
        }
    };
    add(method.returns);
    for (const Parameter* output : method.outputs()) {
        add(output->type);
    }
    return fmt::format("{}", fmt::join(elements, ", "));
}

// What a marshaller is made for: whether there is a result code, what else is returned, and the kinds of the parameters.
std::string signatureOf(const Interface& each, const Method& method) {
    std::string signature = fmt::format("{}", method.returns.kind == Kind::Result);
    for (const Parameter& parameter : method.parameters) {
        signature += fmt::format(", {}", marshalledName(each, method, parameter));
    }
    return signature;
}

void emitThunk(const Model& model, const Interface& each, const Method& method, Text out) {
    const std::string name = each.stem() + "_" + method.name;
    const std::string types = typeElements(model, method);
    if (!types.empty()) {
        fmt::format_to(out, "constexpr const KzWrapperType* {}_types[] = {{{}}};\n", name, types);
    }
    fmt::format_to(out,
                   "PyObject* {0}(PyObject* self, PyObject* args) {{ return KzCall<{1}>::call(self, args, "
                   "&IKz{2}::{3}{4}); }}\n",
                   name, signatureOf(each, method), each.stem(), method.name,
                   types.empty() ? "" : ", " + name + "_types");
}

void emitType(const Model& model, const Interface& each, Text out) {
    fmt::format_to(out, "// {}\n\nnamespace {{\n\n", each.stem());
    for (const Method& method : each.methods) {
        emitThunk(model, each, method, out);
    }
    fmt::format_to(out, "\nPyMethodDef {}_methods[] = {{\n", each.stem());
    if (!each.service) {
        fmt::format_to(out, "    KZ_GENERIC_METHODS,\n");
    }
    for (const Method& method : each.methods) {
        fmt::format_to(out, "    {{\"{0}\", {1}_{0}, METH_VARARGS, {2}}},\n", method.name, each.stem(),
                       cppLiteral(docString(model, method)));
    }
    fmt::format_to(out, "    {{nullptr, nullptr, 0, nullptr}},\n}};\n\n}}  // namespace\n\n");
    fmt::format_to(out, "KzWrapperType kzType_{0} = {{{{}}, \"{1}\", &KZu_{2}, {0}_methods, {3}}};\n\n", each.stem(),
                   each.name, each.symbol, cppLiteral(each.summary));
}

struct SymbolRow {
    const std::string& name;
    std::string operator()(const IntegerValue& integer) const {
        return fmt::format("{{\"{}\", KzSymbolRow::{}, {}}}", name, integer.isLong ? "longInteger" : "integer",
                           integer.value);
    }
    std::string operator()(const RealValue& real) const { return fmt::format("{{\"{}\", {}}}", name, real.written); }
    std::string operator()(const TextValue& text) const {
        return fmt::format("{{\"{}\", {}}}", name, cppLiteral(text.text));
    }
    std::string operator()(const Guid& guid) const { return fmt::format("{{\"{}\", \"{}\"}}", name, guid.text); }
};

std::vector<std::string> symbolRows(const Header& header) {
    std::vector<std::string> rows;
    for (const Interface& each : header.interfaces) {
        if (each.hasSymbol) {
            rows.push_back(SymbolRow{"u_" + each.symbol}(each.guid));
        }
        if (each.server) {
            rows.push_back(SymbolRow{"a_" + each.symbol}(TextValue{*each.server}));
        }
    }
    for (const Constant& constant : header.constants) {
        rows.push_back(std::visit(SymbolRow{constant.name}, constant.value));
    }
    for (const Code& code : header.codes) {
        // A code of the command system is a long always; one of a header's own where it does not fit an int of 32 bits.
        const bool isLong = !code.headerOwn || code.value > uint32_t{INT32_MAX};
        rows.push_back(SymbolRow{code.symbol()}(IntegerValue{code.value, isLong, {}}));
    }
    return rows;
}

std::vector<std::string> resultRows(const Header& header) {
    std::vector<std::string> rows;
    for (const Code& code : header.codes) {
        rows.push_back(fmt::format("{{\"{}\", 0x{:08X}}}", code.name, code.value));
    }
    return rows;
}

std::vector<std::string> typeRows(const Header& header, bool services) {
    std::vector<std::string> rows;
    for (const Interface& each : header.interfaces) {
        if (each.wrapped && each.service == services) {
            rows.push_back("&kzType_" + each.stem());
        }
    }
    return rows;
}

// An array of rows, and what names it: an empty one has no array.
std::string emitRows(std::string_view type, const std::string& name, const std::vector<std::string>& rows, Text out) {
    if (rows.empty()) {
        return "{}";
    }
    fmt::format_to(out, "{} {}[] = {{\n    {},\n}};\n\n", type, name, fmt::join(rows, ",\n    "));
    return name;
}

std::string headerText(const Model& model, const Header& header) {
    std::string text = openingLines("//", header.summary, header);
    const Text out = std::back_inserter(text);
    fmt::format_to(out,
                   "#include \"wrap/generated/types.h\"\n#include \"wrap/marshal.h\"\n\n#include \"kz/{}.h\"\n\n"
                   "using namespace kz_marshal;\n\n",
                   header.name);
    for (const Interface& each : header.interfaces) {
        if (each.wrapped) {
            emitType(model, each, out);
        }
    }
    fmt::format_to(out, "namespace {{\n\n");
    const std::string& name = header.name;
    const std::string objects = emitRows("constexpr KzWrapperType*", name + "_objects", typeRows(header, false), out);
    const std::string services = emitRows("constexpr KzWrapperType*", name + "_services", typeRows(header, true), out);
    const std::string symbols = emitRows("constexpr KzSymbolRow", name + "_symbols", symbolRows(header), out);
    const std::string results = emitRows("constexpr KzResultRow", name + "_results", resultRows(header), out);
    fmt::format_to(out, "}}  // namespace\n\nconst KzHeaderRows kzHeader_{0} = {{\"{0}\", {1}, {2}, {3}, {4}}};\n",
                   name, objects, services, symbols, results);
    return text;
}

std::string typesText(const Model& model) {
    std::string text = openingLines("//", "Every wrapper type and every header's rows.", model);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#pragma once\n\n#include \"wrap/registration.h\"\n\n");
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces) {
            if (each.wrapped) {
                fmt::format_to(out, "extern KzWrapperType kzType_{};\n", each.stem());
            }
        }
    }
    fmt::format_to(out, "\n");
    for (const Header& header : model.headers) {
        fmt::format_to(out, "extern const KzHeaderRows kzHeader_{};\n", header.name);
    }
    return text;
}

std::string listText(const Model& model) {
    std::string text = openingLines("//", "The headers in the order of registration.", model);
    const Text out = std::back_inserter(text);
    fmt::format_to(out,
                   "#include \"wrap/generated/types.h\"\n\nnamespace {{\n\nconstexpr const KzHeaderRows* all[] = {{\n");
    for (const Header& header : model.headers) {
        fmt::format_to(out, "    &kzHeader_{},\n", header.name);
    }
    fmt::format_to(out, "}};\n\n}}  // namespace\n\nconst std::span<const KzHeaderRows* const> kzHeaders(all);\n");
    return text;
}

}  // namespace

void emitWrap(const Model& model, Output& output) {
    for (const Header& header : model.headers) {
        output.write(header.name + ".cpp", headerText(model, header));
    }
    output.write("types.h", typesText(model));
    output.write("headers.cpp", listText(model));
}

}  // namespace kzgen
