// The rules that concern more than one declaration.
#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <regex>
#include <set>

#include <fmt/format.h>

#include "check_methods.h"
#include "families.h"
#include "load.h"
#include "names.h"
#include "text.h"
#include "unique.h"

namespace kzgen {

namespace {

class Checker {
public:
    Checker(const Model& model, Completeness completeness, Diagnostics& errors)
        : m_model(model), m_completeness(completeness), m_errors(errors), m_stems(errors), m_guids(errors),
          m_symbols(errors), m_results(errors), m_tables(errors) {
        for (const Header& header : model.headers) {
            for (const Interface& each : header.interfaces)
                if (!each.service) m_interfaceNames.emplace_back(each.name);
        }
        m_interfaceNames.emplace_back(unknownName);
    }

    void run() {
        for (const Header& header : m_model.headers) {
            if (header.summary.empty() && !header.name.empty())
                missingSummary(header.at, "header " + inQuotes(header.name));
            for (const Interface& each : header.interfaces) interface(header, each);
            for (const Constant& each : header.constants) constant(each);
            purposes(header);
            for (const Code& each : header.codes) code(each);
            for (const Table& each : header.tables) table(header, each);
        }
        prefixes();
        checkFamilies(m_model, m_completeness, m_errors);
    }

private:
    void missingSummary(const Place& at, std::string_view what) {
        m_errors.error(at, fmt::format("{} without a summary", what), "a comment directly above");
    }

    void interface(const Header& header, const Interface& each) {
        const std::string what = (each.service ? "service " : "interface ") + inQuotes(each.name);
        if (each.summary.empty()) missingSummary(each.at, what);
        if (!isTypeName(each.name))
            m_errors.error(each.at, what,
                           "a capital letter, then letters and digits, and no name that Python or the SDK uses");
        m_stems.add(each.stem(), what + " again", "a unique name", each.at);
        identity(each.guid);
        symbols(each);
        checkMethods(header, each, m_completeness == Completeness::Whole ? &m_interfaceNames : nullptr, m_errors);
    }

    void identity(const Guid& guid) {
        if (guid.text.empty()) return;  // reported where it is missing
        if (!guid.wellFormed()) m_errors.error(guid.at, inQuotes(guid.text), "8-4-4-4-12 hexadecimal digits");
        else m_guids.add(toUpper(guid.text), "identity " + guid.text + " again", "a unique one", guid.at);
    }

    void symbols(const Interface& each) {
        const auto legal = [](unsigned char c) { return std::isupper(c) != 0 || std::isdigit(c) != 0 || c == '_'; };
        if (each.symbol.empty() || !std::all_of(each.symbol.begin(), each.symbol.end(), legal) ||
            !isSymbolName(each.symbol))
            m_errors.error(each.at, "symbol " + inQuotes(each.symbol), "upper-case letters, digits and single '_'");
        symbol("u_" + each.symbol, each.at);
        if (each.server) symbol("a_" + each.symbol, each.at);
    }

    void symbol(const std::string& name, const Place& at) {
        if (!isSymbolName(name)) m_errors.error(at, inQuotes(name), "a name without '__' or '_' at its end");
        m_symbols.add(name, "constant " + inQuotes(name) + " again", "a unique name", at);
    }

    // Constants and codes

    void constant(const Constant& each) {
        symbol(each.name, each.at);
        const std::string letters = lettersOf(each.name);
        if (letters.empty() || letters == "e") {
            m_errors.error(
                each.at, "constant " + inQuotes(each.name),
                letters == "e"
                    ? "'error' for a header's own result code"
                    : "a name that begins with u_ a_ s_ i_ f_ m_ v_ e_, or with s i f m v a d and a capital");
            return;
        }
        const bool wantsGuid = letters == "u_";
        const bool wantsText = letters == "a_" || letters[0] == 's';
        const bool wantsReal = letters == "v_" || letters == "d";
        const auto mismatch = [&](std::string_view value) {
            m_errors.error(each.at, fmt::format("{} as the value of {}", kindOf(each.value), inQuotes(each.name)),
                           fmt::format("{}, as names with '{}' have", value, letters));
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
            identity(std::get<Guid>(each.value));
        } else if (const auto* integer = std::get_if<IntegerValue>(&each.value);
                   integer != nullptr && letters == "e_") {
            if (integer->value < 0 || integer->value > std::int64_t{UINT32_MAX} || !integer->isLong)
                mismatch("an unsigned value of 32 bits with an L");
        }
    }

    // An identity is a number like any other until a sentence says what takes it.
    void purposes(const Header& header) {
        std::set<std::size_t> seen;
        for (const Constant& each : header.constants) {
            if (m_completeness == Completeness::Whole && lettersOf(each.name) == "u_" &&
                seen.insert(each.group).second && !namesMethod(header.groups[each.group].summary)) {
                m_errors.error(each.at, "identity " + inQuotes(each.name) + " of no method",
                               "a comment above it that names a method which takes or returns it, as Interface.Method");
            }
        }
    }

    bool namesMethod(const std::string& text) const {
        static const std::regex method("([A-Z][A-Za-z0-9]*)\\.([A-Z][A-Za-z0-9]*)");
        return std::any_of(std::sregex_iterator(text.begin(), text.end(), method), std::sregex_iterator(),
                           [&](const auto& match) { return m_model.hasMethod(match.str(1), match.str(2)); });
    }

    // A size for each constant that can stand where the table is looked up.
    void table(const Header& header, const Table& each) {
        const std::string what = "table " + inQuotes(each.name);
        if (each.summary.empty()) missingSummary(each.at, what);
        if (!isTypeName(each.name)) m_errors.error(each.at, what, "a capital letter, then letters and digits");
        if (each.rows.empty()) m_errors.error(each.at, what + " without rows", "CONSTANT = SIZE; in it");
        m_tables.add(each.name, what + " again", "a unique name", each.at);
        Unique values(m_errors);
        for (const Table::Row& row : each.rows) {
            const auto constant = std::find_if(header.constants.begin(), header.constants.end(),
                                               [&](const Constant& c) { return c.name == row.constant; });
            const auto* integer =
                constant == header.constants.end() ? nullptr : std::get_if<IntegerValue>(&constant->value);
            if (integer == nullptr) {
                m_errors.error(row.at, inQuotes(row.constant), "an integer constant of this header");
            } else {
                values.add(std::to_string(integer->value), "the value of " + inQuotes(row.constant) + " again",
                           "each value once", row.at);
            }
        }
    }

    static std::string_view kindOf(const Value& value) {
        constexpr std::array names = {"an integer", "a real number", "a text", "an identity"};
        return names[value.index()];
    }

    void code(const Code& each) {
        symbol(each.symbol(), each.at);
        m_results.add(each.name, "result code " + inQuotes(each.name) + " again", "a unique name", each.at);
    }

    // An implementation offers all its interfaces' methods side by side. Sharing a prefix is a wish to share methods;
    // a given prefix that meets another interface's default one is an accident.
    void prefixes() {
        std::map<std::string, const Interface*> byPrefix;
        for (const Header& header : m_model.headers) {
            for (const Interface& each : header.interfaces)
                if (each.adapter && !each.adapter->empty()) byPrefix.emplace(*each.adapter, &each);
        }
        for (const Header& header : m_model.headers) {
            for (const Interface& each : header.interfaces) {
                const auto other = byPrefix.find(each.prefix());
                if ((!each.adapter || each.adapter->empty()) && other != byPrefix.end())
                    sharedByAccident(each, *other->second);
            }
        }
    }

    void sharedByAccident(const Interface& each, const Interface& other) {
        for (const Method& method : each.methods) {
            for (const Method& otherMethod : other.methods) {
                if (method.name == otherMethod.name) {
                    m_errors.error(method.at, inQuotes(each.prefix() + "_" + method.name),
                                   fmt::format("a unique name (already used at {})", toString(otherMethod.at)));
                }
            }
        }
    }

    const Model& m_model;
    Completeness m_completeness;
    Diagnostics& m_errors;
    InterfaceNames m_interfaceNames;
    Unique m_stems;
    Unique m_guids;
    Unique m_symbols;
    Unique m_results;
    Unique m_tables;
};

}  // namespace

void check(const Model& model, Completeness completeness, Diagnostics& diagnostics) {
    Checker(model, completeness, diagnostics).run();
}

}  // namespace kzgen
