// The value service: creating values, text hints, conversions and units.
#include "host/services/value_service.h"

#include "host/core/module_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/service_base.h"
#include "host/core/value_type_registry.h"
#include "host/core/values.h"
#include "host/services/script_queries.h"
#include "host/state/property_table.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include "kz/result.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

constexpr const char* unitSystems[] = {"si", "metric", "english"};

bool sameWord(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

class CValueService final : public CHosted<"value service", CValueService, CKzIfc_ValueService>, CServiceBase {
public:
    CValueService(std::shared_ptr<ServiceContext> context, std::shared_ptr<CModuleTable> modules,
                  std::shared_ptr<CValueTypeRegistry> types, std::shared_ptr<CPropertyTable> properties,
                  std::shared_ptr<const QueryEnvironment> queries)
        : CServiceBase(std::move(context)), m_modules(std::move(modules)), m_types(std::move(types)),
          m_properties(std::move(properties)), m_queries(std::move(queries)) {}

    KzResult valueservice_CreateValue(const char* type, IKzUnknown** value) override {
        enter("Value.CreateValue");
        return m_types->makeValue(m_types->need(KZe_NOTFOUND, "Value.CreateValue", kzTextOf(type)), value);
    }
    KzResult valueservice_CreateValueArray(const char* type, IKzUnknown** values) override {
        enter("Value.CreateValueArray");
        return m_types->makeArray(m_types->need(KZe_NOTFOUND, "Value.CreateValueArray", kzTextOf(type))).give(values);
    }
    KzResult valueservice_TypeCount(std::uint32_t* count) override {
        enter("Value.TypeCount");
        *count = static_cast<std::uint32_t>(m_types->names().size());
        return KZe_OK;
    }
    KzResult valueservice_TypeByIndex(std::uint32_t index, const char** type) override {
        enter("Value.TypeByIndex");
        return giveName(m_types->names(), index, type);
    }
    std::uint32_t valueservice_ValueType(const char* type) override {
        enter("Value.ValueType");
        const KzValueType* row = m_types->find(kzTextOf(type));
        return row != nullptr ? row->storage : static_cast<std::uint32_t>(KZiVALUE_TYPE_UNKNOWN);
    }
    KzResult valueservice_TextHintEncode(std::int32_t value, const KzTextValueHint* hints, char* buffer,
                                         std::uint32_t length) override;
    KzResult valueservice_TextHintDecode(const char* text, const KzTextValueHint* hints, std::int32_t* value) override;
    KzResult valueservice_Convert(IKzUnknown* from, IKzUnknown* to) override {
        enter("Value.Convert");
        return convert(from, to);
    }
    KzResult valueservice_Duplicate(IKzUnknown* source, IKzUnknown** value) override;
    KzResult valueservice_EncodeText(IKzUnknown* value, std::int32_t nice, char* buffer, std::uint32_t length) override;
    KzResult valueservice_DecodeText(const char* text, std::int32_t nice, IKzUnknown* value) override;
    KzResult valueservice_UnitCount(std::uint32_t* count) override {
        enter("Value.UnitCount");
        *count = static_cast<std::uint32_t>(std::size(unitSystems));
        return KZe_OK;
    }
    KzResult valueservice_UnitByIndex(std::uint32_t index, const char** unit) override {
        enter("Value.UnitByIndex");
        if (index >= std::size(unitSystems)) return KZe_OUTOFBOUNDS;
        *unit = unitSystems[index];
        return KZe_OK;
    }
    KzResult valueservice_SetUnitSystem(const char* system) override;
    KzResult valueservice_UnitSystem(const char** system) override {
        enter("Value.UnitSystem");
        *system = keep(m_properties->get("units").value_or(unitSystems[0]));
        return KZe_OK;
    }
    KzResult valueservice_ScriptQuery(IKzUnknown** query) override;

private:
    // The conversions of modules know more of their types than texts and numbers say.
    KzResult convert(IKzUnknown* from, IKzUnknown* to) const {
        const CKzUser_Value source(from), target(to);
        if (!source || !target)
            return kzBecause(KZe_INVALIDARG, "Value.Convert", [] { return "both have to be values"; });
        const std::string fromType = kzAnswer([&](const char** type) { return source.TypeName(type); });
        const std::string toType = kzAnswer([&](const char** type) { return target.TypeName(type); });
        for (const KzServer& server : m_modules->servers(KZa_VALUECONVERSION)) {
            CKzLoc_Unknown object;
            const CKzUser_ValueConversion conversion(CModuleTable::spawn(server, object).raw());
            if (conversion && kzSucceeded(conversion.Test(fromType.c_str(), toType.c_str())))
                return conversion.Convert(from, to);
        }
        return kzCopyValue(to, from);
    }

    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CValueTypeRegistry> m_types;
    std::shared_ptr<CPropertyTable> m_properties;
    std::shared_ptr<const QueryEnvironment> m_queries;
};

KzResult CValueService::valueservice_TextHintEncode(std::int32_t value, const KzTextValueHint* hints, char* buffer,
                                                    std::uint32_t length) {
    enter("Value.TextHintEncode");
    for (; hints != nullptr && hints->text != nullptr; ++hints)
        if (hints->value == value) return kzFillText(hints->text, buffer, length);
    if (buffer != nullptr && length > 0) buffer[0] = '\0';
    return KZe_OK_NO_CHOICES;
}

// The exact text first; then the same word in another letter case; then the number itself if it is one of the table's.
KzResult CValueService::valueservice_TextHintDecode(const char* text, const KzTextValueHint* hints,
                                                    std::int32_t* value) {
    enter("Value.TextHintDecode");
    const std::string_view word = kzTextOf(text);
    const auto number = kzParseInteger(word);
    const KzTextValueHint* first = hints;
    const KzTextValueHint* inexact = nullptr;
    for (; hints != nullptr && hints->text != nullptr; ++hints) {
        if (word == hints->text) {
            *value = hints->value;
            return KZe_OK;
        }
        if (inexact == nullptr && (sameWord(word, hints->text) || number == hints->value)) inexact = hints;
    }
    if (inexact == nullptr)
        return kzBecause(KZe_NOTFOUND, "Value.TextHintDecode",
                         [&] { return kzIsNot(word, first != nullptr ? kzOneOf(first) : "in an empty list"); });
    *value = inexact->value;
    return KZe_OK_INEXACT_MATCH;
}

KzResult CValueService::valueservice_Duplicate(IKzUnknown* source, IKzUnknown** value) {
    enter("Value.Duplicate");
    const CKzUser_Value asValue(source);
    const char* type = nullptr;
    if (!asValue) return KZe_INVALIDARG;
    if (const KzResult code = asValue->TypeName(&type); kzFailed(code)) return code;
    CKzLoc_Unknown object;
    const KzValueType& valueType = m_types->need(KZe_NOTFOUND, "Value.Duplicate", kzTextOf(type));
    if (const KzResult code = m_types->makeValue(valueType, object.out()); kzFailed(code)) return code;
    const KzResult code = kzCopyValue(object.raw(), source);
    return kzFailed(code) ? code : object.get(value);
}

KzResult CValueService::valueservice_EncodeText(IKzUnknown* value, std::int32_t nice, char* buffer,
                                                std::uint32_t length) {
    enter("Value.EncodeText");
    if (const auto own = CHostRef<CValue>::of(value))
        return nice != 0 ? kzFillText(m_types->shown(own->type(), own->cell()), buffer, length)
                         : kzFillCell(own->type(), own->cell(), buffer, length);
    if (const KzResult code = kzEncodeServed(value, nice != 0, buffer, length); code != KZe_NOTIMPL) return code;
    const CKzUser_Value asValue(value);
    return asValue ? asValue->GetString(buffer, length) : KZe_INVALIDARG;
}

KzResult CValueService::valueservice_DecodeText(const char* text, std::int32_t nice, IKzUnknown* value) {
    enter("Value.DecodeText");
    if (!CHostRef<CValue>::of(value))
        if (const KzResult code = kzDecodeServed(value, nice != 0, text); code != KZe_NOTIMPL) return code;
    const CKzUser_Value asValue(value);
    return asValue ? asValue->SetString(text) : KZe_INVALIDARG;
}

KzResult CValueService::valueservice_SetUnitSystem(const char* system) {
    enter("Value.SetUnitSystem");
    for (const std::string_view name : unitSystems) {
        if (kzTextOf(system) != name) continue;
        m_properties->set("units", std::string(name));
        return KZe_OK;
    }
    return kzBecause(KZe_INVALIDARG, "Value.SetUnitSystem", [&] {
        return kzThereIsNo("system of units", kzTextOf(system), {std::begin(unitSystems), std::end(unitSystems)});
    });
}

KzResult CValueService::valueservice_ScriptQuery(IKzUnknown** query) {
    enter("Value.ScriptQuery");
    return kzMakeQuery(m_queries, "value", query);
}

}  // namespace

decltype(kzMakeValueService) kzMakeValueService = kzMakeService<CValueService>;

}  // namespace kzhost
