// The value types of a host, its own and those that modules serve.
#include "host/core/value_type_registry.h"

#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include "kz/result.h"
#include "kz/ui_value_hints.h"
#include "kz/value.h"

#include <algorithm>

namespace {

// People's text where the type has one of its own, otherwise the exact one.
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
        if (const auto known = m_served.find(name); known != m_served.end()) return &known->second;
    }
    CKzLoc_Unknown made;
    const CKzUser_Value value(CModuleTable::spawn(*server, made).raw());
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
    const std::vector<std::string> offered = type.isServed ? choices(type.name) : std::vector<std::string>();
    std::string expected = offered.empty() ? std::string(type.expects) : "one of";
    constexpr std::size_t most = 20;
    for (std::size_t at = 0; at < std::min(offered.size(), most); ++at) expected += " " + offered[at];
    return offered.size() > most ? expected + " ..." : expected;
}

KzResult CValueTypeRegistry::makeValue(const KzValueType& type, IKzUnknown** value, const KzCell* cell) const {
    if (!type.isServed) return CHostRef<CValue>::make(type, cell != nullptr ? *cell : kzEmptyCell(type)).give(value);
    const auto server = m_modules->find(KZa_VALUE, type.name);
    if (!server) return KZe_NOTFOUND;
    CKzLoc_Unknown made;
    CModuleTable::spawn(*server, made);
    const auto* text = cell != nullptr ? std::get_if<std::string>(cell) : nullptr;
    if (text != nullptr)
        if (const KzResult code = kzSetValueText(made.raw(), text->c_str()); kzFailed(code)) return code;
    return made.get(value);
}

CHostRef<CValueArray> CValueTypeRegistry::makeArray(const KzValueType& type) const {
    return CHostRef<CValueArray>::make(
        type, [held = shared_from_this(), &type](IKzUnknown** value) { return held->makeValue(type, value); });
}

std::optional<KzCell> CValueTypeRegistry::cellBy(const KzValueType& type,
                                                 const std::function<KzResult(const CKzUser_Value& value)>& set) const {
    CKzLoc_Unknown made;
    if (const KzResult code = makeValue(type, made.out()); kzFailed(code)) throw code;
    if (kzFailed(set(CKzUser_Value(made.raw())))) return {};
    if (const auto own = CHostRef<CValue>::of(made.raw())) return own->cell();
    return kzValueText(made.raw());
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
    std::vector<std::string> offered;
    if (!hints || (hints.Flags() & KZfVALHINT_POPUPS) == 0) return offered;
    constexpr std::uint32_t mostChoices = 10000;  // a count that cannot be meant must not keep the host busy
    const std::uint32_t count = std::min(hints.PopCount(), mostChoices);
    for (std::uint32_t index = 0; index < count; ++index) {
        const char* name = nullptr;
        if (kzSucceeded(hints.PopInternalName(index, &name))) offered.emplace_back(kzTextOf(name));
    }
    return offered;
}
