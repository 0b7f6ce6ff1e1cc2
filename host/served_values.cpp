// Value types that modules serve: the values, their texts and their choices.
#include "host/server_classes.h"

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

KzResult kzServedValue(CHostCore& core, std::string_view type, IKzUnknown** value) {
    const auto server = core.modules.find(KZa_VALUE, type);
    if (!server) return KZe_NOTFOUND;
    CKzLoc_Unknown made;
    return CModuleTable::spawn(*server, made).get(value);
}

KzResult kzEncodeServed(IKzUnknown* value, bool nice, char* buffer, std::uint32_t length) {
    return convert(value, nice, [&](const auto& conversion) { return conversion.Encode(buffer, length); });
}

KzResult kzDecodeServed(IKzUnknown* value, bool nice, const char* text) {
    return convert(value, nice, [&](const auto& conversion) { return conversion.Decode(text); });
}

std::vector<std::string> kzChoicesOf(CHostCore& core, std::string_view type) {
    CKzLoc_Unknown value;
    if (kzFailed(kzServedValue(core, type, value.out()))) return {};
    const CKzUser_UIValueHints hints(value.raw());
    std::vector<std::string> choices;
    if (!hints || (hints.Flags() & KZfVALHINT_POPUPS) == 0) return choices;
    constexpr std::uint32_t mostChoices = 10000;  // a count that cannot be meant must not keep the host busy
    const std::uint32_t count = std::min(hints.PopCount(), mostChoices);
    for (std::uint32_t index = 0; index < count; ++index) {
        const char* name = nullptr;
        if (kzSucceeded(hints.PopInternalName(index, &name))) choices.emplace_back(kzTextOf(name));
    }
    return choices;
}
