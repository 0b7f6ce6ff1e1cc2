// Finds the constants that a number stands for.
#include "wrap/constant_names.h"

#include "wrap/registration.h"
#include "wrap/wrapper.h"
#include "wrap/wrapper_object.h"

#include "kz/base/forever.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

namespace {

struct Constant {
    std::string_view name;
    std::int64_t value;
};
using Constants = std::vector<Constant>;

// Takes what stands before the separator off the text.
std::string_view takePart(std::string_view& text, char separator) noexcept {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

std::string_view partAt(std::string_view list, std::size_t index) noexcept {
    for (; index > 0; --index) takePart(list, ',');
    return takePart(list, ',');
}

// The generator has written the families behind the docstring's end.
std::string_view familiesOf(const PyMethodDef& method) noexcept {
    return method.ml_doc + std::strlen(method.ml_doc) + 1;
}

const KzSymbolRow* integerCalled(std::string_view name) noexcept {
    for (const KzHeaderRows* header : kzHeaders)
        for (const KzSymbolRow& row : header->symbols)
            if (name == row.name)
                return row.kind == KzSymbolRow::integer || row.kind == KzSymbolRow::longInteger ? &row : nullptr;
    return nullptr;
}

// The constants with more bits come first, so that those that contain others are found before these.
Constants constantsOf(std::string_view family) {
    Constants constants;
    const auto row = std::ranges::lower_bound(kzFamilies, family, {}, &KzFamilyRow::name);
    if (row == kzFamilies.end() || row->name != family) return constants;
    std::string_view names = row->constants;
    while (!names.empty()) {
        const std::string_view name = takePart(names, ',');
        if (const KzSymbolRow* symbol = integerCalled(name)) constants.push_back({name, symbol->number});
    }
    std::stable_sort(constants.begin(), constants.end(), [](const Constant& left, const Constant& right) {
        return std::popcount(static_cast<std::uint64_t>(left.value)) >
               std::popcount(static_cast<std::uint64_t>(right.value));
    });
    return constants;
}

// Looking a name up takes a walk through all constants, so each family is looked up once.
const Constants& knownConstants(std::string_view family) {
    static CKzForever<std::map<std::string_view, Constants>> known;
    const auto place = known->find(family);
    return place != known->end() ? place->second : known->emplace(family, constantsOf(family)).first->second;
}

bool isFlags(std::string_view family) noexcept { return family.front() == 'f' || family.front() == 'm'; }

std::string flagNames(const Constants& flags, std::int64_t value) {
    std::string text;
    auto left = static_cast<std::uint64_t>(value);
    for (const Constant& each : flags) {
        const auto bits = static_cast<std::uint64_t>(each.value);
        if (bits == 0 || (left & bits) != bits) continue;
        text += (text.empty() ? "" : "|") + std::string(each.name);
        left &= ~bits;
    }
    if (left == 0 || text.empty()) return text;
    std::array<char, 24> rest{};
    std::snprintf(rest.data(), rest.size(), "|0x%llX", static_cast<unsigned long long>(left));
    return text + rest.data();
}

}  // namespace

std::string_view kzArgumentFamilies(const PyMethodDef& method, std::size_t index) noexcept {
    std::string_view all = familiesOf(method);
    return partAt(takePart(all, ';'), index);
}

std::string_view kzResultFamilies(const PyMethodDef& method, std::size_t index) noexcept {
    std::string_view all = familiesOf(method);
    takePart(all, ';');
    return partAt(all, index);
}

const PyMethodDef* kzWrapperMethod(PyObject* self, const char* name) noexcept {
    if (self == nullptr || !kzIsWrapperType(Py_TYPE(self))) return nullptr;
    const PyMethodDef* method = kzOwnMethods(kzRowOf(Py_TYPE(self)));
    while (method->ml_name != nullptr && std::strcmp(method->ml_name, name) != 0) ++method;
    return method->ml_name != nullptr ? method : nullptr;
}

std::string kzConstantName(std::string_view families, std::int64_t value) {
    while (!families.empty()) {
        const std::string_view family = takePart(families, '|');
        const Constants& constants = knownConstants(family);
        const auto same =
            std::find_if(constants.begin(), constants.end(), [&](const Constant& each) { return each.value == value; });
        if (same != constants.end()) return std::string(same->name);
        if (std::string text = isFlags(family) ? flagNames(constants, value) : ""; !text.empty()) return text;
    }
    return "";
}
