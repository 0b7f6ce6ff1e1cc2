// Attributes with fixed names and types, which are handed out to be filled in.
#include "host/objects/named_values.h"

#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/state/text.h"

#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace kzhost {

namespace {

template <class Number> KzResult giveNumber(const std::optional<Number>& number, Number* out) {
    if (!number) return KZe_INVALIDARG;
    *out = *number;
    return KZe_OK;
}

}  // namespace

const NamedValueRow& CNamedValues::row(std::uint32_t index) const {
    if (index >= m_rows.size()) throw KZe_OUTOFBOUNDS;
    return m_rows[index];
}

const KzCell& CNamedValues::cell(std::uint32_t index) const {
    const auto found = values.find(row(index).name);
    if (found == values.end()) throw KZe_NOTFOUND;
    return found->second;
}

KzResult CNamedValues::set(std::uint32_t index, std::optional<KzCell> value, const std::string& text) {
    if (!value)
        return kzBecause(KZe_CMD_ERROR_SETTING_DATATYPE, "Attributes", [&] {
            return fmt::format("\"{}\": {}", row(index).name, kzIsNot(text, type(index).expects));
        });
    values[row(index).name] = std::move(*value);
    return KZe_OK;
}

KzResult CNamedValues::attr_Name(std::uint32_t index, const char** name) {
    *name = row(index).name;
    return KZe_OK;
}

KzResult CNamedValues::attr_Lookup(const char* name, std::uint32_t* index) {
    const auto place = std::ranges::find(m_rows, kzTextOf(name),
                                         [](const NamedValueRow& each) { return std::string_view(each.name); });
    if (place == m_rows.end()) return KZe_NOTFOUND;
    *index = static_cast<std::uint32_t>(place - m_rows.begin());
    return KZe_OK;
}

KzResult CNamedValues::attr_TypeName(std::uint32_t index, const char** type) {
    *type = row(index).type;
    return KZe_OK;
}

KzResult CNamedValues::attr_Hints(std::uint32_t index, const KzTextValueHint** /*hints*/) {
    (void)row(index);
    return KZe_NOTFOUND;
}

KzResult CNamedValues::attr_Value(std::uint32_t index, std::int32_t create, IKzUnknown** value) {
    const auto found = values.find(row(index).name);
    if (found == values.end() && create == 0) return KZe_NOTFOUND;
    return CHostRef<CValue>::make(type(index), found != values.end() ? found->second : kzEmptyCell(type(index)))
        .give(value);
}

KzResult CNamedValues::attr_GetInt(std::uint32_t index, std::int32_t* value) {
    return giveNumber(kzIntegerOf(cell(index)), value);
}

KzResult CNamedValues::attr_GetFlt(std::uint32_t index, double* value) {
    return giveNumber(kzNumberOf(cell(index)), value);
}

KzResult CNamedValues::attr_SetFlt(std::uint32_t index, double value) {
    return set(index, kzCellOf(type(index), value), fmt::format("{}", value));
}

KzResult CNamedValues::attr_GetString(std::uint32_t index, char* buffer, std::uint32_t length) {
    return kzFillCell(type(index), cell(index), buffer, length);
}

KzResult CNamedValues::attr_SetString(std::uint32_t index, const char* value) {
    return set(index, kzParseCell(type(index), kzTextOf(value)), kzString(value));
}

std::vector<std::string> CNamedValues::texts() const {
    std::vector<std::string> all;
    for (const NamedValueRow& each : m_rows)
        if (const auto found = values.find(each.name); found != values.end())
            all.push_back(fmt::format("{}={}", each.name, kzFormatCell(*kzFindType(each.type), found->second)));
    return all;
}

}  // namespace kzhost
