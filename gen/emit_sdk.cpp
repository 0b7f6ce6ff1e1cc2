// Part "sdk": one C++ header for each description file, and kz/all.h.
#include <algorithm>
#include <array>
#include <iterator>
#include <set>

#include <fmt/format.h>

#include "cpp_view.h"
#include "emit.h"
#include "emit_tables.h"
#include "text.h"

namespace kzgen {

std::string guidInitialiser(const Guid& guid) {
    std::string digits;
    std::copy_if(guid.text.begin(), guid.text.end(), std::back_inserter(digits), [](char c) { return c != '-'; });
    std::vector<std::string> bytes;
    for (std::size_t at = 16; at < 32; at += 2) bytes.push_back("0x" + digits.substr(at, 2));
    return fmt::format("{{0x{}, 0x{}, 0x{}, {{{}}}}}", digits.substr(0, 8), digits.substr(8, 4), digits.substr(12, 4),
                       fmt::join(bytes, ", "));
}

namespace {

// The codes that the hand-written base needs itself: its names for them, and those of the description.
struct BaseCode {
    std::string_view base;
    std::string_view name;
};
constexpr std::array baseCodes = {
    BaseCode{"kzOk", "OK"},
    BaseCode{"kzFailedCode", "FAILED"},
    BaseCode{"kzNotImplemented", "NOTIMPL"},
    BaseCode{"kzOutOfMemory", "OUTOFMEMORY"},
    BaseCode{"kzInvalidArgument", "INVALIDARG"},
    BaseCode{"kzNoInterface", "NOINTERFACE"},
    BaseCode{"kzOutOfBounds", "OUTOFBOUNDS"},
    BaseCode{"kzNotFound", "NOTFOUND"},
};

// Structs of described pointers that kz/base/types.h defines.
constexpr std::array<std::string_view, 2> baseStructs = {"KzGuid", "KzTagRecord"};

// Constants

std::string_view integerType(const Constant& constant, std::int64_t value) {
    const char family = constant.name[0];
    if (family == 'e') return "KzResult";
    const bool isMask = (family == 'f' || family == 'm') && value >= 0 && value <= std::int64_t{UINT32_MAX};
    if (!isMask && value >= INT32_MIN && value <= INT32_MAX) return "int32_t";
    return value >= 0 && value <= std::int64_t{UINT32_MAX} ? "uint32_t" : "int64_t";
}

std::string constantText(const Constant& constant) {
    struct Visitor {
        const Constant& constant;
        std::string operator()(const IntegerValue& integer) const {
            const bool code = integer.written.starts_with('\'');
            std::string digits = code ? fmt::format("0x{:X}", integer.value) : integer.written;
            digits.erase(std::remove(digits.begin(), digits.end(), 'L'), digits.end());
            return fmt::format("{} KZ{} = {};", integerType(constant, integer.value), constant.name, digits);
        }
        std::string operator()(const RealValue& real) const {
            return fmt::format("double KZ{} = {};", constant.name, real.written);
        }
        std::string operator()(const TextValue& text) const {
            return fmt::format("char KZ{}[] = {};", constant.name, literal(text.text, '\"'));
        }
        std::string operator()(const Guid& guid) const {
            return fmt::format("KzGuid KZ{}{};", constant.name, guidInitialiser(guid));
        }
    };
    return std::visit(Visitor{constant}, constant.value);
}

// What precedes a constant or code: the comment of its group where that begins, and its own.
template <class Each> std::string commentsOn(const Header& header, const std::vector<Each>& all, const Each& each) {
    const bool begins = &each == all.data() || (&each)[-1].group != each.group;
    const std::string text = begins ? commentLines("", "//", header.groups[each.group].summary) : "";
    return (text.empty() ? "" : "\n") + text + commentLines("", "//", each.summary);
}

void emitConstants(const Header& header, Text out) {
    for (const Constant& constant : header.constants) {
        fmt::format_to(out, "{}", commentsOn(header, header.constants, constant));
        if (constant.name == "u_UNKNOWN") {  // the base has it already
            fmt::format_to(out, "static_assert(KZu_UNKNOWN == KzGuid{});\n",
                           guidInitialiser(std::get<Guid>(constant.value)));
        } else {
            fmt::format_to(out, "inline constexpr {}\n", constantText(constant));
        }
    }
}

void emitCodes(const Header& header, Text out) {
    for (const Code& code : header.codes) {
        fmt::format_to(out, "{}inline constexpr KzResult KZ{} = 0x{:08X};\n", commentsOn(header, header.codes, code),
                       code.symbol(), code.value);
    }
    for (const auto& [base, name] : baseCodes) {
        const bool here = std::any_of(header.codes.begin(), header.codes.end(),
                                      [&n = name](const Code& code) { return !code.headerOwn && code.name == n; });
        if (here) fmt::format_to(out, "static_assert(KZe_{} == {});\n", name, base);
    }
}

// A function for each table: the size for a value, or -1.
void emitTables(const Header& header, Text out) {
    for (const Table& table : header.tables) {
        fmt::format_to(out, "{}inline constexpr int64_t kz{}(int64_t key) {{\n    switch (key) {{\n",
                       commentLines("", "//", table.summary), table.name);
        for (const Table::Row& row : table.rows)
            fmt::format_to(out, "    case KZ{}: return {};\n", row.constant, row.size);
        fmt::format_to(out, "    default: return -1;\n    }}\n}}\n");
    }
}

// Interfaces

void emitInterface(const Interface& each, Text out) {
    fmt::format_to(out, "{}class IKz{} : public IKzUnknown {{\npublic:\n", commentLines("", "//", each.summary),
                   each.stem());
    for (const Method& method : each.methods) {
        fmt::format_to(out, "{}    virtual {} {}({}) = 0;\n", commentLines("    ", "//", method.summary),
                       returnType(method.returns), method.name, parameterList(method, Names::Declared));
    }
    fmt::format_to(out, "\nprotected:\n    ~IKz{}() = default;\n}};\n\n", each.stem());
}

std::string_view defaultBody(const Method& method) {
    if (method.returns.kind == Kind::Void) return "{}";
    const bool notImplemented = method.returns.kind == Kind::Result && method.inert != Inert::Zero;
    return notImplemented ? "{ return kzNotImplemented; }" : "{ return {}; }";
}

void emitImplementationBase(const Interface& each, Text out) {
    fmt::format_to(out, "class CKzImpl_{0} {{\npublic:\n    virtual ~CKzImpl_{0}() = default;\n", each.stem());
    for (const Method& method : each.methods) {
        fmt::format_to(out, "    virtual {} {}_{}({}) {}\n", returnType(method.returns), each.prefix(), method.name,
                       parameterList(method, Names::Commented), defaultBody(method));
    }
    fmt::format_to(out, "}};\n\n");
}

// Null addresses of outputs are refused before the implementation sees them. Inert operations write no outputs.
std::string placesCheck(const Method& method) {
    std::vector<std::string> places;
    for (const Parameter* output : method.outputs()) places.push_back(output->name);
    const bool needed = !places.empty() && method.inert == Inert::No;
    return needed ? fmt::format("kzNeedPlaces({}); ", fmt::join(places, ", ")) : std::string();
}

// Which operations the class defines itself, in the order of the description. Only hosts that report it instantiate this.
void emitOverrides(const Interface& each, Text out) {
    std::string members;
    for (const Method& method : each.methods)
        members += fmt::format("{}&T::{}_{}", members.empty() ? "" : ", ", each.prefix(), method.name);
    fmt::format_to(out, "    static constexpr auto overrides() {{ return kzOverrides<Implementation>({}); }}\n",
                   members);
}

void emitSlot(const Interface& each, Text out) {
    fmt::format_to(out,
                   "template <class T> class CKzIfc_{0} : public CKzSlot<IKz{0}> {{\npublic:\n"
                   "    using Implementation = CKzImpl_{0};\n"
                   "    static constexpr const KzGuid& iid = KZu_{1};\n"
                   "    using CKzSlot<IKz{0}>::CKzSlot;\n",
                   each.stem(), each.symbol);
    for (const Method& method : each.methods) {
        // A plain uint and a result code are one C++ type: only the description tells which of the two zero is.
        const std::string_view boundary = method.returns.kind == Kind::Result ? "kzBoundary" : "kzValueBoundary";
        fmt::format_to(out, "    {} {}({}) final {{ return {}([&] {{ {}return this->self().{}_{}({}); }}); }}\n",
                       returnType(method.returns), method.name, parameterList(method, Names::Declared), boundary,
                       placesCheck(method), each.prefix(), method.name, parameterList(method, Names::Passed));
    }
    emitOverrides(each, out);
    fmt::format_to(out, "\nprivate:\n    T& self() const {{ return *static_cast<T*>(this->object()); }}\n}};\n\n");
}

void emitWrapper(const Interface& each, Text out) {
    fmt::format_to(out,
                   "class CKzLoc_{0} : public CKzLocalize<IKz{0}> {{\npublic:\n"
                   "    const KzGuid& guid() const override {{ return KZu_{1}; }}\n}};\n\n",
                   each.stem(), each.symbol);
}

// Calls of an empty user object answer like an object without the interface.
std::string userBody(const Method& method) {
    const std::string call = fmt::format("this->ptr()->{}({})", method.name, parameterList(method, Names::Passed));
    switch (method.returns.kind) {
    case Kind::Void: return fmt::format("if (this->ptr()) {};", call);
    case Kind::Result: return fmt::format("return this->ptr() ? {} : kzNoInterface;", call);
    default: return fmt::format("if (this->ptr()) return {}; else return {{}};", call);
    }
}

void emitUser(const Interface& each, Text out) {
    fmt::format_to(out, "class CKzUser_{0} : public CKzLoc_{0} {{\npublic:\n", each.stem());
    if (each.service) {
        fmt::format_to(out, "    CKzUser_{}() {{ kzTakeService(*this); }}\n", each.stem());
    } else {
        fmt::format_to(out,
                       "    CKzUser_{0}() = default;\n"
                       "    explicit CKzUser_{0}(IKzUnknown* object) {{ set(object); }}\n",
                       each.stem());
    }
    for (const Method& method : each.methods) {
        fmt::format_to(out, "    {} {}({}) const {{ {} }}\n", returnType(method.returns), method.name,
                       parameterList(method, Names::Declared), userBody(method));
    }
    fmt::format_to(out, "}};\n\n");
}

void emitInterfaceClasses(const Interface& each, Text out) {
    fmt::format_to(out, "// {0}\n\ninline constexpr KzGuid KZu_{1}{2};\n", each.name, each.symbol,
                   guidInitialiser(each.guid));
    if (each.server)
        fmt::format_to(out, "inline constexpr char KZa_{}[] = {};\n", each.symbol, literal(*each.server, '\"'));
    fmt::format_to(out, "\n");
    emitInterface(each, out);
    emitImplementationBase(each, out);
    emitSlot(each, out);
    emitWrapper(each, out);
    emitUser(each, out);
}

// Files

// The structs that the header has to declare for its pointers: those of the SDK that the base does not define.
std::set<std::string> structNames(const Header& header) {
    std::set<std::string> names;
    const auto note = [&](const Type& type) {
        const std::size_t start = type.name.starts_with("const ") ? 6 : 0;
        const std::string name = type.name.substr(start);
        const bool isDefined = std::find(baseStructs.begin(), baseStructs.end(), name) != baseStructs.end();
        if (type.kind == Kind::Pointer && name.starts_with("Kz") && !isDefined) names.insert(name);
    };
    for (const Interface& each : header.interfaces) {
        for (const Method& method : each.methods) {
            note(method.returns);
            std::for_each(method.parameters.begin(), method.parameters.end(), [&](const auto& p) { note(p.type); });
        }
    }
    return names;
}

std::string headerText(const Header& header) {
    std::string text = openingLines("//", header.summary, header);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "#pragma once\n\n#include \"kz/base/codes.h\"\n");
    if (!header.interfaces.empty()) {
        fmt::format_to(out, "#include \"kz/base/boundary.h\"\n#include \"kz/base/global_cache.h\"\n"
                            "#include \"kz/base/polymorph.h\"\n");
    } else {
        fmt::format_to(out, "#include \"kz/base/unknown.h\"\n");
    }
    const std::set<std::string> structs = structNames(header);
    fmt::format_to(out, "\n{}", structs.empty() ? "" : fmt::format("struct {};\n\n", fmt::join(structs, ";\nstruct ")));
    for (const Interface& each : header.interfaces) emitInterfaceClasses(each, out);
    emitConstants(header, out);
    emitTables(header, out);
    emitCodes(header, out);
    return text;
}

}  // namespace

void emitSdk(const Model& model, Output& output) {
    std::string all = openingLines("//", "Every header of the SDK, in the order in which they are registered.", model);
    all += "#pragma once\n\n";
    for (const Header& header : model.headers) {
        output.write("kz/" + header.name + ".h", headerText(header));
        all += fmt::format("#include \"kz/{}.h\"\n", header.name);
    }
    output.write("kz/all.h", all);
    emitTables(model, output);
}

}  // namespace kzgen
