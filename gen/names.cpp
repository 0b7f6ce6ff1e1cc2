// Rules for names: what is described must be a usable name in every generated language.
#include "names.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "text.h"

namespace kzgen {

namespace {

// Words of C++, and macros of its library, in blanks.
constexpr std::string_view cppWords =
    " "
    "alignas alignof and asm auto bool break case catch char class concept const constexpr continue decltype "
    "default delete do double else enum explicit export extern false float for friend goto if inline int long "
    "mutable namespace new noexcept not nullptr operator or private protected public register requires return "
    "short signed sizeof static struct switch template this throw true try typedef typeid typename union unsigned "
    "using virtual void volatile while xor bitand bitor compl char8_t char16_t char32_t consteval constinit wchar_t "
    "assert errno stdin stdout stderr linux unix ";

// Words and macros that begin with a capital, and what the base of every interface has.
constexpr std::string_view capitalWords =
    " None True False NULL EOF TRUE FALSE BUFSIZ DOMAIN OVERFLOW UNDERFLOW QueryInterface AddRef Release ";

// Types that generated Python code uses under these names.
constexpr std::string_view pythonTypeNames = " NotImplementedError Unknown ";

bool contains(std::string_view words, std::string_view name) {
    return words.find(" " + std::string(name) + " ") != std::string_view::npos;
}

bool isPlain(std::string_view name) {
    return std::all_of(name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) != 0; });
}

}  // namespace

bool isMethodName(std::string_view name) {
    return !name.empty() && isUpper(name[0]) && isPlain(name) && !contains(capitalWords, name);
}

bool isTypeName(std::string_view name) { return isMethodName(name) && !contains(pythonTypeNames, name); }

bool isParameterName(std::string_view name) {
    return !name.empty() && !isUpper(name[0]) && isPlain(name) && !contains(cppWords, name) && !name.starts_with("kz");
}

bool isSymbolName(std::string_view name) { return name.find("__") == std::string_view::npos && !name.ends_with('_'); }

}  // namespace kzgen
