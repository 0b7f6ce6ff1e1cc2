// Reading the channels of a scene's items at a time: evaluated, or as one action has them.
#include "host/objects/channel_access.h"

#include "host/core/reasons.h"
#include "host/core/values.h"
#include "host/document/transform_values.h"
#include "host/objects/envelope.h"
#include "host/state/text.h"

#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

class CChannelRead final : public CHosted<"channel reader", CChannelRead, CKzIfc_ChannelRead>, CChannelAccess {
public:
    using CChannelAccess::CChannelAccess;

    double channelread_Time() override { return time(); }
    KzResult channelread_Action(const char** action) override { return giveAction(action); }
    KzResult channelread_SetTime(double time) override { return setTime(time); }
    KzResult channelread_Double(IKzUnknown* item, std::int32_t channel, double* value) override {
        *value = number(read(item, channel));
        return KZe_OK;
    }
    KzResult channelread_DoubleByName(IKzUnknown* item, const char* name, double* value) override {
        return channelread_Double(item, named(item, name), value);
    }
    KzResult channelread_Integer(IKzUnknown* item, std::int32_t channel, std::int32_t* value) override {
        const auto whole = kzIntegerOf(read(item, channel).cell);
        if (!whole) return KZe_INVALIDARG;
        *value = *whole;
        return KZe_OK;
    }
    KzResult channelread_IntegerByName(IKzUnknown* item, const char* name, std::int32_t* value) override {
        return channelread_Integer(item, named(item, name), value);
    }
    KzResult channelread_EncodedInteger(IKzUnknown* item, std::int32_t channel, const char** text) override {
        const auto [info, cell] = read(item, channel);
        const auto whole = kzIntegerOf(cell);
        if (!whole || !info->hints) return KZe_INVALIDARG;
        const char* word = kzWordOf(info->hints->rows(), *whole);
        if (word == nullptr) return KZe_NOTFOUND;
        *text = kzLend(word);
        return KZe_OK;
    }
    KzResult channelread_String(IKzUnknown* item, std::int32_t channel, const char** text) override {
        const auto [info, cell] = read(item, channel);
        *text = kzLend(kzFormatCell(*info->type, cell));
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
        std::vector<ChannelRef> channels;
        {
            const auto owner = at(item);
            for (std::int32_t i = 0; i < 3; ++i)
                channels.push_back(kzChannelRef(*owner, stored(*owner, firstChannel + i)));
        }
        const auto cells = read(channels);
        KzVector3 vector{};
        for (std::size_t i = 0; i < 3; ++i) vector.v[i] = number({channels[i].channel, cells[i]});
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
        const auto ref = channelOf(item, channel);
        const auto value = kzEvaluationOf(document()).read(std::span(&ref, 1), time()).front();
        const auto* found = std::get_if<KzMatrix4>(&value);
        if (found == nullptr)
            return kzBecause(KZe_INVALIDARG, "ChannelRead.Matrix", [&] {
                return "the channel \"" + ref.channel->name + "\" is no matrix, or one without an inverse";
            });
        *matrix = *found;
        return KZe_OK;
    }
    KzResult channelread_Quaternion(IKzUnknown* item, std::int32_t channel, KzQuaternion* rotation) override {
        KzMatrix4 matrix;
        if (const KzResult code = channelread_Matrix(item, channel, &matrix); kzFailed(code)) return code;
        *rotation = kzQuaternionOf(kzRotationAndScale(kzUpperLeft(matrix)).rotation);
        return KZe_OK;
    }
    KzResult channelread_ItemRef(IKzUnknown* item, std::int32_t channel, IKzUnknown** target) override {
        const auto [info, cell] = read(item, channel);
        if (info->kind != ChannelKind::itemReference) return KZe_INVALIDARG;
        const CReading reading(workspace());
        return kzGiveItem(document().byIdent(std::get<std::string>(cell)), target);
    }
    KzResult channelread_Envelope(IKzUnknown* item, std::int32_t channel, IKzUnknown** envelope) override {
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        if (!kzHasKeys(*owner, info, action())) return KZe_NOTFOUND;
        *envelope = kzMakeEnvelope(kzChannelEnvelope(kzOwn<CItem>(item), kzChannelRef(*owner, info),
                                                     kzEnvelopeAction(*owner, info, action())));
        return KZe_OK;
    }
    KzResult channelread_Gradient(IKzUnknown* item, std::int32_t channel, double input, double* value) override {
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        if (info.kind != ChannelKind::gradient) return KZe_INVALIDARG;
        const auto curve = kzCurveOf(*owner, info, KZs_ACTIONLAYER_STATIC);
        const auto found = curve != nullptr ? curve->value(input) : 0;
        if (!found) return KZe_OUTOFBOUNDS;
        *value = *found;
        return KZe_OK;
    }
    bool channelread_IsAnimated(IKzUnknown* item, std::int32_t channel) override {
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        return info.kind != ChannelKind::gradient && kzHasKeys(*owner, info, action());
    }
    std::uint32_t channelread_ValueSource(IKzUnknown* item, std::int32_t channel) override {
        const ChannelRef ref = channelOf(item, channel);
        const bool isEvaluated = action().empty();
        if (isEvaluated) kzEvaluationOf(document()).read(std::span(&ref, 1), time());  // which finds the modifiers
        const CReading reading(workspace());
        if (isEvaluated && kzEvaluationOf(document()).isDriven(*ref.item, *ref.channel)) return KZiCHANSOURCE_DRIVEN;
        std::uint32_t source = KZiCHANSOURCE_DEFAULT;
        kzStoredCell(*ref.item, *ref.channel, time(), &source);
        return source;
    }

private:
    struct Cell {
        std::shared_ptr<const ChannelInfo> info;
        KzCell cell;
    };
    ChannelRef channelOf(IKzUnknown* item, std::int32_t channel) const {
        const auto owner = at(item);
        return kzChannelRef(*owner, kzChannelAt(*owner, channel));
    }
    // Channels of one item, all of one moment.
    std::vector<KzCell> read(const std::vector<ChannelRef>& channels) const {
        std::vector<KzCell> cells;
        if (action().empty()) {
            for (auto& value : kzEvaluationOf(document()).read(channels, time()))
                cells.push_back(std::get<KzCell>(std::move(value)));
        } else {
            const CReading reading(workspace());
            for (const auto& [item, channel] : channels)
                cells.push_back(kzStoredCell(*item, *channel, time(), action()));
        }
        return cells;
    }
    Cell read(IKzUnknown* item, std::int32_t channel) const {
        std::vector<ChannelRef> one;
        {
            const auto owner = at(item);
            one.push_back(kzChannelRef(*owner, stored(*owner, channel)));
        }
        return {one.front().channel, std::move(read(one).front())};
    }
    CHostRef<CValue> valueAt(IKzUnknown* item, std::int32_t channel) const {
        auto [info, cell] = read(item, channel);
        return CHostRef<CValue>::make(*info->type, std::move(cell));
    }
    static double number(const Cell& cell) {
        const auto value = kzNumberOf(cell.cell);
        if (!value) throw KZe_INVALIDARG;
        return *value;
    }
};

}  // namespace

IKzUnknown* kzMakeChannelRead(CHostRef<CScene> scene, std::string action, double time) {
    return kzMakeObject<CChannelRead>(std::move(scene), std::move(action), time);
}

std::vector<EvaluatedValue> kzEvaluated(const CItem& item, std::span<const char* const> channels, double time) {
    std::vector<ChannelRef> wanted;
    CEvaluation* evaluation = nullptr;
    {
        const auto owner = item.read();
        for (const char* name : channels) {
            const ChannelInfo* found = owner->type.channel(name);
            if (found == nullptr) throw KZe_INVALIDARG;
            wanted.push_back(kzChannelRef(*owner, *found));
        }
        evaluation = &kzEvaluationOf(owner->document);
    }
    return evaluation->read(wanted, time);
}

KzMatrix4 kzWorldMatrix(const CItem& item, double time) {
    constexpr const char* channel = KZsICHAN_LOCATOR_WORLDMATRIX;
    if (item.type().channel(channel) == nullptr) return kzIdentity();
    const auto value = kzEvaluated(item, std::span(&channel, 1), time).front();
    const auto* matrix = std::get_if<KzMatrix4>(&value);
    return matrix != nullptr ? *matrix : kzIdentity();
}

}  // namespace kzhost
