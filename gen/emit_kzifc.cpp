// Part "kzifc": the Python base classes that say which interfaces a class implements.
#include <iterator>

#include <fmt/format.h>

#include "emit.h"
#include "python_view.h"
#include "text.h"

namespace kzgen {

namespace {

std::string signatureText(const Method& method) {
    std::string text = "self";
    for (const Parameter* input : method.inputs()) text += ", " + pythonArgumentName(*input);
    return text;
}

// Hosts call many operations that a server need not have. The methods of the base class answer NOTIMPL, which is not
// logged, so a class only writes what it offers.
void emitClass(const Model& model, const Interface& each, Text out) {
    fmt::format_to(out, "\n\nclass {}(object):\n    \"\"\"{}\"\"\"\n", each.name, escaped(each.summary, '"'));
    for (const Method& method : each.methods) {
        const std::string name = pythonMethodName(each, method);
        if (name.empty()) continue;
        fmt::format_to(
            out, "\n    def {}({}):\n        \"\"\"{}{}\"\"\"\n        raise NotImplementedError('not implemented')\n",
            name, signatureText(method), docString(model, method, name), method.required ? "  (required)" : "");
    }
    fmt::format_to(out, "\n\nkz.bless({0}, ':{0}')\n", each.name);
}

}  // namespace

void emitKzifc(const Model& model, Output& output) {
    std::string text = "# -*- coding: utf-8 -*-\n" +
                       openingLines("#", "Base classes for Python servers: each stands for one interface.", model);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "import kz\n");
    for (const Header& header : model.headers) {
        for (const Interface& each : header.interfaces)
            if (each.adapter) emitClass(model, each, out);
    }
    output.write("__init__.py", text);
}

}  // namespace kzgen
