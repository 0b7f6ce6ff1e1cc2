// Evaluates channels at a time: what is stored, through links from other channels and through modifiers.
//
// Only what is asked for is computed, and again only after something that it was computed from has changed: a value knows
// what it was computed from, and each item when it last changed. What a module computes is computed without the lock, from
// values that were read under it; if the document has changed meanwhile, all is read again.
#pragma once

#include "host/document/animation.h"
#include "host/document/host_modifiers.h"

#include "kz/base/types.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace kzhost {

// A channel that stays there however the item changes.
struct ChannelRef {
    ItemRef item;
    std::shared_ptr<const ChannelInfo> channel;
};
ChannelRef kzChannelRef(Item& item, const ChannelInfo& channel);

// Nothing, a stored value, or a matrix.
using EvaluatedValue = std::variant<std::monostate, KzCell, KzMatrix4>;
std::optional<double> kzNumberOf(const EvaluatedValue& value);

// What a module computes for one item. It does not change once it is made.
class CModifier : public std::enable_shared_from_this<CModifier> {
public:
    enum class Reads {
        value,
        links,  // each of the linked channels; the channel's own value without links
        before  // the value as it is without this modifier
    };
    struct Input {
        ChannelRef channel;
        Reads reads = Reads::value;
        bool isRequired = false;  // nothing is computed while it has no links
    };
    struct Output {
        ChannelRef channel;
        bool replacesKeys = true;
    };
    using Inputs = std::vector<std::vector<EvaluatedValue>>;
    using Outputs = std::vector<EvaluatedValue>;  // nothing leaves a channel as it is

    CModifier() = default;
    CModifier(const CModifier&) = delete;
    CModifier& operator=(const CModifier&) = delete;
    virtual ~CModifier() = default;
    // Called without the lock, by any thread and by several at once. Throws a code.
    virtual Outputs run(double time, const Inputs& inputs) const = 0;

    ItemRef item;
    std::string server;
    std::vector<Input> inputs;
    std::vector<Output> outputs;
    bool readsAnyTime = false;     // whatever changes in the document may matter
    std::vector<ItemRef> watched;  // it also depends on everything of these items
    std::vector<ItemRef> first;    // items whose modifiers run before
};

// The modifiers of one document.
struct ModifierSet {
    std::vector<std::shared_ptr<CModifier>> all;

    void index();  // after filling it
    // Those that write the channel, the last one last; and those of an item.
    struct Writer {
        const CModifier* modifier;
        std::size_t output;
    };
    const std::vector<Writer>& writersOf(const Item& item, const ChannelInfo& channel) const;
    std::vector<const CModifier*> of(const Item& item) const;

private:
    std::map<std::pair<const Item*, const ChannelInfo*>, std::vector<Writer>> m_writers;
    std::unordered_multimap<const Item*, const CModifier*> m_byItem;
};

// Who makes the modifiers of modules.
class ModifierSource {
public:
    virtual ~ModifierSource() = default;
    // Called without the lock. The same set as before, if nothing has changed that matters; null if there are none.
    virtual std::shared_ptr<const ModifierSet> modifiers(CDocument& document) = 0;
};

class CEvaluation final : public DocumentAttachment {
public:
    explicit CEvaluation(CDocument& document) : m_document(document) {}

    // The values of these channels at one moment of the document's life. The caller must not hold the lock. Throws
    // GRAPH_CYCLIC for a channel that depends on itself, with a reason that names the circle.
    std::vector<EvaluatedValue> read(std::span<const ChannelRef> channels, double time);
    EvaluatedValue read(Item& item, const ChannelInfo& channel, double time);
    // Whether something else than what is stored decides on the value. The lock must be held.
    bool isDriven(const Item& item, const ChannelInfo& channel) const;
    // How many values have been computed so far.
    std::uint64_t computations() const noexcept { return m_computations; }
    void clear() override;
    // Lets go of the modules' modifiers, for the caller to release without the lock.
    std::shared_ptr<const ModifierSet> releaseModifiers();

private:
    // A value of a channel after so many of its modifiers; or, without a channel, what a modifier computes.
    struct Key {
        Item* item;
        const void* subject;  // a ChannelInfo or a CModifier; null for the modifier that the item itself is
        double time;
        std::uint32_t layer;
        bool operator==(const Key&) const = default;
    };
    static constexpr std::uint32_t ofModifier = UINT32_MAX;
    struct KeyHash {
        std::size_t operator()(const Key& key) const noexcept;
    };
    struct Entry {
        std::vector<EvaluatedValue> values;
        std::vector<Key> from;
        std::uint64_t verified = 0;  // it held when the document had this stamp
        std::uint64_t computed = 0;
        std::uint64_t changed = 0;  // when it became what it is
    };
    struct Frame {
        Key key;
        std::vector<Key> from;
        std::size_t next = 0;
        int phase = 0;  // how often `from` was filled; negative while an entry is verified
    };
    // What a module has to compute before an evaluation goes on.
    struct Request {
        Key key;
        std::shared_ptr<const CModifier> modifier;
        CModifier::Inputs inputs;
        std::vector<Key> from;
        std::uint64_t stamp;
    };
    struct ModuleIsNeeded {};
    struct Running;
    struct LinkIndex {
        std::uint64_t stamp = 0;
        std::size_t count = 0;
        std::unordered_map<const ChannelInfo*, std::vector<const ChannelLink*>> byTarget;
    };

    EvaluatedValue evaluate(const Key& root);
    const Entry* fresh(const Key& key) const;
    bool isPossiblyFresh(const Key& key, const Entry& entry) const;
    bool expand(Frame& frame);
    bool expandRun(Frame& frame, int phase);
    std::vector<EvaluatedValue> compute(const Frame& frame);
    std::vector<EvaluatedValue> computeRun(const Frame& frame);
    EvaluatedValue computeChannel(const Frame& frame);
    EvaluatedValue computeMatrix(const Frame& frame, const ChannelInfo& channel) const;
    std::vector<EvaluatedValue> request(const Frame& frame, const CModifier& modifier);
    void keep(const Key& key, std::vector<EvaluatedValue> values, std::vector<Key> from, std::uint64_t stamp);
    const EvaluatedValue& valueOf(const Key& key, std::size_t index = 0) const;
    [[noreturn]] void refuseCircle(const std::vector<Frame>& stack, const Key& key) const;
    std::string nameOf(const Key& key) const;

    Key keyOf(Item& item, const ChannelInfo& channel, double time) const;
    std::vector<Key> inputKeys(const CModifier& modifier, std::size_t input, double time) const;
    bool takesPart(const ModifierSet::Writer& writer, const Item& item, const ChannelInfo& channel) const;
    std::vector<Key> inputKeys(Item& item, const HostModifier::Input& input, double time) const;
    HostInputs inputsOf(const Frame& frame, const HostModifier& own) const;
    const std::vector<const ChannelLink*>& linksTo(const Item& item, const ChannelInfo& channel) const;
    CModifier::Outputs runUnlocked(const Request& request) const;

    CDocument& m_document;
    std::unordered_map<Key, Entry, KeyHash> m_entries;
    std::shared_ptr<const ModifierSet> m_modifiers;
    std::unique_ptr<Request> m_request;  // set by a failed attempt
    std::uint64_t m_computations = 0;
    mutable std::unordered_map<const Item*, LinkIndex> m_links;
};

// The evaluation of an open document, made when it is first asked for.
CEvaluation& kzEvaluationOf(CDocument& document);

}  // namespace kzhost
