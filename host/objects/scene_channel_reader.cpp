// Reads documents from text: types, channels, and what channels have.
#include "host/objects/scene_reader.h"

#include "host/document/described_types.h"
#include "host/objects/scene_kinds.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

namespace kzhost {

void CSceneReader::type() {
    m_type.emplace();
    m_type->name = m_in.text();
    m_type->base = m_in.text();
    if (m_type->name.empty()) m_in.fail("a type needs a name");
    if (m_types.contains(m_type->name)) m_in.fail("the type \"" + m_type->name + "\" is described twice");
    if (kzFindItemType(m_type->base) == nullptr && !m_types.contains(m_type->base))
        m_in.fail("there is no type \"" + m_type->base + "\" to base one on");
}

void CSceneReader::title() {
    if (!m_type) m_in.fail("a type comes first");
    m_type->tags[KZs_ITEMTAG_PREFIX] = m_in.text();
}

void CSceneReader::channel() {
    ChannelInfo info;
    info.name = m_in.text();
    const std::string type = m_in.text();
    info.type = kzFindType(type);
    if (info.name.empty()) m_in.fail("a channel needs a name");
    if (info.type == nullptr && !type.empty()) m_in.fail("there is no type of values \"" + type + "\"");
    const auto kind = kzKindOfWord(m_in.word());
    if (!kind) m_in.fail("there is no such kind of channels");
    info.kind = *kind;
    const bool hasCell = info.kind == ChannelKind::stored || info.kind == ChannelKind::itemReference;
    if (hasCell && info.type == nullptr) m_in.fail("a channel of that kind has a type");
    info.flags = m_in.uint32();
    info.vectorSize = static_cast<std::uint32_t>(m_in.integer(1, 4));
    if (info.vectorSize > 1 && info.name.find('.') == std::string::npos)
        m_in.fail("the name of a vector's component ends in a point and its letter");
    if (info.type != nullptr) {
        info.initial = kzEmptyCell(*info.type);
        info.initial = cellFor(info);
    }
    if (!m_type) {
        if (current().findChannel(info.name) >= 0) m_in.fail("the item has a channel \"" + info.name + "\" already");
        info.flags |= KZfCHAN_USER;
    }
    m_channel = std::move(info);
}

void CSceneReader::minimum() { described().minimum = m_in.finite(); }
void CSceneReader::maximum() { described().maximum = m_in.finite(); }
void CSceneReader::unit() { described().unit = kzInterned(m_in.text()); }
void CSceneReader::object() { described().objectType = kzInterned(m_in.text()); }

void CSceneReader::from() {
    ChannelInfo& info = described();
    info.package = m_in.text();
    if (m_type || std::ranges::find(current().packages, info.package) == current().packages.end())
        m_in.fail("the item has no package \"" + info.package + "\"");
    info.flags &= ~KZfCHAN_USER;
}

void CSceneReader::choices() {
    described();
    m_choices.clear();
    m_choices.emplace_back(0, std::string());  // so that a list without choices is one, too
}

void CSceneReader::choice() {
    if (m_choices.empty()) m_in.fail("the statement \"choices\" comes first");
    const std::int32_t number = m_in.int32();
    m_choices.emplace_back(number, m_in.text());
}

void CSceneReader::value() {
    const ChannelInfo& info = channelOf(current());
    m_states[&info].value = cellFor(info);
}

// The channel has its default, whatever the item had before.
void CSceneReader::reset() { m_states[&channelOf(current())] = {}; }

void CSceneReader::action() {
    std::string action = m_in.text();
    const ChannelInfo& info = channelOf(current());
    auto& actions = m_states[&info].actions;
    for (const ActionValue& each : actions)
        if (each.action == action && each.value) m_in.fail("the action has a value for this channel already");
    actions.push_back({std::move(action), cellFor(info), nullptr});
}

void CSceneReader::envelope() {
    std::string action = m_in.text();
    const ChannelInfo& info = channelOf(current());
    const bool isInteger = m_in.integer(0, 1) != 0;
    m_envelope.emplace(OpenEnvelope{&info, std::move(action), EnvelopeData(isInteger), {}, m_in.lineNumber()});
    for (const int side : {KZiENVSIDE_IN, KZiENVSIDE_OUT})
        m_envelope->curve.setEndBehavior(static_cast<std::uint32_t>(m_in.integer(0, KZiENV_NONE)), side);
    const auto interpolation = static_cast<std::uint32_t>(m_in.integer(0, KZiENVINTERP_STEPPED));
    if (interpolation == m_envelope->curve.interpolation()) return;
    if (!isInteger) m_in.fail("only envelopes of integers choose how they go on from key to key");
    m_envelope->curve.setInterpolation(interpolation);
}

void CSceneReader::key() {
    if (!m_envelope) m_in.fail("an envelope comes first");
    EnvelopeKey key;
    key.time = m_in.finite();
    key.breaks = m_in.uint32();
    for (EnvelopeSide* side : {&key.in, &key.out}) {
        side->type = m_in.uint32();
        side->value = m_in.finite();
        side->slope = m_in.finite();
        side->weight = m_in.finite();
    }
    m_envelope->keys.push_back(key);
}

// A type that is here may have lost a channel that it had when the file was written: the item keeps it as one of its own.
const ChannelInfo& CSceneReader::channelOf(Item& item) {
    const std::string name = m_in.text();
    const std::int32_t index = item.findChannel(name);
    if (index >= 0) return *item.channelAt(static_cast<std::size_t>(index));
    const auto type = m_types.find(item.type.name);
    const ChannelInfo* info = type != m_types.end() ? type->second->channel(name) : nullptr;
    if (info == nullptr) m_in.fail(fmt::format("a {} has no channel \"{}\"", item.type.name, name));
    ChannelInfo kept = *info;
    kept.flags |= KZfCHAN_USER;
    return m_edit.addChannel(item, std::move(kept));
}

KzCell CSceneReader::cellFor(const ChannelInfo& info) {
    KzCell cell = info.initial;
    if (auto* whole = std::get_if<std::int32_t>(&cell)) *whole = m_in.int32();
    else if (auto* number = std::get_if<double>(&cell)) *number = m_in.finite();
    else if (auto* text = std::get_if<std::string>(&cell)) *text = m_in.text();
    else
        for (double& each : std::get<KzColor>(cell)) each = m_in.finite();
    const auto number = kzNumberOf(cell);
    const bool isLimited = (info.flags & KZfCHAN_USER) == 0 && (info.minimum || info.maximum || info.hints);
    if (isLimited && number && !std::holds_alternative<std::string>(cell) && !info.takes(*number))
        m_in.fail(fmt::format("the channel \"{}\" takes no {}", info.name, *number));
    return cell;
}

void CSceneReader::finishChannel() {
    if (!m_channel) return;
    ChannelInfo info = *std::exchange(m_channel, std::nullopt);
    if (!m_choices.empty()) info.hints = kzOwnHints({m_choices.begin() + 1, m_choices.end()});
    m_choices.clear();
    if (m_type) m_type->channels.push_back(std::move(info));
    else m_edit.addChannel(current(), std::move(info));
}

void CSceneReader::finishType() {
    if (!m_type) return;
    finishChannel();
    const ItemTypeDeclaration declaration = *std::exchange(m_type, std::nullopt);
    const auto described = m_types.find(declaration.base);
    const ItemType* base = described != m_types.end() ? described->second : kzFindItemType(declaration.base);
    try {
        m_types.emplace(declaration.name, &kzDescribedType(declaration, *base));
    } catch (KzResult) {
        m_in.fail("two channels of the type \"" + declaration.name + "\" have one name");
    }
}

void CSceneReader::finishEnvelope() {
    if (!m_envelope) return;
    OpenEnvelope open = *std::exchange(m_envelope, std::nullopt);
    try {
        open.curve.setKeys(std::move(open.keys));
    } catch (KzResult) {
        CSceneWords::failAt(open.line, 1,
                            "the keys of this envelope are out of order, or have numbers that no key can have");
    }
    auto& actions = m_states[open.channel].actions;
    for (const ActionValue& each : actions)
        if (each.action == open.action && each.curve != nullptr)
            CSceneWords::failAt(open.line, 1, "the action has an envelope for this channel already");
    auto curve = std::make_shared<const EnvelopeData>(std::move(open.curve));
    if (!actions.empty() && actions.back().action == open.action && actions.back().curve == nullptr)
        actions.back().curve = std::move(curve);
    else actions.push_back({std::move(open.action), std::nullopt, std::move(curve)});
}

}  // namespace kzhost
