// The rules for methods and adapters.
#include "check_methods.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "check_lengths.h"
#include "names.h"
#include "unique.h"

namespace kzgen {

namespace {

// A prefix starts the names of Python methods; one '_' separates it from the rest.
bool isPrefix(std::string_view text) {
    return !text.empty() && std::isalpha(static_cast<unsigned char>(text[0])) != 0 && isSymbolName(text) &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; });
}

class MethodChecker {
public:
    MethodChecker(const Header& header, const Interface& interface, const InterfaceNames* interfaceNames,
                  Diagnostics& errors)
        : m_header(header), m_interface(interface), m_interfaceNames(interfaceNames), m_errors(errors) {}

    void methods() {
        Unique names(m_errors);
        for (const Method& each : m_interface.methods) {
            names.add(each.name, "method " + inQuotes(each.name) + " again", "a unique name", each.at);
            method(each);
        }
    }

    void adapter() {
        if (m_interface.service) {
            m_errors.error(m_interface.at, "service " + inQuotes(m_interface.name) + " with an adapter",
                           "an adapter only on an interface");
        }
        if (!m_interface.adapter->empty() && !isPrefix(*m_interface.adapter)) {
            m_errors.error(m_interface.at, "adapter prefix " + inQuotes(*m_interface.adapter),
                           "a letter, then letters, digits and single '_'");
        }
        for (const Method& method : m_interface.methods) method.inert == Inert::No ? forwarded(method) : inert(method);
    }

    void noAdapter() {
        for (const Method& method : m_interface.methods) {
            if (method.inert != Inert::No || method.required) {
                m_errors.error(method.at, "'inert' or 'required' on " + inQuotes(method.name),
                               "them only in an interface with an adapter");
            }
        }
    }

private:
    void method(const Method& method) {
        if (!isMethodName(method.name)) {
            m_errors.error(method.at, "method " + inQuotes(method.name),
                           "a capital letter, then letters and digits, and no word of C++ or Python");
        }
        interfaceName(method.returns);
        Unique names(m_errors);
        for (const Parameter& parameter : method.parameters) {
            parameterName(parameter, names);
            interfaceName(parameter.type);
        }
        inputsFirst(method);
        again(method);
        checkLengths(m_header, m_interface, method, m_errors);
    }

    void parameterName(const Parameter& parameter, Unique& names) {
        const auto add = [&](const std::string& name) {
            names.add(name, "parameter " + inQuotes(name) + " again", "a unique name", parameter.at);
        };
        if (!isParameterName(parameter.name)) {
            m_errors.error(parameter.at, "parameter " + inQuotes(parameter.name),
                           "a small letter, then letters and digits, and no word of C++");
        }
        add(parameter.name);
        if (parameter.type.kind == Kind::Text) add(parameter.name + "Length");  // which C++ gets beside the buffer
    }

    void again(const Method& method) {
        const auto isText = [](const Parameter& each) { return each.type.kind == Kind::Text; };
        const bool canSay = method.returns.kind == Kind::Result &&
                            std::any_of(method.parameters.begin(), method.parameters.end(), isText);
        if (method.again && !canSay) {
            m_errors.error(method.at, "'again' on " + inQuotes(method.name),
                           "it only on a method that returns 'result' and has a 'text' output");
        }
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
        if (type.kind != Kind::Object || type.name.empty() || m_interfaceNames == nullptr) return;
        if (std::find(m_interfaceNames->begin(), m_interfaceNames->end(), type.name) == m_interfaceNames->end()) {
            m_errors.error(type.at, "object<" + type.name + ">",
                           "the name of an interface" + didYouMean(type.name, *m_interfaceNames));
        }
    }

    void forwarded(const Method& method) {
        const std::size_t outputs = method.outputs().size() + (method.returnsPlainValue() ? 1 : 0);
        if (method.inputs().size() > mostForwardedInputs || outputs > mostForwardedOutputs) {
            m_errors.error(
                method.at, fmt::format("{} inputs and {} outputs", method.inputs().size(), outputs),
                fmt::format("at most {} and {} of a forwarded method", mostForwardedInputs, mostForwardedOutputs));
        }
        if (m_interface.adapter->empty())
            m_errors.error(method.at, "forwarded method " + inQuotes(method.name),
                           "a prefix for the adapter, or an inert method");
        for (const Parameter& parameter : method.parameters) {
            const KindInfo& kind = info(parameter.type.kind);
            if ((parameter.output ? kind.to : kind.from).empty()) {
                m_errors.error(parameter.type.at,
                               fmt::format("{} {} {} of an adapter", kind.fullName(),
                                           parameter.output ? "output" : "input", inQuotes(parameter.name)),
                               "a kind that can be forwarded to Python, or [inert(NOTIMPL)]");
            }
        }
    }

    void inert(const Method& method) {
        const Kind returns = method.returns.kind;
        if (method.inert == Inert::NotImplemented && returns != Kind::Result) {
            m_errors.error(method.at, "inert(NOTIMPL) on " + inQuotes(method.name),
                           "it only on a method that returns 'result'");
        } else if (method.inert == Inert::Zero && returns == Kind::Void) {
            m_errors.error(method.at, "inert(0) on " + inQuotes(method.name),
                           "plain 'inert' on a method that returns 'void'");
        } else if (method.inert == Inert::Nothing && returns != Kind::Void) {
            m_errors.error(method.at, "inert without a value on " + inQuotes(method.name),
                           "inert(NOTIMPL) or inert(0) on a method that returns something");
        }
        if (method.required)
            m_errors.error(method.at, "'required' on the inert method " + inQuotes(method.name), "one of the two");
    }

    const Header& m_header;
    const Interface& m_interface;
    const InterfaceNames* m_interfaceNames;
    Diagnostics& m_errors;
};

}  // namespace

void checkMethods(const Header& header, const Interface& interface, const InterfaceNames* interfaceNames,
                  Diagnostics& diagnostics) {
    MethodChecker checker(header, interface, interfaceNames, diagnostics);
    checker.methods();
    interface.adapter ? checker.adapter() : checker.noAdapter();
}

}  // namespace kzgen
