// Reading and writing the channels of a scene's items. Nothing is animated here: a value is the same at all times.
#include "host/objects/scene.h"

#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/state/text.h"
#include "host/state/value_types.h"

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
    CItem& at(IKzUnknown* item) const {
        const auto own = kzOwn<CItem>(item);
        if (!own->isIn(*m_scene)) throw KZe_INVALIDARG;
        return *own;
    }
    CItem::Channel& at(IKzUnknown* item, std::int32_t channel) const { return at(item).channel(channel); }
    std::int32_t named(IKzUnknown* item, const char* name) const { return at(item).channelIndex(kzTextOf(name)); }
    // A channel with a stored value; throws for computed ones.
    const ChannelInfo& stored(IKzUnknown* item, std::int32_t channel) const {
        const ChannelInfo& info = at(item, channel).info;
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

private:
    CHostRef<CScene> m_scene;
    std::string m_action;
    double m_time;
};

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
        m_text = kzFormatCell(*stored(item, channel).type, cell(item, channel));
        *text = m_text.c_str();
        return KZe_OK;
    }
    KzResult channelread_StringByName(IKzUnknown* item, const char* name, const char** text) override {
        return channelread_String(item, named(item, name), text);
    }
    KzResult channelread_ValueObj(IKzUnknown* item, std::int32_t channel, IKzUnknown** value) override {
        return CHostRef<CValue>::make(*stored(item, channel).type, cell(item, channel)).give(value);
    }
    KzResult channelread_Value(IKzUnknown* item, std::int32_t channel, IKzUnknown* target) override {
        const CKzUser_Value asValue(target);
        const auto value = CHostRef<CValue>::make(*stored(item, channel).type, cell(item, channel));
        return asValue ? asValue->Copy(value.raw()) : KZe_INVALIDARG;
    }
    KzResult channelread_Vector(IKzUnknown* item, std::int32_t firstChannel, KzVector3* value) override {
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
        CItem& owner = at(item);
        switch (owner.channel(channel).info.kind) {
        case ChannelKind::localMatrix: *matrix = kzLocalMatrix(owner); return KZe_OK;
        case ChannelKind::worldMatrix: *matrix = kzWorldMatrix(owner); return KZe_OK;
        default: break;
        }
        return KZe_INVALIDARG;
    }
    bool channelread_IsAnimated(IKzUnknown* /*item*/, std::int32_t /*channel*/) override { return false; }
    std::uint32_t channelread_ValueSource(IKzUnknown* item, std::int32_t channel) override {
        const CItem::Channel& source = at(item, channel);
        if (source.info.type == nullptr) return KZiCHANSOURCE_DRIVEN;
        return source.value ? KZiCHANSOURCE_SCENE : KZiCHANSOURCE_DEFAULT;
    }

private:
    const KzCell& cell(IKzUnknown* item, std::int32_t channel) const {
        stored(item, channel);
        return at(item, channel).cell();
    }
    double number(IKzUnknown* item, std::int32_t channel) const {
        const auto value = kzNumberOf(cell(item, channel));
        if (!value) throw KZe_INVALIDARG;
        return *value;
    }

    std::string m_text;
};

KzResult CChannelRead::channelread_EncodedInteger(IKzUnknown* item, std::int32_t channel, const char** text) {
    const ChannelInfo& info = stored(item, channel);
    const auto whole = kzIntegerOf(cell(item, channel));
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
        return put(item, channel, kzCellOf(*stored(item, channel).type, value));
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
        const ChannelInfo& info = stored(item, channel);
        const auto cell = kzParseCell(*info.type, kzTextOf(text));
        if (!cell)
            return kzBecause(KZe_INVALIDARG, "ChannelWrite.String", [&] {
                return "the channel \"" + info.name + "\": " + kzIsNot(kzTextOf(text), info.type->expects);
            });
        return put(item, channel, cell);
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
        const auto copy = CHostRef<CValue>::make(stored(item, channel).type->name);
        if (const KzResult code = copy->val_Copy(value); kzFailed(code)) return code;
        return put(item, channel, copy->cell());
    }
    KzResult channelwrite_Increment(IKzUnknown* item, std::int32_t channel, double amount) override {
        const ChannelInfo& info = stored(item, channel);
        const auto before = kzNumberOf(at(item, channel).cell());
        if (!before) return KZe_INVALIDARG;
        const bool isWhole = info.storageType() == static_cast<std::uint32_t>(KZiCHANTYPE_INTEGER);
        return put(item, channel, kzCellOf(*info.type, isWhole ? std::round(*before + amount) : *before + amount));
    }
    KzResult channelwrite_Reset(IKzUnknown* item, std::int32_t channel) override {
        return put(item, channel, stored(item, channel).initial);
    }

private:
    KzResult put(IKzUnknown* item, std::int32_t channel, std::optional<KzCell> cell) {
        if (!cell) return KZe_INVALIDARG;
        at(item).write(channel, std::move(*cell));
        return KZe_OK;
    }
};

KzResult CChannelWrite::channelwrite_EncodedInteger(IKzUnknown* item, std::int32_t channel, const char* text) {
    const ChannelInfo& info = stored(item, channel);
    if (!info.hints) return KZe_INVALIDARG;
    for (const auto* row = info.hints->rows(); row->text != nullptr; ++row)
        if (kzTextOf(text) == row->text) return channelwrite_Integer(item, channel, row->value);
    return kzBecause(KZe_NOTFOUND, "ChannelWrite.EncodedInteger",
                     [&] { return kzIsNot(kzTextOf(text), kzOneOf(info.hints->rows())); });
}

// Sets all three channels or none.
KzResult CChannelWrite::channelwrite_Vector(IKzUnknown* item, std::int32_t firstChannel, const KzVector3* value) {
    const KzVector3& vector = kzNotNull(value);
    std::optional<KzCell> before[3];
    for (std::int32_t i = 0; i < 3; ++i) before[i] = at(item, firstChannel + i).value;
    KzResult code = KZe_OK;
    for (std::int32_t i = 0; i < 3 && kzSucceeded(code); ++i)
        code = kzBoundary([&] { return channelwrite_Double(item, firstChannel + i, vector.v[i]); });
    for (std::int32_t i = 0; i < 3 && kzFailed(code); ++i) at(item, firstChannel + i).value = before[i];
    return code;
}

}  // namespace

IKzUnknown* kzMakeChannelRead(CHostRef<CScene> scene, std::string action, double time) {
    return kzMakeObject<CChannelRead>(std::move(scene), std::move(action), time);
}

IKzUnknown* kzMakeChannelWrite(CHostRef<CScene> scene, std::string action, double time) {
    return kzMakeObject<CChannelWrite>(std::move(scene), std::move(action), time);
}

}  // namespace kzhost
