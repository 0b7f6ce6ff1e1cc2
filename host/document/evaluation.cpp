// Evaluates channels at a time: the walk through what a value is computed from, and what is remembered of it.
#include "host/document/evaluation.h"

#include "host/core/reasons.h"
#include "host/document/workspace.h"
#include "host/state/text.h"

#include "kz/result.h"
#include "kz/scene_graph.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <unordered_set>
#include <utility>

namespace kzhost {

namespace {

constexpr std::size_t mostEntries = std::size_t{1} << 18;
constexpr int mostAttempts = 4;
constexpr std::size_t deepestNesting = 32;

// With these, what is not a number equals itself.
auto bitsOf(const KzMatrix4& matrix) { return std::bit_cast<std::array<std::uint64_t, 16>>(matrix); }

bool isSame(const EvaluatedValue& a, const EvaluatedValue& b) {
    if (a.index() != b.index()) return false;
    if (const auto* matrix = std::get_if<KzMatrix4>(&a)) return bitsOf(*matrix) == bitsOf(*std::get_if<KzMatrix4>(&b));
    const auto* cell = std::get_if<KzCell>(&a);
    return cell == nullptr || *cell == std::get<KzCell>(b);
}

}  // namespace

std::optional<double> kzNumberOf(const EvaluatedValue& value) {
    const auto* cell = std::get_if<KzCell>(&value);
    return cell != nullptr ? kzNumberOf(*cell) : std::nullopt;
}

ChannelRef kzChannelRef(Item& item, const ChannelInfo& channel) {
    const auto own = std::ranges::find(item.userChannels, &channel, &std::shared_ptr<ChannelInfo>::get);
    if (own != item.userChannels.end()) return {item.shared_from_this(), *own};
    return {item.shared_from_this(), {std::shared_ptr<void>(), &channel}};  // a type's, which stays
}

void ModifierSet::index() {
    for (const auto& modifier : all) {
        m_byItem.emplace(modifier->item.get(), modifier.get());
        for (std::size_t i = 0; i < modifier->outputs.size(); ++i) {
            const ChannelRef& channel = modifier->outputs[i].channel;
            m_writers[{channel.item.get(), channel.channel.get()}].push_back({modifier.get(), i});
        }
    }
}

const std::vector<ModifierSet::Writer>& ModifierSet::writersOf(const Item& item, const ChannelInfo& channel) const {
    static const std::vector<Writer> none;
    const auto writers = m_writers.find({&item, &channel});
    return writers != m_writers.end() ? writers->second : none;
}

std::vector<const CModifier*> ModifierSet::of(const Item& item) const {
    std::vector<const CModifier*> modifiers;
    const auto [begin, end] = m_byItem.equal_range(&item);
    for (auto each = begin; each != end; ++each) modifiers.push_back(each->second);
    return modifiers;
}

// The modules' computations that this thread is in the middle of: one may read channels, which needs others.
struct CEvaluation::Running {
    static std::vector<std::pair<const CEvaluation*, const Request*>>& stack() {
        thread_local std::vector<std::pair<const CEvaluation*, const Request*>> theStack;
        return theStack;
    }
    Running(const CEvaluation& evaluation, const Request& request) { stack().emplace_back(&evaluation, &request); }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { stack().pop_back(); }
};

std::size_t CEvaluation::KeyHash::operator()(const Key& key) const noexcept {
    std::size_t hash = std::bit_cast<std::uint64_t>(key.time) * 0x9E3779B97F4A7C15U + key.layer;
    for (const void* part : {static_cast<const void*>(key.item), key.subject})
        hash = (hash ^ (hash >> 29)) * 0xBF58476D1CE4E5B9U + reinterpret_cast<std::uintptr_t>(part);
    return hash ^ (hash >> 32);
}

EvaluatedValue CEvaluation::read(Item& item, const ChannelInfo& channel, double time) {
    const ChannelRef one = kzChannelRef(item, channel);
    return read(std::span(&one, 1), time).front();
}

// All channels in one go under the lock. Whenever a module has to compute something first, that is done without the lock,
// and then it starts again, with what has been computed so far at hand.
std::vector<EvaluatedValue> CEvaluation::read(std::span<const ChannelRef> channels, double time) {
    CWorkspace& workspace = m_document.workspace();
    const auto& source = workspace.modifierSource();
    const auto modifiers = source != nullptr ? source->modifiers(m_document) : nullptr;
    // What may be the last reference to a module's object goes without the lock.
    std::shared_ptr<const ModifierSet> former;
    std::unique_ptr<Request> request, next;
    CModifier::Outputs outputs;
    for (int attempt = 0;;) {
        {
            const CReading reading(workspace);
            if (m_modifiers != modifiers || m_entries.size() > mostEntries) clear();
            former = std::exchange(m_modifiers, modifiers);
            if (request != nullptr && (request->stamp == m_document.stamp() || ++attempt >= mostAttempts))
                keep(request->key, std::move(outputs), std::move(request->from), request->stamp);
            std::vector<EvaluatedValue> values;
            try {
                for (const ChannelRef& each : channels)
                    values.push_back(evaluate(keyOf(*each.item, *each.channel, time)));
                return values;
            } catch (const ModuleIsNeeded&) {
                next = std::move(m_request);
            }
        }
        request = std::move(next);
        outputs = runUnlocked(*request);
    }
}

std::shared_ptr<const ModifierSet> CEvaluation::releaseModifiers() {
    const CReading reading(m_document.workspace());
    clear();
    return std::exchange(m_modifiers, nullptr);
}

void CEvaluation::clear() {
    m_entries.clear();
    m_links.clear();
}

CModifier::Outputs CEvaluation::runUnlocked(const Request& request) const {
    const auto& stack = Running::stack();
    const auto isThis = [&](const auto& other) { return other.first == this && other.second->key == request.key; };
    if (const auto first = std::ranges::find_if(stack, isThis); first != stack.end() || stack.size() >= deepestNesting)
        throw kzBecause(KZeGRAPH_CYCLIC, "Evaluation", [&] {
            std::string circle = nameOf(request.key);
            for (auto each = stack.rbegin(); each != stack.rend(); ++each)
                circle.insert(0, nameOf(each->second->key) + " -> ");
            return "modifiers read what they compute: " + circle;
        });
    const Running running(*this, request);
    try {
        auto outputs = request.modifier->run(request.key.time, request.inputs);
        outputs.resize(request.modifier->outputs.size());
        return outputs;
    } catch (KzResult code) {
        kzBecause(code, "Evaluation", [&] {
            return fmt::format("{} failed with {}; its channels keep what is stored", nameOf(request.key),
                               kzCodeName(code));
        });
    } catch (const std::exception& error) {
        kzBecause(KZe_FAILED, "Evaluation", [&] { return fmt::format("{}: {}", nameOf(request.key), error.what()); });
    }
    return CModifier::Outputs(request.modifier->outputs.size());
}

// What the walk still has to compute is on a stack of its own: chains of channels may be longer than the thread's.
EvaluatedValue CEvaluation::evaluate(const Key& root) {
    if (fresh(root) != nullptr) return valueOf(root);
    std::vector<Frame> stack;
    std::unordered_set<Key, KeyHash> path;
    const auto enter = [&](const Key& key) {
        const auto entry = m_entries.find(key);
        const bool isKnown = entry != m_entries.end() && isPossiblyFresh(key, entry->second);
        path.insert(key);
        stack.push_back({key, isKnown ? entry->second.from : std::vector<Key>(), 0, isKnown ? -1 : 0});
    };
    const auto leave = [&] {
        path.erase(stack.back().key);
        stack.pop_back();
    };
    const auto beginAgain = [](Frame& frame) {
        frame.from.clear();
        frame.next = 0;
        frame.phase = 0;
    };
    for (enter(root); !stack.empty();) {
        Frame& top = stack.back();
        if (top.next < top.from.size()) {
            const Key key = top.from[top.next];
            if (fresh(key) != nullptr) ++top.next;
            else if (!path.contains(key)) enter(key);
            else if (top.phase < 0) beginAgain(top);
            else refuseCircle(stack, key);
            continue;
        }
        if (top.phase < 0) {
            Entry& entry = m_entries.at(top.key);
            if (std::ranges::all_of(top.from,
                                    [&](const Key& key) { return m_entries.at(key).changed <= entry.computed; })) {
                entry.verified = m_document.stamp();
                leave();
                continue;
            }
            beginAgain(top);
        }
        if (expand(top)) continue;
        auto values = compute(top);
        keep(top.key, std::move(values), std::move(top.from), m_document.stamp());
        leave();
    }
    return valueOf(root);
}

const CEvaluation::Entry* CEvaluation::fresh(const Key& key) const {
    const auto entry = m_entries.find(key);
    return entry != m_entries.end() && entry->second.verified == m_document.stamp() ? &entry->second : nullptr;
}

// Whether only what the value was computed from can have changed. Nothing that it names is looked at before this is known.
bool CEvaluation::isPossiblyFresh(const Key& key, const Entry& entry) const {
    if (key.item->stamp > entry.computed || m_document.actionStamp() > entry.computed) return false;
    if (key.layer != ofModifier || key.subject == nullptr) return true;
    const auto& modifier = *static_cast<const CModifier*>(key.subject);
    if (modifier.readsAnyTime && entry.computed < m_document.stamp()) return false;
    const auto isOld = [&](const ItemRef& item) { return item->stamp <= entry.computed; };
    return std::ranges::all_of(modifier.watched, isOld) && std::ranges::all_of(modifier.inputs, [&](const auto& input) {
               return input.reads != CModifier::Reads::links || isOld(input.channel.item);
           });
}

void CEvaluation::keep(const Key& key, std::vector<EvaluatedValue> values, std::vector<Key> from, std::uint64_t stamp) {
    Entry& entry = m_entries[key];
    if (entry.computed == 0 || !std::ranges::equal(entry.values, values, isSame)) entry.changed = stamp;
    entry.values = std::move(values);
    entry.from = std::move(from);
    entry.computed = stamp;
    entry.verified = m_document.stamp();
    ++m_computations;
}

const EvaluatedValue& CEvaluation::valueOf(const Key& key, std::size_t index) const {
    return m_entries.at(key).values.at(index);
}

void CEvaluation::refuseCircle(const std::vector<Frame>& stack, const Key& key) const {
    throw kzBecause(KZeGRAPH_CYCLIC, "Evaluation", [&] {
        std::string circle = nameOf(key);
        for (auto frame = stack.rbegin(); frame != stack.rend(); ++frame) {
            if (const std::string name = nameOf(frame->key); !circle.starts_with(name)) circle.insert(0, name + " -> ");
            if (frame->key == key) break;
        }
        return "a channel depends on itself: " + circle;
    });
}

std::string CEvaluation::nameOf(const Key& key) const {
    if (key.layer != ofModifier) return key.item->uniqueName + ":" + static_cast<const ChannelInfo*>(key.subject)->name;
    if (key.subject == nullptr) return key.item->uniqueName;
    const auto& modifier = *static_cast<const CModifier*>(key.subject);
    std::string text = fmt::format("the modifier \"{}\" of {}", modifier.server, key.item->uniqueName);
    if (!modifier.outputs.empty()) text += ":" + modifier.outputs.front().channel.channel->name;
    return text;
}

CEvaluation& kzEvaluationOf(CDocument& document) {
    const CReading reading(document.workspace());
    if (document.evaluation == nullptr) document.evaluation = std::make_unique<CEvaluation>(document);
    return static_cast<CEvaluation&>(*document.evaluation);
}

}  // namespace kzhost
