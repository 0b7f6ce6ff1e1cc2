// Values and arrays of values, as objects.
#include "host/core/values.h"

#include "host/core/reasons.h"
#include "host/state/text.h"

#include "kz/block_io.h"
#include "kz/result.h"

#include <list>

namespace kzhost {

namespace {

const KzValueType& knownType(std::string_view name) {
    const KzValueType* type = kzFindType(name);
    if (type == nullptr) throw KZe_INVALIDARG;
    return *type;
}

// Converts the other value to `type`. Numbers are converted as numbers, to lose nothing, and all else as text.
KzCell converted(IKzUnknown* other, const KzValueType& type) {
    if (const auto own = CHostRef<CValue>::of(other); own && own->type().storage == type.storage) return own->cell();
    const CKzUser_Value asValue(other);
    if (!asValue) throw KZe_INVALIDARG;
    double number = 0;
    if (type.storage == KZiVALUE_TYPE_INTEGER || type.storage == KZiVALUE_TYPE_FLOAT)
        if (kzSucceeded(asValue->GetFlt(&number)))
            if (const auto cell = kzCellOf(type, number)) return *cell;
    const std::string text = kzValueText(other);
    const auto cell = kzParseCell(type, text);
    if (!cell) throw kzBecause(KZe_INVALIDARG, "Value.Copy", [&] { return kzIsNot(text, type.expects); });
    return *cell;
}

}  // namespace

KzResult kzGetValueText(IKzUnknown* value, char* buffer, std::uint32_t length) {
    const KzResult code = CKzUser_Value(value).GetString(buffer, length);
    if (code != KZe_NOTIMPL) return code;
    const CKzUser_StringConversion conversion(value);
    return conversion ? conversion.Encode(buffer, length) : code;
}

std::string kzValueText(IKzUnknown* value) {
    std::string text;
    const auto read = [value](char* buffer, std::uint32_t length) { return kzGetValueText(value, buffer, length); };
    if (const KzResult code = kzReadText(text, read); kzFailed(code)) throw code;
    return text;
}

KzResult kzSetValueText(IKzUnknown* value, const char* text) {
    const KzResult code = CKzUser_Value(value).SetString(text);
    if (code != KZe_NOTIMPL) return code;
    const CKzUser_StringConversion conversion(value);
    return conversion ? conversion.Decode(text) : code;
}

KzResult kzCopyValue(IKzUnknown* target, IKzUnknown* source) {
    const CKzUser_Value to(target), from(source);
    if (!to || !from) return KZe_INVALIDARG;
    if (const KzResult code = to.Copy(source); code != KZe_NOTIMPL) return code;
    return kzSetValueText(target, kzValueText(source).c_str());
}

int kzCompareValues(IKzUnknown* left, IKzUnknown* right) {
    std::int32_t order = 0;
    const KzResult code = CKzUser_Value(left).Compare(right, &order);
    if (code == KZe_NOTIMPL) return kzValueText(left).compare(kzValueText(right));
    if (kzFailed(code)) throw code;
    return order;
}

CValue::CValue(std::string_view type) : m_type(&knownType(type)), m_cell(kzEmptyCell(*m_type)) {}

KzResult CValue::refuses(const char* place, std::string_view text) const {
    return kzBecause(KZe_INVALIDARG, place, [&] { return kzIsNot(text, m_type->expects); });
}

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
    if (!cell) return refuses("Value.SetFlt", std::to_string(value));
    m_cell = *cell;
    return KZe_OK;
}

KzResult CValue::val_GetString(char* buffer, std::uint32_t length) {
    return kzFillCell(*m_type, m_cell, buffer, length);
}

KzResult CValue::val_SetString(const char* value) {
    const auto cell = kzParseCell(*m_type, kzTextOf(value));
    if (!cell) return refuses("Value.SetString", kzTextOf(value));
    m_cell = *cell;
    return KZe_OK;
}

KzResult CValue::val_GetIntrinsic(void** memory) {
    auto* color = std::get_if<KzColor>(&m_cell);
    if (color == nullptr) return KZe_NOTSUPPORTED;
    *memory = color->data();
    return KZe_OK;
}

// A number, a text, or a colour as a vector: what the cell holds, without the type.
KzResult CValue::val_Write(IKzUnknown* stream) {
    const CKzUser_BlockWrite out(stream);
    if (!out) return KZe_INVALIDARG;
    if (const auto* number = std::get_if<std::int32_t>(&m_cell)) return out.WriteInt(*number);
    if (const auto* number = std::get_if<double>(&m_cell)) return out.WriteDouble(*number);
    if (const auto* text = std::get_if<std::string>(&m_cell)) return out.WriteString(text->c_str());
    const KzColor& color = std::get<KzColor>(m_cell);
    const KzVector3 vector{{color[0], color[1], color[2]}};
    return out.WriteVector(&vector);
}

// A value that cannot be read stays as it is.
KzResult CValue::val_Read(IKzUnknown* stream) {
    const CKzUser_BlockRead in(stream);
    if (!in) return KZe_INVALIDARG;
    KzCell cell = kzEmptyCell(*m_type);
    KzResult code = KZe_OK;
    if (auto* whole = std::get_if<std::int32_t>(&cell)) {
        code = in.ReadInt(whole);
    } else if (auto* number = std::get_if<double>(&cell)) {
        code = in.ReadDouble(number);
    } else if (auto* text = std::get_if<std::string>(&cell)) {
        code = kzReadText(*text, [&](char* buffer, std::uint32_t length) { return in.ReadString(buffer, length); });
    } else {
        KzVector3 vector{};
        code = in.ReadVector(&vector);
        cell = KzColor{vector.v[0], vector.v[1], vector.v[2]};
    }
    if (kzSucceeded(code)) m_cell = std::move(cell);
    return code;
}

CValueArray::CValueArray(std::string_view type)
    : CValueArray(knownType(type), [&known = knownType(type)](IKzUnknown** value) {
          return CHostRef<CValue>::make(known, kzEmptyCell(known)).give(value);
      }) {}

// A served type may be gone before the array is, so the array keeps only its name.
CValueArray::CValueArray(const KzValueType& type, Make make)
    : m_typeName(type.name), m_storage(type.storage), m_make(std::move(make)) {}

CValueArray::Element CValueArray::at(std::uint32_t index) const {
    if (index >= m_values.size())
        throw kzBecause(KZe_OUTOFBOUNDS, "ValueArray", [&] {
            return "there is no value " + std::to_string(index) + "; there are " + std::to_string(m_values.size());
        });
    return m_values[index];
}

CValueArray::Element CValueArray::newElement() const {
    CKzLoc_Unknown object;
    if (const KzResult code = m_make(object.out()); kzFailed(code)) throw code;
    Element element;
    if (!element.value.set(object.raw())) throw KZe_NOINTERFACE;
    return element;
}

template <class Set> KzResult CValueArray::add(const Set& set) {
    const Element element = newElement();
    const KzResult code = set(element.value);
    if (kzSucceeded(code)) m_values.push_back(element);
    return code;
}

KzResult CValueArray::va_Type(std::uint32_t* type) {
    *type = m_storage;
    return KZe_OK;
}

KzResult CValueArray::va_TypeName(const char** type) {
    *type = m_typeName.c_str();
    return KZe_OK;
}

KzResult CValueArray::va_AddInt(std::int32_t value) {
    return add([&](const CKzUser_Value& element) { return element.SetInt(value); });
}

KzResult CValueArray::va_AddFloat(double value) {
    return add([&](const CKzUser_Value& element) { return element.SetFlt(value); });
}

KzResult CValueArray::va_AddString(const char* value) {
    return add([&](const CKzUser_Value& element) { return kzSetValueText(element.raw(), value); });
}

KzResult CValueArray::va_AddValue(IKzUnknown* value) {
    return add([&](const CKzUser_Value& element) { return kzCopyValue(element.raw(), value); });
}

KzResult CValueArray::va_AddEmptyValue(IKzUnknown** value) {
    add([](const CKzUser_Value&) { return KZe_OK; });
    return m_values.back()->get(value);
}

KzResult CValueArray::va_Remove(std::uint32_t index) {
    at(index);
    m_values.erase(m_values.begin() + index);
    return KZe_OK;
}

KzResult CValueArray::va_Reset() {
    m_values.clear();
    return KZe_OK;
}

KzResult CValueArray::va_Lookup(const char* value, std::uint32_t* index) {
    const Element sample = newElement();
    if (const KzResult code = kzSetValueText(sample->raw(), value); kzFailed(code)) return code;
    for (std::uint32_t at = 0; at < m_values.size(); ++at) {
        const Element element = m_values[at];
        if (kzCompareValues(element->raw(), sample->raw()) != 0) continue;
        *index = at;
        return KZe_OK;
    }
    return kzBecause(KZe_NOTFOUND, "ValueArray.Lookup", [&] {
        return kzThereIsNo("value", kzTextOf(value), std::deque(m_values),
                           [](const Element& each) { return kzValueText(each->raw()); });
    });
}

// Sorts a list, whose sort is safe even if the comparison of a module's values is inconsistent.
KzResult CValueArray::va_Sort(std::int32_t descending) {
    std::list<Element> sorted(m_values.begin(), m_values.end());
    sorted.sort([&](const Element& left, const Element& right) {
        return descending != 0 ? kzCompareValues(right->raw(), left->raw()) < 0
                               : kzCompareValues(left->raw(), right->raw()) < 0;
    });
    m_values.assign(sorted.begin(), sorted.end());
    return KZe_OK;
}

}  // namespace kzhost
