// The value types of a host, built-in ones and those that modules serve.
#include "host/core/value_type_registry.h"

#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/state/function_ref.h"
#include "host/state/property_table.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include "kz/result.h"
#include "kz/ui_value_hints.h"
#include "kz/value.h"

#include <algorithm>

namespace kzhost {

namespace {

// Uses the conversion for people if the type has one, otherwise the exact conversion.
template <class Operation> KzResult convert(IKzUnknown* value, bool nice, const Operation& operation) {
    if (nice)
        if (const CKzUser_StringConversionNice conversion(value); conversion)
            if (const KzResult code = operation(conversion); code != KZe_NOTIMPL) return code;
    const CKzUser_StringConversion conversion(value);
    return conversion ? operation(conversion) : KZe_NOTIMPL;
}

}  // namespace

const KzValueType* CValueTypeRegistry::find(std::string_view name) {
    if (const KzValueType* own = kzFindType(name)) return own;
    const auto server = m_modules->find(KZa_VALUE, name);
    if (!server) return nullptr;
    {
        const std::lock_guard lock(m_lock);
        if (const auto entry = m_served.find(name); entry != m_served.end()) return &entry->second;
    }
    CKzLoc_Unknown object;
    const CKzUser_Value value(CModuleTable::spawn(*server, object).raw());
    KzValueType type{m_texts.keep(name), value.Type(), {}, {}, {}, true};
    type.expects = m_texts.keep("a value of the type " + std::string(name));
    const std::lock_guard lock(m_lock);
    return &m_served.try_emplace(type.name, type).first->second;
}

std::vector<std::string> CValueTypeRegistry::names() const {
    std::vector<std::string> names;
    for (const KzValueType& type : kzValueTypes()) names.emplace_back(type.name);
    for (const KzServer& server : m_modules->servers(KZa_VALUE))
        if (std::find(names.begin(), names.end(), server.name) == names.end()) names.push_back(server.name);
    return names;
}

const KzValueType& CValueTypeRegistry::need(KzResult code, const char* place, std::string_view name) {
    if (const KzValueType* type = find(name)) return *type;
    throw kzBecause(code, place, [&] { return kzThereIsNo("value type", name, names()); });
}

std::string CValueTypeRegistry::expects(const KzValueType& type) const {
    const std::vector<std::string> choiceNames = type.isServed ? choices(type.name) : std::vector<std::string>();
    std::string expected = choiceNames.empty() ? std::string(type.expects) : "one of";
    constexpr std::size_t most = 20;
    for (std::size_t at = 0; at < std::min(choiceNames.size(), most); ++at) expected += " " + choiceNames[at];
    return choiceNames.size() > most ? expected + " ..." : expected;
}

std::string CValueTypeRegistry::shown(const KzValueType& type, const KzCell& cell) const {
    return kzShowCell(type, cell, m_properties->get("units").value_or(KZsUNITSYSTEM_SI));
}

KzResult CValueTypeRegistry::makeValue(const KzValueType& type, IKzUnknown** value, const KzCell* cell) const {
    if (!type.isServed) return CHostRef<CValue>::make(type, cell != nullptr ? *cell : kzEmptyCell(type)).give(value);
    const auto server = m_modules->find(KZa_VALUE, type.name);
    if (!server) return KZe_NOTFOUND;
    CKzLoc_Unknown object;
    CModuleTable::spawn(*server, object);
    const auto* text = cell != nullptr ? std::get_if<std::string>(cell) : nullptr;
    if (text != nullptr)
        if (const KzResult code = kzSetValueText(object.raw(), text->c_str()); kzFailed(code)) return code;
    return object.get(value);
}

CHostRef<CValueArray> CValueTypeRegistry::makeArray(const KzValueType& type) const {
    return CHostRef<CValueArray>::make(
        type, [registry = shared_from_this(), &type](IKzUnknown** value) { return registry->makeValue(type, value); });
}

std::optional<KzCell> CValueTypeRegistry::cellBy(const KzValueType& type,
                                                 CFunctionRef<KzResult(const CKzUser_Value& value)> set) const {
    CKzLoc_Unknown object;
    if (const KzResult code = makeValue(type, object.out()); kzFailed(code)) throw code;
    if (kzFailed(set(CKzUser_Value(object.raw())))) return {};
    if (const auto own = CHostRef<CValue>::of(object.raw())) return own->cell();
    return kzValueText(object.raw());
}

std::optional<KzCell> CValueTypeRegistry::cellOfText(const KzValueType& type, std::string_view text) const {
    if (!type.isServed) return kzParseCell(type, text);
    return cellBy(type, [wanted = std::string(text)](const CKzUser_Value& value) {
        return kzSetValueText(value.raw(), wanted.c_str());
    });
}

KzResult kzEncodeServed(IKzUnknown* value, bool nice, char* buffer, std::uint32_t length) {
    return convert(value, nice, [&](const auto& conversion) { return conversion.Encode(buffer, length); });
}

KzResult kzDecodeServed(IKzUnknown* value, bool nice, const char* text) {
    return convert(value, nice, [&](const auto& conversion) { return conversion.Decode(text); });
}

std::vector<std::string> CValueTypeRegistry::choices(std::string_view type) const {
    const auto server = m_modules->find(KZa_VALUE, type);
    if (!server) return {};
    CKzLoc_Unknown value;
    CModuleTable::spawn(*server, value);
    const CKzUser_UIValueHints hints(value.raw());
    std::vector<std::string> choiceNames;
    if (!hints || (hints.Flags() & KZfVALHINT_POPUPS) == 0) return choiceNames;
    constexpr std::uint32_t mostChoices = 10000;  // a nonsensical count must not keep the host busy
    const std::uint32_t count = std::min(hints.PopCount(), mostChoices);
    for (std::uint32_t index = 0; index < count; ++index) {
        std::string name = kzAnswer([&](const char** text) { return hints.PopInternalName(index, text); });
        if (!name.empty()) choiceNames.push_back(std::move(name));
    }
    return choiceNames;
}

}  // namespace kzhost
