// Values and arrays of values, as objects.
#include "host/values.h"

#include "host/text.h"

#include "kz/result.h"

#include <algorithm>

namespace {

const KzValueType& knownType(std::string_view name) {
    const KzValueType* type = kzFindType(name);
    if (type == nullptr) throw KZe_INVALIDARG;
    return *type;
}

// The text of any value, ours or a module's.
std::string textOf(IKzValue& value) {
    std::string text;
    const KzResult code =
        kzReadText(text, [&](char* buffer, std::uint32_t length) { return value.GetString(buffer, length); });
    if (kzFailed(code)) throw code;
    return text;
}

// What the other value is in terms of `type`. Numbers cross as numbers, so that nothing is lost; the rest as text.
KzCell converted(IKzUnknown* other, const KzValueType& type) {
    if (const auto own = CHostRef<CValue>::of(other); own && own->type().storage == type.storage) return own->cell();
    const CKzUser_Value held(other);
    if (!held) throw KZe_INVALIDARG;
    double number = 0;
    if (type.storage == KZiVALUE_TYPE_INTEGER || type.storage == KZiVALUE_TYPE_FLOAT)
        if (kzSucceeded(held->GetFlt(&number)))
            if (const auto cell = kzCellOf(type, number)) return *cell;
    const auto cell = kzParseCell(type, textOf(*held.ptr()));
    if (!cell) throw KZe_INVALIDARG;
    return *cell;
}

}  // namespace

CValue::CValue(std::string_view type) : m_type(&knownType(type)), m_cell(kzEmptyCell(*m_type)) {}

KzResult CValue::val_TypeName(const char** type) {
    *type = m_type->name;
    return KZe_OK;
}

KzResult CValue::val_Copy(IKzUnknown* other) {
    m_cell = converted(other, *m_type);
    return KZe_OK;
}

KzResult CValue::val_Compare(IKzUnknown* other, std::int32_t* order) {
    *order = kzCompareCells(m_cell, converted(other, *m_type));
    return KZe_OK;
}

KzResult CValue::val_GetInt(std::int32_t* value) {
    const auto number = kzIntegerOf(m_cell);
    if (!number) return KZe_INVALIDARG;
    *value = *number;
    return KZe_OK;
}

KzResult CValue::val_SetInt(std::int32_t value) { return val_SetFlt(value); }

KzResult CValue::val_GetFlt(double* value) {
    const auto number = kzNumberOf(m_cell);
    if (!number) return KZe_INVALIDARG;
    *value = *number;
    return KZe_OK;
}

KzResult CValue::val_SetFlt(double value) {
    const auto cell = kzCellOf(*m_type, value);
    if (!cell) return KZe_INVALIDARG;
    m_cell = *cell;
    return KZe_OK;
}

KzResult CValue::val_GetString(char* buffer, std::uint32_t length) {
    return kzFillText(kzFormatCell(*m_type, m_cell), buffer, length);
}

KzResult CValue::val_SetString(const char* value) {
    const auto cell = kzParseCell(*m_type, kzTextOf(value));
    if (!cell) return KZe_INVALIDARG;
    m_cell = *cell;
    return KZe_OK;
}

KzResult CValue::val_GetIntrinsic(void** memory) {
    auto* color = std::get_if<KzColor>(&m_cell);
    if (color == nullptr) return KZe_NOTSUPPORTED;
    *memory = color->data();
    return KZe_OK;
}

CValueArray::CValueArray(std::string_view type) : m_type(&knownType(type)) {}

CValue& CValueArray::at(std::uint32_t index) const {
    if (index >= m_values.size()) throw KZe_OUTOFBOUNDS;
    return *m_values[index];
}

KzResult CValueArray::va_Type(std::uint32_t* type) {
    *type = m_type->storage;
    return KZe_OK;
}

KzResult CValueArray::va_TypeName(const char** type) {
    *type = m_type->name;
    return KZe_OK;
}

KzResult CValueArray::va_GetValue(std::uint32_t index, IKzUnknown** value) {
    return index < m_values.size() ? m_values[index].give(value) : KZe_OUTOFBOUNDS;
}

KzResult CValueArray::va_AddInt(std::int32_t value) {
    const auto cell = kzCellOf(*m_type, value);
    if (!cell) return KZe_INVALIDARG;
    add(*cell);
    return KZe_OK;
}

KzResult CValueArray::va_AddFloat(double value) {
    const auto cell = kzCellOf(*m_type, value);
    if (!cell) return KZe_INVALIDARG;
    add(*cell);
    return KZe_OK;
}

KzResult CValueArray::va_AddString(const char* value) {
    const auto cell = kzParseCell(*m_type, kzTextOf(value));
    if (!cell) return KZe_INVALIDARG;
    add(*cell);
    return KZe_OK;
}

KzResult CValueArray::va_AddValue(IKzUnknown* value) {
    add(converted(value, *m_type));
    return KZe_OK;
}

KzResult CValueArray::va_AddEmptyValue(IKzUnknown** value) {
    add(kzEmptyCell(*m_type));
    return m_values.back().give(value);
}

KzResult CValueArray::va_Remove(std::uint32_t index) {
    if (index >= m_values.size()) return KZe_OUTOFBOUNDS;
    m_values.erase(m_values.begin() + index);
    return KZe_OK;
}

KzResult CValueArray::va_Reset() {
    m_values.clear();
    return KZe_OK;
}

KzResult CValueArray::va_Lookup(const char* value, std::uint32_t* index) {
    const auto wanted = kzParseCell(*m_type, kzTextOf(value));
    if (!wanted) return KZe_INVALIDARG;
    const auto found =
        std::find_if(m_values.begin(), m_values.end(), [&](const auto& held) { return held->cell() == *wanted; });
    if (found == m_values.end()) return KZe_NOTFOUND;
    *index = static_cast<std::uint32_t>(found - m_values.begin());
    return KZe_OK;
}

KzResult CValueArray::va_Sort(std::int32_t descending) {
    std::stable_sort(m_values.begin(), m_values.end(), [&](const auto& left, const auto& right) {
        return (descending != 0 ? kzCompareCells(right->cell(), left->cell())
                                : kzCompareCells(left->cell(), right->cell())) < 0;
    });
    return KZe_OK;
}
