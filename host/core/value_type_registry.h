// The value types of a host, built-in ones and those that modules serve: their values, texts and choices.
#pragma once

#include "host/core/object.h"
#include "host/core/values.h"
#include "host/state/function_ref.h"
#include "host/state/text_pool.h"
#include "host/state/value_types.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

class CModuleTable;
class CPropertyTable;

// Looks up value types in the host's own table and among the value servers of its modules.
class CValueTypeRegistry : public std::enable_shared_from_this<CValueTypeRegistry> {
public:
    CValueTypeRegistry(std::shared_ptr<CModuleTable> modules, std::shared_ptr<CPropertyTable> properties)
        : m_modules(std::move(modules)), m_properties(std::move(properties)) {}

    // The type of that name; null if there is none.
    const KzValueType* find(std::string_view name);
    // The names of all types.
    std::vector<std::string> names() const;
    // As find, but throws the code for an unknown type and logs the types that there are.
    const KzValueType& need(KzResult code, const char* place, std::string_view name);
    // The texts that the type parses, for error messages.
    std::string expects(const KzValueType& type) const;
    // The cell for people, in the present system of units.
    std::string shown(const KzValueType& type, const KzCell& cell) const;
    // The choices offered by the hints of a served type, as internal names.
    std::vector<std::string> choices(std::string_view type) const;

    // A new value, with an optional initial cell, or a new array.
    KzResult makeValue(const KzValueType& type, IKzUnknown** value, const KzCell* cell = nullptr) const;
    CHostRef<CValueArray> makeArray(const KzValueType& type) const;
    // The cell of a new value after `set`; nothing if `set` fails.
    std::optional<KzCell> cellBy(const KzValueType& type, CFunctionRef<KzResult(const CKzUser_Value& value)> set) const;
    std::optional<KzCell> cellOfText(const KzValueType& type, std::string_view text) const;

private:
    std::shared_ptr<CModuleTable> m_modules;
    std::shared_ptr<CPropertyTable> m_properties;
    CTextPool m_texts;
    mutable std::mutex m_lock;
    std::map<std::string, KzValueType, std::less<>> m_served;  // the served types used so far, at stable addresses
};

// Format and parse a served value through its conversion, for people or exactly; NOTIMPL if it has no such conversion.
KzResult kzEncodeServed(IKzUnknown* value, bool nice, char* buffer, std::uint32_t length);
KzResult kzDecodeServed(IKzUnknown* value, bool nice, const char* text);

}  // namespace kzhost
