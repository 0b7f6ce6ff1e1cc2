// The rules for methods and adapters.
#include "check_methods.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "unique.h"

namespace kzgen {

namespace {

// Words of C++, and macros of its library, in blanks.
constexpr std::string_view cppWords =
    " "
    "alignas alignof and asm auto bool break case catch char class concept const constexpr continue decltype "
    "default delete do double else enum explicit export extern false float for friend goto if inline int long "
    "mutable namespace new noexcept not nullptr operator or private protected public register requires return "
    "short signed sizeof static struct switch template this throw true try typedef typeid typename union unsigned "
    "using virtual void volatile while xor "
    "assert errno stdin stdout stderr NULL EOF ";

// A Python method of such a name could not be called, or would hide what every wrapper offers.
constexpr std::string_view pythonWords =
    " as def del elif except exec finally from global import in is lambda pass print raise with yield None set test "
    "QueryInterface AddRef Release ";

bool contains(std::string_view words, const std::string& name) {
    return words.find(" " + name + " ") != std::string_view::npos;
}

bool isIdentifier(std::string_view text) {
    return !text.empty() && std::isdigit(static_cast<unsigned char>(text[0])) == 0 &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
}

std::string shown(const Type& type) { return std::string(info(type.kind).name) + (isArray(type.kind) ? "[]" : ""); }

class MethodChecker {
public:
    MethodChecker(const Interface& interface, const InterfaceNames* interfaceNames, Diagnostics& errors)
        : m_interface(interface), m_interfaceNames(interfaceNames), m_errors(errors) {}

    void methods() {
        Unique names(m_errors);
        for (const Method& each : m_interface.methods) {
            names.add(each.name, "method " + inQuotes(each.name) + " again", "a name of its own", each.at);
            method(each);
        }
    }

    void adapter() {
        if (m_interface.service) {
            m_errors.error(m_interface.at, "service " + inQuotes(m_interface.name) + " with an adapter",
                           "adapters on interfaces alone");
        }
        if (!m_interface.adapter->empty() && !isIdentifier(*m_interface.adapter)) {
            m_errors.error(m_interface.at, "adapter prefix " + inQuotes(*m_interface.adapter),
                           "letters, digits and '_'");
        }
        for (const Method& method : m_interface.methods) {
            method.inert == Inert::No ? forwarded(method) : inert(method);
        }
    }

    void noAdapter() {
        for (const Method& method : m_interface.methods) {
            if (method.inert != Inert::No || method.required) {
                m_errors.error(method.at, "'inert' or 'required' on " + inQuotes(method.name),
                               "it only where the interface has an adapter");
            }
        }
    }

private:
    void method(const Method& method) {
        if (contains(cppWords, method.name) || contains(pythonWords, method.name)) {
            m_errors.error(method.at, "method " + inQuotes(method.name),
                           "a name that neither language keeps for itself");
        }
        interfaceName(method.returns);
        Unique names(m_errors);
        for (const Parameter& parameter : method.parameters) {
            names.add(parameter.name, "parameter " + inQuotes(parameter.name) + " again", "a name of its own",
                      parameter.at);
            if (contains(cppWords, parameter.name)) {
                m_errors.error(parameter.at, "parameter " + inQuotes(parameter.name), "a name that C++ leaves free");
            }
            interfaceName(parameter.type);
            arrayLength(method, parameter);
        }
        inputsFirst(method);
    }

    void inputsFirst(const Method& method) {
        bool outputSeen = false;
        for (const Parameter& parameter : method.parameters) {
            if (outputSeen && !parameter.output) {
                m_errors.error(parameter.type.at, "input " + inQuotes(parameter.name) + " behind an output",
                               "all inputs before all outputs");
            }
            outputSeen = outputSeen || parameter.output;
        }
    }

    void interfaceName(const Type& type) {
        if (type.kind != Kind::Object || type.name.empty() || m_interfaceNames == nullptr) {
            return;
        }
        if (std::find(m_interfaceNames->begin(), m_interfaceNames->end(), type.name) == m_interfaceNames->end()) {
            m_errors.error(type.at, "object<" + type.name + ">",
                           "the name of an interface" + didYouMean(type.name, *m_interfaceNames));
        }
    }

    void arrayLength(const Method& method, const Parameter& parameter) {
        for (const std::string& factor : parameter.type.length) {
            if (parameter.output) {
                m_errors.error(parameter.type.at, "length " + inQuotes(factor) + " of an output", "'[]'");
            } else if (!isCount(factor) && !countingInput(method, factor)) {
                m_errors.error(parameter.type.at, "length " + inQuotes(factor), "a number above 0 or an integer input");
            }
        }
    }

    static bool isCount(const std::string& factor) {
        return isDigits(factor) && factor.size() < 10 && factor.find_first_not_of('0') != std::string::npos;
    }

    static bool countingInput(const Method& method, const std::string& name) {
        const auto inputs = method.inputs();
        return std::any_of(inputs.begin(), inputs.end(),
                           [&](const Parameter* input) { return input->name == name && isInteger(input->type.kind); });
    }

    void forwarded(const Method& method) {
        if (m_interface.adapter->empty()) {
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

    const Interface& m_interface;
    const InterfaceNames* m_interfaceNames;
    Diagnostics& m_errors;
};

}  // namespace

void checkMethods(const Interface& interface, const InterfaceNames* interfaceNames, Diagnostics& diagnostics) {
    MethodChecker checker(interface, interfaceNames, diagnostics);
    checker.methods();
    interface.adapter ? checker.adapter() : checker.noAdapter();
}

}  // namespace kzgen
