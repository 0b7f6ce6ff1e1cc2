// Reading and writing the channels of a scene's items. Nothing is animated here: a value is the same at all times.
#include "host/objects/item.h"

#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/objects/scene.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

namespace kzhost {

namespace {

// The base of readers and writers.
class CChannelAccess {
public:
    CChannelAccess(CHostRef<CScene> scene, std::string action, double time)
        : m_scene(std::move(scene)), m_action(std::move(action)), m_time(time) {}

protected:
    CItemReading at(IKzUnknown* item) const { return kzOwn<CItem>(item)->readIn(m_scene->document()); }
    std::int32_t named(IKzUnknown* item, const char* name) const { return kzChannelIndex(*at(item), kzTextOf(name)); }
    // A channel with a stored value; throws for computed ones.
    static const ChannelInfo& stored(const Item& item, std::int32_t channel) {
        const ChannelInfo& info = kzChannelAt(item, channel);
        if (info.type == nullptr)
            throw kzBecause(KZe_INVALIDARG, "Channels",
                            [&] { return "the channel \"" + info.name + "\" is a matrix that is computed"; });
        return info;
    }
    KzResult giveAction(const char** action) const {
        *action = m_action.empty() ? nullptr : m_action.c_str();
        return KZe_OK;
    }
    KzResult setTime(double time) {
        if (!std::isfinite(time)) return KZe_INVALIDARG;
        m_time = time;
        return KZe_OK;
    }
    double time() const { return m_time; }

    CWorkspace& workspace() const { return m_scene->document().workspace(); }

private:
    CHostRef<CScene> m_scene;
    std::string m_action;
    double m_time;
};

std::string rangeOf(const ChannelInfo& info) {
    if (!info.minimum) return fmt::format("only values up to {}", *info.maximum);
    if (!info.maximum) return fmt::format("only values from {}", *info.minimum);
    return fmt::format("only values from {} to {}", *info.minimum, *info.maximum);
}

}  // namespace

void kzWriteChannel(Item& item, const ChannelInfo& channel, KzCell cell, CEdit& edit) {
    const auto refuse = [&](KzResult code, const std::string& why) {
        return kzBecause(code, "ChannelWrite", [&] { return fmt::format("the channel \"{}\" {}", channel.name, why); });
    };
    if ((channel.flags & (KZfCHAN_READONLY | KZfCHAN_LOCKED)) != 0) throw refuse(KZe_NOACCESS, "cannot be written");
    if (const auto number = kzNumberOf(cell)) {
        if (!std::isfinite(*number)) throw refuse(KZe_INVALIDARG, fmt::format("takes no {}", *number));
        if ((channel.minimum || channel.maximum || channel.hints) && !channel.takes(*number))
            throw refuse(KZe_OUTOFBOUNDS, fmt::format("takes no {}, {}", *number, rangeOf(channel)));
    }
    edit.setValue(item, channel, std::move(cell));
}

namespace {

class CChannelRead final : public CHosted<"channel reader", CChannelRead, CKzIfc_ChannelRead>, CChannelAccess {
public:
    using CChannelAccess::CChannelAccess;

    double channelread_Time() override { return time(); }
    KzResult channelread_Action(const char** action) override { return giveAction(action); }
    KzResult channelread_SetTime(double time) override { return setTime(time); }
    KzResult channelread_Double(IKzUnknown* item, std::int32_t channel, double* value) override {
        *value = number(item, channel);
        return KZe_OK;
    }
    KzResult channelread_DoubleByName(IKzUnknown* item, const char* name, double* value) override {
        return channelread_Double(item, named(item, name), value);
    }
    KzResult channelread_Integer(IKzUnknown* item, std::int32_t channel, std::int32_t* value) override {
        const auto whole = kzIntegerOf(cell(item, channel));
        if (!whole) return KZe_INVALIDARG;
        *value = *whole;
        return KZe_OK;
    }
    KzResult channelread_IntegerByName(IKzUnknown* item, const char* name, std::int32_t* value) override {
        return channelread_Integer(item, named(item, name), value);
    }
    KzResult channelread_EncodedInteger(IKzUnknown* item, std::int32_t channel, const char** text) override;
    KzResult channelread_String(IKzUnknown* item, std::int32_t channel, const char** text) override {
        const auto reading = at(item);
        const ChannelInfo& info = stored(*reading, channel);
        *text = kzLend(kzFormatCell(*info.type, reading->valueOf(info)));
        return KZe_OK;
    }
    KzResult channelread_StringByName(IKzUnknown* item, const char* name, const char** text) override {
        return channelread_String(item, named(item, name), text);
    }
    KzResult channelread_ValueObj(IKzUnknown* item, std::int32_t channel, IKzUnknown** value) override {
        return valueAt(item, channel).give(value);
    }
    KzResult channelread_Value(IKzUnknown* item, std::int32_t channel, IKzUnknown* target) override {
        const CKzUser_Value asValue(target);
        const auto value = valueAt(item, channel);
        return asValue ? asValue->Copy(value.raw()) : KZe_INVALIDARG;
    }
    KzResult channelread_Vector(IKzUnknown* item, std::int32_t firstChannel, KzVector3* value) override {
        const auto reading = at(item);  // all three of one moment
        KzVector3 vector{};
        for (std::int32_t i = 0; i < 3; ++i) vector.v[i] = number(item, firstChannel + i);
        *value = vector;
        return KZe_OK;
    }
    KzResult channelread_Color(IKzUnknown* item, std::int32_t firstChannel, KzFVector3* color) override {
        KzVector3 vector{};
        if (const KzResult code = channelread_Vector(item, firstChannel, &vector); kzFailed(code)) return code;
        *color = kzNarrow(vector);
        return KZe_OK;
    }
    KzResult channelread_Matrix(IKzUnknown* item, std::int32_t channel, KzMatrix4* matrix) override {
        const auto owner = at(item);
        const auto value = kzMatrixOf(*owner, kzChannelAt(*owner, channel));
        if (!value) return KZe_INVALIDARG;
        *matrix = *value;
        return KZe_OK;
    }
    bool channelread_IsAnimated(IKzUnknown* item, std::int32_t channel) override {
        const auto owner = at(item);
        const auto state = owner->values.find(&kzChannelAt(*owner, channel));
        return state != owner->values.end() &&
               std::ranges::any_of(state->second.actions, [](const auto& each) { return each.curve != nullptr; });
    }
    std::uint32_t channelread_ValueSource(IKzUnknown* item, std::int32_t channel) override {
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        if (info.type == nullptr) return KZiCHANSOURCE_DRIVEN;
        return owner->values.contains(&info) ? KZiCHANSOURCE_SCENE : KZiCHANSOURCE_DEFAULT;
    }

private:
    KzCell cell(IKzUnknown* item, std::int32_t channel) const {
        const auto reading = at(item);
        return reading->valueOf(stored(*reading, channel));
    }
    CHostRef<CValue> valueAt(IKzUnknown* item, std::int32_t channel) const {
        const auto reading = at(item);
        const ChannelInfo& info = stored(*reading, channel);
        return CHostRef<CValue>::make(*info.type, reading->valueOf(info));
    }
    double number(IKzUnknown* item, std::int32_t channel) const {
        const auto value = kzNumberOf(cell(item, channel));
        if (!value) throw KZe_INVALIDARG;
        return *value;
    }
};

KzResult CChannelRead::channelread_EncodedInteger(IKzUnknown* item, std::int32_t channel, const char** text) {
    const auto reading = at(item);
    const ChannelInfo& info = stored(*reading, channel);
    const auto whole = kzIntegerOf(reading->valueOf(info));
    if (!whole || !info.hints) return KZe_INVALIDARG;
    for (const auto* row = info.hints->rows(); row->text != nullptr; ++row) {
        if (row->value != *whole) continue;
        *text = row->text;
        return KZe_OK;
    }
    return KZe_NOTFOUND;
}

class CChannelWrite final : public CHosted<"channel writer", CChannelWrite, CKzIfc_ChannelWrite>, CChannelAccess {
public:
    using CChannelAccess::CChannelAccess;

    KzResult channelwrite_Action(const char** action) override { return giveAction(action); }
    double channelwrite_Time() override { return time(); }
    KzResult channelwrite_SetTime(double time) override { return setTime(time); }
    KzResult channelwrite_Double(IKzUnknown* item, std::int32_t channel, double value) override {
        const auto owner = at(item);
        const ChannelInfo& info = stored(*owner, channel);
        return put(*owner, info, kzCellOf(*info.type, value));
    }
    KzResult channelwrite_DoubleByName(IKzUnknown* item, const char* name, double value) override {
        return channelwrite_Double(item, named(item, name), value);
    }
    KzResult channelwrite_Integer(IKzUnknown* item, std::int32_t channel, std::int32_t value) override {
        return channelwrite_Double(item, channel, value);
    }
    KzResult channelwrite_IntegerByName(IKzUnknown* item, const char* name, std::int32_t value) override {
        return channelwrite_Double(item, named(item, name), value);
    }
    KzResult channelwrite_EncodedInteger(IKzUnknown* item, std::int32_t channel, const char* text) override;
    KzResult channelwrite_String(IKzUnknown* item, std::int32_t channel, const char* text) override {
        const auto owner = at(item);
        const ChannelInfo& info = stored(*owner, channel);
        const auto cell = kzParseCell(*info.type, kzTextOf(text));
        if (!cell)
            return kzBecause(KZe_INVALIDARG, "ChannelWrite.String", [&] {
                return "the channel \"" + info.name + "\": " + kzIsNot(kzTextOf(text), info.type->expects);
            });
        return put(*owner, info, cell);
    }
    KzResult channelwrite_StringByName(IKzUnknown* item, const char* name, const char* text) override {
        return channelwrite_String(item, named(item, name), text);
    }
    KzResult channelwrite_Vector(IKzUnknown* item, std::int32_t firstChannel, const KzVector3* value) override;
    KzResult channelwrite_Color(IKzUnknown* item, std::int32_t firstChannel, const KzFVector3* color) override {
        const KzFVector3& rgb = kzNotNull(color);
        const KzVector3 wide{{rgb.v[0], rgb.v[1], rgb.v[2]}};
        return channelwrite_Vector(item, firstChannel, &wide);
    }
    KzResult channelwrite_ValueObj(IKzUnknown* item, std::int32_t channel, IKzUnknown* value) override {
        const char* type = stored(*at(item), channel).type->name;
        const auto copy = CHostRef<CValue>::make(type);  // a module's value is asked without the lock
        if (const KzResult code = copy->val_Copy(value); kzFailed(code)) return code;
        const auto owner = at(item);
        const ChannelInfo& info = stored(*owner, channel);
        return info.type == &copy->type() ? put(*owner, info, copy->cell()) : KZe_INVALIDARG;
    }
    KzResult channelwrite_Increment(IKzUnknown* item, std::int32_t channel, double amount) override {
        const auto owner = at(item);
        const ChannelInfo& info = stored(*owner, channel);
        const auto before = kzNumberOf(owner->valueOf(info));
        if (!before) return KZe_INVALIDARG;
        const bool isWhole = info.storageType() == static_cast<std::uint32_t>(KZiCHANTYPE_INTEGER);
        return put(*owner, info, kzCellOf(*info.type, isWhole ? std::round(*before + amount) : *before + amount));
    }
    KzResult channelwrite_Reset(IKzUnknown* item, std::int32_t channel) override {
        const auto owner = at(item);
        CEdit edit(workspace());
        edit.setValue(*owner, stored(*owner, channel), {});
        edit.commit();
        return KZe_OK;
    }

private:
    KzResult put(Item& item, const ChannelInfo& channel, std::optional<KzCell> cell) {
        if (!cell) return KZe_INVALIDARG;
        CEdit edit(workspace());
        kzWriteChannel(item, channel, std::move(*cell), edit);
        edit.commit();
        return KZe_OK;
    }
};

KzResult CChannelWrite::channelwrite_EncodedInteger(IKzUnknown* item, std::int32_t channel, const char* text) {
    const auto owner = at(item);
    const ChannelInfo& info = stored(*owner, channel);
    if (!info.hints) return KZe_INVALIDARG;
    for (const auto* row = info.hints->rows(); row->text != nullptr; ++row)
        if (kzTextOf(text) == row->text) return channelwrite_Integer(item, channel, row->value);
    return kzBecause(KZe_NOTFOUND, "ChannelWrite.EncodedInteger",
                     [&] { return kzIsNot(kzTextOf(text), kzOneOf(info.hints->rows())); });
}

// Sets all three channels or none.
KzResult CChannelWrite::channelwrite_Vector(IKzUnknown* item, std::int32_t firstChannel, const KzVector3* value) {
    const KzVector3& vector = kzNotNull(value);
    CEdit edit(workspace());
    const auto owner = at(item);
    for (std::int32_t i = 0; i < 3; ++i) {
        const ChannelInfo& info = stored(*owner, firstChannel + i);
        auto cell = kzCellOf(*info.type, vector.v[i]);
        if (!cell) return KZe_INVALIDARG;
        kzWriteChannel(*owner, info, std::move(*cell), edit);
    }
    edit.commit();
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeChannelRead(CHostRef<CScene> scene, std::string action, double time) {
    return kzMakeObject<CChannelRead>(std::move(scene), std::move(action), time);
}

IKzUnknown* kzMakeChannelWrite(CHostRef<CScene> scene, std::string action, double time) {
    return kzMakeObject<CChannelWrite>(std::move(scene), std::move(action), time);
}

}  // namespace kzhost
