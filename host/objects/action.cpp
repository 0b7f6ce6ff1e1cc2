// The actions of a scene as objects: those that every scene has, and the added ones, which are items.
#include "host/core/reasons.h"
#include "host/document/action_copy.h"
#include "host/document/animation.h"
#include "host/document/referenced.h"
#include "host/objects/scene.h"
#include "host/state/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace kzhost {

namespace {

class CActionClip final : public CHosted<"action clip", CActionClip, CKzIfc_ActionClip> {
public:
    CActionClip(CHostRef<CScene> scene, std::string action) : m_scene(std::move(scene)), m_action(std::move(action)) {}

    KzResult actionclip_Name(const char** name) override {
        const CReading reading(workspace());
        const Item* item = itemOrNull();
        *name = kzLend(item != nullptr ? item->name : m_action);
        return KZe_OK;
    }
    std::uint32_t actionclip_Type() override {
        const CReading reading(workspace());
        return static_cast<std::uint32_t>(kzActionType(document(), m_action));
    }
    bool actionclip_IsActive() override {
        const CReading reading(workspace());
        return kzIsSceneAction(m_action) || isActive(item());
    }
    KzResult actionclip_SetActive(std::int32_t active) override { return set(KZsICHAN_ACTIONCLIP_ACTIVE, active != 0); }
    bool actionclip_IsReferenced() override {
        const CReading reading(workspace());
        const Item* item = itemOrNull();
        return item != nullptr && kzIsForeign(*item);
    }
    KzResult actionclip_Parent(IKzUnknown** group) override {
        const CReading reading(workspace());
        const Item* item = itemOrNull();
        return kzGiveItem(item != nullptr ? item->parent : nullptr, group);
    }
    KzResult actionclip_Range(double* start, double* end) override {
        const CReading reading(workspace());
        const auto [first, last] = range();
        if (first > last)
            return kzBecause(KZe_NOTAVAILABLE, "ActionClip.Range", [] { return "the action has no keys"; });
        *start = first;
        *end = last;
        return KZe_OK;
    }
    KzResult actionclip_SetRange(double start, double end) override {
        if (!(start < end)) return KZe_INVALIDARG;
        CEdit edit(workspace());
        const auto [first, last] = range();
        if (!(first < last)) return KZe_NOTAVAILABLE;
        const double factor = (end - start) / (last - first);
        moveKeys([&, first = first](double time) { return start + (time - first) * factor; }, 1 / factor, edit);
        edit.commit();
        return KZe_OK;
    }
    std::uint32_t actionclip_ChannelCount() override {
        const CReading reading(workspace());
        return static_cast<std::uint32_t>(channels().size());
    }
    KzResult actionclip_ChannelByIndex(std::uint32_t index, IKzUnknown** itemChannel) override {
        const CReading reading(workspace());
        const auto& all = channels();
        if (index >= all.size()) return KZe_OUTOFBOUNDS;
        const auto& [item, channel] = all[index];
        *itemChannel = kzMakeItemChannel(kzObjectOf(*item), item->indexOf(*channel));
        return KZe_OK;
    }
    bool actionclip_TestChannel(IKzUnknown* item, std::int32_t channel) override {
        const auto owner = at(item);
        return says(*owner, kzChannelAt(*owner, channel));
    }
    KzResult actionclip_AddChannel(IKzUnknown* item, std::int32_t channel) override {
        CEdit edit(workspace());
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        if (says(*owner, info)) return KZe_ALREADYEXISTS;
        if (info.type == nullptr || (info.flags & (KZfCHAN_NOANIM | KZfCHAN_READONLY | KZfCHAN_LOCKED)) != 0)
            return KZe_NOACCESS;
        kzSetAction(*owner, info, {m_action, kzStoredCell(*owner, info, 0), nullptr}, edit);
        edit.commit();
        return KZe_OK;
    }
    KzResult actionclip_RemoveChannel(IKzUnknown* item, std::int32_t channel) override {
        CEdit edit(workspace());
        const auto owner = at(item);
        const ChannelInfo& info = kzChannelAt(*owner, channel);
        if (!says(*owner, info)) return KZe_NOTFOUND;
        kzSetAction(*owner, info, {m_action, {}, nullptr}, edit);
        edit.commit();
        return KZe_OK;
    }
    KzResult actionclip_Read(double time, IKzUnknown** read) override {
        *read = kzMakeChannelRead(m_scene, m_action, time);
        return KZe_OK;
    }
    KzResult actionclip_Write(double time, IKzUnknown** write) override {
        *write = kzMakeChannelWrite(m_scene, m_action, time);
        return KZe_OK;
    }
    KzResult actionclip_Shift(double offset) override {
        if (!std::isfinite(offset)) return KZe_INVALIDARG;
        CEdit edit(workspace());
        moveKeys([&](double time) { return time + offset; }, 1, edit);
        edit.commit();
        return KZe_OK;
    }
    KzResult actionclip_Scale(double factor, double origin) override {
        if (!(factor > 0) || !std::isfinite(factor) || !std::isfinite(origin)) return KZe_INVALIDARG;
        CEdit edit(workspace());
        moveKeys([&](double time) { return origin + (time - origin) * factor; }, 1 / factor, edit);
        edit.commit();
        return KZe_OK;
    }
    KzResult actionclip_CopyTo(IKzUnknown* target, double time, std::uint32_t flags) override {
        const std::string into = kzActionOf(target, document());
        constexpr std::uint32_t what = KZfACTIONCOPY_KEYS | KZfACTIONCOPY_CONSTANTS;
        constexpr std::uint32_t how = KZfACTIONCOPY_MERGE | KZfACTIONCOPY_MIRROR | KZfACTIONCOPY_OFFSET;
        const bool isOntoItself = into == m_action && (flags & KZfACTIONCOPY_MIRROR) == 0;
        if (!kzIsEnvelopeNumber(time) || (flags & what) == 0 || (flags & ~(what | how)) != 0 || isOntoItself)
            return KZe_INVALIDARG;
        CEdit edit(workspace());
        itemOrNull();
        kzCopyAction(document(), m_action, into, time, flags, edit);
        edit.commit();
        return KZe_OK;
    }
    const std::string& action() const { return m_action; }
    CDocument& document() const { return m_scene->document(); }
    KzResult actionclip_SetBlend(double weight, std::int32_t mode) override {
        if (!(weight >= 0 && weight <= 1) || mode < KZiACTIONBLEND_REPLACE || mode > KZiACTIONBLEND_MULTIPLY)
            return KZe_INVALIDARG;
        CEdit edit(workspace());
        put(KZsICHAN_ACTIONCLIP_WEIGHT, weight, edit);
        put(KZsICHAN_ACTIONCLIP_BLEND, mode, edit);
        edit.commit();
        return KZe_OK;
    }

    SceneAction subject() const { return {m_scene, m_action}; }

private:
    CWorkspace& workspace() const { return document().workspace(); }
    CItemReading at(IKzUnknown* item) const {
        auto reading = kzOwn<CItem>(item)->read();
        if (&reading->document != &document()) throw KZe_INVALIDARG;
        return reading;
    }
    // Null for an action that every scene has. Throws NOTAVAILABLE once an added one is gone.
    Item* itemOrNull() const { return kzIsSceneAction(m_action) ? nullptr : &item(); }
    Item& item() const {
        Item* found = document().byIdent(m_action);
        if (found == nullptr) throw KZe_NOTAVAILABLE;
        return *found;
    }
    bool isActive(const Item& item) const {
        const ChannelInfo* channel = item.type.channel(KZsICHAN_ACTIONCLIP_ACTIVE);
        return channel != nullptr && kzNumberOf(item.valueOf(*channel)).value_or(0) != 0;
    }
    bool says(const Item& item, const ChannelInfo& channel) const { return kzSays(item, channel, m_action); }
    // Only clips are switched and mixed; poses are applied by hand.
    void put(const char* name, double value, CEdit& edit) const {
        Item* own = itemOrNull();
        const ChannelInfo* channel = own != nullptr ? own->type.channel(name) : nullptr;
        if (channel == nullptr)
            throw kzBecause(KZe_NOTAVAILABLE, "ActionClip", [] { return "only added clips are switched and mixed"; });
        kzWriteChannel(*own, *channel, *kzFit(*channel, value), edit);
    }
    KzResult set(const char* name, double value) const {
        CEdit edit(workspace());
        put(name, value, edit);
        edit.commit();
        return KZe_OK;
    }
    // As of the document's present state.
    const ActionChannels& channels() {
        if (m_stamp == document().stamp() && m_isListed) return m_channels;
        m_channels = kzActionChannels(document(), m_action);
        m_stamp = document().stamp();
        m_isListed = true;
        return m_channels;
    }
    std::pair<double, double> range() {
        std::pair range{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
        for (const auto& [item, channel] : channels()) {
            const auto curve = kzCurveOf(*item, *channel, m_action);
            if (curve == nullptr || curve->keys().empty()) continue;
            range = {std::min(range.first, curve->keys().front().time),
                     std::max(range.second, curve->keys().back().time)};
        }
        return range;
    }
    // Direct slopes change with the times, so that the curves keep their shapes.
    template <class NewTime> void moveKeys(const NewTime& newTime, double slopeFactor, CEdit& edit) {
        const ActionChannels all = channels();
        for (const auto& [item, channel] : all) {
            const auto curve = kzCurveOf(*item, *channel, m_action);
            if (curve == nullptr) continue;
            std::vector<EnvelopeKey> keys;
            for (std::size_t i = 0; i < curve->keys().size(); ++i) {
                EnvelopeKey key = curve->keys()[i];
                key.time = newTime(key.time);
                for (EnvelopeSide* side : {&key.in, &key.out}) side->slope *= slopeFactor;
                if (!kzIsEnvelopeNumber(key.time) || (!keys.empty() && key.time <= keys.back().time))
                    throw kzBecause(KZe_INVALIDARG, "ActionClip",
                                    [&] { return fmt::format("no key fits at {}", key.time); });
                keys.push_back(key);
            }
            auto moved = std::make_shared<EnvelopeData>(*curve);
            moved->setKeys(std::move(keys));
            kzSetCurve(*item, *channel, m_action, std::move(moved), {}, edit);
        }
    }

    const CHostRef<CScene> m_scene;
    const std::string m_action;
    ActionChannels m_channels;
    std::uint64_t m_stamp = 0;
    bool m_isListed = false;
};

// Those of every scene, and then the added ones.
std::vector<std::string> actionsOf(const CDocument& document) {
    std::vector<std::string> actions(kzSceneActions.begin(), kzSceneActions.end());
    for (const Item* item : kzActionItems(document)) actions.push_back(item->ident);
    return actions;
}

std::uint32_t bitOf(std::int32_t type) {
    if (type == KZiACTIONCLIP_TYPE_SETUP) return KZf_ACTIONS_SETUP;
    return type == KZiACTIONCLIP_TYPE_POSE ? KZf_ACTIONS_POSE : KZf_ACTIONS_ANIM;
}

}  // namespace

SceneAction kzActionOf(IKzUnknown* clip) { return kzOwn<CActionClip>(clip)->subject(); }

IKzUnknown* kzMakeActionClip(CHostRef<CScene> scene, std::string action) {
    return kzMakeObject<CActionClip>(std::move(scene), std::move(action));
}

std::string kzActionOf(IKzUnknown* clip, const CDocument& document) {
    const auto own = kzOwn<CActionClip>(clip);
    if (&own->document() != &document) throw KZe_INVALIDARG;
    return own->action();
}

std::uint32_t CScene::scene_ActionCount(std::uint32_t types) {
    const CReading reading(m_document->workspace());
    const std::uint32_t wanted = types & ~static_cast<std::uint32_t>(KZf_ACTIONS_ACTIVE);
    std::uint32_t count = 0;
    for (const std::string& action : actionsOf(open())) {
        if (wanted != 0 && (wanted & bitOf(kzActionType(*m_document, action))) == 0) continue;
        const bool needsActive = (types & KZf_ACTIONS_ACTIVE) != 0;
        if (!needsActive || CActionClip(self(), action).actionclip_IsActive()) ++count;
    }
    return count;
}

KzResult CScene::scene_ActionByIndex(std::uint32_t index, IKzUnknown** clip) {
    const CReading reading(m_document->workspace());
    auto actions = actionsOf(open());
    if (index >= actions.size()) return KZe_OUTOFBOUNDS;
    *clip = kzMakeActionClip(self(), std::move(actions[index]));
    return KZe_OK;
}

KzResult CScene::scene_ActionAdd(const char* name, std::int32_t type, IKzUnknown** clip) {
    CEdit edit(m_document->workspace());
    const std::string wanted = kzString(name);
    if (type == KZiACTIONCLIP_TYPE_SETUP)
        return kzBecause(KZe_INVALIDARG, "Scene.ActionAdd",
                         [] { return "a scene has one setup; clips and poses are added"; });
    if (wanted.empty() || (type != KZiACTIONCLIP_TYPE_ANIM && type != KZiACTIONCLIP_TYPE_POSE)) return KZe_INVALIDARG;
    if (kzFindAction(open(), wanted)) return KZe_ALREADYEXISTS;
    const bool isPose = type == KZiACTIONCLIP_TYPE_POSE;
    Item& item = edit.add(open(), *kzFindItemType(isPose ? KZsITYPE_ACTIONPOSE : KZsITYPE_ACTIONCLIP));
    edit.rename(item, wanted);
    const std::string ident = item.ident;
    edit.commit();
    *clip = kzMakeActionClip(self(), ident);
    return KZe_OK;
}

}  // namespace kzhost
