// Evaluates channels at a time: what each value is computed from, and how.
#include "host/document/evaluation.h"

#include "host/core/reasons.h"
#include "host/document/constraints.h"
#include "host/document/host_modifiers.h"
#include "host/document/transform_values.h"
#include "host/document/workspace.h"

#include "kz/channel_mod.h"
#include "kz/result.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

namespace kzhost {

namespace {

constexpr const char* scales[] = {KZsICHAN_XFRMSCALE_SCL_X, KZsICHAN_XFRMSCALE_SCL_Y, KZsICHAN_XFRMSCALE_SCL_Z};
constexpr const char* angles[] = {KZsICHAN_XFRMROTATION_ROT_X, KZsICHAN_XFRMROTATION_ROT_Y,
                                  KZsICHAN_XFRMROTATION_ROT_Z};
constexpr const char* places[] = {KZsICHAN_XFRMPOSITION_POS_X, KZsICHAN_XFRMPOSITION_POS_Y,
                                  KZsICHAN_XFRMPOSITION_POS_Z};

const ChannelInfo* matrixChannel(const Item& item, const char* name) { return item.type.channel(name); }

Item* locatorAbove(const Item& item) {
    Item* parent = item.parent;
    while (parent != nullptr && matrixChannel(*parent, KZsICHAN_LOCATOR_WORLDMATRIX) == nullptr)
        parent = parent->parent;
    return parent;
}

bool isMatrixObject(const ChannelInfo& channel) {
    return channel.kind == ChannelKind::object && std::string_view(channel.objectType) == KZsCHANEVAL_MATRIX;
}

bool isMatrix(const ChannelInfo& channel) {
    return channel.kind >= ChannelKind::localMatrix || channel.kind == ChannelKind::matrix || isMatrixObject(channel);
}

// What an item of the type mathMatrix computes from these channels and the linked matrices.
bool isMatrixMath(const Item& item, const ChannelInfo& channel) {
    static const ItemType& type = *kzFindItemType(KZsITYPE_MATHMATRIX);
    return &item.type == &type && channel.name == KZsICHAN_MATHMATRIX_OUTPUT;
}
constexpr std::array matrixMathChannels{KZsICHAN_CHANMODIFY_ENABLE, KZsICHAN_CHANMODIFY_STRENGTH,
                                        KZsICHAN_MATHMATRIX_OPERATION, KZsICHAN_MATHMATRIX_BLEND};

// What drives the channel takes the form that it has.
EvaluatedValue converted(const EvaluatedValue& value, const ChannelInfo& channel) {
    if (std::holds_alternative<KzMatrix4>(value)) return isMatrix(channel) ? value : EvaluatedValue();
    if (channel.type == nullptr) return {};
    if (const auto number = kzNumberOf(value); number && !std::holds_alternative<std::string>(channel.initial)) {
        const auto cell = kzFit(channel, *number);
        if (!cell) return {};
        return EvaluatedValue(std::in_place_type<KzCell>, *cell);
    }
    const auto* cell = std::get_if<KzCell>(&value);
    if (cell == nullptr || cell->index() != channel.initial.index()) return {};
    return value;
}

EvaluatedValue storedValue(const Item& item, const ChannelInfo& channel, double time) {
    if (channel.kind == ChannelKind::matrix) return kzMatrixOfCell(item.valueOf(channel)).value_or(kzIdentity());
    if (channel.type == nullptr) return {};
    return kzStoredCell(item, channel, time);
}

}  // namespace

// The links to a channel, in their order. An item may have very many.
const std::vector<const ChannelLink*>& CEvaluation::linksTo(const Item& item, const ChannelInfo& channel) const {
    static const std::vector<const ChannelLink*> none;
    if (item.inputs.empty()) return none;
    LinkIndex& index = m_links[&item];
    if (index.stamp != item.stamp || index.count != item.inputs.size()) {
        index = {item.stamp, item.inputs.size(), {}};
        for (const auto& link : item.inputs) index.byTarget[link->targetChannel].push_back(link.get());
    }
    const auto links = index.byTarget.find(&channel);
    return links != index.byTarget.end() ? links->second : none;
}

CEvaluation::Key CEvaluation::keyOf(Item& item, const ChannelInfo& channel, double time) const {
    const std::size_t layers = m_modifiers != nullptr ? m_modifiers->writersOf(item, channel).size() : 0;
    return {&item, &channel, time, static_cast<std::uint32_t>(layers)};
}

bool CEvaluation::takesPart(const ModifierSet::Writer& writer, const Item& item, const ChannelInfo& channel) const {
    return writer.modifier->outputs[writer.output].replacesKeys || kzKeyedAction(item, channel) == nullptr;
}

bool CEvaluation::isDriven(const Item& item, const ChannelInfo& channel) const {
    if (channel.kind >= ChannelKind::localMatrix || isMatrixMath(item, channel) || !linksTo(item, channel).empty())
        return true;
    const HostModifier* own = kzHostModifier(item.type);
    if (own != nullptr && kzOutputOf(*own, channel.name)) return true;
    if (m_modifiers == nullptr) return false;
    const auto& writers = m_modifiers->writersOf(item, channel);
    return std::ranges::any_of(writers, [&](const auto& writer) { return takesPart(writer, item, channel); });
}

std::vector<CEvaluation::Key> CEvaluation::inputKeys(const CModifier& modifier, std::size_t input, double time) const {
    const auto& [channel, reads, isRequired] = modifier.inputs[input];
    Item& item = *channel.item;
    std::vector<Key> keys;
    if (reads == CModifier::Reads::links)
        for (const ChannelLink* link : linksTo(item, *channel.channel))
            keys.push_back(keyOf(*link->source, *link->sourceChannel, time));
    if (!keys.empty()) return keys;
    Key key = keyOf(item, *channel.channel, time);
    if (reads == CModifier::Reads::before && m_modifiers != nullptr) {
        const auto& writers = m_modifiers->writersOf(item, *channel.channel);
        const auto own = std::ranges::find(writers, &modifier, &ModifierSet::Writer::modifier);
        key.layer = static_cast<std::uint32_t>(own - writers.begin());
    }
    return {key};
}

// Adds what a value is computed from; false once all is there.
bool CEvaluation::expand(Frame& frame) {
    const int phase = frame.phase++;
    if (frame.key.layer == ofModifier) return expandRun(frame, phase);
    if (phase > 0) return false;
    Item& item = *frame.key.item;
    const auto& channel = *static_cast<const ChannelInfo*>(frame.key.subject);
    const double time = frame.key.time;
    const auto addAt = [&](Item& other, const char* name, double when) {
        if (const ChannelInfo* found = other.type.channel(name)) frame.from.push_back(keyOf(other, *found, when));
    };
    const auto add = [&](Item& other, const char* name) { addAt(other, name, time); };
    if (frame.key.layer > 0) {
        const auto& writer = m_modifiers->writersOf(item, channel)[frame.key.layer - 1];
        frame.from.push_back({&item, &channel, time, frame.key.layer - 1});
        if (takesPart(writer, item, channel))
            frame.from.push_back({writer.modifier->item.get(), writer.modifier, time, ofModifier});
        return true;
    }
    if (const HostModifier* own = kzHostModifier(item.type); own != nullptr && kzOutputOf(*own, channel.name)) {
        frame.from.push_back({&item, nullptr, time, ofModifier});
    } else if (const auto& links = linksTo(item, channel); !links.empty()) {
        frame.from.push_back(keyOf(*links.front()->source, *links.front()->sourceChannel, time));
    } else if (isMatrixMath(item, channel)) {
        for (const char* name : matrixMathChannels) add(item, name);
        const ChannelInfo& inputs = *item.type.channel(KZsICHAN_MATHMATRIX_INPUTS);
        for (const ChannelLink* link : linksTo(item, inputs))
            frame.from.push_back(keyOf(*link->source, *link->sourceChannel, time));
        if (frame.from.size() == matrixMathChannels.size()) frame.from.push_back(keyOf(item, inputs, time));
    } else if (channel.kind == ChannelKind::localMatrix) {
        for (const auto& names : {scales, angles, places})
            for (int axis = 0; axis < 3; ++axis) add(item, names[axis]);
        add(item, KZsICHAN_XFRMROTATION_ORDER);
    } else if (channel.kind == ChannelKind::inverseMatrix) {
        add(item, KZsICHAN_LOCATOR_WORLDMATRIX);
    } else if (channel.kind >= ChannelKind::worldMatrix) {
        if (channel.kind == ChannelKind::worldMatrix) add(item, KZsICHAN_LOCATOR_LOCALMATRIX);
        Item* parent = locatorAbove(item);
        if (parent != nullptr) add(*parent, KZsICHAN_LOCATOR_WORLDMATRIX);
        const auto constraints =
            channel.kind == ChannelKind::worldMatrix ? kzConstraintsOf(item) : std::vector<Item*>();
        if (constraints.empty()) return !frame.from.empty();
        addAt(item, KZsICHAN_LOCATOR_LOCALMATRIX, KZiCHANTIME_SETUP);
        if (parent != nullptr) addAt(*parent, KZsICHAN_LOCATOR_WORLDMATRIX, KZiCHANTIME_SETUP);
        for (Item* each : constraints) frame.from.push_back({each, nullptr, time, ofModifier});
    }
    return !frame.from.empty();
}

bool CEvaluation::expandRun(Frame& frame, int phase) {
    Item& item = *frame.key.item;
    const double time = frame.key.time;
    const std::size_t before = frame.from.size();
    if (frame.key.subject != nullptr) {
        if (phase > 0) return false;
        const auto& modifier = *static_cast<const CModifier*>(frame.key.subject);
        for (const ItemRef& first : modifier.first)
            for (const CModifier* other : m_modifiers->of(*first))
                if (other != &modifier) frame.from.push_back({first.get(), other, time, ofModifier});
        for (std::size_t i = 0; i < modifier.inputs.size(); ++i)
            std::ranges::copy(inputKeys(modifier, i, time), std::back_inserter(frame.from));
        return frame.from.size() > before;
    }
    if (kzIsConstraint(item.type)) {
        const auto channels = kzConstraintChannels(item.type);
        if (phase == 0)
            for (const char* name : channels) frame.from.push_back(keyOf(item, *item.type.channel(name), time));
        if (phase != 1) return phase == 0;
        // Its numbers are known now, which say whether it also has to know where everything is in the setup.
        std::vector<double> numbers;
        for (const Key& key : frame.from) numbers.push_back(kzNumberOf(valueOf(key)).value_or(0));
        std::vector<double> times{time};
        if (kzKeepsOffset(numbers)) times.push_back(KZiCHANTIME_SETUP);
        for (const double when : times)
            for (Item* source : kzSourcesOf(item))
                if (const ChannelInfo* world = source->type.channel(KZsICHAN_LOCATOR_WORLDMATRIX))
                    frame.from.push_back(keyOf(*source, *world, when));
        return frame.from.size() > before;
    }
    const HostModifier& own = *kzHostModifier(item.type);
    if (phase == 0) {
        for (const auto& input : own.inputs)
            std::ranges::copy(inputKeys(item, input, time), std::back_inserter(frame.from));
    } else if (phase == 1 && own.times) {
        const ChannelInfo& input = *item.type.channel(KZsICHAN_CHANMODIFY_INPUT);
        for (const double each : own.times(inputsOf(frame, own)))
            frame.from.push_back(keyOf(item, input, std::isfinite(each) ? each : time));
    }
    return frame.from.size() > before;
}

std::vector<CEvaluation::Key> CEvaluation::inputKeys(Item& item, const HostModifier::Input& input, double time) const {
    const ChannelInfo& channel = *item.type.channel(input.channel);
    std::vector<Key> keys;
    if (input.takesAllLinks)
        for (const ChannelLink* link : linksTo(item, channel))
            keys.push_back(keyOf(*link->source, *link->sourceChannel, time));
    if (keys.empty()) keys.push_back(keyOf(item, channel, time));
    return keys;
}

HostInputs CEvaluation::inputsOf(const Frame& frame, const HostModifier& own) const {
    HostInputs inputs{*frame.key.item, frame.key.time, {}, {}};
    std::size_t next = 0;
    const auto number = [&] { return kzNumberOf(valueOf(frame.from[next++])).value_or(0); };
    for (const auto& input : own.inputs) {
        auto& numbers = inputs.numbers.emplace_back();
        const std::size_t count = inputKeys(*frame.key.item, input, frame.key.time).size();
        while (numbers.size() < count) numbers.push_back(number());
    }
    while (next < frame.from.size()) inputs.atTimes.push_back(number());
    return inputs;
}

std::vector<EvaluatedValue> CEvaluation::compute(const Frame& frame) {
    if (frame.key.layer == ofModifier) return computeRun(frame);
    return {computeChannel(frame)};
}

std::vector<EvaluatedValue> CEvaluation::computeRun(const Frame& frame) {
    if (frame.key.subject != nullptr) return request(frame, *static_cast<const CModifier*>(frame.key.subject));
    std::vector<EvaluatedValue> outputs;
    if (kzIsConstraint(frame.key.item->type)) {  // which has its say where a locator is computed
        for (const Key& key : frame.from) outputs.push_back(valueOf(key));
        return outputs;
    }
    const HostModifier& own = *kzHostModifier(frame.key.item->type);
    for (const double number : own.compute(inputsOf(frame, own))) {
        if (std::isfinite(number)) outputs.emplace_back(std::in_place_type<KzCell>, number);
        else {
            outputs.emplace_back();
            kzBecause(KZe_OUTOFBOUNDS, "Evaluation", [&] {
                return fmt::format("{}:{} cannot be computed from its inputs; it keeps what is stored",
                                   nameOf(frame.key), own.outputs[outputs.size() - 1]);
            });
        }
    }
    return outputs;
}

// Leaves the evaluation, which comes back when the module has computed it; or answers at once if there is nothing to compute.
std::vector<EvaluatedValue> CEvaluation::request(const Frame& frame, const CModifier& modifier) {
    const auto isLinked = [&](const auto& input) {
        return !linksTo(*input.channel.item, *input.channel.channel).empty();
    };
    for (const auto& input : modifier.inputs)
        if (input.isRequired && !isLinked(input)) return CModifier::Outputs(modifier.outputs.size());
    auto request =
        std::make_unique<Request>(Request{frame.key, modifier.shared_from_this(), {}, frame.from, m_document.stamp()});
    for (std::size_t i = 0; i < modifier.inputs.size(); ++i) {
        auto& values = request->inputs.emplace_back();
        for (const Key& key : inputKeys(modifier, i, frame.key.time)) values.push_back(valueOf(key));
    }
    m_request = std::move(request);
    throw ModuleIsNeeded{};
}

EvaluatedValue CEvaluation::computeChannel(const Frame& frame) {
    const Item& item = *frame.key.item;
    const auto& channel = *static_cast<const ChannelInfo*>(frame.key.subject);
    const auto orStored = [&](EvaluatedValue value) {
        if (std::holds_alternative<std::monostate>(value)) return storedValue(item, channel, frame.key.time);
        return value;
    };
    if (frame.key.layer > 0) {
        const std::size_t output = m_modifiers->writersOf(item, channel)[frame.key.layer - 1].output;
        if (frame.from.size() < 2) return valueOf(frame.from[0]);
        EvaluatedValue value = converted(valueOf(frame.from[1], output), channel);
        if (std::holds_alternative<std::monostate>(value)) return valueOf(frame.from[0]);
        return value;
    }
    if (const HostModifier* own = kzHostModifier(item.type); own != nullptr)
        if (const auto output = kzOutputOf(*own, channel.name))
            return orStored(converted(valueOf(frame.from[0], *output), channel));
    if (!linksTo(item, channel).empty()) return orStored(converted(valueOf(frame.from[0]), channel));
    if (channel.kind >= ChannelKind::localMatrix || isMatrixMath(item, channel)) return computeMatrix(frame, channel);
    return storedValue(item, channel, frame.key.time);
}

namespace {

// What a matrix is computed from: values of an item.
struct MatrixSource {
    const Item& item;
    const std::vector<EvaluatedValue>& values;

    double number() const { return kzNumberOf(values.front()).value_or(0); }
    KzMatrix4 matrix() const { return matrixOf(values.front()); }
    static KzMatrix4 matrixOf(const EvaluatedValue& value) {
        const auto* matrix = std::get_if<KzMatrix4>(&value);
        return matrix != nullptr ? *matrix : kzIdentity();
    }
};
using MatrixSources = std::vector<MatrixSource>;

KzMatrix4 constrained(const Constrained& locator, const MatrixSource& constraint) {
    const ItemType& type = constraint.item.type;
    std::vector<double> numbers;
    std::vector<KzMatrix4> sources;
    for (const EvaluatedValue& value : constraint.values) {
        if (numbers.size() < kzConstraintChannels(type).size()) numbers.push_back(kzNumberOf(value).value_or(0));
        else sources.push_back(MatrixSource::matrixOf(value));
    }
    return kzConstrain(type, locator, numbers, sources);
}

// The locator's own matrix and its parent's, if it has one; if there are constraints, both by the setup, and then these in
// turn.
KzMatrix4 worldOf(const Item& item, const MatrixSources& from) {
    const bool hasParent = locatorAbove(item) != nullptr;
    std::size_t next = 0;
    const auto take = [&](bool isThere) {
        return isThere && next < from.size() ? from[next++].matrix() : kzIdentity();
    };
    Constrained locator{};
    locator.own = take(true);
    locator.parent = take(hasParent);
    locator.own = locator.own * locator.parent;
    if (next == from.size()) return locator.own;
    locator.setup = take(true);
    locator.setupParent = take(hasParent);
    locator.setup = locator.setup * locator.setupParent;
    for (; next < from.size(); ++next) locator.own = constrained(locator, from[next]);
    return locator.own;
}

EvaluatedValue matrixMathOf(const MatrixSources& from) {
    const double strength = from[0].number() != 0 ? from[1].number() : 0;
    std::vector<KzMatrix4> inputs;
    for (std::size_t i = matrixMathChannels.size(); i < from.size(); ++i) {
        if (!std::holds_alternative<KzMatrix4>(from[i].values.front())) return EvaluatedValue();
        inputs.push_back(from[i].matrix());
    }
    if (strength == 0) return inputs.front();
    const auto result = kzMatrixMath(static_cast<std::int32_t>(from[2].number()), from[3].number(), inputs);
    if (!result) return EvaluatedValue();
    return strength == 1 ? *result : kzMixMatrices(inputs.front(), *result, strength);
}

}  // namespace

EvaluatedValue CEvaluation::computeMatrix(const Frame& frame, const ChannelInfo& channel) const {
    const auto matrix = [&](std::size_t index) {
        const auto* value = index < frame.from.size() ? std::get_if<KzMatrix4>(&valueOf(frame.from[index])) : nullptr;
        return value != nullptr ? *value : kzIdentity();
    };
    const bool isWorld = channel.kind == ChannelKind::worldMatrix;
    if (isWorld && frame.from.size() <= 2) return matrix(0) * matrix(1);  // no constraints
    if (isWorld || isMatrixMath(*frame.key.item, channel)) {
        MatrixSources from;
        for (const Key& key : frame.from) from.push_back({*key.item, m_entries.at(key).values});
        return isWorld ? EvaluatedValue(worldOf(*frame.key.item, from)) : matrixMathOf(from);
    }
    if (channel.kind == ChannelKind::parentMatrix) return matrix(0);
    if (channel.kind == ChannelKind::inverseMatrix) {
        const auto inverse = kzInverse(matrix(0));
        return inverse ? EvaluatedValue(*inverse) : EvaluatedValue();
    }
    if (frame.from.size() != 10) return kzIdentity();
    const auto numbers = [&](std::size_t first) {
        KzVector3 vector{};
        for (std::size_t i = 0; i < 3; ++i) vector.v[i] = kzNumberOf(valueOf(frame.from[first + i])).value_or(0);
        return vector;
    };
    const auto order = static_cast<std::int32_t>(kzNumberOf(valueOf(frame.from[9])).value_or(0));
    KzMatrix3 axes = kzRotationOfEuler(numbers(3), std::clamp(order, 0, KZiROTORDER_ZYX));
    const KzVector3 scale = numbers(0);
    for (int row = 0; row < 3; ++row)
        for (double& number : axes.m[row]) number *= scale.v[row];
    return kzMatrixOf(axes, numbers(6));
}

}  // namespace kzhost
