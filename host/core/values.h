// Values and arrays of values, as objects.
#pragma once

#include "host/core/object.h"
#include "host/state/value_types.h"

#include "kz/value.h"

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace kzhost {

// These work on any value, the host's or a module's. Where a module's value lacks an operation, its text is used instead.
KzResult kzGetValueText(IKzUnknown* value, char* buffer, std::uint32_t length);
std::string kzValueText(IKzUnknown* value);  // the exact text; throws the code of a failure
KzResult kzSetValueText(IKzUnknown* value, const char* text);
KzResult kzCopyValue(IKzUnknown* target, IKzUnknown* source);
int kzCompareValues(IKzUnknown* left, IKzUnknown* right);

class CValue final : public CHosted<"value", CValue, CKzIfc_Value> {
public:
    // Throws INVALIDARG for an unknown type.
    explicit CValue(std::string_view type);
    CValue(const KzValueType& type, KzCell cell) : m_type(&type), m_cell(std::move(cell)) {}

    std::uint32_t val_Type() override { return m_type->storage; }
    KzResult val_TypeName(const char** type) override;
    KzResult val_Copy(IKzUnknown* other) override;
    KzResult val_Compare(IKzUnknown* other, std::int32_t* order) override;
    KzResult val_GetInt(std::int32_t* value) override;
    KzResult val_SetInt(std::int32_t value) override;
    KzResult val_GetFlt(double* value) override;
    KzResult val_SetFlt(double value) override;
    KzResult val_GetString(char* buffer, std::uint32_t length) override;
    KzResult val_SetString(const char* value) override;
    KzResult val_GetIntrinsic(void** memory) override;
    KzResult val_Read(IKzUnknown* stream) override;
    KzResult val_Write(IKzUnknown* stream) override;

    const KzValueType& type() const { return *m_type; }
    const KzCell& cell() const { return m_cell; }

private:
    KzResult refuses(const char* place, std::string_view text) const;

    const KzValueType* m_type;
    KzCell m_cell;
};

// A list of values of one type, built-in or served.
class CValueArray final : public CHosted<"value array", CValueArray, CKzIfc_ValueArray> {
public:
    using Make = std::function<KzResult(IKzUnknown** value)>;

    // An array of a built-in type; throws INVALIDARG for an unknown one.
    explicit CValueArray(std::string_view type);
    CValueArray(const KzValueType& type, Make make);

    KzResult va_Type(std::uint32_t* type) override;
    KzResult va_TypeName(const char** type) override;
    std::uint32_t va_Count() override { return static_cast<std::uint32_t>(m_values.size()); }
    KzResult va_GetInt(std::uint32_t index, std::int32_t* value) override { return at(index)->GetInt(value); }
    KzResult va_GetFloat(std::uint32_t index, double* value) override { return at(index)->GetFlt(value); }
    KzResult va_GetString(std::uint32_t index, char* buffer, std::uint32_t length) override {
        return kzGetValueText(at(index)->raw(), buffer, length);
    }
    KzResult va_GetValue(std::uint32_t index, IKzUnknown** value) override { return at(index)->get(value); }
    KzResult va_AddInt(std::int32_t value) override;
    KzResult va_AddFloat(double value) override;
    KzResult va_AddString(const char* value) override;
    KzResult va_AddValue(IKzUnknown* value) override;
    KzResult va_AddEmptyValue(IKzUnknown** value) override;
    KzResult va_SetInt(std::uint32_t index, std::int32_t value) override { return at(index)->SetInt(value); }
    KzResult va_SetFloat(std::uint32_t index, double value) override { return at(index)->SetFlt(value); }
    KzResult va_SetString(std::uint32_t index, const char* value) override {
        return kzSetValueText(at(index)->raw(), value);
    }
    KzResult va_Remove(std::uint32_t index) override;
    KzResult va_Reset() override;
    KzResult va_Lookup(const char* value, std::uint32_t* index) override;
    KzResult va_Sort(std::int32_t descending) override;

private:
    struct Element {
        Element() = default;
        Element(const Element& other) { *this = other; }
        Element& operator=(const Element& other) {
            if (other.value) other.value.raw()->AddRef();
            value.hold(other.value.raw());
            return *this;
        }
        const CKzUser_Value* operator->() const { return &value; }
        CKzUser_Value value;
    };

    // Throws OUTOFBOUNDS. Returns an owned reference, as a module's value may change the array while it is called.
    Element at(std::uint32_t index) const;
    Element newElement() const;  // throws the code with which making one fails
    // Appends a new value if `set` succeeds on it.
    template <class Set> KzResult add(const Set& set);

    std::string m_typeName;
    std::uint32_t m_storage;
    Make m_make;
    std::deque<Element> m_values;
};

}  // namespace kzhost
