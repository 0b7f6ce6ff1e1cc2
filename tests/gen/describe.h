// Reads descriptions from texts in a test.
#pragma once

#include <string>

#include "gen/load.h"
#include "gen/parser.h"
#include "tests/support/lines.h"

namespace kzgen {

// A model of one header "t" whose declarations begin on line 3, and the errors in it.
struct Described {
    explicit Described(const std::string& declarations) {
        const SourceFile& file =
            model.sources.emplace_back(SourceFile{"t.idl", "// A header.\nheader t;\n" + declarations});
        model.headers.push_back(parse(file, diagnostics));
        check(model, Completeness::Whole, diagnostics);
    }
    [[nodiscard]] std::string errors() const { return diagnostics.text(); }

    Model model;
    Diagnostics diagnostics;
};

// An interface I with these methods, the first of which is on line 6.
inline std::string interfaceOf(const std::string& methods, const std::string& attributes = "") {
    return "// An interface.\n[uuid(\"00000000-0000-0000-0000-00000000AbCd\")" + attributes + "]\ninterface I {\n" +
           methods + "};\n";
}

}  // namespace kzgen
