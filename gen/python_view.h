// The SDK as Python sees it: documentation texts, argument formats and values, each a function of the model.
#pragma once

#include <string>
#include <vector>

#include "model.h"

namespace kzgen {

// What Python's documentation calls the kind of an argument.
std::string argumentDocType(const Type& type);
// What it calls the kind of a returned value: of an object the name of its wrapper followed by " object".
std::string returnDocType(const Model& model, const Type& type);

// "(integer,vector sv) = Position(vector pos)"
std::string docString(const Model& model, const Method& method);
// The same under another name, as a Python class implements it.
std::string docString(const Model& model, const Method& method, const std::string& name);

// The families of constants of docString's arguments and results, in its order: ",fFIND|fFILTER;iPOLYTYPE". Empty if there
// are none.
std::string docFamilies(const Method& method);

// The types that the description knows, for people: "Find(name: string, flags: uint of fFIND) -> (index: int, item: Item)".
std::string signature(const Method& method, const std::string& name);
// "3 * count"
std::string lengthFormula(const Type& array);
// "float[3 * count]", "Item", "uint of fFIND | fFILTER".
std::string typeText(const Type& type);

// "cmd_Execute"; empty for a method that is not forwarded.
std::string pythonMethodName(const Interface& interface, const Method& method);
// An input's name in the Python method, changed where the language has taken it.
std::string pythonArgumentName(const Parameter& input);

// The value as a Python literal: 'text', 42, 0x8480000CL, 0.052.
std::string pythonLiteral(const Value& value);

// One name of kz.symbol.
struct Symbol {
    std::string name;
    Value value;
    std::string summary;
    const Group* group = nullptr;  // none for what an interface brings along
};

// Everything that the header puts into kz.symbol, in its order.
std::vector<Symbol> symbolsOf(const Header& header);

}  // namespace kzgen
