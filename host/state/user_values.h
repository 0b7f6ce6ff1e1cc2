// Values that users and scripts define by name.
#pragma once

#include "host/state/function_ref.h"
#include "host/state/value_types.h"

#include "kz/base/types.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kzhost {

// How long a value lives: the first of the lives that the description has.
enum class ValueLife {
    temporary,  // until the session ends
    config,     // it is kept in the user's preferences
};

struct UserValue {
    const KzValueType* type = nullptr;
    KzCell cell;
    std::vector<std::string> choices;         // the words of a choice
    std::vector<std::int32_t> choiceNumbers;  // of the words; empty where they are counted from 0
    ValueLife life = ValueLife::temporary;
    std::string userName;             // empty for none
    std::optional<KzCell> initial;    // what it goes back to; without one, what its type begins with
    double minimum = 0, maximum = 0;  // as far as the flags say that it has them
    std::uint32_t flags = 0;          // fUSERVALUE, without that of the action
    std::string action;               // a command that runs after each change; empty for none
    std::uint64_t identity = 0;       // of this definition: a name that is defined again gets another

    std::int32_t numberOf(std::size_t choice) const {
        return choiceNumbers.empty() ? static_cast<std::int32_t>(choice) : choiceNumbers[choice];
    }
    // The number of that word; nothing if it is none of the choices.
    std::optional<std::int32_t> choice(std::string_view word) const;
    bool isChoice(const KzCell& number) const;
    // Whether anything but the value differs.
    bool isDefinedAs(const UserValue& other) const;
    void setRange(double least, double greatest, std::uint32_t rangeFlags);
    // Whether there is no value that it could have.
    bool isRangeEmpty() const;
    // The cell as the range allows it, moved to an end of the range or not at all; nothing if it is outside.
    std::optional<KzCell> within(const KzCell& wanted) const;
    KzCell start() const { return initial ? *initial : kzEmptyCell(*type); }
};

// Whether values of the type are numbers, which may have a least and a greatest one.
bool kzHasRange(const KzValueType& type) noexcept;

enum class ValueEvent { added, deleted, redefined, changed };

class CUserValues {
public:
    // Hears of each value that comes, changes or goes, without the lock; set once, while the host is made.
    using Sink = std::function<void(ValueEvent event, const std::string& name)>;
    void setSink(Sink sink) { m_sink = std::move(sink); }

    std::optional<UserValue> find(const std::string& name) const;
    void set(const std::string& name, UserValue value);
    // Changes the value while it has that definition. `edit` must call nobody: it runs under the lock, and what it throws
    // leaves the value as it was. False once the value has been deleted.
    bool change(const std::string& name, std::uint64_t identity, CFunctionRef<void(UserValue& value)> edit);
    bool remove(const std::string& name);
    std::vector<std::string> names() const;

private:
    void tellChange(const std::string& name, const UserValue& former, const UserValue& now) const;
    void tell(ValueEvent event, const std::string& name) const {
        if (m_sink) m_sink(event, name);
    }

    mutable std::mutex m_lock;
    std::map<std::string, UserValue> m_values;
    std::uint64_t m_lastIdentity = 0;
    Sink m_sink;
};

}  // namespace kzhost
