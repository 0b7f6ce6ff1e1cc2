// The rules that need more than one declaration to judge.
#include <algorithm>
#include <array>
#include <cctype>
#include <set>

#include <fmt/format.h>

#include "load.h"

namespace kzgen {

namespace {

constexpr std::array cppWords = {
    "alignas",
    "alignof",
    "and",
    "asm",
    "auto",
    "bool",
    "break",
    "case",
    "catch",
    "char",
    "class",
    "concept",
    "const",
    "constexpr",
    "continue",
    "decltype",
    "default",
    "delete",
    "do",
    "double",
    "else",
    "enum",
    "explicit",
    "export",
    "extern",
    "false",
    "float",
    "for",
    "friend",
    "goto",
    "if",
    "inline",
    "int",
    "long",
    "mutable",
    "namespace",
    "new",
    "noexcept",
    "not",
    "nullptr",
    "operator",
    "or",
    "private",
    "protected",
    "public",
    "register",
    "requires",
    "return",
    "short",
    "signed",
    "sizeof",
    "static",
    "struct",
    "switch",
    "template",
    "this",
    "throw",
    "true",
    "try",
    "typedef",
    "typeid",
    "typename",
    "union",
    "unsigned",
    "using",
    "virtual",
    "void",
    "volatile",
    "while",
    "xor",
    // macros of the C library
    "assert",
    "errno",
    "stdin",
    "stdout",
    "stderr",
    "NULL",
    "EOF",
};

// A Python method of such a name could not be called, or would hide what every wrapper offers.
constexpr std::array pythonWords = {"as",      "def",  "del",    "elif",           "except", "exec",
                                    "finally", "from", "global", "import",         "in",     "is",
                                    "lambda",  "pass", "print",  "raise",          "with",   "yield",
                                    "None",    "set",  "test",   "QueryInterface", "AddRef", "Release"};

template <class Words> bool contains(const Words& words, std::string_view name) {
    return std::find(words.begin(), words.end(), name) != words.end();
}

std::string toUpper(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
    return upper;
}

bool isIdentifier(std::string_view text) {
    return !text.empty() && std::isdigit(static_cast<unsigned char>(text[0])) == 0 &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
}

// Names that may be given once, with the place of their first use.
class Unique {
public:
    explicit Unique(Diagnostics& errors) : m_errors(errors) {}

    void add(const std::string& key, std::string_view found, std::string_view expected, const Place& at) {
        const auto [first, isNew] = m_first.emplace(key, at);
        if (!isNew) {
            m_errors.error(at, found, fmt::format("{} ({} has it)", expected, toString(first->second)));
        }
    }

private:
    Diagnostics& m_errors;
    std::map<std::string, Place> m_first;
};

class Checker {
public:
    Checker(const Model& model, Completeness completeness, Diagnostics& errors)
        : m_model(model), m_completeness(completeness), m_errors(errors), m_stems(errors), m_guids(errors),
          m_symbols(errors), m_results(errors) {
        for (const Header& header : model.headers) {
            for (const Interface& each : header.interfaces) {
                if (!each.service) {
                    m_interfaceNames.emplace_back(each.name);
                }
            }
        }
        m_interfaceNames.emplace_back(unknownName);
    }

    void run() {
        for (const Header& header : m_model.headers) {
            if (header.summary.empty() && !header.name.empty()) {
                missingSummary(header.at, "header " + inQuotes(header.name));
            }
            for (const Interface& each : header.interfaces) {
                interface(each);
            }
            for (const Constant& each : header.constants) {
                constant(each);
            }
            for (const Code& each : header.codes) {
                code(each);
            }
        }
        prefixes();
    }

private:
    void missingSummary(const Place& at, std::string_view what) {
        m_errors.error(at, fmt::format("{} without a summary", what), "a comment directly above");
    }

    void interface(const Interface& each) {
        const std::string what = (each.service ? "service " : "interface ") + inQuotes(each.name);
        if (each.summary.empty()) {
            missingSummary(each.at, what);
        }
        if (each.name == unknownName || each.name == "storage") {
            m_errors.error(each.at, what, "a name that the SDK does not define itself");
        }
        m_stems.add(each.stem(), what + " again", "a name of its own", each.at);
        guid(each.guid);
        symbols(each);
        adapter(each, what);
        Unique methods(m_errors);
        for (const Method& method : each.methods) {
            methods.add(method.name, "method " + inQuotes(method.name) + " again", "a name of its own", method.at);
            this->method(method);
        }
    }

    void guid(const Guid& given) {
        if (given.text.empty()) {
            return;  // reported where it is missing
        }
        if (!given.wellFormed()) {
            m_errors.error(given.at, inQuotes(given.text), "8-4-4-4-12 hexadecimal digits");
        } else {
            m_guids.add(toUpper(given.text), "identity " + given.text + " again", "one of its own", given.at);
        }
    }

    void symbols(const Interface& each) {
        const auto legal = [](unsigned char c) { return std::isupper(c) != 0 || std::isdigit(c) != 0 || c == '_'; };
        if (each.symbol.empty() || !std::all_of(each.symbol.begin(), each.symbol.end(), legal)) {
            m_errors.error(each.at, "symbol " + inQuotes(each.symbol), "upper-case letters, digits and '_'");
        }
        symbol("u_" + each.symbol, each.at);
        if (each.server) {
            symbol("a_" + each.symbol, each.at);
        }
    }

    void symbol(const std::string& name, const Place& at) {
        m_symbols.add(name, "constant " + inQuotes(name) + " again", "a name of its own", at);
    }

    // Adapters

    void adapter(const Interface& each, std::string_view what) {
        if (!each.adapter) {
            for (const Method& method : each.methods) {
                if (method.inert != Inert::No || method.required) {
                    m_errors.error(method.at, "'inert' or 'required' on " + inQuotes(method.name),
                                   "it only where the interface has an adapter");
                }
            }
            return;
        }
        if (each.service) {
            m_errors.error(each.at, fmt::format("{} with an adapter", what), "adapters on interfaces alone");
        }
        if (!each.adapter->empty() && !isIdentifier(*each.adapter)) {
            m_errors.error(each.at, "adapter prefix " + inQuotes(*each.adapter), "letters, digits and '_'");
        }
        for (const Method& method : each.methods) {
            method.inert == Inert::No ? forwarded(each, method) : inert(method);
        }
    }

    void forwarded(const Interface& each, const Method& method) {
        if (each.adapter->empty()) {
            m_errors.error(method.at, "forwarded method " + inQuotes(method.name), "a prefix, or an inert method");
        }
        for (const Parameter& parameter : method.parameters) {
            if (!info(parameter.type.kind).is(parameter.output ? forwardOutput : forwardInput)) {
                m_errors.error(parameter.type.at,
                               fmt::format("{} {} {} of an adapter", shown(parameter.type),
                                           parameter.output ? "output" : "input", inQuotes(parameter.name)),
                               "a kind that can be forwarded to Python, or [inert(NOTIMPL)]");
            }
        }
    }

    static std::string shown(const Type& type) {
        return std::string(info(type.kind).name) + (isArray(type.kind) ? "[]" : "");
    }

    void inert(const Method& method) {
        const Kind returns = method.returns.kind;
        if (method.inert == Inert::NotImplemented && returns != Kind::Result) {
            m_errors.error(method.at, "inert(NOTIMPL) on " + inQuotes(method.name),
                           "it where the method returns 'result'");
        } else if (method.inert == Inert::Zero && returns == Kind::Void) {
            m_errors.error(method.at, "inert(0) on " + inQuotes(method.name),
                           "'inert' where the method returns 'void'");
        } else if (method.inert == Inert::Nothing && returns != Kind::Void) {
            m_errors.error(method.at, "inert without a value on " + inQuotes(method.name),
                           "inert(NOTIMPL) or inert(0) where the method returns something");
        }
        if (method.required) {
            m_errors.error(method.at, "'required' on the inert method " + inQuotes(method.name), "one of the two");
        }
    }

    // Methods

    void method(const Method& method) {
        if (contains(cppWords, method.name) || contains(pythonWords, method.name)) {
            m_errors.error(method.at, "method " + inQuotes(method.name),
                           "a name that neither language keeps for itself");
        }
        interfaceName(method.returns);
        Unique names(m_errors);
        bool outputSeen = false;
        for (const Parameter& parameter : method.parameters) {
            names.add(parameter.name, "parameter " + inQuotes(parameter.name) + " again", "a name of its own",
                      parameter.at);
            if (contains(cppWords, parameter.name)) {
                m_errors.error(parameter.at, "parameter " + inQuotes(parameter.name), "a name that C++ leaves free");
            }
            if (outputSeen && !parameter.output) {
                m_errors.error(parameter.type.at, "input " + inQuotes(parameter.name) + " behind an output",
                               "all inputs before all outputs");
            }
            outputSeen = outputSeen || parameter.output;
            interfaceName(parameter.type);
            arrayLength(method, parameter);
        }
    }

    void interfaceName(const Type& type) {
        const bool wanted = type.kind == Kind::Object && !type.name.empty() && type.name != unknownName;
        if (wanted && m_completeness == Completeness::Whole && !contains(m_interfaceNames, type.name)) {
            m_errors.error(type.at, "object<" + type.name + ">",
                           "the name of an interface" + didYouMean(type.name, m_interfaceNames));
        }
    }

    void arrayLength(const Method& method, const Parameter& parameter) {
        const std::string& length = parameter.type.length;
        if (length.empty()) {
            return;
        }
        if (parameter.output) {
            m_errors.error(parameter.type.at, "length " + inQuotes(length) + " of an output", "'[]'");
            return;
        }
        const bool number = std::all_of(length.begin(), length.end(), [](unsigned char c) { return std::isdigit(c); });
        if (number && length.find_first_not_of('0') != std::string::npos) {
            return;
        }
        for (const Parameter& earlier : method.parameters) {
            if (&earlier == &parameter) {
                break;
            }
            if (earlier.name == length && !earlier.output && isInteger(earlier.type.kind)) {
                return;
            }
        }
        m_errors.error(parameter.type.at, "length " + inQuotes(length), "a number above 0 or an earlier integer input");
    }

    // Constants and codes

    void constant(const Constant& each) {
        symbol(each.name, each.at);
        const std::string family = familyOf(each.name);
        if (family.empty() || family == "e") {
            m_errors.error(each.at, "constant " + inQuotes(each.name),
                           family == "e"
                               ? "'error' for a header's own result code"
                               : "a name of a family: u_ a_ s_ i_ f_ m_ v_ e_, or s i f m v a d and a capital");
            return;
        }
        const bool wantsGuid = family == "u_";
        const bool wantsText = family == "a_" || family[0] == 's';
        const bool wantsReal = family == "v_" || family == "d";
        const auto mismatch = [&](std::string_view wanted) {
            m_errors.error(each.at, fmt::format("{} as the value of {}", shown(each.value), inQuotes(each.name)),
                           fmt::format("{}, as the family '{}' has", wanted, family));
        };
        if (wantsGuid && !std::holds_alternative<Guid>(each.value)) {
            mismatch("uuid(\"...\")");
        } else if (wantsText && !std::holds_alternative<TextValue>(each.value)) {
            mismatch("a text");
        } else if (wantsReal && !std::holds_alternative<RealValue>(each.value)) {
            mismatch("a real number with a point");
        } else if (!wantsGuid && !wantsText && !wantsReal && !std::holds_alternative<IntegerValue>(each.value)) {
            mismatch("an integer");
        } else if (wantsGuid) {
            guid(std::get<Guid>(each.value));
        }
    }

    static std::string_view shown(const Value& value) {
        constexpr std::array names = {"an integer", "a real number", "a text", "an identity"};
        return names[value.index()];
    }

    void code(const Code& each) {
        symbol(each.symbol(), each.at);
        m_results.add(each.name, "result code " + inQuotes(each.name) + " again", "a name of its own", each.at);
    }

    // An implementation offers all its interfaces' methods side by side. Sharing a prefix is a wish to share methods;
    // a given prefix that meets another interface's default one is an accident.
    void prefixes() {
        std::map<std::string, const Interface*> given;
        for (const Header& header : m_model.headers) {
            for (const Interface& each : header.interfaces) {
                if (each.adapter && !each.adapter->empty()) {
                    given.emplace(*each.adapter, &each);
                }
            }
        }
        for (const Header& header : m_model.headers) {
            for (const Interface& each : header.interfaces) {
                const auto other = given.find(each.prefix());
                if ((!each.adapter || each.adapter->empty()) && other != given.end()) {
                    sharedByAccident(each, *other->second);
                }
            }
        }
    }

    void sharedByAccident(const Interface& each, const Interface& other) {
        for (const Method& method : each.methods) {
            for (const Method& taken : other.methods) {
                if (method.name == taken.name) {
                    m_errors.error(method.at, inQuotes(each.prefix() + "_" + method.name),
                                   fmt::format("a name of its own ({} has it)", toString(taken.at)));
                }
            }
        }
    }

    const Model& m_model;
    Completeness m_completeness;
    Diagnostics& m_errors;
    std::vector<std::string_view> m_interfaceNames;
    Unique m_stems;
    Unique m_guids;
    Unique m_symbols;
    Unique m_results;
};

}  // namespace

void check(const Model& model, Completeness completeness, Diagnostics& diagnostics) {
    Checker(model, completeness, diagnostics).run();
}

}  // namespace kzgen
