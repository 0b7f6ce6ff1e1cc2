// Part "kzifc": the Python base classes that say which interfaces a class implements.
#include <iterator>

#include <fmt/format.h>

#include "emit.h"
#include "python_view.h"

namespace kzgen {

namespace {

using Text = std::back_insert_iterator<std::string>;

// The text where it stands between three quotes.
std::string inDocString(std::string_view text) {
    std::string safe;
    for (const char c : text) {
        if (c == '\\' || c == '"') {
            safe += '\\';
        }
        safe += c;
    }
    return safe;
}

std::string signatureText(const Method& method) {
    std::string text = "self";
    for (const Parameter* input : method.inputs()) {
        text += ", " + pythonArgumentName(*input);
    }
    return text;
}

// The host asks a server for much that it may not have. What a class leaves out answers that it is not implemented, so
// that it need only write what it offers, and the log stays empty.
void emitClass(const Model& model, const Interface& each, Text out) {
    fmt::format_to(out, "\n\nclass {}(object):\n    \"\"\"{}\"\"\"\n", each.name, inDocString(each.summary));
    for (const Method& method : each.methods) {
        const std::string name = pythonMethodName(each, method);
        if (name.empty()) {
            continue;
        }
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
        for (const Interface& each : header.interfaces) {
            if (each.adapter) {
                emitClass(model, each, out);
            }
        }
    }
    output.write("__init__.py", text);
}

}  // namespace kzgen
