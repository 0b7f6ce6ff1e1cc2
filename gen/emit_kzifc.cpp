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

// The methods are told and not defined: what a class leaves out must stay missing, so that the host hears of it.
void emitClass(const Model& model, const Interface& each, Text out) {
    fmt::format_to(out, "\n\nclass {}(object):\n    \"\"\"{}\n", each.name, inDocString(each.summary));
    bool first = true;
    for (const Method& method : each.methods) {
        if (method.inert == Inert::No) {
            fmt::format_to(out, "{}    {}{}\n", first ? "\n" : "",
                           docString(model, method, pythonMethodName(each, method)),
                           method.required ? "  (required)" : "");
            first = false;
        }
    }
    fmt::format_to(out, "    \"\"\"\n\n\nkz.bless({0}, ':{0}')\n", each.name);
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
