// Writing the channels of a scene's items: values, and keys of an action.
#include "host/objects/channel_access.h"

#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/objects/envelope.h"
#include "host/state/text.h"

#include <fmt/format.h>

#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

class CChannelWrite final : public CHosted<"channel writer", CChannelWrite, CKzIfc_ChannelWrite>, CChannelAccess {
public:
    using CChannelAccess::CChannelAccess;

    KzResult channelwrite_Action(const char** action) override { return giveAction(action); }
    double channelwrite_Time() override { return time(); }
    KzResult channelwrite_SetTime(double time) override { return setTime(time); }
    KzResult channelwrite_Double(IKzUnknown* item, std::int32_t channel, double value) override {
        return write(item, channel, [&](const ChannelInfo& info, const Item&) { return kzCellOf(*info.type, value); });
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
    KzResult channelwrite_EncodedInteger(IKzUnknown* item, std::int32_t channel, const char* text) override {
        return write(item, channel, [&](const ChannelInfo& info, const Item&) -> std::optional<KzCell> {
            if (!info.hints) return {};
            for (const auto* row = info.hints->rows(); row->text != nullptr; ++row)
                if (kzTextOf(text) == row->text) return kzCellOf(*info.type, row->value);
            throw kzBecause(KZe_NOTFOUND, "ChannelWrite.EncodedInteger",
                            [&] { return kzIsNot(kzTextOf(text), kzOneOf(info.hints->rows())); });
        });
    }
    KzResult channelwrite_String(IKzUnknown* item, std::int32_t channel, const char* text) override {
        return write(item, channel, [&](const ChannelInfo& info, const Item&) {
            auto cell = kzParseCell(*info.type, kzTextOf(text));
            if (!cell)
                kzBecause(KZe_INVALIDARG, "ChannelWrite.String", [&] {
                    return "the channel \"" + info.name + "\": " + kzIsNot(kzTextOf(text), info.type->expects);
                });
            return cell;
        });
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
    KzResult channelwrite_Matrix(IKzUnknown* item, std::int32_t channel, const KzMatrix4* matrix) override {
        const KzCell cell = kzCellOfMatrix(kzNotNull(matrix));
        for (const auto& row : matrix->m)
            for (const double number : row)
                if (!std::isfinite(number)) return KZe_INVALIDARG;
        CEdit edit(workspace());
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        if (info.kind > ChannelKind::matrix) return KZe_NOACCESS;
        if (info.kind != ChannelKind::matrix) return KZe_INVALIDARG;
        edit.setValue(*owner, info, cell);
        edit.commit();
        return KZe_OK;
    }
    KzResult channelwrite_ItemRef(IKzUnknown* item, std::int32_t channel, IKzUnknown* target) override {
        const std::string ident = target != nullptr ? at(target)->ident : "";
        return write(item, channel, [&](const ChannelInfo& info, const Item&) {
            return info.kind == ChannelKind::itemReference ? std::optional<KzCell>(ident) : std::nullopt;
        });
    }
    KzResult channelwrite_ValueObj(IKzUnknown* item, std::int32_t channel, IKzUnknown* value) override {
        const char* type = stored(*at(item), channel).type->name;
        const auto copy = CHostRef<CValue>::make(type);  // a module's value is asked without the lock
        if (const KzResult code = copy->val_Copy(value); kzFailed(code)) return code;
        return write(item, channel, [&](const ChannelInfo& info, const Item&) {
            return info.type == &copy->type() ? std::optional(copy->cell()) : std::nullopt;
        });
    }
    KzResult channelwrite_Increment(IKzUnknown* item, std::int32_t channel, double amount) override {
        return write(item, channel, [&](const ChannelInfo& info, const Item& owner) -> std::optional<KzCell> {
            const auto before = kzNumberOf(kzStoredCell(owner, info, time(), action()));
            if (!before) return {};
            const bool isWhole = info.storageType() == static_cast<std::uint32_t>(KZiCHANTYPE_INTEGER);
            return kzCellOf(*info.type, isWhole ? std::round(*before + amount) : *before + amount);
        });
    }
    KzResult channelwrite_Reset(IKzUnknown* item, std::int32_t channel) override {
        CEdit edit(workspace());
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        if (action().empty()) edit.setChannel(*owner, info, {});
        else kzSetAction(*owner, info, {action(), {}, nullptr}, edit);
        edit.commit();
        return KZe_OK;
    }

    KzResult channelwrite_DoubleKey(IKzUnknown* item, std::int32_t channel, double value, double time,
                                    std::int32_t create) override {
        CEdit edit(workspace());
        const auto owner = at(item);
        const ChannelInfo& info = stored(*owner, channel);
        const auto cell = kzCellOf(*info.type, value);
        if (!cell || !kzIsEnvelopeNumber(time)) return KZe_INVALIDARG;
        kzCheckWrite(info, *cell);
        return setKey(*owner, info, keyAction(*owner, info), *cell, time, create != 0, edit);
    }
    KzResult channelwrite_IntegerKey(IKzUnknown* item, std::int32_t channel, std::int32_t value, double time,
                                     std::int32_t create) override {
        return channelwrite_DoubleKey(item, channel, value, time, create);
    }
    KzResult channelwrite_Keys(IKzUnknown* item, std::int32_t channel, std::uint32_t count, double* times,
                               double* values) override;
    KzResult channelwrite_Remove(IKzUnknown* item, std::int32_t channel, std::int32_t envelopeOnly) override {
        CEdit edit(workspace());
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        const std::string from = keyAction(*owner, info);
        std::optional<KzCell> kept;
        if (envelopeOnly != 0 && info.type != nullptr) kept = kzStoredCell(*owner, info, time(), from);
        kzSetCurve(*owner, info, from, nullptr, {}, edit);
        const bool isCurrent = action().empty();
        if (isCurrent) kzSetAction(*owner, info, {KZs_ACTIONLAYER_EDIT, {}, nullptr}, edit);
        if (kept)
            kzSetAction(*owner, info, {isCurrent ? KZs_ACTIONLAYER_STATIC : from, std::move(kept), nullptr}, edit);
        edit.commit();
        return KZe_OK;
    }
    KzResult channelwrite_Envelope(IKzUnknown* item, std::int32_t channel, IKzUnknown** envelope) override {
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        const std::string into = keyAction(*owner, info);
        kzCheckKeys(*owner, info, into);
        *envelope = kzMakeEnvelope(kzChannelEnvelope(kzOwn<CItem>(item), kzChannelRef(*owner, info), into));
        return KZe_OK;
    }

private:
    std::string keyAction(const Item& item, const ChannelInfo& channel) const {
        if (action().empty() && time() == KZiCHANTIME_SETUP) return KZs_ACTIONLAYER_SETUP;
        return kzEnvelopeAction(item, channel, action());
    }
    // Sets what `cellOf(channel, item)` gives; nothing is a value that the channel does not take.
    template <class CellOf> KzResult write(IKzUnknown* item, std::int32_t channel, const CellOf& cellOf) {
        CEdit edit(workspace());
        const auto owner = at(item);
        const ChannelInfo& info = stored(*owner, channel);
        std::optional<KzCell> cell = cellOf(info, *owner);
        if (!cell) return KZe_INVALIDARG;
        put(*owner, info, std::move(*cell), edit);
        edit.commit();
        return KZe_OK;
    }
    // Where the action has keys, the value becomes a key at the present time.
    void put(Item& item, const ChannelInfo& channel, KzCell cell, CEdit& edit) {
        kzCheckWrite(channel, cell);
        const std::string into = action().empty() ? kzCurrentAction(item, channel, time()) : action();
        if (into != KZs_ACTIONLAYER_STATIC && (channel.flags & KZfCHAN_NOANIM) != 0)
            throw kzBecause(KZe_NOACCESS, "ChannelWrite", [&] {
                return fmt::format("the channel \"{}\" has one value for all actions", channel.name);
            });
        if (const auto curve = kzCurveOf(item, channel, into); curve != nullptr && time() != KZiCHANTIME_SETUP)
            addKey(item, channel, into, *curve, *kzNumberOf(cell), time(), edit);
        else kzSetAction(item, channel, {into, std::move(cell), nullptr}, edit);
    }
    static void addKey(Item& item, const ChannelInfo& channel, const std::string& into, const EnvelopeData& before,
                       double value, double time, CEdit& edit) {
        auto curve = std::make_shared<EnvelopeData>(before);
        const std::size_t at = curve->keysBefore(time);
        const bool isThere = at < curve->keys().size() && curve->keys()[at].time == time;
        if (isThere) curve->setValue(at, value, KZiENVSIDE_BOTH);
        else curve->add(time, value);
        const auto kind = isThere ? DocumentEvent::Kind::envelope : DocumentEvent::Kind::keyAdded;
        kzSetCurve(item, channel, into, std::move(curve), {kind, time}, edit);
    }
    static KzResult setKey(Item& item, const ChannelInfo& channel, const std::string& into, const KzCell& cell,
                           double time, bool creates, CEdit& edit) {
        kzCheckKeys(item, channel, into);
        auto before = kzCurveOf(item, channel, into);
        if (before == nullptr) before = std::make_shared<EnvelopeData>(kzNewCurve(channel));
        const std::size_t at = before->keysBefore(time);
        if (!creates && (at == before->keys().size() || before->keys()[at].time != time))
            return kzBecause(KZe_NOTFOUND, "ChannelWrite.DoubleKey",
                             [&] { return fmt::format("the channel \"{}\" has no key at {}", channel.name, time); });
        addKey(item, channel, into, *before, *kzNumberOf(cell), time, edit);
        edit.commit();
        return KZe_OK;
    }
};

// Sets all three channels or none.
KzResult CChannelWrite::channelwrite_Vector(IKzUnknown* item, std::int32_t firstChannel, const KzVector3* value) {
    const KzVector3& vector = kzNotNull(value);
    CEdit edit(workspace());
    const auto owner = at(item);
    for (std::int32_t i = 0; i < 3; ++i) {
        const ChannelInfo& info = stored(*owner, firstChannel + i);
        auto cell = kzCellOf(*info.type, vector.v[i]);
        if (!cell) return KZe_INVALIDARG;
        put(*owner, info, std::move(*cell), edit);
    }
    edit.commit();
    return KZe_OK;
}

KzResult CChannelWrite::channelwrite_Keys(IKzUnknown* item, std::int32_t channel, std::uint32_t count, double* times,
                                          double* values) {
    if (count > 0 && (times == nullptr || values == nullptr)) return KZe_INVALIDARG;
    CEdit edit(workspace());
    const auto owner = at(item);
    const ChannelInfo& info = kzChannelAt(*owner, channel);
    const std::string into = keyAction(*owner, info);
    kzCheckKeys(*owner, info, into);
    std::vector<EnvelopeKey> keys(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!kzIsEnvelopeNumber(times[i]) || !kzIsEnvelopeNumber(values[i]) || (i > 0 && times[i] <= times[i - 1]))
            return kzBecause(KZe_INVALIDARG, "ChannelWrite.Keys", [&] {
                return fmt::format("key {} is {} at {}; both must be finite, and times must ascend", i, values[i],
                                   times[i]);
            });
        kzCheckWrite(info, values[i]);
        keys[i].time = times[i];
        keys[i].in.value = keys[i].out.value = values[i];
    }
    auto curve = std::make_shared<EnvelopeData>(kzNewCurve(info));
    if (const auto before = kzCurveOf(*owner, info, into)) curve->copy(*before);
    curve->setKeys(std::move(keys));
    kzSetCurve(*owner, info, into, std::move(curve), {}, edit);
    edit.commit();
    return KZe_OK;
}

}  // namespace

IKzUnknown* kzMakeChannelWrite(CHostRef<CScene> scene, std::string action, double time) {
    return kzMakeObject<CChannelWrite>(std::move(scene), std::move(action), time);
}

}  // namespace kzhost
