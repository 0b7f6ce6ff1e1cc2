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

// The classes of one header. They belong to the package, whatever file they stand in.
std::string partOf(const Model& model, const Header& header) {
    std::string text = "# -*- coding: utf-8 -*-\n" +
                       openingLines("#", "Base classes for Python servers: each stands for one interface.", header);
    const Text out = std::back_inserter(text);
    fmt::format_to(out, "import kz\n\n__name__ = 'kzifc'\n");
    for (const Interface& each : header.interfaces)
        if (each.adapter) emitClass(model, each, out);
    return text;
}

constexpr const char* packageEnd = R"(

class _Package(types.ModuleType):
    """Imports the file of a class when the class is first asked for: servers use a few of the many."""

    def __getattr__(self, name):
        if name not in _FILES:
            raise AttributeError("'module' object has no attribute '%s'" % name)
        names = vars(__import__('kzifc.' + _FILES[name], None, None, [name]))
        vars(self).update((each, names[each]) for each in _FILES if _FILES[each] == _FILES[name])
        return names[name]

    def __dir__(self):
        return sorted(set(vars(self)).union(_FILES))


_package = _Package(__name__, __doc__)
vars(_package).update(__path__=__path__, __file__=__file__, __package__=__name__, __all__=sorted(_FILES))
_package._former = sys.modules[__name__]  # whose names are used above, and would go with it
sys.modules[__name__] = _package
)";

}  // namespace

void emitKzifc(const Model& model, Output& output) {
    std::string text = "# -*- coding: utf-8 -*-\n" +
                       openingLines("#", "The package of base classes for Python servers.", model) +
                       "\"\"\"Base classes for Python servers: each stands for one interface.\"\"\"\n\n"
                       "import sys\nimport types\n\n_FILES = {\n";
    for (const Header& header : model.headers) {
        output.write("_" + header.name + ".py", partOf(model, header));
        for (const Interface& each : header.interfaces)
            if (each.adapter) fmt::format_to(std::back_inserter(text), "    '{}': '_{}',\n", each.name, header.name);
    }
    output.write("__init__.py", text + "}\n" + packageEnd);
}

}  // namespace kzgen
