// One user value as an object, and a reference through which others read and change it.
#include "host/objects/user_value.h"

#include "host/core/notifier_table.h"
#include "host/core/object.h"
#include "host/core/reasons.h"
#include "host/core/value_type_registry.h"
#include "host/document/change.h"
#include "host/document/workspace.h"
#include "host/state/function_ref.h"
#include "host/state/text.h"
#include "host/state/user_values.h"

#include "kz/object.h"
#include "kz/result.h"
#include "kz/user_value.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <mutex>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

constexpr std::uint32_t allFlagsOfValues = 0x1FF;
constexpr std::size_t mostChoicesOfValue = 10000;  // a table without an end must not keep the host busy

// A definition of a value: what the object and references to it work on.
struct UserValueHandle {
    UserValueParts parts;
    std::string name;
    std::uint64_t identity = 0;

    std::optional<UserValue> present() const {
        auto value = parts.values->find(name);
        return value && value->identity == identity ? value : std::nullopt;
    }
    UserValue need(const char* place) const {
        if (auto value = present()) return *std::move(value);
        throw gone(place);
    }
    KzResult gone(const char* place) const {
        return kzBecause(KZe_NOTAVAILABLE, place,
                         [this] { return "the user value \"" + name + "\" has been deleted"; });
    }
    // Redefines the value; `edit` runs under a lock.
    KzResult redefine(const char* place, CFunctionRef<void(UserValue& value)> edit) const {
        return parts.values->change(name, identity, edit) ? KZe_OK : gone(place);
    }
    KzResult get(const char* place, IKzUnknown** value) const {
        const UserValue now = need(place);
        return parts.types->makeValue(*now.type, value, &now.cell);
    }
    KzCell converted(const char* place, const UserValue& now, IKzUnknown* source) const;
    KzResult put(const char* place, const KzCell& cell) const;
    KzResult set(const char* place, IKzUnknown* source) const {
        refuseReadOnly(place);
        return put(place, converted(place, need(place), source));
    }
    void refuseReadOnly(const char* place) const {
        if ((need(place).flags & KZfUSERVALUE_READONLY) != 0)
            throw kzBecause(KZe_NOACCESS, place, [this] { return "the user value \"" + name + "\" is read-only"; });
    }
};

// Exchanges the value with the one that it had. It calls listeners, so it is applied without the lock. A value that has been
// deleted meanwhile stays away. The history belongs to the workspace, which therefore is not kept here.
class CUserValueChange final : public CChange {
public:
    CUserValueChange(const UserValueHandle& handle, KzCell before, KzCell after)
        : CChange(nullptr), m_values(handle.parts.values), m_name(handle.name), m_identity(handle.identity),
          m_before(std::move(before)), m_after(std::move(after)) {}
    void apply(Direction direction, DocumentEvents& /*events*/) override {
        const auto values = m_values.lock();
        if (values == nullptr) return;
        values->change(m_name, m_identity,
                       [&](UserValue& value) { value.cell = direction == Direction::forward ? m_after : m_before; });
    }
    bool isForeign() const override { return true; }
    std::size_t memory() const override { return sizeof *this; }

private:
    const std::weak_ptr<CUserValues> m_values;
    const std::string m_name;
    const std::uint64_t m_identity;
    KzCell m_before, m_after;
};

// The source converted to the type of the value. A word that is one of the choices stands for its number.
KzCell UserValueHandle::converted(const char* place, const UserValue& now, IKzUnknown* source) const {
    if (!CKzUser_Value(source))
        throw kzBecause(KZe_INVALIDARG, place,
                        [] { return "what is to be set is no object with the interface Value"; });
    if (!now.choices.empty())
        if (const auto number = now.choice(kzValueText(source))) return *number;
    auto cell = parts.types->cellBy(*now.type,
                                    [source](const CKzUser_Value& value) { return kzCopyValue(value.raw(), source); });
    if (!cell || (!now.choices.empty() && !now.isChoice(*cell)))
        throw kzBecause(KZe_INVALIDARG, place, [&] {
            return kzIsNot(kzValueText(source), now.choices.empty() ? parts.types->expects(*now.type)
                                                                    : "one of the choices of \"" + name + "\"");
        });
    return *std::move(cell);
}

// Changes that take part in undoing are steps of the history, unless one is being undone: then they belong to that.
KzResult UserValueHandle::put(const char* place, const KzCell& cell) const {
    KzCell before, after;
    bool isRecorded = false;
    const bool isThere = parts.values->change(name, identity, [&](UserValue& value) {
        auto allowed = value.within(cell);
        if (!allowed) throw KZe_OUTOFBOUNDS;
        before = value.cell;
        value.cell = after = *std::move(allowed);
        isRecorded = before != after && (value.flags & KZfUSERVALUE_NOUNDO) == 0;
    });
    if (!isThere) return gone(place);
    if (isRecorded && !parts.workspace->isUndoing())
        parts.workspace->record(std::make_unique<CUserValueChange>(*this, std::move(before), std::move(after)));
    return KZe_OK;
}

class CUserValueObject final : public CHosted<"user value", CUserValueObject, CKzIfc_UserValue> {
public:
    explicit CUserValueObject(UserValueHandle handle) : m_handle(std::move(handle)) {}

    const char* uservalue_Name() override { return kzLend(m_handle.name); }
    const char* uservalue_UserName() override {
        const auto value = m_handle.present();
        return kzLend(value && !value->userName.empty() ? value->userName : m_handle.name);
    }
    KzResult uservalue_SetUserName(const char* name) override {
        return m_handle.redefine("UserValue.SetUserName", [&](UserValue& value) { value.userName = kzString(name); });
    }
    const char* uservalue_TypeName() override {
        const auto value = m_handle.present();
        return value ? value->type->name : nullptr;
    }
    std::uint32_t uservalue_Life() override {
        const auto value = m_handle.present();
        return value ? static_cast<std::uint32_t>(value->life) : 0;
    }
    std::uint32_t uservalue_Flags() override {
        const auto value = m_handle.present();
        if (!value) return 0;
        return value->flags | (value->action.empty() ? 0 : static_cast<std::uint32_t>(KZfUSERVALUE_HASACTION));
    }
    KzResult uservalue_SetFlags(std::uint32_t flags) override;
    KzResult uservalue_Get(IKzUnknown** value) override { return m_handle.get("UserValue.Get", value); }
    KzResult uservalue_Set(IKzUnknown* value) override {
        return withRange("UserValue.Set", [&] { return m_handle.set("UserValue.Set", value); });
    }
    KzResult uservalue_Reset() override {
        return withRange("UserValue.Reset", [this] {
            m_handle.refuseReadOnly("UserValue.Reset");
            return m_handle.put("UserValue.Reset", m_handle.need("UserValue.Reset").start());
        });
    }
    KzResult uservalue_SetDefault(IKzUnknown* value) override;
    KzResult uservalue_Range(double* minimum, double* maximum) override;
    KzResult uservalue_SetRange(double minimum, double maximum, std::uint32_t flags) override;
    KzResult uservalue_Hints(const KzTextValueHint** hints) override;
    KzResult uservalue_SetHints(const KzTextValueHint* hints) override;
    const char* uservalue_Action() override {
        const auto value = m_handle.present();
        return value && !value->action.empty() ? kzLend(value->action) : nullptr;
    }
    KzResult uservalue_SetAction(const char* command) override {
        return m_handle.redefine("UserValue.SetAction", [&](UserValue& value) { value.action = kzString(command); });
    }
    bool uservalue_IsDefined() override { return m_handle.present().has_value(); }

private:
    // Says for a value that is outside what the range is.
    template <class Act> KzResult withRange(const char* place, const Act& act) const {
        KzResult code = KZe_OK;
        try {
            code = act();
        } catch (KzResult thrown) {
            code = thrown;
        }
        if (code != KZe_OUTOFBOUNDS) return code;
        return kzBecause(code, place, [this] {
            const UserValue now = m_handle.need("UserValue");
            return fmt::format("\"{}\" takes {}{}{}", m_handle.name,
                               (now.flags & KZfUSERVALUE_MIN) != 0 ? fmt::format("no less than {}", now.minimum) : "",
                               (now.flags & KZmUSERVALUE_RANGE) == (KZfUSERVALUE_MIN | KZfUSERVALUE_MAX) ? " and " : "",
                               (now.flags & KZfUSERVALUE_MAX) != 0 ? fmt::format("no more than {}", now.maximum) : "");
        });
    }

    // A table that was handed out stays as long as the object.
    struct Table {
        std::vector<std::string> words;
        std::vector<std::int32_t> numbers;
        std::vector<KzTextValueHint> rows;
    };
    UserValueHandle m_handle;
    std::mutex m_lock;
    std::deque<Table> m_tables;
};

KzResult CUserValueObject::uservalue_SetFlags(std::uint32_t flags) {
    if ((flags & ~allFlagsOfValues) != 0)
        return kzBecause(KZe_INVALIDARG, "UserValue.SetFlags",
                         [&] { return fmt::format("{:#x} has flags that user values do not have", flags); });
    const UserValue now = m_handle.need("UserValue.SetFlags");
    if ((flags & (KZfUSERVALUE_MIN | KZfUSERVALUE_MAX)) != 0 && !kzHasRange(*now.type))
        return kzBecause(KZe_INVALIDARG, "UserValue.SetFlags", [] { return "only numbers have a range"; });
    if (UserValue wanted = now;
        wanted.setRange(now.minimum, now.maximum, flags & KZmUSERVALUE_RANGE), wanted.isRangeEmpty())
        return kzBecause(KZe_INVALIDARG, "UserValue.SetFlags", [&] {
            return fmt::format("the range would be {} to {}, in which there is no value", now.minimum, now.maximum);
        });
    return m_handle.redefine("UserValue.SetFlags", [&](UserValue& value) {
        value.flags = flags & ~static_cast<std::uint32_t>(KZfUSERVALUE_HASACTION);
    });
}

KzResult CUserValueObject::uservalue_SetDefault(IKzUnknown* value) {
    constexpr const char* place = "UserValue.SetDefault";
    const KzCell cell = m_handle.converted(place, m_handle.need(place), value);
    return withRange(place, [&] {
        return m_handle.redefine(place, [&](UserValue& now) {
            auto allowed = now.within(cell);
            if (!allowed) throw KZe_OUTOFBOUNDS;
            now.initial = std::move(allowed);
        });
    });
}

KzResult CUserValueObject::uservalue_Range(double* minimum, double* maximum) {
    const UserValue now = m_handle.need("UserValue.Range");
    if ((now.flags & (KZfUSERVALUE_MIN | KZfUSERVALUE_MAX)) == 0) return KZe_NOTAVAILABLE;
    *minimum = (now.flags & KZfUSERVALUE_MIN) != 0 ? now.minimum : -HUGE_VAL;
    *maximum = (now.flags & KZfUSERVALUE_MAX) != 0 ? now.maximum : HUGE_VAL;
    return KZe_OK;
}

// The present value moves into the range if that clamps, and otherwise stays what it is until it is set.
KzResult CUserValueObject::uservalue_SetRange(double minimum, double maximum, std::uint32_t flags) {
    constexpr const char* place = "UserValue.SetRange";
    const UserValue now = m_handle.need(place);
    const bool hasBoth = (flags & KZfUSERVALUE_MIN) != 0 && (flags & KZfUSERVALUE_MAX) != 0;
    const auto refuse = [&](const char* why) {
        return kzBecause(KZe_INVALIDARG, place, [&] {
            return fmt::format("{} to {} with the flags {:#x}: {}", minimum, maximum, flags, why);
        });
    };
    if ((flags & ~static_cast<std::uint32_t>(KZmUSERVALUE_RANGE)) != 0)
        return refuse("only the flags of the ends and of what happens beyond them are taken here");
    if (std::isnan(minimum) || std::isnan(maximum)) return refuse("the ends must be numbers");
    if (hasBoth && minimum > maximum) return refuse("the least value must not be above the greatest");
    if (!kzHasRange(*now.type) && flags != 0) return refuse("only numbers have a range");
    if (UserValue wanted = now; wanted.setRange(minimum, maximum, flags), wanted.isRangeEmpty())
        return refuse("no integer is in this range");
    return m_handle.redefine(place, [&](UserValue& value) {
        value.setRange(minimum, maximum, flags);
        if ((flags & KZfUSERVALUE_CLAMP) == 0) return;
        if (const auto moved = value.within(value.cell)) value.cell = *moved;
        if (value.initial) value.initial = value.within(*value.initial);
    });
}

KzResult CUserValueObject::uservalue_Hints(const KzTextValueHint** hints) {
    UserValue now = m_handle.need("UserValue.Hints");
    if (now.choices.empty()) return KZe_NOTFOUND;
    const std::lock_guard lock(m_lock);
    if (m_tables.empty() || m_tables.back().words != now.choices || m_tables.back().numbers != now.choiceNumbers) {
        Table& table = m_tables.emplace_back();
        table.words = now.choices;
        table.numbers = now.choiceNumbers;
        for (std::size_t at = 0; at < table.words.size(); ++at)
            table.rows.push_back({now.numberOf(at), table.words[at].c_str()});
        table.rows.push_back({0, nullptr});
    }
    *hints = m_tables.back().rows.data();
    return KZe_OK;
}

KzResult CUserValueObject::uservalue_SetHints(const KzTextValueHint* hints) {
    constexpr const char* place = "UserValue.SetHints";
    const UserValue now = m_handle.need(place);
    std::vector<std::string> words;
    std::vector<std::int32_t> numbers;
    for (; hints != nullptr && hints->text != nullptr && words.size() <= mostChoicesOfValue; ++hints) {
        words.emplace_back(hints->text);
        numbers.push_back(hints->value);
    }
    const auto refuse = [&](const std::string& why) { return kzBecause(KZe_INVALIDARG, place, [&] { return why; }); };
    if (words.size() > mostChoicesOfValue)
        return refuse(fmt::format("a value has at most {} choices", mostChoicesOfValue));
    if (now.type->storage != KZiVALUE_TYPE_INTEGER && !words.empty())
        return refuse(
            fmt::format("\"{}\" is of type {}, and only integers have choices", m_handle.name, now.type->name));
    if (now.type->name == std::string_view(KZsTYPE_CHOICE) && words.empty())
        return refuse("\"" + m_handle.name + "\" is a choice, which needs words");
    std::vector<std::int32_t> counted(numbers.size());
    std::iota(counted.begin(), counted.end(), 0);
    if (numbers == counted) numbers.clear();
    return m_handle.redefine(place, [&](UserValue& value) {
        value.choices = std::move(words);
        value.choiceNumbers = std::move(numbers);
    });
}

class CUserValueReference final : public CHosted<"value reference", CUserValueReference, CKzIfc_ValueReference> {
public:
    explicit CUserValueReference(UserValueHandle handle) : m_handle(std::move(handle)) {}

    KzResult valuereference_Get(IKzUnknown** value) override { return m_handle.get("ValueReference.Get", value); }
    KzResult valuereference_Set(IKzUnknown* value) override { return m_handle.set("ValueReference.Set", value); }
    const char* valuereference_TypeName() override {
        const auto value = m_handle.present();
        return value ? value->type->name : nullptr;
    }
    KzResult valuereference_Owner(IKzUnknown** owner) override {
        if (!m_handle.present()) return KZe_NOTFOUND;
        return CHostRef<CUserValueObject>::make(m_handle).give(owner);
    }
    bool valuereference_IsValid() override { return m_handle.present().has_value(); }
    bool valuereference_IsReadOnly() override {
        const auto value = m_handle.present();
        return !value || (value->flags & KZfUSERVALUE_READONLY) != 0;
    }
    KzResult valuereference_Notifier(IKzUnknown** notifier) override {
        if (!m_handle.present()) return KZe_NOTFOUND;
        return m_handle.parts.notifiers->lookup(KZsNOTIFIER_USERVALUE, m_handle.name, notifier);
    }

private:
    UserValueHandle m_handle;
};

UserValueHandle handleOfValue(const UserValueParts& parts, const std::string& name) {
    const auto value = parts.values->find(name);
    if (!value)
        throw kzBecause(KZe_NOTFOUND, "UserValue",
                        [&] { return kzThereIsNo("user value", name, parts.values->names()); });
    return {parts, name, value->identity};
}

}  // namespace

KzResult kzGiveUserValue(const UserValueParts& parts, const std::string& name, IKzUnknown** object) {
    return CHostRef<CUserValueObject>::make(handleOfValue(parts, name)).give(object);
}

KzResult kzGiveValueReference(const UserValueParts& parts, const std::string& name, IKzUnknown** object) {
    return CHostRef<CUserValueReference>::make(handleOfValue(parts, name)).give(object);
}

void kzRunValueAction(const CUserValues& values, const std::string& name,
                      CFunctionRef<void(const std::string& command)> run) {
    constexpr std::size_t longestChain = 64;  // of values whose actions set the next; each takes some of the stack
    thread_local std::vector<std::string> running;
    const auto value = values.find(name);
    if (!value || value->action.empty() || std::ranges::find(running, name) != running.end()) return;
    if (running.size() >= longestChain) {
        kzBecause(KZe_OUTOFBOUNDS, "UserValue", [&] {
            return fmt::format("the action of \"{}\" is left out: {} others have led to it", name, longestChain);
        });
        return;
    }
    struct Turn {
        explicit Turn(const std::string& of) { running.push_back(of); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn() { running.pop_back(); }
    } const turn(name);
    run(value->action);
}

}  // namespace kzhost
