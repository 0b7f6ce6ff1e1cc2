// Values that users and scripts define by name.
#include "host/state/user_values.h"

#include "host/state/function_ref.h"

#include "kz/user_value.h"
#include "kz/value.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace kzhost {

bool kzHasRange(const KzValueType& type) noexcept {
    return !type.isServed && (type.storage == KZiVALUE_TYPE_INTEGER || type.storage == KZiVALUE_TYPE_FLOAT);
}

std::optional<std::int32_t> UserValue::choice(std::string_view word) const {
    const auto found = std::find(choices.begin(), choices.end(), word);
    if (found == choices.end()) return {};
    return numberOf(static_cast<std::size_t>(found - choices.begin()));
}

bool UserValue::isChoice(const KzCell& number) const {
    const auto wanted = kzNumberOf(number);
    for (std::size_t at = 0; at < choices.size(); ++at)
        if (wanted == static_cast<double>(numberOf(at))) return true;
    return false;
}

bool UserValue::isDefinedAs(const UserValue& other) const {
    return type == other.type && choices == other.choices && choiceNumbers == other.choiceNumbers &&
           life == other.life && userName == other.userName && initial == other.initial && minimum == other.minimum &&
           maximum == other.maximum && flags == other.flags && action == other.action;
}

void UserValue::setRange(double least, double greatest, std::uint32_t rangeFlags) {
    flags = (flags & ~static_cast<std::uint32_t>(KZmUSERVALUE_RANGE)) | rangeFlags;
    minimum = least;
    maximum = greatest;
}

bool UserValue::isRangeEmpty() const {
    double first = (flags & KZfUSERVALUE_MIN) != 0 ? minimum : -HUGE_VAL;
    double last = (flags & KZfUSERVALUE_MAX) != 0 ? maximum : HUGE_VAL;
    if (kzHasRange(*type) && type->storage == KZiVALUE_TYPE_INTEGER) {
        first = std::max<double>(std::ceil(first), std::numeric_limits<std::int32_t>::min());
        last = std::min<double>(std::floor(last), std::numeric_limits<std::int32_t>::max());
    }
    return !(first <= last);
}

std::optional<KzCell> UserValue::within(const KzCell& wanted) const {
    if ((flags & (KZfUSERVALUE_MIN | KZfUSERVALUE_MAX)) == 0) return wanted;
    const auto number = kzNumberOf(wanted);
    if (!number || std::isnan(*number)) return {};
    double allowed = *number;
    if ((flags & KZfUSERVALUE_MIN) != 0) allowed = std::max(allowed, minimum);
    if ((flags & KZfUSERVALUE_MAX) != 0) allowed = std::min(allowed, maximum);
    if (allowed == *number) return wanted;
    if ((flags & KZfUSERVALUE_CLAMP) == 0) return {};
    // An integer has its ends at whole numbers within the range.
    if (type->storage == KZiVALUE_TYPE_INTEGER) allowed = allowed > *number ? std::ceil(allowed) : std::floor(allowed);
    return kzCellOf(*type, allowed);
}

std::optional<UserValue> CUserValues::find(const std::string& name) const {
    const std::lock_guard lock(m_lock);
    const auto entry = m_values.find(name);
    return entry != m_values.end() ? std::optional(entry->second) : std::nullopt;
}

void CUserValues::set(const std::string& name, UserValue value) {
    std::optional<UserValue> former;
    UserValue now;
    {
        const std::lock_guard lock(m_lock);
        const auto [entry, isNew] = m_values.try_emplace(name);
        if (!isNew) former = std::move(entry->second);
        value.identity = isNew ? ++m_lastIdentity : former->identity;
        now = value;
        entry->second = std::move(value);
    }
    if (former) tellChange(name, *former, now);
    else tell(ValueEvent::added, name);
}

bool CUserValues::change(const std::string& name, std::uint64_t identity, CFunctionRef<void(UserValue& value)> edit) {
    UserValue former, now;
    {
        const std::lock_guard lock(m_lock);
        const auto entry = m_values.find(name);
        if (entry == m_values.end() || entry->second.identity != identity) return false;
        former = now = entry->second;
        edit(now);
        entry->second = now;
    }
    tellChange(name, former, now);
    return true;
}

void CUserValues::tellChange(const std::string& name, const UserValue& former, const UserValue& now) const {
    if (!former.isDefinedAs(now)) tell(ValueEvent::redefined, name);
    if (former.cell != now.cell) tell(ValueEvent::changed, name);
}

bool CUserValues::remove(const std::string& name) {
    {
        const std::lock_guard lock(m_lock);
        if (m_values.erase(name) == 0) return false;
    }
    tell(ValueEvent::deleted, name);
    return true;
}

std::vector<std::string> CUserValues::names() const {
    const std::lock_guard lock(m_lock);
    std::vector<std::string> all;
    for (const auto& [name, value] : m_values) all.push_back(name);
    return all;
}

}  // namespace kzhost
