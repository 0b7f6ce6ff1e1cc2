// What is known about one channel.
#include "host/document/channel_info.h"

#include "kz/transform.h"

#include <algorithm>
#include <cmath>

namespace kzhost {

namespace {

// The number of a code such as 'RECT', whose first character is the most significant byte.
std::int32_t codeOf(std::string_view characters) {
    std::uint32_t code = 0;
    for (const char each : characters) code = code << 8 | static_cast<unsigned char>(each);
    return static_cast<std::int32_t>(code);
}

}  // namespace

COwnedHints::COwnedHints(const KzTextValueHint* hints) {
    for (; hints != nullptr && hints->text != nullptr; ++hints)
        m_rows.push_back({hints->value, m_texts.emplace_back(hints->text).c_str()});
    m_rows.push_back({0, nullptr});
}

COwnedHints::COwnedHints(std::string_view words) {
    while (!words.empty()) {
        const std::string_view word = words.substr(0, words.find(' '));
        words.remove_prefix(std::min(word.size() + 1, words.size()));
        const std::size_t equals = word.find('=');
        const bool hasCode = equals != std::string_view::npos;
        const auto value = hasCode ? codeOf(word.substr(0, equals)) : static_cast<std::int32_t>(m_rows.size());
        m_rows.push_back({value, m_texts.emplace_back(hasCode ? word.substr(equals + 1) : word).c_str()});
    }
    m_rows.push_back({0, nullptr});
}

std::uint32_t ChannelInfo::storageType() const {
    switch (kind) {
    case ChannelKind::stored: break;
    case ChannelKind::itemReference: return KZiCHANTYPE_ITEMREF;
    case ChannelKind::gradient: return KZiCHANTYPE_GRADIENT;
    case ChannelKind::object: return KZiCHANTYPE_OBJECT;
    default: return KZiCHANTYPE_MATRIX;
    }
    if (std::holds_alternative<std::int32_t>(initial)) return KZiCHANTYPE_INTEGER;
    if (std::holds_alternative<double>(initial)) return KZiCHANTYPE_FLOAT;
    return std::holds_alternative<std::string>(initial) ? KZiCHANTYPE_STRING : KZiCHANTYPE_STORAGE;
}

const char* ChannelInfo::evalType() const {
    switch (kind) {
    case ChannelKind::stored: return type->name;
    case ChannelKind::itemReference: return KZsTYPE_ITEM;
    case ChannelKind::gradient: return KZsTYPE_FLOAT;
    case ChannelKind::object: return objectType;
    default: return KZsCHANEVAL_MATRIX;
    }
}

std::string_view ChannelInfo::vectorName() const {
    const std::string_view whole = name;
    return vectorSize > 1 ? whole.substr(0, whole.rfind('.')) : whole;
}

bool ChannelInfo::takes(double number) const {
    if (!std::isfinite(number) || number < minimum.value_or(number) || number > maximum.value_or(number)) return false;
    return !hints || kzWordOf(hints->rows(), static_cast<std::int32_t>(number)) != nullptr;
}

}  // namespace kzhost
