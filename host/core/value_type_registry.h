// The value types of a host, its own and those that modules serve: their values, texts and choices.
#pragma once

#include "host/core/object.h"
#include "host/core/values.h"
#include "host/state/text_pool.h"
#include "host/state/value_types.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class CModuleTable;

// Where the types of values come from: the host's own table, and the value servers of its modules.
class CValueTypeRegistry : public std::enable_shared_from_this<CValueTypeRegistry> {
public:
    explicit CValueTypeRegistry(std::shared_ptr<CModuleTable> modules) : m_modules(std::move(modules)) {}

    // A value type by its name, the host's own or a module's; null for neither.
    const KzValueType* find(std::string_view name);
    // The names of all of them.
    std::vector<std::string> names() const;
    // As find, where there must be one: throws the code, and says what there is.
    const KzValueType& need(KzResult code, const char* place, std::string_view name);
    // What text the type reads, for messages.
    std::string expects(const KzValueType& type) const;
    // The choices that the hints of a served type offer, by their internal names.
    std::vector<std::string> choices(std::string_view type) const;

    // A new value, or a new array, of a type of either kind. The value may be given a cell.
    KzResult makeValue(const KzValueType& type, IKzUnknown** value, const KzCell* cell = nullptr) const;
    CHostRef<CValueArray> makeArray(const KzValueType& type) const;
    // The cell of a new value of that type once `set` has set it; nothing where it was refused.
    std::optional<KzCell> cellBy(const KzValueType& type,
                                 const std::function<KzResult(const CKzUser_Value& value)>& set) const;
    std::optional<KzCell> cellOfText(const KzValueType& type, std::string_view text) const;

private:
    std::shared_ptr<CModuleTable> m_modules;
    CTextPool m_texts;
    mutable std::mutex m_lock;
    std::map<std::string, KzValueType, std::less<>> m_served;  // those that were used, each at one address
};

// A served value's text as its conversion has it, for people or exact; NOTIMPL when it has no such conversion.
KzResult kzEncodeServed(IKzUnknown* value, bool nice, char* buffer, std::uint32_t length);
KzResult kzDecodeServed(IKzUnknown* value, bool nice, const char* text);
